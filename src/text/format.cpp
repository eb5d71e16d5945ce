/*
 * Bounded formatting through the C runtime's formatter.
 *
 * The return rules hide the runtime's own: msvcrt returns a negative count on
 * overflow and leaves the buffer unterminated when the text fills it exactly,
 * a standard formatter returns the length it needed. Both become size-1 with
 * the last slot terminated, so a result of size-1 means "full, possibly cut".
 */
#include "platform/platform.h"
#include "twcommon/text.h"

namespace {

int find_terminator(const char *buf, unsigned size, unsigned *length) {
    return Q_strverify(buf, size, length);
}
#if defined(_WIN32)
int find_terminator(const wchar_t *buf, unsigned size, unsigned *length) {
    return Q_wstrverify(buf, size, length);
}
#endif

template <typename Char, typename Formatter>
int bounded_format(Char *buf, unsigned size, const Char *format, va_list args, Formatter formatter) {
    if (size == 0 || !buf) return -1;
    if (!format) {  // nothing to format: an empty text rather than a crash
        buf[0] = 0;
        return 0;
    }
    int count = formatter(buf, size, format, args);
    if (count >= 0 && unsigned(count) < size) return count;
    buf[size - 1] = 0;
    return int(size - 1);
}

// Appends the formatted text to the terminated text already in buf.
template <typename Char, typename Formatter>
int append_format(Char *buf, unsigned size, const Char *format, va_list args, Formatter formatter) {
    unsigned length = 0;
    if (!buf || find_terminator(buf, size, &length) != 0) return -1;
    return bounded_format(buf + length, size - length, format, args, formatter);
}

}  // namespace

extern "C" {

int Q_vsnprintf(char *buf, unsigned size, const char *format, va_list args) {
    return bounded_format(buf, size, format, args, tw::os::format_text);
}

int Q_snprintf(char *buf, unsigned size, const char *format, ...) {
    va_list args;
    va_start(args, format);
    int result = Q_vsnprintf(buf, size, format, args);
    va_end(args);
    return result;
}

int Q_cat_snprintf(char *buf, unsigned size, const char *format, ...) {
    va_list args;
    va_start(args, format);
    int result = append_format(buf, size, format, args, tw::os::format_text);
    va_end(args);
    return result;
}

#if defined(_WIN32)
int Q_vsnwprintf(wchar_t *buf, unsigned size, const wchar_t *format, va_list args) {
    return bounded_format(buf, size, format, args, tw::os::format_wide_text);
}

int Q_snwprintf(wchar_t *buf, unsigned size, const wchar_t *format, ...) {
    va_list args;
    va_start(args, format);
    int result = Q_vsnwprintf(buf, size, format, args);
    va_end(args);
    return result;
}

int Q_cat_snwprintf(wchar_t *buf, unsigned size, const wchar_t *format, ...) {
    va_list args;
    va_start(args, format);
    int result = append_format(buf, size, format, args, tw::os::format_wide_text);
    va_end(args);
    return result;
}
#endif

}  // extern "C"
