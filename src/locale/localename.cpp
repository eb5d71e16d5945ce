/*
 * Common locale names to the runtime's names, through the "TM" lines of the
 * locale definition file (named path LOCALE_FILE):
 *     TM <n> <platform name of n characters> <m> <common name of m characters>
 * Names are tried with the runtime for the time category through a locale
 * object of their own, never by setting the process's locale, so other
 * threads keep formatting times under theirs.
 */
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "locale/localename.h"
#include "platform/filestream.h"
#include "platform/locale.h"
#include "twcommon/config.h"
#include "twcommon/locale.h"
#include "twcommon/text.h"

namespace {

constexpr int kLineSize = 100;  // lines hold at most 99 characters

const char *skip_blanks(const char *p) {
    while (*p == ' ' || *p == '\t') ++p;
    return p;
}

// Reads "<count> <count characters>" at p; false when the field is cut by
// the end of the line.
bool read_name(const char *&p, const char *&name, size_t &length) {
    p = skip_blanks(p);
    if (*p < '0' || *p > '9') return false;
    char *end = nullptr;
    long n = std::strtol(p, &end, 10);
    p = skip_blanks(end);
    if (n <= 0 || n >= kLineSize) return false;
    for (long i = 0; i < n; ++i)
        if (p[i] == '\0' || p[i] == '\n' || p[i] == '\r') return false;
    name = p;
    length = size_t(n);
    p += n;
    return true;
}

// Drops the rest of a line longer than the buffer.
void skip_rest_of_line(std::FILE *file, const char *line) {
    if (std::strchr(line, '\n')) return;
    int c;
    while ((c = std::getc(file)) != EOF && c != '\n') {
    }
}

}  // namespace

namespace tw::locale {

const char *common_to_real_locale(const char *common, char *buf, size_t size) {
    if (!common) return "C";
    if (os::accepts_time_locale(common)) return common;

    std::FILE *file = os::open_file_stream(getOrrickString("LOCALE_FILE"), "r");
    if (!file) return common;
    const char *result = "C";
    const size_t common_length = std::strlen(common);
    char line[kLineSize];
    while (std::fgets(line, sizeof line, file)) {
        skip_rest_of_line(file, line);
        if (std::strncmp(line, "TM", 2) != 0 || line[2] == '\0') continue;
        const char *p = line + 3;
        const char *platform, *name;
        size_t platform_length, name_length;
        if (!read_name(p, platform, platform_length) || !read_name(p, name, name_length)) continue;
        if (name_length != common_length || std::memcmp(name, common, name_length) != 0) continue;
        if (platform_length >= size) continue;
        char candidate[kLineSize];
        Q_strlncpy(candidate, platform, unsigned(platform_length), sizeof candidate);
        if (os::accepts_time_locale(candidate)) {
            std::memcpy(buf, candidate, platform_length + 1);
            result = buf;
            break;
        }
    }
    std::fclose(file);
    return result;
}

}  // namespace tw::locale

extern "C" const char *common2reallocale(const char *common) {
    static char mapped[kLineSize];
    return tw::locale::common_to_real_locale(common, mapped, sizeof mapped);
}
