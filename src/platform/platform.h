/*
 * The thin OS layer. Every facility of the library that is not NT-only calls
 * the OS only through these functions; posix/ and win32/ hold one file per
 * facility implementing them.
 */
#ifndef TW_PLATFORM_H
#define TW_PLATFORM_H

#include <cstdarg>
#include <cstddef>
#include <ctime>

#include "twcommon/base.h"

namespace tw::os {

// ---- Code pages (text.cpp) ----
// The two code pages the library converts with: the system's ANSI code page
// (Windows-1252 off Windows) and UTF-8.
enum class CodePage { ansi, utf8 };

// Both convert a terminated string, terminator included, in the manner of
// WideCharToMultiByte/MultiByteToWideChar with a source length of -1: with
// dst_size 0 they return the units needed; otherwise the units written, or
// 0 when the conversion failed or dst is too small.
int wide_to_multibyte(CodePage cp, const tw_wchar_t *src, char *dst, int dst_size);
int multibyte_to_wide(CodePage cp, const char *src, tw_wchar_t *dst, int dst_size);

// ---- Formatting (text.cpp) ----
// The C runtime's bounded formatter, its count returned as it gives it
// (negative on overflow on Windows, the needed length elsewhere).
int format_text(char *buf, size_t size, const char *format, va_list args);
#if defined(_WIN32)
int format_wide_text(wchar_t *buf, size_t size, const wchar_t *format, va_list args);
#endif

// ---- Time texts (text.cpp) ----
// The C runtime's ctime/asctime text (24 characters and a line feed), or null.
// scratch is used where the runtime needs caller storage.
const char *ctime_text(const time_t *t, char (&scratch)[64]);
const char *asctime_text(const struct tm *tm, char (&scratch)[64]);
// Broken-down local or UTC time; false when the runtime cannot convert.
bool local_time(const time_t *t, struct tm *out);
bool utc_time(const time_t *t, struct tm *out);

}  // namespace tw::os

#endif
