/*
 * twcommon: definitions shared by every public header.
 *
 * TW_API marks the library's exported functions and data. On Windows the
 * export table itself is src/twcommon.def; the macro only selects
 * dllexport/dllimport. Elsewhere everything not marked is hidden.
 */
#ifndef TWCOMMON_BASE_H
#define TWCOMMON_BASE_H

#include <stddef.h>

#if defined(_WIN32)
#  if defined(TW_BUILDING_LIBRARY)
#    define TW_API __declspec(dllexport)
#  else
#    define TW_API __declspec(dllimport)
#  endif
#else
#  define TW_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#  define TW_EXTERN_C_BEGIN extern "C" {
#  define TW_EXTERN_C_END }
#else
#  define TW_EXTERN_C_BEGIN
#  define TW_EXTERN_C_END
#endif

/* Wide characters are 16-bit code units: wchar_t on Windows, char16_t elsewhere. */
#if defined(_WIN32)
typedef wchar_t tw_wchar_t;
#else
#  ifndef __cplusplus
#    include <uchar.h>
#  endif
typedef char16_t tw_wchar_t;
#endif

/* 32-bit wide characters (whole code points). */
#if defined(__cplusplus)
typedef char32_t tw_wchar32_t;
#else
#  include <stdint.h>
typedef uint32_t tw_wchar32_t;
#endif

/* printf-style checking against the formatter the library really uses:
 * the C runtime's own on Windows (msvcrt), the C library's elsewhere. */
#if defined(__GNUC__) && defined(_WIN32)
#  define TW_PRINTF(fmt, args) __attribute__((format(ms_printf, fmt, args)))
#elif defined(__GNUC__)
#  define TW_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#  define TW_PRINTF(fmt, args)
#endif

#endif
