// twtool: the command-line front end of the library. Each subcommand is a
// function taking its own arguments (after the subcommand name).
#ifndef TWTOOL_COMMANDS_H
#define TWTOOL_COMMANDS_H

#include <string>
#include <vector>

namespace twtool {

using Args = std::vector<std::string>;

int version_command(const Args &args);

}  // namespace twtool

#endif
