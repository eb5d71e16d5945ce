/*
 * Facts about the running process from the OS layer.
 */
#ifndef TW_PLATFORM_SELF_H
#define TW_PLATFORM_SELF_H

namespace tw::os {

// The process command line in its 8-bit (ANSI) form, as a new block from
// tw::mem_alloc (release it with tw::mem_free); null when memory runs out or
// the line cannot be read. Off Windows the bytes of the argument vector are
// joined as an NT command line would show them.
char *ansi_command_line();

}  // namespace tw::os

#endif
