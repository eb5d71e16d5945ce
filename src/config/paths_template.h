/*
 * Templates of the named path table: the tokenizer, re-assembly of a token
 * list into a template, expansion of references, and the cleaning of text
 * read from the registry. Nothing here touches the table itself; expansion
 * resolves names through a caller-given function, so these pieces can be
 * driven on their own (the fuzz targets do).
 *
 * Syntax: "$NAME" or "${ NAME }" refers to a name (a letter or '_', then
 * letters, digits and '_'); a backslash takes the next character literally.
 * A '$' that starts no reference becomes the literal "\$..." in both modes.
 */
#ifndef TW_CONFIG_PATHS_TEMPLATE_H
#define TW_CONFIG_PATHS_TEMPLATE_H

#include <cstddef>

namespace tw::paths {

// The longest template or value made here (1 MiB, far beyond any real
// path). Longer ones count as memory running out: a few rows that each
// name the one before twice would otherwise ask for values of 2^n bytes.
constexpr size_t kMaxTextLength = size_t(1) << 20;

enum TokenKind {
    kLiteral = 1,         // text exactly as written
    kEscapedLiteral = 2,  // text that held an escape (or a '$' that named nothing)
    kReference = 3,       // a name still to be resolved
};

// Store mode keeps escapes in literal text, for putting a template into the
// table; expand mode removes them, for producing a value.
enum class Mode { store, expand };

struct Token {
    Token *next;       // the token before this one: lists are newest first
    const char *text;  // in the token's own block (the bare name for a
                       // reference), or a resolved value it only points at
    int kind;
};

void free_tokens(Token *newest);

// The next token of the text at *cursor, which moves on (null at the end).
// Returns 1 with *token set (null when the text held no more tokens), 0
// when memory ran out.
int next_token(const char **cursor, Mode mode, Token **token);

// One token in the source text without allocating: its kind and where it
// lies. For a reference, [name, name_end) is the name.
struct TokenSpan {
    int kind;  // 0 at the end of the text
    const char *name, *name_end;
};
TokenSpan scan_token(const char **cursor, Mode mode);

// The tokens (newest first) written back as one template, oldest first.
// Returns input itself when no token held an escape or a reference and
// insist_new is false; otherwise a new heap string; null when memory ran out
// or the new string would be longer than kMaxTextLength.
const char *reassemble(const Token *newest, const char *input, bool insist_new);

// Resolves a name to its value ("" when unknown); null means out of memory.
using Resolver = const char *(*)(const char *name, void *context);

// The value of a template: its references resolved (the values are not
// scanned again) and escapes removed. Resolved values must stay unchanged
// until this returns. Returns the template itself when it is
// plain text and insist_new is false, else a new heap string; null for an
// empty template, when memory ran out or when the value would be longer
// than kMaxTextLength.
const char *expand_template(const char *text, Resolver resolve, void *context, bool insist_new);

// Cleans text read from the registry, in place: leading and trailing white
// space cut, escapes turned into characters, and any '\' or '$' an escape
// produced written back with a backslash so the template stays literal
// there. Never makes the text longer.
void clean_registry_text(char *text);

}  // namespace tw::paths

#endif
