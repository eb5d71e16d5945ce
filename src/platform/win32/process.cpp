/*
 * Process facilities of the OS layer on Windows: command-line blocks come
 * from the global heap (zero-filled), the command line from GetCommandLineW.
 */
#include <windows.h>

#include "base/alloc.h"
#include "platform/platform.h"
#include "platform/process.h"

namespace tw::os {

char *command_line_block(size_t size) {
    if (alloc_should_fail()) return nullptr;
    return static_cast<char *>(GlobalAlloc(GPTR, size));
}

void free_command_line_block(char *block) {
    if (block) GlobalFree(block);
}

char *process_command_line() {
    const wchar_t *line = GetCommandLineW();
    if (!line) return nullptr;
    int needed = wide_to_multibyte(CodePage::utf8, line, nullptr, 0);
    if (needed <= 0) return nullptr;
    auto text = static_cast<char *>(mem_alloc(size_t(needed)));
    if (text && wide_to_multibyte(CodePage::utf8, line, text, needed) <= 0) {
        mem_free(text);
        return nullptr;
    }
    return text;
}

}  // namespace tw::os
