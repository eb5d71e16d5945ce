/*
 * Small utilities of the product's programs: reading a text line of any
 * length, blank/colon conversion of short words, media-label and decimal
 * checks, the runtime's pseudo-random generator, and tests on absolute NT
 * paths.
 *
 * colonize_by_mode and decolonize_by_mode each keep three static result
 * buffers (mode 1, mode 2, any other mode), so results of different modes
 * can be held at once; a result lives until the next call with that mode.
 */
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/alloc.h"
#include "twcommon/containers.h"

namespace {

constexpr size_t kLineChunk = 1024;
constexpr size_t kColonLimit = 64;

using ColonBuffers = char[3][kColonLimit + 1];

char *mode_buffer(ColonBuffers &buffers, int mode) {
    return buffers[mode == 1 ? 0 : mode == 2 ? 1 : 2];
}

// Copies at most kColonLimit characters of text to out, from into to.
char *convert_colons(const char *text, char *out, char from, char to) {
    size_t i = 0;
    for (; text && text[i] && i < kColonLimit; ++i) out[i] = text[i] == from ? to : text[i];
    out[i] = '\0';
    return out;
}

bool is_label_character(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '-' ||
           c == '.' || c == '_';
}

}  // namespace

extern "C" {

char *myfgetline(FILE *stream, int *length) {
    if (!stream) return nullptr;
    size_t capacity = kLineChunk;
    auto line = static_cast<char *>(tw::mem_alloc(capacity));
    if (!line) return nullptr;
    size_t used = 0;
    int c;
    while ((c = std::getc(stream)) != EOF) {
        if (used + 1 >= capacity) {  // keep room for the terminator
            auto grown = static_cast<char *>(tw::mem_realloc(line, capacity + kLineChunk));
            if (!grown) {
                tw::mem_free(line);
                return nullptr;
            }
            line = grown;
            capacity += kLineChunk;
        }
        line[used++] = char(c);
        if (c == '\n') break;
    }
    if (used == 0) {
        tw::mem_free(line);
        return nullptr;
    }
    line[used] = '\0';
    if (length) *length = int(used);
    return line;
}

char *colonize_by_mode(const char *text, char *out, int mode) {
    static ColonBuffers buffers;
    return convert_colons(text, out ? out : mode_buffer(buffers, mode), ' ', ':');
}

char *decolonize_by_mode(const char *text, char *out, int mode) {
    static ColonBuffers buffers;
    return convert_colons(text, out ? out : mode_buffer(buffers, mode), ':', ' ');
}

int IsValidLabel(const char *label, int max_length) {
    if (!label || label[0] == '-') return 0;
    if (label[0] == '\0') return max_length >= 0;
    size_t length = 0;
    for (; label[length]; ++length)
        if (!is_label_character(static_cast<unsigned char>(label[length]))) return 0;
    return max_length >= 0 && length <= size_t(max_length);
}

int v_atoi(const char *text) {
    if (!text || text[0] == '\0') return 0;
    if (text[0] < '0') return -1;
    unsigned value = 0;  // wraps like the original accumulation, without undefined overflow
    const char *p = text;
    for (; *p >= '0' && *p <= '9'; ++p) value = value * 10 + unsigned(*p - '0');
    return *p ? -1 : int(value);
}

void Q_srand(unsigned int seed) { std::srand(seed); }

int Q_rand(void) { return std::rand(); }

int IsAbsoluteNtPath(const char *path) {
    if (!path || std::strlen(path) < 3) return 0;
    if (path[1] == ':' && (path[2] == '/' || path[2] == '\\')) return 1;
    return path[0] == '\\' && path[1] == '\\';
}

int TrimAbsolutePath(char *path) {
    if (!path) return 0;
    size_t length = std::strlen(path);
    size_t keep = length >= 2 && path[1] == ':' ? 3 : 1;
    while (length > keep && (path[length - 1] == '/' || path[length - 1] == '\\')) path[--length] = '\0';
    return int(length);
}

}  // extern "C"
