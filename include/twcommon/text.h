/*
 * twcommon text foundation: bounded copy, append and formatting of narrow
 * and 16-bit wide strings, code-page duplicates, thread-safe time texts,
 * character classes and case tables, 64-bit byte order.
 *
 * Unlike strlcpy/snprintf, these functions report what was actually put into
 * the buffer, never the length that would have been needed, and they accept
 * null pointers and zero sizes quietly (0 or -1, nothing written).
 * Sizes and counts of the wide functions are in wide characters.
 */
#ifndef TWCOMMON_TEXT_H
#define TWCOMMON_TEXT_H

#include <stdarg.h>
#include <stdint.h>
#include <time.h>

#include "base.h"

TW_EXTERN_C_BEGIN

/* Copy and append, 8-bit. */
TW_API int Q_strlcpy(char *dst, const char *src, unsigned int size);
TW_API int Q_strlcat(char *dst, const char *src, unsigned int size);
TW_API int Q_strlncpy(char *dst, const char *src, unsigned int n, unsigned int size);
TW_API int Q_strlncat(char *dst, const char *src, unsigned int n, unsigned int size);
TW_API int Q_strXncpy(char *dst, const char *src, unsigned int n, unsigned int size);
TW_API int Q_strverify(const char *buf, unsigned int size, unsigned int *length);

/* Copy and append, wide. */
TW_API int Q_wcslcpy(tw_wchar_t *dst, const tw_wchar_t *src, unsigned int size);
TW_API int Q_wcslcat(tw_wchar_t *dst, const tw_wchar_t *src, unsigned int size);
TW_API int Q_wcslncpy(tw_wchar_t *dst, const tw_wchar_t *src, unsigned int n, unsigned int size);
TW_API int Q_wcslncat(tw_wchar_t *dst, const tw_wchar_t *src, unsigned int n, unsigned int size);
TW_API int Q_wstrXncpy(tw_wchar_t *dst, const tw_wchar_t *src, unsigned int n, unsigned int size);
TW_API int Q_wstrverify(const tw_wchar_t *buf, unsigned int size, unsigned int *length);

/* Formatting: characters stored (without the terminator); size-1 when the
 * buffer filled up (text possibly cut); -1 on a null buffer or size 0. */
TW_API int Q_snprintf(char *buf, unsigned int size, const char *format, ...) TW_PRINTF(3, 4);
TW_API int Q_vsnprintf(char *buf, unsigned int size, const char *format, va_list args) TW_PRINTF(3, 0);
TW_API int Q_cat_snprintf(char *buf, unsigned int size, const char *format, ...) TW_PRINTF(3, 4);
#if defined(_WIN32)
/* The wide formatters use the C runtime's wide conversion language. */
TW_API int Q_snwprintf(wchar_t *buf, unsigned int size, const wchar_t *format, ...);
TW_API int Q_vsnwprintf(wchar_t *buf, unsigned int size, const wchar_t *format, va_list args);
TW_API int Q_cat_snwprintf(wchar_t *buf, unsigned int size, const wchar_t *format, ...);
#endif

/* Allocation and code-page duplicates; free every result with free(). */
TW_API void *Q_dumb_realloc(void **buffer, size_t size);
TW_API char *Q_StrDupWideToACP(const tw_wchar_t *text);
TW_API tw_wchar_t *Q_StrDupACPToWide(const char *text);
TW_API char *Q_StrDupWideToUTF8(const tw_wchar_t *text);
TW_API tw_wchar_t *Q_StrDupUTF8ToWide(const char *text);

/* Thread-safe time texts: each result is the caller's own copy. */
TW_API char *Q_ctime(const time_t *t, char *buf, unsigned int size);
TW_API char *Q_asctime(const struct tm *tm, char *buf, unsigned int size);
TW_API struct tm *Q_localtime(const time_t *t, struct tm *out);
TW_API struct tm *Q_gmtime(const time_t *t, struct tm *out);

/* Character classes of codes 0-127 (anything else is in no class). */
TW_API int Q_isalpha(int c);
TW_API int Q_isupper(int c);
TW_API int Q_islower(int c);
TW_API int Q_isdigit(int c);
TW_API int Q_isxdigit(int c);
TW_API int Q_isalnum(int c);
TW_API int Q_isspace(int c);
TW_API int Q_ispunct(int c);
TW_API int Q_isprint(int c);
TW_API int Q_isgraph(int c);
TW_API int Q_iscntrl(int c);
TW_API int Q_iscsym(int c);
TW_API int Q_iscsymf(int c);
TW_API int Q_isascii(int c);
TW_API int Q_toupper(int c);
TW_API int Q_tolower(int c);

/* Class and case tables, indexed with c+1 for any c from -1 (EOF) to 255. */
#define Q_CT_CONTROL 0x01
#define Q_CT_SPACE 0x02
#define Q_CT_DIGIT 0x04
#define Q_CT_XDIGIT 0x08
#define Q_CT_UPPER 0x10
#define Q_CT_LOWER 0x20
#define Q_CT_UNDERSCORE 0x40
#define Q_CT_NONASCII 0x80
TW_API extern const unsigned char _Q_Ctypes_[257];
/* The upper-case table is followed by one further zero word. */
TW_API extern const int32_t _QC_trans_upper_[258];
TW_API extern const int32_t _QC_trans_lower_[257];

/* 64-bit byte order: v_htonq and v_ntohq are one entry point. */
TW_API uint64_t v_htonq(uint64_t value);
TW_API uint64_t v_ntohq(uint64_t value);
TW_API int v_test_byte_order(void);

/* ---- UTF-8 and wide characters ----
 * Sizes and results are size_t counts: bytes for UTF-8 buffers, wide
 * characters for wide ones, terminators not counted in results. The utf8_
 * family decodes leniently (continuation bytes are not checked), combines
 * surrogate pairs whose high half lies in 0xD801-0xDBFE, and reads the
 * over-long three-byte form of the space (the "filler", E0 80 A0) back as a
 * space. */
TW_API size_t utf8_wcstombs_len(const tw_wchar_t *src);
TW_API size_t utf8_wcstombs(char *dst, const tw_wchar_t *src, size_t size);
TW_API size_t utf8_mbstowcs_len(const char *src);
TW_API size_t utf8_mbstowcs(tw_wchar_t *dst, const char *src, size_t size);
/* 32-bit wide forms: one value per character, no surrogate pairs. */
TW_API size_t utf8_wcstombs32_len(const tw_wchar32_t *src);
TW_API size_t utf8_wcstombs32(char *dst, const tw_wchar32_t *src, size_t size);
TW_API size_t utf8_mbstowcs32(tw_wchar32_t *dst, const char *src, size_t size);
/* Filler form: every space written as E0 80 A0; always terminated (size > 0). */
TW_API size_t utf8_filler(char *dst, const char *src, size_t size);
TW_API size_t utf8_wcstombs_ex(char *dst, const tw_wchar_t *src, size_t size);
/* New heap strings (free with free); null when memory runs out. */
TW_API char *utf8_char_to_utf8(const char *src);
TW_API tw_wchar_t *utf8_wchar_from_utf8(const char *src);

/* Bounded all-or-nothing conversions. Q_UnicodeToUTF takes 16-bit units one
 * by one (no pairs): 0 when the text fit with its terminator (or there was no
 * text or no size), else 1 with dst empty; KRNameUnicode2UTF is another name
 * of it. Q_UTFToUnicode and Q_UTF2Unicode decode strict UTF-8 (one- to
 * three-byte forms): 0 when decoded and it fit; 1 when dst is null, when the
 * text did not fit (dst empty) or when it is not valid UTF-8 (dst then holds
 * it converted from the ANSI code page, or is empty). */
TW_API int Q_UnicodeToUTF(char *dst, const tw_wchar_t *src, unsigned int size);
TW_API int KRNameUnicode2UTF(char *dst, const tw_wchar_t *src, unsigned int size);
TW_API int Q_UTFToUnicode(tw_wchar_t *dst, const char *src, unsigned int size);
TW_API int Q_UTF2Unicode(tw_wchar_t *dst, const char *src, unsigned int size);

/* Single-byte names as UTF-8 and back; dst of ucs1_to_utf8 holds twice the
 * source length plus one. Results are the bytes written. */
TW_API size_t ucs1_to_utf8(const char *src, char *dst);
TW_API size_t ucs1_to_utf8_v2(const char *src, char *dst);
TW_API size_t utf8_to_ucs1(const char *src, char *dst);

TW_EXTERN_C_END

#endif
