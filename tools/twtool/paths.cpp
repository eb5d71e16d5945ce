// twtool paths and expand: show named paths as this machine resolves them
// (built-in rows with the registry's Paths key laid over them), and expand
// any template.
#include <cstdio>

#include "commands.h"
#include "twcommon/config.h"

namespace {

void print_path(const char *name, const char *value, void *) { std::printf("%s=%s\n", name, value); }

int paths_command(const twtool::Args &args) {
    if (args.empty()) {
        forEachOrrickString(print_path, nullptr);
        return 0;
    }
    for (const std::string &name : args) print_path(name.c_str(), getOrrickString(name.c_str()), nullptr);
    return 0;
}

int expand_command(const twtool::Args &args) {
    if (args.size() != 1) return twtool::usage_error("expand");
    char *value = expandOrrickString(args[0].c_str());
    if (!value) {
        std::fprintf(stderr, "twtool: out of memory\n");
        return 1;
    }
    std::printf("%s\n", value);
    freeOrrickString(value);
    return 0;
}

}  // namespace

TWTOOL_COMMAND("paths", "paths [NAME...]      every named path, or the given ones, as NAME=value", paths_command);
TWTOOL_COMMAND("expand", "expand TEMPLATE      the template with its $NAME references expanded", expand_command);
