/*
 * The process off Windows: its command line rebuilt from /proc/self/cmdline
 * (arguments separated by NULs) in the NT manner.
 */
#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <cstring>

#include "base/alloc.h"
#include "platform/self.h"

namespace tw::os {
namespace {

// The whole of /proc/self/cmdline with a terminator after it; *length
// counts the bytes read.
char *read_raw_command_line(size_t *length) {
    int fd = open("/proc/self/cmdline", O_RDONLY | O_CLOEXEC);
    if (fd < 0) return nullptr;
    size_t size = 256, used = 0;
    auto data = static_cast<char *>(mem_alloc(size));
    while (data) {
        if (used + 1 == size) {
            auto bigger = static_cast<char *>(mem_realloc(data, size * 2));
            if (!bigger) {
                mem_free(data);
                data = nullptr;
                break;
            }
            data = bigger;
            size *= 2;
        }
        ssize_t n = read(fd, data + used, size - 1 - used);
        if (n <= 0) break;
        used += size_t(n);
    }
    close(fd);
    if (data) data[used] = '\0';
    *length = used;
    return data;
}

bool holds_white_space(const char *text) {
    for (; *text; ++text)
        if (std::isspace(static_cast<unsigned char>(*text))) return true;
    return false;
}

}  // namespace

char *process_command_line() {
    size_t length = 0;
    char *raw = read_raw_command_line(&length);
    if (!raw) return nullptr;
    // At worst every argument gains two quotes; separators replace the NULs.
    auto line = static_cast<char *>(mem_alloc(length * 3 + 1));
    if (!line) {
        mem_free(raw);
        return nullptr;
    }
    size_t out = 0;
    for (size_t at = 0; at < length; at += std::strlen(raw + at) + 1) {
        const char *argument = raw + at;
        bool quote = holds_white_space(argument);
        if (out) line[out++] = ' ';
        if (quote) line[out++] = '"';
        size_t n = std::strlen(argument);
        std::memcpy(line + out, argument, n);
        out += n;
        if (quote) line[out++] = '"';
    }
    line[out] = '\0';
    mem_free(raw);
    return line;
}

}  // namespace tw::os
