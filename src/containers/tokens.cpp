// Tokenising. Tokens are separated by runs of any bytes of a delimiter set; a
// token that begins with a double quote is a quoted literal and runs to its
// closing quote across delimiters, quotes included. The literal syntax has no
// quote escape: a backslash passes only a hexadecimal or octal escape, so \"
// still ends the literal. An unclosed literal runs to the end of the text.
// strtokwdelim is the odd one out: one separator byte, one quote byte, and
// a single process-wide cursor (one tokenising at a time).
#include <cctype>
#include <cstdint>
#include <cstring>

#include "base/alloc.h"
#include "containers/cstr.h"
#include "twcommon/containers.h"

namespace {

// Membership table of a delimiter set; NUL is never a delimiter but always
// ends a plain token, so the token scan needs one lookup per byte.
class DelimiterSet {
public:
    explicit DelimiterSet(const char *set) {
        for (const unsigned char *p = reinterpret_cast<const unsigned char *>(set); *p; ++p)
            member_[*p] = ends_[*p] = true;
        ends_[0] = true;
    }
    bool has(char c) const { return member_[static_cast<unsigned char>(c)]; }
    bool ends_token(char c) const { return ends_[static_cast<unsigned char>(c)]; }

private:
    bool member_[256] = {};
    bool ends_[256] = {};
};

struct Token {
    const char *start;
    size_t length;  // 0 at the end of the text
};

// The token at p after its leading delimiters.
Token token_at(const char *p, const DelimiterSet &delimiters) {
    while (delimiters.has(*p)) ++p;
    if (*p == '"') return {p, static_cast<size_t>(cstrLiteralSIZE(p))};
    const char *end = p;
    while (!delimiters.ends_token(*end)) ++end;
    return {p, static_cast<size_t>(end - p)};
}

bool is_octal(char c) { return c >= '0' && c <= '7'; }

}  // namespace

extern "C" {

int cstrLiteralSIZE(const char *string) {
    if (!string || string[0] != '"') return 0;
    if (string[1] == '"') return 2;
    const char *p = string + 1;
    while (*p) {
        if (*p == '\\') {
            ++p;
            if (*p == 'x' || *p == 'X') {
                ++p;
                while (std::isxdigit(static_cast<unsigned char>(*p))) ++p;
            } else {
                for (int digits = 0; digits < 4 && is_octal(*p); ++digits) ++p;
            }
            continue;
        }
        if (*p++ == '"') break;
    }
    int64_t size = p - string;
    return size > INT32_MAX ? INT32_MAX : static_cast<int>(size);
}

char *cstrTokenNEXT(char **cursor, const char *delimiters) {
    if (!cursor || !*cursor || !delimiters) return nullptr;
    Token token = token_at(*cursor, DelimiterSet(delimiters));
    if (token.length == 0) {
        *cursor = const_cast<char *>(token.start);
        return nullptr;
    }
    char *copy = tw::copy_text(token.start, token.length);
    if (copy) *cursor = const_cast<char *>(token.start + token.length);
    return copy;
}

char *cstrTokenGET(const char *string, int n, const char *delimiters) {
    if (!string || !delimiters || n < 0) return nullptr;
    DelimiterSet set(delimiters);
    Token last{nullptr, 0};
    const char *p = string;
    for (int i = 1;; ++i) {
        Token token = token_at(p, set);
        if (token.length == 0) break;
        if (i == n) return tw::copy_text(token.start, token.length);
        last = token;
        p = token.start + token.length;
        if (i == INT32_MAX) break;
    }
    return n == 0 && last.length ? tw::copy_text(last.start, last.length) : nullptr;
}

int cstrTokenFIND(char **cursor, int n, const char *delimiters) {
    if (!cursor || !*cursor || !delimiters || n < 1) return 0;
    DelimiterSet set(delimiters);
    const char *p = *cursor;
    for (int i = 1;; ++i) {
        Token token = token_at(p, set);
        if (token.length == 0) return 0;
        if (i == n) {
            *cursor = const_cast<char *>(token.start);
            return token.length > INT32_MAX ? INT32_MAX : static_cast<int>(token.length);
        }
        p = token.start + token.length;
    }
}

char *cstrTokenOBTAIN(const char *string, int n, const char *separator) {
    if (!string || !separator || !*separator || n < 1) return nullptr;
    size_t gap = std::strlen(separator);
    const char *field = string;
    for (int i = 1; i < n; ++i) {
        const char *next = std::strstr(field, separator);
        if (!next) return nullptr;
        field = next + gap;
    }
    const char *end = std::strstr(field, separator);
    size_t length = end ? static_cast<size_t>(end - field) : std::strlen(field);
    return length ? tw::copy_text(field, length) : nullptr;
}

char **cstrTOcstra(const char *string, const char *delimiters) {
    if (!string || !delimiters) return nullptr;
    DelimiterSet set(delimiters);
    size_t count = 0, capacity = 8;
    char **array = static_cast<char **>(tw::mem_alloc((capacity + 1) * sizeof(char *)));
    if (!array) return nullptr;
    array[0] = nullptr;
    for (const char *p = string;;) {
        Token token = token_at(p, set);
        if (token.length == 0) return array;
        if (count == capacity) {
            char **larger = static_cast<char **>(tw::mem_realloc(array, (2 * capacity + 1) * sizeof(char *)));
            if (!larger) break;
            array = larger;
            capacity *= 2;
        }
        if (!(array[count] = tw::copy_text(token.start, token.length))) break;
        array[++count] = nullptr;
        p = token.start + token.length;
    }
    cstraFREE(array);
    return nullptr;
}

char *strchrwdelim(const char *string, char c, char q) {
    if (!string) return nullptr;
    const char *s = string;
    for (;;) {
        const char *f1 = std::strchr(s, c);
        if (!f1) return nullptr;
        const char *f2 = q ? std::strchr(s, q) : nullptr;
        if (!f2 || f2 > f1) return const_cast<char *>(f1);
        const char *f3 = std::strchr(f2 + 1, q);
        if (!f3 || f3 < f1) return const_cast<char *>(f1);
        s = f3 + 1;
    }
}

char *strtokwdelim(char *string, char c, char q) {
    static char *saved;
    if (string) saved = string;
    if (!saved) return nullptr;
    char *start = saved;
    while (c && *start == c) ++start;
    char *separator = c ? strchrwdelim(start, c, q) : nullptr;
    if (separator) {
        *separator = '\0';
        saved = separator + 1;
    } else {
        saved = nullptr;
    }
    return start;
}

}  // extern "C"
