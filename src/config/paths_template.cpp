/*
 * Templates of the named path table: tokenizer, re-assembly, expansion and
 * registry text cleaning (see paths_template.h for the syntax).
 *
 * Token lists are newest first, as they are built; re-assembly therefore
 * fills its buffer from the end, which is also where it learns what follows
 * each reference (braces are needed only when a name character follows).
 */
#include "config/paths_template.h"

#include <cstring>

#include "base/alloc.h"
#include "twcommon/text.h"

namespace tw::paths {
namespace {

// Names and white space are ASCII, whatever the code page.
bool is_name_start(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; }
bool is_name_char(char c) { return is_name_start(c) || (c >= '0' && c <= '9'); }
bool is_space(char c) { return Q_isspace(static_cast<unsigned char>(c)); }

// Where the text of the token just scanned lies in the source.
struct Source {
    const char *begin, *end;
};

TokenSpan scan(const char **cursor, Mode mode, Source *source) {
    TokenSpan span{0, nullptr, nullptr};
    const char *p = *cursor;
    if (!p || !*p) {
        *cursor = nullptr;
        return span;
    }
    source->begin = p;
    if (*p != '$') {
        bool escaped = false;
        while (*p && *p != '$') {
            if (*p != '\\') {
                ++p;
            } else if (p[1]) {
                escaped = true;
                p += 2;
            } else {
                break;
            }
        }
        source->end = p;
        if (*p == '\\') ++p;  // a backslash at the very end is dropped
        *cursor = *p ? p : nullptr;
        if (source->end == source->begin) return span;
        span.kind = mode == Mode::expand && escaped ? kEscapedLiteral : kLiteral;
        return span;
    }
    const bool braced = *++p == '{';
    if (braced)
        for (++p; is_space(*p);) ++p;
    span.name = p;
    if (is_name_start(*p))
        while (is_name_char(*++p)) {
        }
    span.name_end = p;
    bool valid = span.name_end != span.name;
    if (valid && braced) {
        while (is_space(*p)) ++p;
        valid = *p == '}';
        if (valid) ++p;
    }
    source->end = p;
    *cursor = p;
    span.kind = valid ? kReference : kEscapedLiteral;
    return span;
}

// A token whose text, of length n, is written into its own block by fill.
template <typename Fill>
Token *new_token(int kind, size_t n, Fill fill) {
    Token *t = static_cast<Token *>(mem_alloc(sizeof(Token) + n + 1));
    if (!t) return nullptr;
    char *text = reinterpret_cast<char *>(t + 1);
    fill(text);
    *t = Token{nullptr, text, kind};
    return t;
}

bool needs_braces(const Token *reference, const Token *written_after) {
    return reference->kind == kReference && written_after && written_after->kind != kReference &&
           is_name_char(written_after->text[0]);
}

size_t written_length(const Token *t, const Token *written_after) {
    size_t n = std::strlen(t->text);
    if (t->kind == kReference) n += needs_braces(t, written_after) ? 3 : 1;
    return n;
}

}  // namespace

void free_tokens(Token *newest) {
    while (newest) {
        Token *older = newest->next;
        mem_free(newest);
        newest = older;
    }
}

TokenSpan scan_token(const char **cursor, Mode mode) {
    Source ignored;
    return scan(cursor, mode, &ignored);
}

int next_token(const char **cursor, Mode mode, Token **token) {
    *token = nullptr;
    Source src;
    const TokenSpan span = scan(cursor, mode, &src);
    if (!span.kind) return 1;
    const size_t n = size_t(src.end - src.begin);
    Token *t;
    if (span.kind == kReference) {
        const size_t length = size_t(span.name_end - span.name);
        t = new_token(span.kind, length, [&](char *text) {
            std::memcpy(text, span.name, length);
            text[length] = '\0';
        });
    } else if (*src.begin == '$') {  // a '$' that names nothing
        t = new_token(span.kind, n + 1, [&](char *text) {
            text[0] = '\\';
            std::memcpy(text + 1, src.begin, n);
            text[n + 1] = '\0';
        });
    } else if (span.kind == kEscapedLiteral) {
        t = new_token(span.kind, n, [&](char *text) {
            for (const char *p = src.begin; p < src.end; ++p) *text++ = *p == '\\' ? *++p : *p;
            *text = '\0';
        });
    } else {
        t = new_token(span.kind, n, [&](char *text) {
            std::memcpy(text, src.begin, n);
            text[n] = '\0';
        });
    }
    *token = t;
    return t != nullptr;
}

const char *reassemble(const Token *newest, const char *input, bool insist_new) {
    size_t length = 0;
    bool rewritten = false;
    for (const Token *t = newest, *after = nullptr; t; after = t, t = t->next) {
        length += written_length(t, after);
        rewritten |= t->kind != kLiteral;
        // Too long for a new string: no need to measure the rest.
        if (length > kMaxTextLength && (rewritten || insist_new)) break;
    }
    if (!rewritten && !insist_new) return input;
    if (length > kMaxTextLength) return nullptr;

    char *text = static_cast<char *>(mem_alloc(length + 1));
    if (!text) return nullptr;
    char *end = text + length;
    *end = '\0';
    for (const Token *t = newest, *after = nullptr; t; after = t, t = t->next) {
        const size_t n = std::strlen(t->text);
        if (t->kind != kReference) {
            end -= n;
            std::memcpy(end, t->text, n);
        } else if (needs_braces(t, after)) {
            *--end = '}';
            end -= n;
            std::memcpy(end, t->text, n);
            *--end = '{';
            *--end = '$';
        } else {
            end -= n;
            std::memcpy(end, t->text, n);
            *--end = '$';
        }
    }
    return text;
}

const char *expand_template(const char *text, Resolver resolve, void *context, bool insist_new) {
    if (!text || !*text) return nullptr;
    // Plain text needs no tokens: it is its own value.
    if (!insist_new && !std::strpbrk(text, "$\\")) return text;

    Token *newest = nullptr;
    const char *cursor = text;
    for (Token *t;;) {
        if (!next_token(&cursor, Mode::expand, &t)) {
            free_tokens(newest);
            return nullptr;
        }
        if (!t) break;
        t->next = newest;
        newest = t;
        if (t->kind != kReference) continue;
        // The value goes in as literal text, not scanned again.
        const char *value = resolve(t->text, context);
        if (!value) {
            free_tokens(newest);
            return nullptr;
        }
        t->text = value;
        t->kind = kEscapedLiteral;
    }
    const char *result = reassemble(newest, text, insist_new);
    free_tokens(newest);
    return result;
}

void clean_registry_text(char *text) {
    if (!text) return;
    const char *in = text;
    while (is_space(*in)) ++in;
    char *out = text;
    while (*in) {
        if (*in != '\\' || !in[1]) {  // a backslash at the end stays
            *out++ = *in++;
            continue;
        }
        char c = in[1];
        in += 2;
        switch (c) {
            case 'a': c = '\a'; break;
            case 'b': c = '\b'; break;
            case 'f': c = '\f'; break;
            case 'n': c = '\n'; break;
            case 'r': c = '\r'; break;
            case 't': c = '\t'; break;
            case '0': case '1': case '2': case '3': {
                int value = c - '0';
                for (int digits = 1; digits < 3 && *in >= '0' && *in <= '7'; ++digits) value = value * 8 + (*in++ - '0');
                // A zero byte would end the text: the escape stands for the digit.
                c = value ? char(value) : '0';
                break;
            }
            default: break;  // any other character stands for itself
        }
        if (c == '\\' || c == '$') *out++ = '\\';
        *out++ = c;
    }
    while (out > text && is_space(out[-1])) --out;
    *out = '\0';
}

}  // namespace tw::paths
