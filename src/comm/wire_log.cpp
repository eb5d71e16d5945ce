/*
 * Failure reports of the wire encoding (see wire_log.h).
 */
#include "comm/wire_log.h"

#include <cstdarg>
#include <cstdint>

#include "twcommon/diag.h"
#include "twcommon/text.h"

namespace tw::comm {

namespace {

// Room for the longest report: a received text line is shown up to 4095
// characters.
constexpr unsigned kReportSize = 4200;

}  // namespace

void log_with_error(int level, int error, const char *function, const char *format, ...) {
    char first_pass[kReportSize];
    va_list args;
    va_start(args, format);
    Q_vsnprintf(first_pass, sizeof first_pass, format, args);
    va_end(args);
    // The first pass is done: hand the result over as a plain text argument,
    // so that only its "%s" place is read in the second pass.
    char report[kReportSize];
    FormatErrorMessageStr(uint32_t(error), report, int(sizeof report), "%s", first_pass);
    logmsg(level, report, function);
}

void log_text(int level, const char *function, const char *format, ...) {
    char report[kReportSize];
    va_list args;
    va_start(args, format);
    Q_vsnprintf(report, sizeof report, format, args);
    va_end(args);
    logmsg(level, report, function);
}

}  // namespace tw::comm
