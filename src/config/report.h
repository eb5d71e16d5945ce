// Configuration failures go to the system log. When the program has the log
// open, the report goes through it and leaves it open; otherwise the log is
// opened under the program's identity for this one message and closed again.
#ifndef TW_CONFIG_REPORT_H
#define TW_CONFIG_REPORT_H

#include <cstdint>

#include "twcommon/config.h"
#include "diag/syslog.h"
#include "twcommon/diag.h"

namespace tw::config {

template <typename... Args>
void report(uint32_t event, int priority, const char *format, Args... args) {
    const bool open_here = !tw::diag::system_log_is_open();
    if (open_here) Q_Openlog(getModuleID());
    Q_Syslog(event, priority, format, args...);
    if (open_here) Q_Closelog();
}

// The registry key whose values are the rows of the paths file.
constexpr char kPathsKey[] = "SOFTWARE\\Quorvex\\Tallowind\\CurrentVersion\\Paths";

}  // namespace tw::config

#endif
