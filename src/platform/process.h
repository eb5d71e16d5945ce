/*
 * Process facilities of the OS layer used by the command-line code: the
 * zero-filled blocks that hold built NT command lines, and the process's
 * own command line as UTF-8.
 */
#ifndef TW_PLATFORM_PROCESS_H
#define TW_PLATFORM_PROCESS_H

#include <cstddef>

namespace tw::os {

// A zero-filled block for a command-line string (GlobalAlloc with zero fill
// on Windows, the library's allocator elsewhere); null when it cannot be had.
char *command_line_block(size_t size);
void free_command_line_block(char *block);

// The process command line as a new UTF-8 string (release with mem_free), or
// null when it cannot be obtained. On Windows it is GetCommandLineW converted;
// elsewhere the argument vector joined with the quoting that splits back to
// the same vector.
char *process_command_line();

}  // namespace tw::os

#endif
