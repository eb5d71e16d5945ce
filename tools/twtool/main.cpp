// twtool: runs the library's facilities from the command line.
#include <cstdio>
#include <cstring>

#include "commands.h"

namespace {

struct Command {
    const char *name;
    const char *usage;
    int (*run)(const twtool::Args &);
};

const Command kCommands[] = {
    {"version", "version              the library's version", twtool::version_command},
};

void print_help(FILE *out) {
    std::fprintf(out, "usage: twtool COMMAND [ARGUMENTS...]\n\ncommands:\n");
    for (const Command &c : kCommands) std::fprintf(out, "  %s\n", c.usage);
    std::fprintf(out, "  --help               this text\n");
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        print_help(stderr);
        return 2;
    }
    if (!std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "help")) {
        print_help(stdout);
        return 0;
    }
    for (const Command &c : kCommands)
        if (!std::strcmp(argv[1], c.name)) return c.run(twtool::Args(argv + 2, argv + argc));
    std::fprintf(stderr, "twtool: unknown command '%s'\n\n", argv[1]);
    print_help(stderr);
    return 2;
}
