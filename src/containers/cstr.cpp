// Byte-string utilities: tests, counts, case, trimming and double-quote
// handling. Results that are strings are new heap blocks for free(); a null
// input gives a null result unless a function says otherwise.
#include "containers/cstr.h"

#include <cctype>
#include <cstdio>
#include <cstring>

#include "base/alloc.h"
#include "twcommon/containers.h"

namespace tw {

char empty_cstr[1];

char *copy_cstr(const char *string) { return string ? copy_text(string, std::strlen(string)) : nullptr; }

}  // namespace tw

namespace {

bool in_set(const char *set, char c) { return c != '\0' && std::strchr(set, c) != nullptr; }

// Starts and ends with a double quote, at least two bytes long.
bool is_quoted(const char *string) {
    size_t length = string ? std::strlen(string) : 0;
    return length >= 2 && string[0] == '"' && string[length - 1] == '"';
}

bool needs_quotes(const char *string) { return string && string[0] != '"' && std::strchr(string, ' '); }

char *trim_leading_zeros(const char *string) {
    const char *p = string;
    while (*p == '0') ++p;
    // A lone zero stays when the zeros are not followed by a digit.
    if (p != string && !std::isdigit(static_cast<unsigned char>(*p))) --p;
    return tw::copy_cstr(p);
}

}  // namespace

extern "C" {

int cstrEMPTY(const char *string) { return !string || !*string; }

char cstrLAST(const char *string) {
    if (!string || !*string) return '\0';
    return string[std::strlen(string) - 1];
}

int cstrMATCH(const char *a, const char *b) { return std::strcmp(a ? a : "", b ? b : "") == 0; }

int cstrCOUNTchar(const char *string, char c) {
    if (!string || c == '\0') return 0;
    int count = 0;
    for (; *string; ++string) count += *string == c;
    return count;
}

int cstrCOUNTchars(const char *string, const char *set) {
    if (!string || !set) return 0;
    int count = 0;
    for (; *string; ++string) count += in_set(set, *string);
    return count;
}

// Callers must not pass null; it is ignored rather than crashing.
void cstrLOWER(char *string) {
    for (; string && *string; ++string) *string = static_cast<char>(std::tolower(static_cast<unsigned char>(*string)));
}

void cstrUPPER(char *string) {
    for (; string && *string; ++string) *string = static_cast<char>(std::toupper(static_cast<unsigned char>(*string)));
}

char *cstrTRIM(const char *string, int mode, const char *set) {
    if (!string) return nullptr;
    if (!*string || !set || (!*set && mode != 4)) return tw::copy_cstr(string);
    size_t length = std::strlen(string);
    size_t begin = 0, end = length;
    switch (mode) {
    case 0:
    case 1:
    case 3:
        if (mode != 1)
            while (begin < end && in_set(set, string[begin])) ++begin;
        if (mode != 0)
            while (end > begin && in_set(set, string[end - 1])) --end;
        return tw::copy_text(string + begin, end - begin);
    case 2: {
        char *result = tw::copy_cstr(string);
        if (!result) return nullptr;
        char *out = result;
        for (const char *p = string; *p; ++p)
            if (!in_set(set, *p)) *out++ = *p;
        *out = '\0';
        return result;
    }
    case 4:
        return trim_leading_zeros(string);
    default:
        return nullptr;
    }
}

char *cstrTRIMcstr(const char *string, int mode, const char *suffix) {
    if (!string) return nullptr;
    if (!*string || !suffix || !*suffix) return tw::copy_cstr(string);
    if (mode != 1) return nullptr;
    size_t length = std::strlen(string), cut = std::strlen(suffix);
    while (length > cut && std::memcmp(string + length - cut, suffix, cut) == 0) length -= cut;
    return tw::copy_text(string, length);
}

char *cstrDQuotesSTRIP(const char *string) {
    if (!is_quoted(string)) return nullptr;
    return tw::copy_text(string + 1, std::strlen(string) - 2);
}

char *cstrDQuotesUNCHECK(const char *string) {
    return is_quoted(string) ? cstrDQuotesSTRIP(string) : tw::copy_cstr(string);
}

char *cstrDQuotesENCLOSE(const char *string) {
    if (!needs_quotes(string)) return nullptr;
    size_t length = std::strlen(string);
    char *result = static_cast<char *>(tw::mem_alloc(length + 3));
    if (!result) return nullptr;
    result[0] = '"';
    std::memcpy(result + 1, string, length);
    result[length + 1] = '"';
    result[length + 2] = '\0';
    return result;
}

// Already quoted text stays as it is; text with a blank gets quotes.
char *cstrDQuotesCHECK(const char *string) {
    return !is_quoted(string) && needs_quotes(string) ? cstrDQuotesENCLOSE(string) : tw::copy_cstr(string);
}

char *stripdelims(char *string, char d) {
    if (!string || d == '\0') return string;
    size_t length = std::strlen(string);
    if (length == 0 || string[0] != d || string[length - 1] != d) return string;
    if (length == 1) {
        string[0] = '\0';
        return string;
    }
    std::memmove(string, string + 1, length - 2);
    string[length - 2] = '\0';
    return string;
}

}  // extern "C"
