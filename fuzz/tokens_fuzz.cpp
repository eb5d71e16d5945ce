// The delimiter-set tokenisers and the quoted-literal scanner, checked
// against small models written from their rules. Input: first byte = length
// of the delimiter set (mod 5), then the set, then the text. Every tokeniser
// must agree with the model's token list, and the field splitter with a
// model split on the whole separator.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "twcommon/containers.h"

namespace {

[[noreturn]] void fail(const char *what) {
    fprintf(stderr, "mismatch: %s\n", what);
    abort();
}
void check(bool ok, const char *what) {
    if (!ok) fail(what);
}

bool hex(char c) { return (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f'); }

// Length of the quoted literal at s[at]: to the first plain quote, where a
// backslash passes a hex or up-to-four-digit octal escape and nothing else.
size_t model_literal(const std::string &s, size_t at) {
    if (at >= s.size() || s[at] != '"') return 0;
    if (at + 1 < s.size() && s[at + 1] == '"') return 2;
    size_t i = at + 1;
    while (i < s.size()) {
        char c = s[i];
        if (c == '\\') {
            ++i;
            if (i < s.size() && (s[i] == 'x' || s[i] == 'X')) {
                ++i;
                while (i < s.size() && hex(s[i])) ++i;
            } else {
                for (int n = 0; n < 4 && i < s.size() && s[i] >= '0' && s[i] <= '7'; ++n) ++i;
            }
        } else {
            ++i;
            if (c == '"') break;
        }
    }
    return i - at;
}

struct Span {
    size_t at, length;
};

std::vector<Span> model_tokens(const std::string &s, const std::string &delims) {
    std::vector<Span> out;
    size_t i = 0;
    for (;;) {
        while (i < s.size() && delims.find(s[i]) != std::string::npos) ++i;
        if (i >= s.size()) return out;
        size_t n = s[i] == '"' ? model_literal(s, i) : 0;
        if (s[i] != '"')
            while (i + n < s.size() && delims.find(s[i + n]) == std::string::npos) ++n;
        out.push_back({i, n});
        i += n;
    }
}

std::string take(char *p) {
    check(p != nullptr, "unexpected null token");
    std::string out = p;
    free(p);
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    size_t set_length = data[0] % 5;
    if (size < 1 + set_length) return 0;
    std::string delims(reinterpret_cast<const char *>(data + 1), set_length);
    std::string text(reinterpret_cast<const char *>(data + 1 + set_length), size - 1 - set_length);
    // The C functions see text up to the first NUL only.
    delims = delims.c_str();
    text = text.c_str();

    for (size_t i = 0; i < text.size(); ++i)
        check(size_t(cstrLiteralSIZE(text.c_str() + i)) == model_literal(text, i), "cstrLiteralSIZE");

    std::vector<Span> tokens = model_tokens(text, delims);
    std::string buffer = text;
    char *cursor = &buffer[0];
    for (const Span &t : tokens) {
        check(take(cstrTokenNEXT(&cursor, delims.c_str())) == text.substr(t.at, t.length), "cstrTokenNEXT");
        check(cursor == &buffer[0] + t.at + t.length, "cstrTokenNEXT cursor");
    }
    check(cstrTokenNEXT(&cursor, delims.c_str()) == nullptr, "cstrTokenNEXT end");

    char **array = cstrTOcstra(text.c_str(), delims.c_str());
    check(array != nullptr && size_t(cstraCOUNT(array)) == tokens.size(), "cstrTOcstra count");
    for (size_t i = 0; i < tokens.size(); ++i)
        check(array[i] == text.substr(tokens[i].at, tokens[i].length), "cstrTOcstra token");
    cstraFREE(array);

    for (size_t n = 1; n <= tokens.size() + 1 && n < 40; ++n) {
        char *got = cstrTokenGET(text.c_str(), int(n), delims.c_str());
        char *find_cursor = &buffer[0];
        int length = cstrTokenFIND(&find_cursor, int(n), delims.c_str());
        if (n > tokens.size()) {
            check(got == nullptr && length == 0 && find_cursor == &buffer[0], "token beyond the last");
        } else {
            const Span &t = tokens[n - 1];
            check(take(got) == text.substr(t.at, t.length), "cstrTokenGET");
            check(size_t(length) == t.length && find_cursor == &buffer[0] + t.at, "cstrTokenFIND");
        }
    }
    char *last = cstrTokenGET(text.c_str(), 0, delims.c_str());
    if (tokens.empty())
        check(last == nullptr, "cstrTokenGET last of none");
    else
        check(take(last) == text.substr(tokens.back().at, tokens.back().length), "cstrTokenGET last");

    // Fields on the whole delimiter text as the separator.
    if (!delims.empty()) {
        std::vector<std::string> fields;
        for (size_t from = 0;;) {
            size_t next = text.find(delims, from);
            fields.push_back(text.substr(from, next == std::string::npos ? std::string::npos : next - from));
            if (next == std::string::npos) break;
            from = next + delims.size();
        }
        for (size_t n = 1; n <= fields.size() + 1 && n < 40; ++n) {
            char *got = cstrTokenOBTAIN(text.c_str(), int(n), delims.c_str());
            if (n > fields.size() || fields[n - 1].empty())
                check(got == nullptr, "cstrTokenOBTAIN missing field");
            else
                check(take(got) == fields[n - 1], "cstrTokenOBTAIN");
        }
    }
    return 0;
}
