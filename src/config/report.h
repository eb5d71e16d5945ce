// Configuration failures go to the system log under the program's identity:
// open, one message, close.
#ifndef TW_CONFIG_REPORT_H
#define TW_CONFIG_REPORT_H

#include <cstdint>

#include "twcommon/config.h"
#include "twcommon/diag.h"

namespace tw::config {

template <typename... Args>
void report(uint32_t event, int priority, const char *format, Args... args) {
    Q_Openlog(getModuleID());
    Q_Syslog(event, priority, format, args...);
    Q_Closelog();
}

// The registry key whose values are the rows of the paths file.
constexpr char kPathsKey[] = "SOFTWARE\\Quorvex\\Tallowind\\CurrentVersion\\Paths";

}  // namespace tw::config

#endif
