#include <ctime>

#include "platform/clock.h"

namespace tw::os {

void read_local_clock(LocalClock *out) {
    struct timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    // Lines come many to the second: the broken-down time of the last
    // second seen (per thread) saves the time-zone conversion.
    thread_local time_t converted_second = -1;
    thread_local struct tm local {};
    if (now.tv_sec != converted_second) {
        localtime_r(&now.tv_sec, &local);
        converted_second = now.tv_sec;
    }
    *out = {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
            local.tm_min,         local.tm_sec,     int(now.tv_nsec / 1000000)};
}

void sleep_milliseconds(unsigned milliseconds) {
    struct timespec pause {
        time_t(milliseconds / 1000), long(milliseconds % 1000) * 1000000L
    };
    while (nanosleep(&pause, &pause) != 0) {
    }
}

}  // namespace tw::os
