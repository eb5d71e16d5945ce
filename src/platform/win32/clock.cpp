#include <windows.h>

#include "platform/clock.h"

namespace tw::os {

void read_local_clock(LocalClock *out) {
    SYSTEMTIME now;
    GetLocalTime(&now);
    *out = {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds};
}

void sleep_milliseconds(unsigned milliseconds) { Sleep(milliseconds); }

}  // namespace tw::os
