/*
 * Builders of NT command lines from a command path or an argument vector.
 *
 * Built command lines live in zero-filled command-line blocks (the global
 * heap on NT) and are released only with FreeNTCmdLine. A program under an
 * install root whose name holds a blank must be quoted, or NT process
 * creation would split its path; only the program path is quoted, the
 * arguments are the caller's business.
 *
 * FixNTargv keeps one process-wide block with the quoted program path; it
 * is released when the DLL is unloaded (FreeNTCmdArgsVectors). Off Windows
 * it is left to the system at exit: a destructor there would also run at
 * process exit, while other threads may still use the vector.
 */
#include <cstring>

#include "base/alloc.h"
#include "platform/process.h"
#include "twcommon/config.h"
#include "twcommon/text.h"
#include "twcommon/unixnt.h"

namespace {

char *quoted_program_block;  // the last block FixNTargv made

char *block_copy(const char *text) {
    size_t size = std::strlen(text) + 1;
    char *block = tw::os::command_line_block(size);
    if (block) std::memcpy(block, text, size);
    return block;
}

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// A first element in quotes already ("..."), judged by its own last character.
bool is_quoted(const char *element) {
    size_t length = std::strlen(element);
    return length >= 2 && element[0] == '"' && element[length - 1] == '"';
}

}  // namespace

extern "C" {

char *newNTCmdLine(const char *command) {
    if (!command) return nullptr;
    const char *root = getOrrickString("KR_DIR");
    if (!root || !std::strchr(root, ' ')) return block_copy(command);
    size_t root_length = std::strlen(root);
    if (std::strncmp(command, root, root_length) != 0) return block_copy(command);

    // The program path ends at the first blank after the root.
    const char *blank = std::strchr(command + root_length, ' ');
    size_t program_length = blank ? size_t(blank - command) : std::strlen(command);
    char *program = tw::copy_text(command, program_length);
    if (!program) return nullptr;
    char *quoted = createNTOrrickString(program);
    tw::mem_free(program);
    if (!quoted) return block_copy(command);  // unbalanced quotes: leave it as it is

    char *block;
    if (!blank) {
        block = block_copy(quoted);
    } else {
        unsigned size = unsigned(std::strlen(command) + 4);
        block = tw::os::command_line_block(size);
        if (block) {
            Q_strlcpy(block, quoted, size);
            Q_strlcat(block, blank, size);
        }
    }
    free(quoted);
    return block;
}

char *appendNTCmdLine(const char *command_line, const char *tail) {
    if (!command_line) command_line = "";
    if (!tail) tail = "";
    size_t kept = std::strlen(command_line);
    while (kept > 0 && is_blank(command_line[kept - 1])) --kept;
    size_t tail_length = std::strlen(tail);
    char *block = tw::os::command_line_block(kept + tail_length + 1);
    if (!block) return nullptr;
    std::memcpy(block, command_line, kept);
    std::memcpy(block + kept, tail, tail_length + 1);
    return block;
}

void FixNTargv(char **argv) {
    if (!argv || !argv[0] || is_quoted(argv[0])) return;
    size_t length = std::strlen(argv[0]);
    char *quoted = static_cast<char *>(tw::mem_alloc(length + 3));
    if (!quoted) return;
    quoted[0] = '"';
    std::memcpy(quoted + 1, argv[0], length);
    quoted[length + 1] = '"';
    quoted[length + 2] = '\0';
    // An earlier block may still be the first element of another vector.
    quoted_program_block = quoted;
    argv[0] = quoted;
}

char *GetNTCommandLineFromArgs(char **argv) {
    if (!argv || !argv[0]) return nullptr;
    unsigned size = unsigned(std::strlen(argv[0]) + 257);
    char *block = tw::os::command_line_block(size);
    if (!block) return nullptr;
    FixNTargv(argv);
    Q_strlcpy(block, argv[0], size);
    for (char **arg = argv + 1; *arg; ++arg) {
        Q_strlcat(block, " ", size);
        Q_strlcat(block, *arg, size);
    }
    return block;
}

void FreeNTCmdLine(char *command_line) { tw::os::free_command_line_block(command_line); }

int FreeNTCmdArgsVectors(void) {
    tw::mem_free(quoted_program_block);
    quoted_program_block = nullptr;
    return 1;
}

}  // extern "C"
