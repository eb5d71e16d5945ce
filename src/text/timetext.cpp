/*
 * Thread-safe time texts: each caller gets its own copy of what the C
 * runtime returns in shared storage. The copy is made at once, unlocked.
 */
#include <cerrno>

#include "platform/platform.h"
#include "twcommon/text.h"

namespace {

// The fixed-format time text: 24 characters, a line feed and the terminator.
constexpr unsigned kTimeTextSize = 26;

template <typename Source>
char *copy_time_text(const Source *source, char *buf, unsigned size,
                     const char *(*text_of)(const Source *, char (&)[64])) {
    if (size < kTimeTextSize) {
        errno = ERANGE;
        return nullptr;
    }
    if (!source || !buf) return nullptr;
    char scratch[64];
    const char *text = text_of(source, scratch);
    if (!text) return nullptr;
    Q_strlcpy(buf, text, size);
    return buf;
}

struct tm *copy_broken_down(const time_t *t, struct tm *out, bool (*convert)(const time_t *, struct tm *)) {
    struct tm converted {};
    if (!t || !out || !convert(t, &converted)) return nullptr;
    out->tm_sec = converted.tm_sec;
    out->tm_min = converted.tm_min;
    out->tm_hour = converted.tm_hour;
    out->tm_mday = converted.tm_mday;
    out->tm_mon = converted.tm_mon;
    out->tm_year = converted.tm_year;
    out->tm_wday = converted.tm_wday;
    out->tm_yday = converted.tm_yday;
    out->tm_isdst = converted.tm_isdst;
    return out;
}

}  // namespace

extern "C" {

char *Q_ctime(const time_t *t, char *buf, unsigned size) {
    return copy_time_text(t, buf, size, tw::os::ctime_text);
}

char *Q_asctime(const struct tm *tm, char *buf, unsigned size) {
    return copy_time_text(tm, buf, size, tw::os::asctime_text);
}

struct tm *Q_localtime(const time_t *t, struct tm *out) { return copy_broken_down(t, out, tw::os::local_time); }

struct tm *Q_gmtime(const time_t *t, struct tm *out) { return copy_broken_down(t, out, tw::os::utc_time); }

}  // extern "C"
