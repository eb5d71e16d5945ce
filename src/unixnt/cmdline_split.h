// Splitting a command line into an argument vector by the NT runtime's
// quoting rules (see cmdline_split.cpp).
#ifndef TW_UNIXNT_CMDLINE_SPLIT_H
#define TW_UNIXNT_CMDLINE_SPLIT_H

namespace tw {

// Splits line (null counts as empty) into *argv: one block from mem_alloc
// holding count + 1 pointers (the last null) followed by the texts. Returns
// the count, program name included, or 0 with *argv untouched when the block
// cannot be allocated.
int split_command_line(const char *line, char ***argv);

}  // namespace tw

#endif
