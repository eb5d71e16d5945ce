// twtool: runs the library's facilities from the command line.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "commands.h"

namespace twtool {
namespace {

std::vector<Command> &table() {
    static std::vector<Command> commands;
    return commands;
}

const Command *find(const char *name) {
    for (const Command &c : table())
        if (!std::strcmp(name, c.name)) return &c;
    return nullptr;
}

void print_help(FILE *out) {
    std::fprintf(out, "usage: twtool COMMAND [ARGUMENTS...]\n\ncommands:\n");
    std::vector<Command> sorted = table();
    std::sort(sorted.begin(), sorted.end(),
              [](const Command &a, const Command &b) { return std::strcmp(a.name, b.name) < 0; });
    for (const Command &c : sorted) {
        // A usage is "synopsis  description": align the descriptions.
        const char *gap = std::strstr(c.usage, "  ");
        int synopsis = gap ? int(gap - c.usage) : int(std::strlen(c.usage));
        const char *description = gap ? gap + std::strspn(gap, " ") : "";
        std::fprintf(out, "  %-28.*s %s\n", synopsis, c.usage, description);
    }
    std::fprintf(out, "  %-28s %s\n", "--help", "this text");
}

}  // namespace

bool register_command(const Command &command) {
    table().push_back(command);
    return true;
}

int usage_error(const char *name) {
    const Command *c = find(name);
    std::fprintf(stderr, "usage: twtool %s\n", c ? c->usage : name);
    return 2;
}

}  // namespace twtool

int main(int argc, char **argv) {
    if (argc < 2) {
        twtool::print_help(stderr);
        return 2;
    }
    if (!std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "help")) {
        twtool::print_help(stdout);
        return 0;
    }
    if (const twtool::Command *c = twtool::find(argv[1])) return c->run(twtool::Args(argv + 2, argv + argc));
    std::fprintf(stderr, "twtool: unknown command '%s'\n\n", argv[1]);
    twtool::print_help(stderr);
    return 2;
}
