// twtool log and logs: write a line through the common log into a
// program's log directory, and list a directory's log files oldest first.
#include <cstdio>
#include <string>

#include "commands.h"
#include "twcommon/diag.h"

namespace {

int log_command(const twtool::Args &args) {
    if (args.size() < 3) return twtool::usage_error("log");
    std::string text = args[2];
    for (size_t i = 3; i < args.size(); ++i) text += " " + args[i];
    int err = cmnlogOPEN(args[0].c_str(), args[1].c_str(), 0755);
    if (err != 0) {
        std::fprintf(stderr, "twtool: cannot open the log in %s: %s\n", args[0].c_str(), sysErrorString(err));
        return 1;
    }
    int result = cmnlogMSG(2, text.c_str(), "twtool");
    cmnlogCLOSE();
    if (result != 0) {
        std::fprintf(stderr, "twtool: the line was not written (%d)\n", result);
        return 1;
    }
    return 0;
}

int logs_command(const twtool::Args &args) {
    if (args.empty() || args.size() > 2) return twtool::usage_error("logs");
    unsigned count = 0;
    int err = 0;
    char **list = rl_get_logfile_list(args[0].c_str(), args.size() == 2 ? args[1].c_str() : nullptr, &count, &err);
    if (!list && err != 0) {
        std::fprintf(stderr, "twtool: cannot list %s: %s\n", args[0].c_str(), sysErrorString(err));
        return 1;
    }
    for (unsigned i = 0; i < count; ++i) std::printf("%s\n", list[i]);
    rl_free_logfile_list(list);
    return 0;
}

}  // namespace

TWTOOL_COMMAND("log", "log DIR NAME TEXT...  write TEXT through the common log into DIR for program NAME",
               log_command);
TWTOOL_COMMAND("logs", "logs DIR [PREFIX]     the log files of DIR (of date PREFIX, MMDDYY), oldest first",
               logs_command);
