/*
 * Locale objects off Windows: newlocale for the category asked about, and
 * the multi-byte length measured with mbrlen under the object, made current
 * for the calling thread only (uselocale) and put back at once.
 */
#include <clocale>
#include <cwchar>
#include <locale.h>

#include "platform/locale.h"

namespace tw::os {

namespace {

// A CharacterSet is never defined: the handle is the runtime's locale object.
locale_t locale_of(const CharacterSet *set) { return reinterpret_cast<locale_t>(const_cast<CharacterSet *>(set)); }

}  // namespace

CharacterSet *character_set_open(const char *locale_name) {
    if (!locale_name) return nullptr;
    locale_t locale = newlocale(LC_CTYPE_MASK, locale_name, locale_t(0));
    return reinterpret_cast<CharacterSet *>(locale);
}

void character_set_close(CharacterSet *set) {
    if (set) freelocale(locale_of(set));
}

size_t character_length(const CharacterSet *set, const char *text, size_t available) {
    locale_t previous = set ? uselocale(locale_of(set)) : locale_t(0);
    std::mbstate_t state{};
    const size_t n = std::mbrlen(text, available, &state);
    if (set) uselocale(previous);
    // (size_t)-1 invalid, (size_t)-2 cut short, 0 the terminator: one byte each.
    return n != size_t(-1) && n != size_t(-2) && n > 1 ? n : 1;
}

bool accepts_time_locale(const char *name) {
    if (!name) return false;
    locale_t locale = newlocale(LC_TIME_MASK, name, locale_t(0));
    if (!locale) return false;
    freelocale(locale);
    return true;
}

}  // namespace tw::os
