// The template tokenizer, re-assembly and expansion of the named path table,
// with a made-up table of values. Besides running clean, every input must
// keep these properties:
// - tokens are well formed (kinds 1-3, non-empty text, references are names);
// - storing a template (store-mode parse, re-assembly) is idempotent;
// - when every '$' of the input starts a reference, the stored template
//   expands exactly as the input does;
// - plain text expands to itself without a copy, and values put in for
//   references are not scanned again.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "config/paths_template.h"

namespace {

using namespace tw::paths;

// Names starting with A-M have a value holding characters the template
// syntax would act on; the rest are unknown.
const char *resolve(const char *name, void *) {
    static thread_local std::string value;
    if (name[0] < 'A' || name[0] > 'M') return "";
    value = std::string("<$") + name + "\\>";
    return value.c_str();
}

std::string expanded(const char *text) {
    const char *value = expand_template(text, resolve, nullptr, true);
    if (!value) {
        if (*text) abort();  // nothing fails here but an empty template
        return "";
    }
    std::string copy = value;
    std::free(const_cast<char *>(value));
    return copy;
}

// The stored form of a template, and whether it held a '$' naming nothing.
std::string stored(const char *text, bool *stray_dollar) {
    Token *newest = nullptr;
    const char *cursor = text;
    *stray_dollar = false;
    for (Token *t;;) {
        if (!next_token(&cursor, Mode::store, &t)) abort();
        if (!t) break;
        if (t->kind < kLiteral || t->kind > kReference || !t->text[0]) abort();
        if (t->kind == kReference) {
            for (const char *p = t->text; *p; ++p)
                if (!(*p == '_' || (*p >= 'A' && *p <= 'Z') || (*p >= 'a' && *p <= 'z') ||
                      (p != t->text && *p >= '0' && *p <= '9')))
                    abort();
        }
        *stray_dollar |= t->kind == kEscapedLiteral;
        t->next = newest;
        newest = t;
    }
    const char *assembled = reassemble(newest, text, true);
    free_tokens(newest);
    if (!assembled) abort();
    std::string copy = assembled;
    std::free(const_cast<char *>(assembled));
    return copy;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), strnlen(reinterpret_cast<const char *>(data), size));

    bool stray = false, stray_again = false;
    const std::string once = stored(text.c_str(), &stray);
    const std::string twice = stored(once.c_str(), &stray_again);
    if (twice != once || stray_again) abort();
    if (!stray && expanded(once.c_str()) != expanded(text.c_str())) abort();

    // Plain text is its own value; anything else is a new string.
    const char *value = expand_template(text.c_str(), resolve, nullptr, false);
    const bool plain = !text.empty() && text.find_first_of("$\\") == std::string::npos;
    if (plain != (value == text.c_str())) {
        // Escapes and references always make a copy, but a trailing lone
        // backslash alone does not.
        if (!(value == text.c_str() && text.find('$') == std::string::npos && text.back() == '\\' &&
              text.find('\\') == text.size() - 1))
            abort();
    }
    if (value && value != text.c_str()) std::free(const_cast<char *>(value));

    // Scanning without allocating agrees with the tokens' kinds.
    const char *a = text.c_str(), *b = text.c_str();
    for (;;) {
        Token *t;
        if (!next_token(&a, Mode::expand, &t)) abort();
        const TokenSpan span = scan_token(&b, Mode::expand);
        if (!t) {
            if (span.kind || a || b) abort();
            break;
        }
        if (span.kind != t->kind || a != b) abort();
        if (t->kind == kReference && std::string(span.name, span.name_end) != t->text) abort();
        free_tokens(t);
    }
    return 0;
}
