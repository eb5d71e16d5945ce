/*
 * The process command line, as UTF-8 and split into an argument vector.
 *
 * Splitting follows the NT runtime's rules: the program name is taken as
 * typed (up to the closing quote, or the first blank or tab), with no
 * backslash processing; in the other arguments a run of n backslashes before
 * a quote gives n/2 backslashes and, for even n, a quote that toggles quoted
 * mode (two quotes in a row inside quotes give one literal quote and toggle
 * too), for odd n a literal quote. Blanks and tabs outside quotes separate.
 *
 * The scan runs twice over the text: once counting arguments and characters,
 * once filling the single block that holds the pointer array and the texts,
 * so the caller releases everything with one free.
 */
#include "unixnt/cmdline_split.h"

#include <cstddef>

#include "base/alloc.h"
#include "platform/process.h"
#include "twcommon/unixnt.h"

namespace tw {
namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// First pass: counts arguments and text bytes (terminators included).
struct Counter {
    size_t args = 0;
    size_t chars = 0;
    void begin() {}
    void put(char) { ++chars; }
    void put(char, size_t n) { chars += n; }
    void end() {
        ++chars;
        ++args;
    }
};

// Second pass: writes the texts after the pointer array.
struct Writer {
    char **pointers;
    char *text;
    size_t args = 0;
    void begin() { pointers[args] = text; }
    void put(char c) { *text++ = c; }
    void put(char c, size_t n) {
        while (n--) *text++ = c;
    }
    void end() {
        *text++ = '\0';
        ++args;
    }
};

template <typename Out>
void scan(const char *p, Out &out) {
    out.begin();
    if (*p == '"') {
        for (++p; *p && *p != '"'; ++p) out.put(*p);
        if (*p == '"') ++p;
    } else {
        for (; *p && !is_blank(*p); ++p) out.put(*p);
    }
    out.end();

    for (;;) {
        while (is_blank(*p)) ++p;
        if (!*p) break;
        out.begin();
        bool quoted = false;
        for (;;) {
            size_t backslashes = 0;
            while (*p == '\\') ++p, ++backslashes;
            if (*p == '"') {
                out.put('\\', backslashes / 2);
                if (backslashes % 2) {
                    out.put('"');
                    ++p;
                } else if (quoted && p[1] == '"') {
                    out.put('"');
                    p += 2;
                    quoted = false;
                } else {
                    ++p;
                    quoted = !quoted;
                }
                continue;
            }
            out.put('\\', backslashes);
            if (!*p || (!quoted && is_blank(*p))) break;
            out.put(*p++);
        }
        out.end();
    }
}

}  // namespace

int split_command_line(const char *line, char ***argv) {
    if (!line) line = "";
    Counter count;
    scan(line, count);
    size_t pointer_bytes = (count.args + 1) * sizeof(char *);
    auto block = static_cast<char **>(mem_alloc(pointer_bytes + count.chars));
    if (!block) return 0;
    Writer write{block, reinterpret_cast<char *>(block) + pointer_bytes};
    scan(line, write);
    block[write.args] = nullptr;
    if (argv) *argv = block;
    else mem_free(block);
    return int(count.args);
}

}  // namespace tw

extern "C" {

const char *GetCommandLineV(void) {
    // Built once and kept; two threads racing here each build a valid copy.
    static const char *line;
    if (!line) line = tw::os::process_command_line();
    return line ? line : "";
}

int ReparseCommandLine(char ***argv) {
    if (!argv) return 0;
    return tw::split_command_line(GetCommandLineV(), argv);
}

}  // extern "C"

// Test hook: the splitter applied to any text, for tests of its rules.
extern "C" TW_API int twcommon_testhook_split_command_line(const char *line, char ***argv) {
    return tw::split_command_line(line, argv);
}
