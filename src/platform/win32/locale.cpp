/*
 * Locale objects on Windows: msvcrt's _create_locale for the category asked
 * about, which leaves the process's locale alone. _create_locale is looked
 * up in msvcrt.dll at run time by the import library; where the DLL lacks
 * it, every name counts as unknown.
 *
 * Characters are measured with the locale's code page and the system's
 * code-page tables, as msvcrt's mblen does (its _mblen_l is missing from
 * some msvcrt.dll builds): msvcrt's multi-byte sets are double-byte ones,
 * and a lead byte counts only with a valid second byte.
 */
#include <windows.h>

#include <clocale>
#include <cstdlib>
#include <locale.h>

#include "platform/locale.h"

namespace tw::os {

namespace {

// A CharacterSet is never defined: the handle is the runtime's locale object.
_locale_t locale_of(const CharacterSet *set) { return reinterpret_cast<_locale_t>(const_cast<CharacterSet *>(set)); }

}  // namespace

CharacterSet *character_set_open(const char *locale_name) {
    if (!locale_name) return nullptr;
    _locale_t locale = _create_locale(LC_CTYPE, locale_name);
    return reinterpret_cast<CharacterSet *>(locale);
}

void character_set_close(CharacterSet *set) {
    if (set) _free_locale(locale_of(set));
}

size_t character_length(const CharacterSet *set, const char *text, size_t available) {
    if (!set) {
        const int n = std::mblen(text, available);
        return n > 1 ? size_t(n) : 1;
    }
    // lc_codepage leads msvcrt's locale information in every layout; 0 is the C locale.
    const UINT code_page = locale_of(set)->locinfo->lc_codepage;
    if (code_page == 0 || available < 2 || !IsDBCSLeadByteEx(code_page, BYTE(text[0]))) return 1;
    return MultiByteToWideChar(code_page, MB_ERR_INVALID_CHARS, text, 2, nullptr, 0) > 0 ? 2 : 1;
}

bool accepts_time_locale(const char *name) {
    if (!name) return false;
    _locale_t locale = _create_locale(LC_TIME, name);
    if (!locale) return false;
    _free_locale(locale);
    return true;
}

}  // namespace tw::os
