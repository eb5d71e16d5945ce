/*
 * The local wall clock of the OS layer, to the millisecond, and sleeping.
 */
#ifndef TW_PLATFORM_CLOCK_H
#define TW_PLATFORM_CLOCK_H

namespace tw::os {

// Local date and time as the system gives it (GetLocalTime on Windows).
struct LocalClock {
    int year;    // e.g. 2007
    int month;   // 1..12
    int day;     // 1..31
    int hour;    // 0..23
    int minute;  // 0..59
    int second;  // 0..59 (60 for a leap second where the system reports one)
    int millisecond;
};

void read_local_clock(LocalClock *out);

void sleep_milliseconds(unsigned milliseconds);

}  // namespace tw::os

#endif
