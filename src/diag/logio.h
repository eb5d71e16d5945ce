/*
 * The clock and the write that the debug logs use. Both normally go straight
 * to the OS layer; the test suite can stop the clock at a chosen local time
 * (to cross a day boundary) and make the next writes write nothing (to spend
 * the zero-write budget), through the hooks in logio.cpp.
 */
#ifndef TW_DIAG_LOGIO_H
#define TW_DIAG_LOGIO_H

#include "platform/clock.h"

namespace tw::diag {

void read_log_clock(os::LocalClock *out);

// One low-level write of the log: as the OS layer's, or 0 while a test has
// zero-byte writes pending.
int write_log_bytes(int fd, const char *data, unsigned size);

}  // namespace tw::diag

#endif
