/*
 * Facts about the running process from the OS layer.
 */
#ifndef TW_PLATFORM_SELF_H
#define TW_PLATFORM_SELF_H

namespace tw::os {

// The process command line in its 8-bit form, as a new block from
// tw::mem_alloc (release it with tw::mem_free); null when memory runs out or
// the line cannot be read. Off Windows the arguments are joined by blanks,
// and an argument holding white space is put in double quotes, so that the
// line reads as it would on NT.
char *process_command_line();

}  // namespace tw::os

#endif
