/*
 * Failure reports of the wire encoding: every reader and writer logs through
 * logmsg under its own exported name. A text may carry one "%%s" place that
 * is filled, in a second pass, with the system's text for an error number.
 */
#ifndef TW_COMM_WIRE_LOG_H
#define TW_COMM_WIRE_LOG_H

#include "twcommon/base.h"

namespace tw::comm {

// The level of failure reports; notes on retried writes and on time-out
// settings go at kNoteLevel.
constexpr int kFailureLevel = 2;
constexpr int kNoteLevel = 8;

// Formats format with the arguments, puts the text of error in the place of
// "%s" that survives the first pass, and logs the result under function.
void log_with_error(int level, int error, const char *function, const char *format, ...) TW_PRINTF(4, 5);

// Formats format with the arguments and logs the result under function.
void log_text(int level, const char *function, const char *format, ...) TW_PRINTF(3, 4);

// True for the receive errors that mean "interrupted": the C library's 4 and
// the sockets interface's 10004.
inline bool is_interrupted(int error) { return error == 4 || error == 10004; }

// True for "would block" (10035) and "try again" (11002).
inline bool is_would_block(int error) { return error == 10035 || error == 11002; }

}  // namespace tw::comm

#endif
