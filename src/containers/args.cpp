/*
 * Command-line option lookup: an option is an element beginning with '-' and
 * at most 32 characters long; options compare without regard to case (both
 * sides upper-cased, as cstrUPPER does).
 */
#include <cstring>

#include "base/alloc.h"
#include "twcommon/containers.h"
#include "twcommon/text.h"

namespace {

constexpr size_t kOptionMax = 32;

// An option text upper-cased into buf; false when text is no option.
bool upper_option(const char *text, char (&buf)[kOptionMax + 1]) {
    if (!text || text[0] != '-' || std::strlen(text) > kOptionMax) return false;
    Q_strlcpy(buf, text, sizeof buf);
    cstrUPPER(buf);
    return true;
}

// The element after the first occurrence of option, or null when it does
// not occur.
char **after_option(char **argv, const char *option) {
    char wanted[kOptionMax + 1], element[kOptionMax + 1];
    if (!argv || !upper_option(option, wanted)) return nullptr;
    for (char **p = argv; *p; ++p)
        if (upper_option(*p, element) && std::strcmp(element, wanted) == 0) return p + 1;
    return nullptr;
}

}  // namespace

extern "C" {

int argEXISTS(char **argv, const char *option) { return after_option(argv, option) != nullptr; }

char **argValuesGET(char **argv, const char *option) {
    char **first = after_option(argv, option);
    if (!first) return nullptr;
    size_t count = 0;
    while (first[count] && first[count][0] != '-') ++count;
    auto values = static_cast<char **>(tw::mem_calloc(count + 1, sizeof(char *)));
    for (size_t i = 0; values && i < count; ++i) {
        if (!(values[i] = tw::copy_text(first[i], std::strlen(first[i])))) {
            cstraFREE(values);
            values = nullptr;
        }
    }
    return values;
}

}  // extern "C"
