/*
 * UTF-8 and wide-character conversion.
 *
 * The utf8_ family decodes by table, in the manner of the Unicode
 * consortium's reference converter: the lead byte gives the number of
 * trailing bytes, the bytes are accumulated six bits at a time and a fixed
 * offset per length is subtracted. Continuation bytes are deliberately not
 * checked, which is what lets the over-long "filler" form of the space
 * (E0 80 A0) decode back to a space. A sequence cut short by the terminator
 * ends the text. Surrogate pairs are combined only when the high half lies
 * in 0xD801-0xDBFE (0xD800 and 0xDBFF stay single characters, as the product
 * has always treated them).
 *
 * The Q_ conversions are all or nothing: the destination holds the whole
 * text or is left empty. Q_UTFToUnicode decodes strictly (one- to three-byte
 * forms only) and falls back to the ANSI code page for anything else.
 */
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>

#include "base/alloc.h"
#include "base/export.h"
#include "platform/platform.h"
#include "twcommon/text.h"

namespace {

constexpr std::array<uint8_t, 256> make_trailing_counts() {
    std::array<uint8_t, 256> table{};
    for (int b = 0; b < 256; ++b)
        table[b] = b < 0xC0 ? 0 : b < 0xE0 ? 1 : b < 0xF0 ? 2 : b < 0xF8 ? 3 : b < 0xFC ? 4 : 5;
    return table;
}
constexpr std::array<uint8_t, 256> kTrailingCount = make_trailing_counts();
constexpr uint32_t kDecodeOffset[6] = {0x0, 0x3080, 0xE2080, 0x3C82080, 0xFA082080, 0x82082080};
constexpr uint8_t kFirstByteMark[7] = {0x00, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};  // by length

constexpr uint32_t kReplacement = 0xFFFD;
constexpr unsigned char kFiller[3] = {0xE0, 0x80, 0xA0};

// Bytes of c in UTF-8; values from 0x7FFFFFFF up count (and are written as) two.
size_t encoded_length(uint32_t c) {
    if (c < 0x80) return 1;
    if (c < 0x800) return 2;
    if (c < 0x10000) return 3;
    if (c < 0x200000) return 4;
    if (c < 0x4000000) return 5;
    if (c < 0x7FFFFFFF) return 6;
    return 2;
}

// Writes the length bytes of c: continuation bytes from last to first, then the lead.
void encode(char *out, uint32_t c, size_t length) {
    switch (length) {
        case 6: out[5] = char(0x80 | (c & 0x3F)), c >>= 6; [[fallthrough]];
        case 5: out[4] = char(0x80 | (c & 0x3F)), c >>= 6; [[fallthrough]];
        case 4: out[3] = char(0x80 | (c & 0x3F)), c >>= 6; [[fallthrough]];
        case 3: out[2] = char(0x80 | (c & 0x3F)), c >>= 6; [[fallthrough]];
        case 2: out[1] = char(0x80 | (c & 0x3F)), c >>= 6; [[fallthrough]];
        default: out[0] = char(kFirstByteMark[length] | c);
    }
}

// Reads one character of UTF-8 at p into value and advances p; false when the
// terminator interrupts the sequence (p is then left alone).
bool decode(const unsigned char *&p, uint32_t &value) {
    unsigned extra = kTrailingCount[*p];
    uint32_t v = *p;
    for (unsigned i = 1; i <= extra; ++i) {
        if (p[i] == 0) return false;
        v = (v << 6) + p[i];
    }
    value = v - kDecodeOffset[extra];
    p += extra + 1;
    return true;
}

inline uint32_t code_unit(tw_wchar_t c) { return uint16_t(c); }
inline uint32_t code_unit(tw_wchar32_t c) { return uint32_t(c); }

// One code point of a 16-bit wide string, combining a recognised pair.
uint32_t next_code_point(const tw_wchar_t *&p) {
    uint32_t c = uint16_t(*p++);
    if (c >= 0xD801 && c <= 0xDBFE) {
        uint32_t low = uint16_t(*p);
        if (low >= 0xDC00 && low <= 0xDFFF) {
            ++p;
            c = ((c - 0xD7F7) << 10) + low;
        }
    }
    return c;
}

uint32_t next_code_point(const tw_wchar32_t *&p) { return uint32_t(*p++); }

// Whether a 16-bit unit is a high half that next_code_point combines.
bool starts_pair(const tw_wchar_t *p) {
    uint32_t c = uint16_t(*p);
    return c >= 0xD801 && c <= 0xDBFE && uint16_t(p[1]) >= 0xDC00 && uint16_t(p[1]) <= 0xDFFF;
}
bool starts_pair(const tw_wchar32_t *) { return false; }

template <typename Wide>
size_t wide_to_utf8_length(const Wide *src) {
    if (!src) return 0;
    size_t n = 0;
    while (*src) n += encoded_length(next_code_point(src));
    return n;
}

// True for the ASCII characters 1-127, which every loop takes first.
inline bool is_ascii(uint32_t c) { return c - 1 < 0x7F; }

inline uint32_t code_unit(unsigned char c) { return c; }

// Copies the run of ASCII characters at src, at most room of them; returns
// its length. The two never overlap, which lets the compiler unroll the loop.
template <typename In, typename Out>
size_t copy_ascii_run(Out *__restrict dst, const In *__restrict src, size_t room) {
    size_t run = 0;
    // Four at a time while there is room; a character is read only after the
    // one before it proved not to be the terminator.
    for (; room - run >= 4; run += 4) {
        for (size_t i = 0; i < 4; ++i) {
            uint32_t c = code_unit(src[run + i]);
            if (!is_ascii(c)) return run + i;
            dst[run + i] = Out(c);
        }
    }
    for (; run < room; ++run) {
        uint32_t c = code_unit(src[run]);
        if (!is_ascii(c)) break;
        dst[run] = Out(c);
    }
    return run;
}

// Encodes the non-ASCII character at src into out when its bytes fit in
// room, advancing src; returns the bytes written, 0 when it does not fit.
template <typename Wide>
size_t encode_next(char *out, size_t room, const Wide *&src) {
    uint32_t c = code_unit(*src);
    if (c < 0x800) {
        if (room < 2) return 0;
        out[0] = char(0xC0 | (c >> 6));
        out[1] = char(0x80 | (c & 0x3F));
        ++src;
        return 2;
    }
    if (c < 0x10000 && !starts_pair(src)) {
        if (room < 3) return 0;
        out[0] = char(0xE0 | (c >> 12));
        out[1] = char(0x80 | ((c >> 6) & 0x3F));
        out[2] = char(0x80 | (c & 0x3F));
        ++src;
        return 3;
    }
    const Wide *next = src;
    c = next_code_point(next);
    size_t length = encoded_length(c);
    if (length > room) return 0;
    encode(out, c, length);
    src = next;
    return length;
}

template <typename Wide>
size_t wide_to_utf8(char *dst, const Wide *src, size_t size) {
    if (!dst || !src) return 0;
    size_t n = 0;
    for (;;) {
        size_t run = copy_ascii_run(dst + n, src, size - n);
        n += run;
        src += run;
        uint32_t c = code_unit(*src);
        if (c == 0 || n >= size) break;
        // Non-ASCII characters up to the next ASCII one.
        for (size_t written; c >= 0x80; c = code_unit(*src)) {
            written = encode_next(dst + n, size - n, src);
            if (written == 0) break;
            n += written;
        }
        if (c >= 0x80) break;  // the next character does not fit
    }
    if (n < size) dst[n] = 0;
    return n;
}

// Wide units a decoded value takes in the 16-bit form.
size_t utf16_units(uint32_t v) { return v >= 0x10000 && v <= 0x10FFFF ? 2 : 1; }

// Decodes the non-ASCII character at p into out when it fits in room,
// advancing p; returns the units written, 0 at a sequence cut short by the
// terminator or when a pair does not fit. Pairs are made only for 16-bit
// output; 32-bit output takes every value as it is.
template <typename Wide, bool kPairs>
size_t decode_next(Wide *out, size_t room, const unsigned char *&p) {
    uint32_t v = *p;
    unsigned extra = kTrailingCount[v];
    const unsigned char *next = p;
    // Two- and three-byte forms inline; the rest through the tables.
    if (extra == 1 && p[1]) {
        v = (v << 6) + p[1] - kDecodeOffset[1];
        next += 2;
    } else if (extra == 2 && p[1] && p[2]) {
        v = (v << 12) + (uint32_t(p[1]) << 6) + p[2] - kDecodeOffset[2];
        next += 3;
    } else if (!decode(next, v)) {
        return 0;
    }
    size_t units = 1;
    if (!kPairs || v < 0x10000) {
        out[0] = Wide(v);
    } else if (v > 0x10FFFF) {
        out[0] = Wide(kReplacement);
    } else if (room >= 2) {
        out[0] = Wide(((v - 0x10000) >> 10) + 0xD800);
        out[1] = Wide(((v - 0x10000) & 0x3FF) + 0xDC00);
        units = 2;
    } else {
        return 0;
    }
    p = next;
    return units;
}

// Decodes UTF-8 into 16-bit units (pairs above 0xFFFF) or 32-bit values.
template <typename Wide, bool kPairs>
size_t utf8_to_wide(Wide *dst, const char *src, size_t size) {
    if (!dst || !src) return 0;
    auto p = reinterpret_cast<const unsigned char *>(src);
    size_t n = 0;
    for (;;) {
        size_t run = copy_ascii_run(dst + n, p, size - n);
        n += run;
        p += run;
        if (*p == 0 || n >= size) break;
        // Non-ASCII characters up to the next ASCII one, while there is room.
        for (size_t written; *p >= 0x80 && n < size; n += written) {
            written = decode_next<Wide, kPairs>(dst + n, size - n, p);
            if (written == 0) break;
        }
        if (*p >= 0x80) break;  // no room, or a sequence cut short
    }
    if (n < size) dst[n] = 0;
    return n;
}

// Strict decoding: ASCII, 110xxxxx 10xxxxxx, 1110xxxx 10xxxxxx 10xxxxxx.
// Counts the units into length and writes them when out is given; false on
// anything else.
bool strict_utf8(const char *src, tw_wchar_t *out, size_t &length) {
    auto p = reinterpret_cast<const unsigned char *>(src);
    auto continuation = [](unsigned char b) { return (b & 0xC0) == 0x80; };
    length = 0;
    while (*p) {
        uint32_t c;
        if (p[0] < 0x80) {
            c = *p++;
        } else if ((p[0] & 0xE0) == 0xC0 && continuation(p[1])) {
            c = (uint32_t(p[0] & 0x1F) << 6) | (p[1] & 0x3F);
            p += 2;
        } else if ((p[0] & 0xF0) == 0xE0 && continuation(p[1]) && continuation(p[2])) {
            c = (uint32_t(p[0] & 0x0F) << 12) | (uint32_t(p[1] & 0x3F) << 6) | (p[2] & 0x3F);
            p += 3;
        } else {
            return false;
        }
        if (out) out[length] = tw_wchar_t(c);
        ++length;
    }
    if (out) out[length] = 0;
    return true;
}

bool kept_in_name(unsigned char b) {
    return (b >= 'a' && b <= 'z') || (b >= 'A' && b <= 'Z') || (b >= '0' && b <= '9') ||
           (b != 0 && std::strchr("+-./:\\_", b) != nullptr);
}

size_t name_to_utf8(const char *src, char *dst, bool keep_spaces) {
    if (!src || !dst) return 0;
    size_t n = 0;
    for (auto p = reinterpret_cast<const unsigned char *>(src); *p; ++p) {
        if (kept_in_name(*p) || (keep_spaces && *p == ' ')) {
            dst[n++] = char(*p);
        } else {
            dst[n++] = char(0xC0 | (*p >> 6));
            dst[n++] = char(0x80 | (*p & 0x3F));
        }
    }
    dst[n] = 0;
    return n;
}

}  // namespace

extern "C" {

size_t utf8_wcstombs_len(const tw_wchar_t *src) { return wide_to_utf8_length(src); }
size_t utf8_wcstombs(char *dst, const tw_wchar_t *src, size_t size) { return wide_to_utf8(dst, src, size); }
size_t utf8_wcstombs32_len(const tw_wchar32_t *src) { return wide_to_utf8_length(src); }
size_t utf8_wcstombs32(char *dst, const tw_wchar32_t *src, size_t size) { return wide_to_utf8(dst, src, size); }

size_t utf8_mbstowcs_len(const char *src) {
    if (!src) return 0;
    auto p = reinterpret_cast<const unsigned char *>(src);
    size_t n = 0;
    uint32_t v;
    while (*p) {
        if (*p < 0x80) {
            ++p;
            ++n;
        } else if (decode(p, v)) {
            n += utf16_units(v);
        } else {
            break;
        }
    }
    return n;
}

size_t utf8_mbstowcs(tw_wchar_t *dst, const char *src, size_t size) {
    return utf8_to_wide<tw_wchar_t, true>(dst, src, size);
}

size_t utf8_mbstowcs32(tw_wchar32_t *dst, const char *src, size_t size) {
    return utf8_to_wide<tw_wchar32_t, false>(dst, src, size);
}

size_t utf8_filler(char *dst, const char *src, size_t size) {
    if (!dst || size == 0) return 0;
    size_t n = 0, room = size - 1;
    for (; src && *src; ++src) {
        if (*src == ' ') {
            if (room - n < sizeof kFiller) break;
            std::memcpy(dst + n, kFiller, sizeof kFiller);
            n += sizeof kFiller;
        } else {
            if (n >= room) break;
            dst[n++] = *src;
        }
    }
    dst[n] = 0;
    return n;
}

size_t utf8_wcstombs_ex(char *dst, const tw_wchar_t *src, size_t size) {
    if (!dst || size == 0) return 0;
    char *plain = size < SIZE_MAX ? static_cast<char *>(tw::mem_alloc(size + 1)) : nullptr;
    if (!plain) {
        dst[0] = 0;
        return 0;
    }
    plain[utf8_wcstombs(plain, src, size)] = 0;
    size_t n = utf8_filler(dst, plain, size);
    tw::mem_free(plain);
    return n;
}

char *utf8_char_to_utf8(const char *src) {
    if (!src) return nullptr;
    size_t size = std::strlen(src) * 3 + 1;
    auto out = static_cast<char *>(tw::mem_alloc(size));
    if (out) utf8_filler(out, src, size);
    return out;
}

tw_wchar_t *utf8_wchar_from_utf8(const char *src) {
    if (!src) return nullptr;
    size_t bytes = (std::strlen(src) + 1) * 3;
    auto out = static_cast<tw_wchar_t *>(tw::mem_alloc(bytes));
    if (out) utf8_mbstowcs(out, src, bytes / sizeof(tw_wchar_t));
    return out;
}

int Q_UnicodeToUTF(char *dst, const tw_wchar_t *src, unsigned int size) {
    if (!src || size == 0) {
        if (dst && size) dst[0] = 0;
        return 0;
    }
    if (!dst) return 1;
    size_t room = size - 1, n = 0;
    for (; *src; ++src) {
        uint32_t c = uint16_t(*src);  // units taken one by one, pairs not combined
        size_t length = c < 0x80 ? 1 : c < 0x800 ? 2 : 3;
        if (length > room - n) {
            dst[0] = 0;
            return 1;
        }
        encode(dst + n, c, length);
        n += length;
    }
    dst[n] = 0;
    return 0;
}

int Q_UTFToUnicode(tw_wchar_t *dst, const char *src, unsigned int size) {
    if (!dst) return 1;
    if (size > 0) dst[0] = 0;
    if (!src || size == 0) return 1;
    size_t length;
    if (!strict_utf8(src, nullptr, length)) {
        int room = size > unsigned(INT_MAX) ? INT_MAX : int(size);
        if (tw::os::multibyte_to_wide(tw::os::CodePage::ansi, src, dst, room) == 0) dst[0] = 0;
        return 1;
    }
    if (length >= size) return 1;
    strict_utf8(src, dst, length);
    return 0;
}

int Q_UTF2Unicode(tw_wchar_t *dst, const char *src, unsigned int size) { return Q_UTFToUnicode(dst, src, size); }

size_t ucs1_to_utf8(const char *src, char *dst) { return name_to_utf8(src, dst, false); }
size_t ucs1_to_utf8_v2(const char *src, char *dst) { return name_to_utf8(src, dst, true); }

size_t utf8_to_ucs1(const char *src, char *dst) {
    if (!src || !dst) return 0;
    auto p = reinterpret_cast<const unsigned char *>(src);
    size_t n = 0;
    while (*p) {
        if (*p >= 0xC0 && *p <= 0xDF) {
            if (!p[1]) break;
            dst[n++] = char(uint8_t((p[0] << 6) | (p[1] & 0x3F)));
            p += 2;
        } else if (*p >= 0xE0 && *p <= 0xEF) {
            if (!p[1] || !p[2]) break;
            dst[n++] = char(uint8_t(((p[1] & 0x3F) << 6) | (p[2] & 0x3F)));
            p += 3;
        } else {
            dst[n++] = char(*p++);  // ASCII, and any other byte as it is
        }
    }
    dst[n] = 0;
    return n;
}

}  // extern "C"

TW_EXPORT_ALIAS(int, KRNameUnicode2UTF, Q_UnicodeToUTF, (char *dst, const tw_wchar_t *src, unsigned int size))
