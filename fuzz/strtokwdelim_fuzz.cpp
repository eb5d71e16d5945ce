// The one-separator tokeniser with a quote byte, checked against a model:
// skip separators, then end the token at the first separator that is not
// between the first pair of quotes ahead of it (rescanning after each pair);
// a missing separator ends the scan after returning the rest, even if empty.
// Input: separator byte, quote byte, then the text.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "twcommon/containers.h"

namespace {

void check(bool ok, const char *what) {
    if (!ok) {
        fprintf(stderr, "mismatch: %s\n", what);
        abort();
    }
}

size_t model_find(const std::string &s, size_t from, char c, char q) {
    for (;;) {
        size_t f1 = s.find(c, from);
        if (f1 == std::string::npos) return f1;
        size_t f2 = s.find(q, from);
        if (f2 == std::string::npos || f2 > f1) return f1;
        size_t f3 = s.find(q, f2 + 1);
        if (f3 == std::string::npos || f3 < f1) return f1;
        from = f3 + 1;
    }
}

std::vector<std::string> model(const std::string &s, char c, char q) {
    std::vector<std::string> out;
    size_t at = 0;
    for (;;) {
        while (at < s.size() && s[at] == c) ++at;
        size_t end = model_find(s, at, c, q);
        if (end == std::string::npos) {
            out.push_back(s.substr(at));
            return out;
        }
        out.push_back(s.substr(at, end - at));
        at = end + 1;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2 || data[0] == 0 || data[1] == 0) return 0;
    char c = char(data[0]), q = char(data[1]);
    std::string text(reinterpret_cast<const char *>(data + 2), size - 2);
    text = text.c_str();

    // strchrwdelim from every start position.
    for (size_t i = 0; i <= text.size(); ++i) {
        char *found = strchrwdelim(text.c_str() + i, c, q);
        size_t expected = model_find(text, i, c, q);
        check(expected == std::string::npos ? found == nullptr : found == text.c_str() + expected, "strchrwdelim");
    }

    std::vector<std::string> expected = model(text, c, q);
    std::vector<char> buffer(text.begin(), text.end());
    buffer.push_back('\0');
    size_t n = 0;
    for (char *t = strtokwdelim(buffer.data(), c, q); t; t = strtokwdelim(nullptr, c, q), ++n) {
        check(n < expected.size(), "strtokwdelim: too many tokens");
        check(t >= buffer.data() && t < buffer.data() + buffer.size(), "strtokwdelim: token outside the text");
        check(expected[n] == t, "strtokwdelim: token");
    }
    check(n == expected.size(), "strtokwdelim: too few tokens");
    check(strtokwdelim(nullptr, c, q) == nullptr, "strtokwdelim: after the end");
    return 0;
}
