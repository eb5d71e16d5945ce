/*
 * Process facilities of the OS layer off Windows. There is no NT command
 * line here, so the process command line is made from the argument vector
 * (/proc/self/cmdline) joined with the quoting of the NT runtime, such that
 * splitting it again gives back the same vector: the program name is quoted
 * when it holds a blank or tab (it is taken without backslash processing),
 * other arguments are quoted when empty or holding a blank, tab or quote,
 * with backslashes doubled before a quote and at the end of a quoted text.
 */
#include <cstdio>
#include <cstring>
#include <string>

#include "base/alloc.h"
#include "platform/process.h"

namespace tw::os {
namespace {

bool has_any(const std::string &text, const char *chars) { return text.find_first_of(chars) != std::string::npos; }

void append_program_name(std::string &line, const std::string &name) {
    if (has_any(name, " \t") || name.empty())
        line += '"' + name + '"';
    else
        line += name;
}

void append_argument(std::string &line, const std::string &arg) {
    if (!arg.empty() && !has_any(arg, " \t\"")) {
        line += arg;
        return;
    }
    line += '"';
    size_t backslashes = 0;
    for (char c : arg) {
        if (c == '\\') {
            ++backslashes;
            continue;
        }
        // Backslashes before a quote are doubled, and the quote escaped.
        line.append(c == '"' ? backslashes * 2 + 1 : backslashes, '\\');
        backslashes = 0;
        line += c;
    }
    line.append(backslashes * 2, '\\');  // so the closing quote stays a quote
    line += '"';
}

}  // namespace

char *command_line_block(size_t size) { return static_cast<char *>(mem_calloc(1, size)); }

void free_command_line_block(char *block) { mem_free(block); }

char *process_command_line() try {
    std::string raw;
    if (FILE *f = std::fopen("/proc/self/cmdline", "rb")) {
        char chunk[4096];
        size_t n;
        while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) raw.append(chunk, n);
        std::fclose(f);
    }
    std::string line;
    size_t start = 0;
    for (size_t index = 0; start < raw.size(); ++index) {
        size_t end = raw.find('\0', start);
        if (end == std::string::npos) end = raw.size();
        std::string arg = raw.substr(start, end - start);
        if (index == 0) {
            append_program_name(line, arg);
        } else {
            line += ' ';
            append_argument(line, arg);
        }
        start = end + 1;
    }
    auto text = static_cast<char *>(mem_alloc(line.size() + 1));
    if (text) std::memcpy(text, line.c_str(), line.size() + 1);
    return text;
} catch (...) {  // std::string out of memory
    return nullptr;
}

}  // namespace tw::os
