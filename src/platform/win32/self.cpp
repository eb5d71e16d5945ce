/*
 * The process on Windows: its 8-bit command line.
 */
#include <windows.h>

#include <cstring>

#include "base/alloc.h"
#include "platform/self.h"

namespace tw::os {

char *ansi_command_line() {
    const char *line = GetCommandLineA();
    if (!line) return nullptr;
    size_t size = std::strlen(line) + 1;
    auto copy = static_cast<char *>(mem_alloc(size));
    if (copy) std::memcpy(copy, line, size);
    return copy;
}

}  // namespace tw::os
