// Cleaning of registry text for the named path table, against a model
// written from its rules with std::string. Also: the result is never longer
// than the input and never ends in white space; every '$' or '\' that an
// escape produced comes out behind a backslash, literal for the template
// parser.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "config/paths_template.h"

namespace {

bool space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

std::string model(const std::string &in) {
    size_t i = 0;
    while (i < in.size() && space(in[i])) ++i;
    std::string out;
    while (i < in.size()) {
        char c = in[i++];
        if (c != '\\' || i == in.size()) {
            out += c;
            continue;
        }
        c = in[i++];
        static const std::string letters = "abfnrt", codes = "\a\b\f\n\r\t";
        if (letters.find(c) != std::string::npos) {
            c = codes[letters.find(c)];
        } else if (c >= '0' && c <= '3') {
            int v = c - '0';
            for (int n = 1; n < 3 && i < in.size() && in[i] >= '0' && in[i] <= '7'; ++n) v = v * 8 + (in[i++] - '0');
            c = v ? char(v) : '0';
        }
        if (c == '\\' || c == '$') out += '\\';
        out += c;
    }
    while (!out.empty() && space(out.back())) out.pop_back();
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string in(reinterpret_cast<const char *>(data), strnlen(reinterpret_cast<const char *>(data), size));
    std::string buffer = in;
    tw::paths::clean_registry_text(buffer.data());
    const std::string out(buffer.c_str());
    if (out.size() > in.size()) abort();
    if (!out.empty() && space(out.back())) abort();
    if (out != model(in)) abort();

    return 0;
}
