// Differential fuzzing of the command-line splitter against a model written
// from the quoting rules with std::string, and a check of the result's
// layout: one block of count + 1 pointers (the last null) directly followed
// by the argument texts, each right after the previous one.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "unixnt/cmdline_split.h"

namespace {

using Args = std::vector<std::string>;

Args model(const std::string &line) {
    Args out;
    size_t i;
    if (!line.empty() && line[0] == '"') {
        size_t close = line.find('"', 1);
        out.push_back(line.substr(1, close == std::string::npos ? std::string::npos : close - 1));
        i = close == std::string::npos ? line.size() : close + 1;
    } else {
        i = std::min(line.find_first_of(" \t"), line.size());
        out.push_back(line.substr(0, i));
    }
    for (;;) {
        i = line.find_first_not_of(" \t", i);
        if (i == std::string::npos) break;
        std::string arg;
        bool quoted = false;
        size_t backslashes = 0;
        for (; i < line.size(); ++i) {
            char c = line[i];
            if (c == '\\') {
                ++backslashes;
                continue;
            }
            if (c == '"') {
                arg.append(backslashes / 2, '\\');
                if (backslashes % 2 == 1) {
                    arg += '"';
                } else if (quoted && i + 1 < line.size() && line[i + 1] == '"') {
                    arg += '"';
                    ++i;
                    quoted = false;
                } else {
                    quoted = !quoted;
                }
                backslashes = 0;
                continue;
            }
            arg.append(backslashes, '\\');
            backslashes = 0;
            if (!quoted && (c == ' ' || c == '\t')) break;
            arg += c;
        }
        arg.append(backslashes, '\\');
        out.push_back(arg);
    }
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string line(reinterpret_cast<const char *>(data), size);
    line = line.c_str();  // the splitter sees text up to the first NUL
    char **argv = nullptr;
    int count = tw::split_command_line(line.c_str(), &argv);
    if (count <= 0 || !argv) abort();

    Args expected = model(line);
    if (size_t(count) != expected.size()) abort();
    const char *text = reinterpret_cast<const char *>(argv + count + 1);
    for (int i = 0; i < count; ++i) {
        if (argv[i] != text) abort();
        if (expected[size_t(i)] != argv[i]) abort();
        text += std::strlen(argv[i]) + 1;
    }
    if (argv[count] != nullptr) abort();
    std::free(argv);
    return 0;
}
