// twtool ls: the visible names of a directory in byte order, one per line,
// as the library lists them (names beginning with "." left out).
#include <cstdio>

#include "commands.h"
#include "twcommon/containers.h"
#include "twcommon/diag.h"

namespace {

int ls_command(const twtool::Args &args) {
    if (args.size() != 1) return twtool::usage_error("ls");
    int err = 0;
    char **names = get_dir_list(args[0].c_str(), &err);
    if (!names && err != 0) {
        std::fprintf(stderr, "twtool: cannot list %s: %s (%d)\n", args[0].c_str(), sysErrorString(err), err);
        return 1;
    }
    for (char **name = names; name && *name; ++name) std::printf("%s\n", *name);
    free_dir_list(names);
    return 0;
}

}  // namespace

TWTOOL_COMMAND("ls", "ls DIR               the visible names in DIR, sorted", ls_command);
