/*
 * Bounded copy and append of 8-bit and 16-bit wide strings.
 *
 * One template serves both widths: the wide functions follow the 8-bit rules
 * character for character. Results count what was put into dst, never the
 * length that would have been needed; null pointers and zero sizes write
 * nothing and return 0 (-1 for verify).
 */
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "twcommon/text.h"

namespace {

// Characters before the first zero among the first max ones (max when there
// is none). Nothing past that bound is read: the copy functions never
// measure a source's full length.
size_t bounded_length(const char *s, size_t max) {
    const void *zero = std::memchr(s, 0, max);
    return zero ? size_t(static_cast<const char *>(zero) - s) : max;
}

size_t bounded_length(const tw_wchar_t *s, size_t max) {
    size_t n = 0;
    while (n < max && s[n] != 0) ++n;
    return n;
}

template <typename Char>
size_t length_of(const Char *s) {
    return std::char_traits<Char>::length(s);
}

template <typename Char>
int bounded_copy(Char *dst, const Char *src, unsigned size) {
    if (size == 0 || !src || !dst) return 0;
    size_t n = bounded_length(src, size - 1);
    std::memcpy(dst, src, n * sizeof(Char));
    dst[n] = 0;
    return int(n);
}

template <typename Char>
int bounded_append(Char *dst, const Char *src, unsigned size) {
    if (size == 0 || !src || !dst) return 0;
    size_t length = bounded_length(dst, size);
    size_t room = size - length;  // 0 when dst has no terminator within size
    if (room < 2) return 0;       // not even one character and its terminator
    return bounded_copy(dst + length, src, unsigned(room));
}

// Copies up to m characters, zero-filling the rest of the m once the source
// ends.
template <typename Char>
void copy_field(Char *dst, const Char *src, unsigned m) {
    size_t n = bounded_length(src, m);
    std::memcpy(dst, src, n * sizeof(Char));
    std::fill(dst + n, dst + m, Char(0));
}

template <typename Char>
int bounded_ncopy(Char *dst, const Char *src, unsigned n, unsigned size) {
    if (size == 0 || !src || !dst) return 0;
    unsigned m = std::min(n, size);
    copy_field(dst, src, m);
    if (m == size) {
        dst[size - 1] = 0;
        return int(size - 1);
    }
    dst[m] = 0;
    return int(m);  // counts the zero fill: callers use it as the field width
}

template <typename Char>
int bounded_nappend(Char *dst, const Char *src, unsigned n, unsigned size) {
    // The length of dst is measured before anything else; a null dst, which
    // callers must not pass, is refused rather than dereferenced.
    if (!dst) return 0;
    uint64_t limit = std::min<uint64_t>(uint64_t(length_of(dst)) + n + 1, size);
    return bounded_append(dst, src, unsigned(limit));
}

template <typename Char>
int field_copy(Char *dst, const Char *src, unsigned n, unsigned size) {
    if (!dst || !src || n == 0) return 0;
    unsigned m = std::min(n, size);
    copy_field(dst, src, m);  // terminated only when the source was shorter
    return int(m);
}

template <typename Char>
int verify(const Char *buf, unsigned size, unsigned *length) {
    if (length) *length = 0;
    if (!buf) return -1;
    size_t n = bounded_length(buf, size);
    if (n == size) return -1;
    if (length) *length = unsigned(n);
    return 0;
}

}  // namespace

extern "C" {

int Q_strlcpy(char *dst, const char *src, unsigned size) { return bounded_copy(dst, src, size); }
int Q_strlcat(char *dst, const char *src, unsigned size) { return bounded_append(dst, src, size); }
int Q_strlncpy(char *dst, const char *src, unsigned n, unsigned size) {
    return bounded_ncopy(dst, src, n, size);
}
int Q_strlncat(char *dst, const char *src, unsigned n, unsigned size) {
    return bounded_nappend(dst, src, n, size);
}
int Q_strXncpy(char *dst, const char *src, unsigned n, unsigned size) {
    return field_copy(dst, src, n, size);
}
int Q_strverify(const char *buf, unsigned size, unsigned *length) { return verify(buf, size, length); }

int Q_wcslcpy(tw_wchar_t *dst, const tw_wchar_t *src, unsigned size) { return bounded_copy(dst, src, size); }
int Q_wcslcat(tw_wchar_t *dst, const tw_wchar_t *src, unsigned size) {
    return bounded_append(dst, src, size);
}
int Q_wcslncpy(tw_wchar_t *dst, const tw_wchar_t *src, unsigned n, unsigned size) {
    return bounded_ncopy(dst, src, n, size);
}
int Q_wcslncat(tw_wchar_t *dst, const tw_wchar_t *src, unsigned n, unsigned size) {
    return bounded_nappend(dst, src, n, size);
}
int Q_wstrXncpy(tw_wchar_t *dst, const tw_wchar_t *src, unsigned n, unsigned size) {
    return field_copy(dst, src, n, size);
}
int Q_wstrverify(const tw_wchar_t *buf, unsigned size, unsigned *length) {
    return verify(buf, size, length);
}

}  // extern "C"
