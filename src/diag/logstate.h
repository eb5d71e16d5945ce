/*
 * Process-wide state of the debug log, shared by the line writers
 * (debuglog.cpp) and the file handling (logfile.cpp). Unguarded: the logs
 * are used from one thread at a time.
 */
#ifndef TW_DIAG_LOGSTATE_H
#define TW_DIAG_LOGSTATE_H

#include <cstddef>

#include "twcommon/diag.h"

namespace tw::diag {

constexpr int kLogPathSize = 1025;  // 1024 characters and the terminator

struct LogState {
    char directory[kLogPathSize] = "";  // of the open debug log; kept from the first open
    int recycle = 0;                    // numbered files with size and count caps
    unsigned max_files = 0;
    unsigned max_kb = 0;
    int sequence = -1;  // of the numbered file now open
    int open_mode = 0;  // permission argument of the last successful open
    int open_day = 0;   // local day of the month at the last successful open
    // Zero-byte writes retried in the life of the process; never refilled.
    int zero_write_budget = 5;
    log_callback_fn callback = nullptr;
    void *callback_datum = nullptr;
};

extern LogState log_state;

// Before a line of line_length bytes goes to debugFD on day (of the month):
// moves debugFD to a new day's file or, with numbered files, to the next
// file when the line would take it past the size cap. False when that
// reopen failed, *status then holding its errno (debugFD is negative).
bool keep_debug_log_current(int day, size_t line_length, int *status);

}  // namespace tw::diag

#endif
