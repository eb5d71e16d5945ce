/*
 * The catalogue file reader. A line is read in pieces of kCatalogPiece
 * bytes; a line that fits in one piece is parsed there, a longer one is
 * scanned to its end for the position of its last quote and its text read
 * again from the file by position, so no line needs more than one piece of
 * memory beyond its text.
 */
#include "locale/catalog_file.h"

#include <climits>
#include <cstdlib>
#include <cstring>

#include "base/alloc.h"

namespace tw::locale {
namespace {

constexpr size_t kIdLength = 11;
constexpr size_t kTextStart = 13;  // identifier, separator, opening quote

char escaped(char c) {
    switch (c) {
    case 'b': return '\b';
    case 'f': return '\f';
    case 'n': return '\n';
    case 'r': return '\r';
    case 't': return '\t';
    case 'v': return '\v';
    default: return c;
    }
}

bool is_taken(const char *line, const char *id) {
    return line[0] != '#' && std::memcmp(line, id, 3) == 0 && line[10] == id[10];
}

// Reads the rest of a long line, whose first piece (piece_length bytes) is
// already read; returns the line's length and the index of its last quote
// at or after the text start (or SIZE_MAX).
size_t finish_long_line(std::FILE *file, const char *piece, size_t piece_length, size_t *last_quote) {
    *last_quote = SIZE_MAX;
    for (size_t i = kTextStart; i < piece_length; ++i)
        if (piece[i] == '"') *last_quote = i;
    size_t length = piece_length;
    int c;
    while ((c = std::getc(file)) != EOF) {
        if (c == '"') *last_quote = length;
        ++length;
        if (c == '\n') break;
    }
    return length;
}

// Reads length bytes at position into a new buffer; the file is left at
// resume. Null when memory runs out; short when the file is shorter.
char *read_span(std::FILE *file, long position, size_t length, long resume, size_t *got) {
    char *text = static_cast<char *>(mem_alloc(length + 1));
    *got = 0;
    if (text && std::fseek(file, position, SEEK_SET) == 0) *got = std::fread(text, 1, length, file);
    std::fseek(file, resume, SEEK_SET);
    return text;
}

}  // namespace

char *unescape_message(const char *text, size_t length, const os::CharacterSet *charset) {
    char *out = static_cast<char *>(mem_alloc(length + 1));
    if (!out) return nullptr;
    size_t o = 0;
    for (size_t i = 0; i < length;) {
        if (text[i] == '\\' && i + 1 < length) {
            size_t n = os::character_length(charset, text + i + 1, length - i - 1);
            if (n == 1) {
                out[o++] = escaped(text[i + 1]);
                i += 2;
                continue;
            }
            ++i;  // a backslash before a multi-byte character stands for it
        }
        size_t n = os::character_length(charset, text + i, length - i);
        std::memcpy(out + o, text + i, n);
        o += n;
        i += n;
    }
    out[o] = '\0';
    return out;
}

bool read_catalog(std::FILE *file, const char *id, const os::CharacterSet *charset, CatalogSink sink,
                  void *context) {
    char piece[kCatalogPiece];
    for (;;) {
        const long start = std::ftell(file);
        size_t n = 0;
        bool ended = false;  // the piece holds the line feed
        int c;
        while (n < kCatalogPiece && (c = std::getc(file)) != EOF) {
            piece[n++] = char(c);
            if (c == '\n') {
                ended = true;
                break;
            }
        }
        if (n == 0) return true;

        bool is_long = false;
        if (!ended && n == kCatalogPiece) {
            c = std::getc(file);
            if (c != EOF) {
                std::ungetc(c, file);
                is_long = true;
            }
        }

        size_t line_length = n;
        size_t last_quote = SIZE_MAX;
        if (is_long) {
            line_length = finish_long_line(file, piece, n, &last_quote);
        } else {
            for (size_t i = kTextStart; i < n; ++i)
                if (piece[i] == '"') last_quote = i;
        }
        if (line_length < kTextStart || !is_taken(piece, id)) continue;

        const size_t text_end = last_quote != SIZE_MAX ? last_quote : line_length;
        const size_t text_length = text_end - kTextStart;
        char *text;
        if (is_long) {
            if (start < 0 || text_length > size_t(LONG_MAX)) continue;  // not seekable: cannot re-read
            size_t got = 0;
            char *raw = read_span(file, start + long(kTextStart), text_length, start + long(line_length), &got);
            if (!raw) return false;
            text = unescape_message(raw, got, charset);
            mem_free(raw);
        } else {
            text = unescape_message(piece + kTextStart, text_length, charset);
        }
        if (!text) return false;

        char line_id[kIdLength + 1];
        std::memcpy(line_id, piece, kIdLength);
        line_id[kIdLength] = '\0';
        if (!sink(context, line_id, text)) return false;
    }
}

}  // namespace tw::locale
