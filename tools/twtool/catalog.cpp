// twtool msg and syslog: look a message up in the catalogue of a locale, and
// write a line to the system log under twtool's own module identity.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "commands.h"
#include "twcommon/config.h"
#include "twcommon/diag.h"
#include "twcommon/locale.h"

namespace {

int msg_command(const twtool::Args &args) {
    if (args.size() != 2) return twtool::usage_error("msg");
    const char *locale = args[0].c_str();
    const char *id = args[1].c_str();
    const char *text = std::strncmp(id, "V-", 2) == 0 ? getLocalMsgFmtUMI(locale, id) : getLocalMsgFmt(locale, id);
    if (!text) {
        std::printf("%s: no catalogue text in locale %s; the built-in text applies\n", id, locale);
        return 1;
    }
    std::printf("%s\n", text);
    return 0;
}

// A logger priority by number (0-7) or by name.
bool parse_priority(const std::string &text, int *priority) {
    static const char *const names[] = {"emerg", "alert", "crit", "err", "warning", "notice", "info", "debug"};
    for (int i = 0; i < 8; ++i) {
        if (text == names[i] || text == std::to_string(i)) {
            *priority = i;
            return true;
        }
    }
    return false;
}

int syslog_command(const twtool::Args &args) {
    int priority = 0;
    if (args.size() != 2 || !parse_priority(args[0], &priority)) return twtool::usage_error("syslog");
    const char *identity = getModuleID();
    Q_Openlog(identity);
    const int reported = NTsyslog(priority, "%s", args[1].c_str());
    Q_Closelog();
    if (!reported) {
        std::fprintf(stderr, "twtool: the event log did not take the message (identity %s)\n", identity);
        return 1;
    }
    std::printf("reported under identity %s\n", identity);
    return 0;
}

}  // namespace

TWTOOL_COMMAND("msg", "msg LOCALE ID         the catalogue text of message ID (or V-CODE-N) in LOCALE", msg_command);
TWTOOL_COMMAND("syslog", "syslog PRIORITY TEXT  write TEXT to the system log (PRIORITY 0-7 or emerg..debug)",
               syslog_command);
