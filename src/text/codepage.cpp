/*
 * Heap duplicates of strings converted between wide text and the ANSI code
 * page or UTF-8, through the OS converters.
 *
 * Only the wide-to-UTF-8 direction reports a failed conversion (null); the
 * other three return an empty string then, and null only when memory runs out.
 */
#include <algorithm>

#include "base/alloc.h"
#include "platform/platform.h"
#include "twcommon/text.h"

using tw::os::CodePage;

namespace {

tw_wchar_t *duplicate_to_wide(CodePage cp, const char *text) {
    int needed = tw::os::multibyte_to_wide(cp, text, nullptr, 0);
    int units = std::max(needed, 1);  // room for the empty result of a failed conversion
    auto out = static_cast<tw_wchar_t *>(tw::mem_alloc(sizeof(tw_wchar_t) * size_t(units)));
    if (out && tw::os::multibyte_to_wide(cp, text, out, units) == 0) out[0] = 0;
    return out;
}

}  // namespace

extern "C" {

char *Q_StrDupWideToACP(const tw_wchar_t *text) {
    int needed = std::max(tw::os::wide_to_multibyte(CodePage::ansi, text, nullptr, 0), 0);
    auto out = static_cast<char *>(tw::mem_alloc(size_t(needed) + 1));
    if (out && tw::os::wide_to_multibyte(CodePage::ansi, text, out, needed + 1) == 0) out[0] = 0;
    return out;
}

tw_wchar_t *Q_StrDupACPToWide(const char *text) { return duplicate_to_wide(CodePage::ansi, text); }

tw_wchar_t *Q_StrDupUTF8ToWide(const char *text) { return duplicate_to_wide(CodePage::utf8, text); }

char *Q_StrDupWideToUTF8(const tw_wchar_t *text) {
    int needed = tw::os::wide_to_multibyte(CodePage::utf8, text, nullptr, 0);
    if (needed <= 0) return nullptr;
    auto out = static_cast<char *>(tw::mem_alloc(size_t(needed)));
    if (out && tw::os::wide_to_multibyte(CodePage::utf8, text, out, needed) == 0) {
        tw::mem_free(out);
        return nullptr;
    }
    return out;
}

}  // extern "C"
