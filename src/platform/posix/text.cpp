/*
 * Text services of the OS layer off Windows: the code-page converters, with
 * Windows-1252 standing in for the ANSI code page, and the C library's
 * formatter and time texts.
 *
 * The converters behave as the Windows ones do without flags: malformed input
 * becomes U+FFFD (or '?' where the code page lacks a character) rather than a
 * failure; they fail only when the destination is too small.
 */
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "platform/platform.h"

namespace tw::os {
namespace {

// Windows-1252 bytes 0x80-0x9F; the five bytes the code page leaves
// undefined map to the C1 control of the same value, as Windows does.
constexpr char16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t cp1252_to_unicode(unsigned char byte) {
    return (byte >= 0x80 && byte < 0xA0) ? kCp1252High[byte - 0x80] : char16_t(byte);
}

int unicode_to_cp1252(char32_t cp) {
    if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) return int(cp);
    for (int i = 0; i < 32; ++i)
        if (kCp1252High[i] == cp) return 0x80 + i;
    return '?';
}

// Decodes one code point of UTF-16 at *p, advancing p; lone surrogates
// become U+FFFD.
char32_t next_utf16(const tw_wchar_t *&p) {
    char32_t unit = char16_t(*p++);
    if (unit >= 0xD800 && unit < 0xDC00 && char16_t(*p) >= 0xDC00 && char16_t(*p) < 0xE000)
        return 0x10000 + ((unit - 0xD800) << 10) + (char16_t(*p++) - 0xDC00);
    if (unit >= 0xD800 && unit < 0xE000) return 0xFFFD;
    return unit;
}

// Decodes one code point of UTF-8 at *p, advancing p; an invalid or
// truncated sequence yields U+FFFD and consumes one byte.
char32_t next_utf8(const unsigned char *&p) {
    unsigned char lead = *p++;
    if (lead < 0x80) return lead;
    int extra;
    char32_t cp, min;
    if (lead >= 0xC2 && lead <= 0xDF) { extra = 1; cp = lead & 0x1F; min = 0x80; }
    else if (lead >= 0xE0 && lead <= 0xEF) { extra = 2; cp = lead & 0x0F; min = 0x800; }
    else if (lead >= 0xF0 && lead <= 0xF4) { extra = 3; cp = lead & 0x07; min = 0x10000; }
    else return 0xFFFD;
    for (int i = 0; i < extra; ++i) {
        if ((p[i] & 0xC0) != 0x80) return 0xFFFD;
        cp = (cp << 6) | (p[i] & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000)) return 0xFFFD;
    p += extra;
    return cp;
}

// Collects output units, counting them when there is no destination and
// failing once a destination would overflow.
template <typename Unit>
struct Sink {
    Unit *dst;
    int size;
    int count = 0;
    bool overflow = false;
    void put(Unit u) {
        if (dst) {
            if (count >= size) { overflow = true; return; }
            dst[count] = u;
        }
        ++count;
    }
    int result() const { return overflow ? 0 : count; }
};

}  // namespace

int wide_to_multibyte(CodePage cp, const tw_wchar_t *src, char *dst, int dst_size) {
    if (!src || dst_size < 0 || (dst_size > 0 && !dst)) return 0;
    Sink<char> out{dst_size ? dst : nullptr, dst_size};
    for (const tw_wchar_t *p = src;;) {
        char32_t c = next_utf16(p);
        if (cp == CodePage::ansi) {
            out.put(char(unicode_to_cp1252(c)));
        } else if (c < 0x80) {
            out.put(char(c));
        } else if (c < 0x800) {
            out.put(char(0xC0 | (c >> 6)));
            out.put(char(0x80 | (c & 0x3F)));
        } else if (c < 0x10000) {
            out.put(char(0xE0 | (c >> 12)));
            out.put(char(0x80 | ((c >> 6) & 0x3F)));
            out.put(char(0x80 | (c & 0x3F)));
        } else {
            out.put(char(0xF0 | (c >> 18)));
            out.put(char(0x80 | ((c >> 12) & 0x3F)));
            out.put(char(0x80 | ((c >> 6) & 0x3F)));
            out.put(char(0x80 | (c & 0x3F)));
        }
        if (c == 0 || out.overflow) break;
    }
    return out.result();
}

int multibyte_to_wide(CodePage cp, const char *src, tw_wchar_t *dst, int dst_size) {
    if (!src || dst_size < 0 || (dst_size > 0 && !dst)) return 0;
    Sink<tw_wchar_t> out{dst_size ? dst : nullptr, dst_size};
    for (auto p = reinterpret_cast<const unsigned char *>(src);;) {
        char32_t c = cp == CodePage::ansi ? cp1252_to_unicode(*p++) : next_utf8(p);
        if (c >= 0x10000) {
            out.put(tw_wchar_t(0xD800 + ((c - 0x10000) >> 10)));
            out.put(tw_wchar_t(0xDC00 + ((c - 0x10000) & 0x3FF)));
        } else {
            out.put(tw_wchar_t(c));
        }
        if (c == 0 || out.overflow) break;
    }
    return out.result();
}

int format_text(char *buf, size_t size, const char *format, va_list args) {
    return std::vsnprintf(buf, size, format, args);
}

const char *ctime_text(const time_t *t, char (&scratch)[64]) { return ctime_r(t, scratch); }

const char *asctime_text(const struct tm *tm, char (&scratch)[64]) { return asctime_r(tm, scratch); }

bool local_time(const time_t *t, struct tm *out) { return localtime_r(t, out) != nullptr; }

bool utc_time(const time_t *t, struct tm *out) { return gmtime_r(t, out) != nullptr; }

}  // namespace tw::os
