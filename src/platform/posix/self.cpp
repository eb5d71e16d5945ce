/*
 * The process off Windows. Its arguments are bytes as given, so the 8-bit
 * command line is the one rebuilt from the argument vector in the NT manner.
 */
#include "platform/process.h"
#include "platform/self.h"

namespace tw::os {

char *ansi_command_line() { return process_command_line(); }

}  // namespace tw::os
