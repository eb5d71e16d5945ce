/*
 * Module identity: the name under which the program writes to the system log.
 *
 * One process-wide heap text, none until setModuleID stores one or
 * getModuleID first derives it from the command line (the program's file
 * name without directory and extension). It stays until setModuleID
 * replaces it or the library is unloaded; not at process exit, when other
 * threads may still be writing to the system log under it. Meant for one
 * thread at a time.
 */
#include <cstring>

#include "base/alloc.h"
#include "config/release.h"
#include "twcommon/text.h"
#include "platform/self.h"
#include "twcommon/config.h"

namespace {

char *module_identity = nullptr;

void keep_identity(char *identity) {
    tw::mem_free(module_identity);
    module_identity = identity;
}

bool is_white_space(char c) { return Q_isspace(static_cast<unsigned char>(c)); }

// The program's name from a command line: the first word (white space inside
// double quotes does not end it), after its last "/", "\" or ":", up to the
// first white space or ".", without quotes around it.
char *identity_from_command_line(const char *line) {
    const char *end = line;
    for (bool quoted = false; *end && (quoted || !is_white_space(*end)); ++end)
        if (*end == '"') quoted = !quoted;
    const char *start = end;
    while (start > line && !std::strchr("/\\:", start[-1])) --start;
    if (*start == '"') ++start;  // a quoted program name without any directory
    size_t length = 0;
    while (start[length] && !is_white_space(start[length]) && start[length] != '.') ++length;
    if (length > 0 && start[length - 1] == '"') --length;
    return tw::copy_text(start, length);
}

}  // namespace

extern "C" {

int setModuleID(const char *identity) {
    if (!identity) return 0;
    char *copy = tw::copy_text(identity, std::strlen(identity));
    if (!copy) return 0;
    keep_identity(copy);
    return 1;
}

const char *getModuleID(void) {
    if (module_identity) return module_identity;
    char *line = tw::os::ansi_command_line();
    char *identity = line ? identity_from_command_line(line) : nullptr;
    tw::mem_free(line);
    if (!identity) return "";  // nothing kept: the next call tries again
    keep_identity(identity);
    return module_identity;
}

}  // extern "C"

void tw::config::release_module_identity() {
    tw::mem_free(module_identity);
    module_identity = nullptr;
}
