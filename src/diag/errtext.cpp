/*
 * Texts for NT error numbers and errno values.
 *
 * An NT error number is looked up in the system message table first, then in
 * the product's message library "twerrmsg.dll" (its string table is indexed
 * by the error number; it is loaded for each lookup and unloaded again), and
 * otherwise described by a fixed fallback text that names the number.
 *
 * GetErrorMessage and FormatErrorMessageStr share one 101-byte buffer and
 * sysErrorString has a 100-byte one: each result is valid until the next call
 * of any of them. GetErrorMessageStr writes only into the caller's buffer.
 */
#include <cstdarg>
#include <cstdint>
#include <cstring>

#include "platform/errtext.h"
#include "twcommon/diag.h"
#include "twcommon/text.h"

namespace {

constexpr const char *kMessageLibrary = "twerrmsg.dll";

char shared_error_text[101];
char shared_errno_text[100];

enum class Lookup { found, not_in_library, no_library };

// Puts the system's or the message library's text into buf when either has one.
Lookup lookup_error_text(uint32_t code, char *buf, unsigned size) {
    if (tw::os::system_message_text(code, buf, size)) return Lookup::found;
    tw::os::MessageLibrary library = tw::os::load_message_library(kMessageLibrary);
    if (!library) return Lookup::no_library;
    bool found = tw::os::message_library_text(library, code, buf, size);
    tw::os::unload_message_library(library);
    return found ? Lookup::found : Lookup::not_in_library;
}

void format_fallback(Lookup lookup, uint32_t code, char *buf, unsigned size) {
    if (lookup == Lookup::not_in_library)
        Q_snprintf(buf, size, "Error: %d", int(code));
    else
        Q_snprintf(buf, size, "Error: %d (installing twerrmsg.dll may allow this error to be decoded)", int(code));
}

const char *error_text_in_shared_buffer(uint32_t code) {
    Lookup lookup = lookup_error_text(code, shared_error_text, sizeof shared_error_text);
    if (lookup != Lookup::found) format_fallback(lookup, code, shared_error_text, sizeof shared_error_text);
    return shared_error_text;
}

// Copies the caller's first-pass result into out so that it can serve as a
// format with exactly one text argument: "%%" and the first text conversion
// ("%s" with optional flags, width and precision) stay, every other percent
// sign is doubled and so prints as itself instead of reading an argument
// that is not there.
void make_single_text_format(const char *pattern, char *out, unsigned size) {
    unsigned n = 0;
    bool text_used = false;
    auto put = [&](char c) {
        if (n + 1 < size) out[n++] = c;
    };
    for (const char *p = pattern; *p;) {
        if (*p != '%') {
            put(*p++);
            continue;
        }
        if (p[1] == '%') {
            put('%'), put('%');
            p += 2;
            continue;
        }
        const char *q = p + 1;
        while (*q && std::strchr("-+ #0", *q)) ++q;
        while (*q >= '0' && *q <= '9') ++q;
        if (*q == '.')
            for (++q; *q >= '0' && *q <= '9'; ++q) {
            }
        if (*q == 'h') ++q;
        if (*q == 's' && !text_used) {
            text_used = true;
            for (++q; p < q; ++p) put(*p);
            continue;
        }
        put('%'), put('%');
        ++p;
    }
    out[n] = '\0';
}

}  // namespace

extern "C" {

const char *GetErrorMessage(uint32_t code) { return error_text_in_shared_buffer(code); }

char *GetErrorMessageStr(uint32_t code, char *buf, int size) {
    if (!buf || size < 1) return nullptr;
    Lookup lookup = lookup_error_text(code, buf, unsigned(size));
    if (lookup != Lookup::found) {
        char text[100];
        format_fallback(lookup, code, text, sizeof text);
        Q_strlncpy(buf, text, sizeof text, unsigned(size));
    }
    return buf;
}

char *FormatErrorMessageStr(uint32_t code, char *buf, int size, const char *format, ...) {
    if (!buf || size < 1) return nullptr;
    const char *error_text = error_text_in_shared_buffer(code);
    char pattern[2000];
    va_list args;
    va_start(args, format);
    Q_vsnprintf(pattern, sizeof pattern, format, args);
    va_end(args);
    char safe_pattern[2 * sizeof pattern];
    make_single_text_format(pattern, safe_pattern, sizeof safe_pattern);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    Q_snprintf(buf, unsigned(size), safe_pattern, error_text);
#pragma GCC diagnostic pop
    return buf;
}

const char *sysErrorString(int error) {
    const char *text = tw::os::runtime_error_text(error);
    if (text)
        Q_snprintf(shared_errno_text, sizeof shared_errno_text, "%.80s", text);
    else
        Q_strlcpy(shared_errno_text, "Error number: ", sizeof shared_errno_text);
    return shared_errno_text;
}

}  // extern "C"
