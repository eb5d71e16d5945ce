// What the library's own reports need to know of the program's system log.
#ifndef TW_DIAG_SYSLOG_H
#define TW_DIAG_SYSLOG_H

namespace tw::diag {

// True while the program has the system log open (Q_Openlog until Q_Closelog).
bool system_log_is_open();

}  // namespace tw::diag

#endif
