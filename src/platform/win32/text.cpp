/*
 * Text services of the OS layer on Windows: the system code-page converters,
 * the C runtime's (msvcrt's) bounded formatters and time texts. Callers share
 * msvcrt with the library, so they get its conversion language.
 */
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <cwchar>

#include "platform/platform.h"

namespace tw::os {
namespace {

UINT code_page_id(CodePage cp) { return cp == CodePage::utf8 ? CP_UTF8 : CP_ACP; }

// msvcrt keeps one result buffer per thread; copy it out at once.
const char *copied(const char *text, char (&scratch)[64]) {
    if (!text) return nullptr;
    std::strncpy(scratch, text, sizeof scratch - 1);
    scratch[sizeof scratch - 1] = '\0';
    return scratch;
}

bool copied(const struct tm *tm, struct tm *out) {
    if (!tm) return false;
    *out = *tm;
    return true;
}

}  // namespace

int wide_to_multibyte(CodePage cp, const tw_wchar_t *src, char *dst, int dst_size) {
    return WideCharToMultiByte(code_page_id(cp), 0, src, -1, dst, dst_size, nullptr, nullptr);
}

int multibyte_to_wide(CodePage cp, const char *src, tw_wchar_t *dst, int dst_size) {
    return MultiByteToWideChar(code_page_id(cp), 0, src, -1, dst, dst_size);
}

int format_text(char *buf, size_t size, const char *format, va_list args) {
    return _vsnprintf(buf, size, format, args);
}

int format_wide_text(wchar_t *buf, size_t size, const wchar_t *format, va_list args) {
    return _vsnwprintf(buf, size, format, args);
}

const char *ctime_text(const time_t *t, char (&scratch)[64]) { return copied(std::ctime(t), scratch); }

const char *asctime_text(const struct tm *tm, char (&scratch)[64]) {
    return copied(std::asctime(tm), scratch);
}

bool local_time(const time_t *t, struct tm *out) { return copied(std::localtime(t), out); }

bool utc_time(const time_t *t, struct tm *out) { return copied(std::gmtime(t), out); }

}  // namespace tw::os
