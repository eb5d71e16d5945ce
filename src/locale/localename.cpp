/*
 * Common locale names to the runtime's names, through the "TM" lines of the
 * locale definition file (named path LOCALE_FILE):
 *     TM <n> <platform name of n characters> <m> <common name of m characters>
 * Names are tried with the runtime for the time category, which is always
 * put back as it was.
 */
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "twcommon/config.h"
#include "twcommon/locale.h"
#include "twcommon/text.h"

namespace {

constexpr int kLineSize = 100;  // lines hold at most 99 characters

// The runtime's current time category, restored when this goes out of scope.
class SavedTimeLocale {
public:
    SavedTimeLocale() {
        const char *current = std::setlocale(LC_TIME, nullptr);
        saved_ = current && std::strlen(current) < sizeof name_;
        if (saved_) Q_strlcpy(name_, current, sizeof name_);
    }
    ~SavedTimeLocale() {
        if (saved_) std::setlocale(LC_TIME, name_);
    }
    SavedTimeLocale(const SavedTimeLocale &) = delete;
    SavedTimeLocale &operator=(const SavedTimeLocale &) = delete;

private:
    char name_[256];
    bool saved_;
};

bool accepted_for_time(const char *name) { return std::setlocale(LC_TIME, name) != nullptr; }

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

extern "C" const char *common2reallocale(const char *common) {
    static char mapped[kLineSize];
    if (!common) return "C";
    SavedTimeLocale restore;
    if (accepted_for_time(common)) return common;

    std::FILE *file = std::fopen(getOrrickString("LOCALE_FILE"), "r");
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
        Q_strlncpy(mapped, platform, unsigned(platform_length), sizeof mapped);
        if (accepted_for_time(mapped)) {
            result = mapped;
            break;
        }
    }
    std::fclose(file);
    return result;
}
