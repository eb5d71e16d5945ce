// twtool: the command-line front end of the library. Each command lives in
// its own file and registers itself with TWTOOL_COMMAND; it receives the
// arguments after its name and returns the process exit code (2 for a usage
// error, printing its usage line).
#ifndef TWTOOL_COMMANDS_H
#define TWTOOL_COMMANDS_H

#include <string>
#include <vector>

namespace twtool {

using Args = std::vector<std::string>;
using CommandFunction = int (*)(const Args &args);

struct Command {
    const char *name;
    const char *usage;  // "name ARGS   what it does"
    CommandFunction run;
};

// Adds a command to the table; used through TWTOOL_COMMAND at namespace scope.
bool register_command(const Command &command);

// Prints "usage: twtool <usage of name>" to stderr and returns 2.
int usage_error(const char *name);

}  // namespace twtool

#define TWTOOL_CONCAT2(a, b) a##b
#define TWTOOL_CONCAT(a, b) TWTOOL_CONCAT2(a, b)
#define TWTOOL_COMMAND(name, usage, function) \
    static const bool TWTOOL_CONCAT(twtool_registered_, __LINE__) = twtool::register_command({name, usage, function})

#endif
