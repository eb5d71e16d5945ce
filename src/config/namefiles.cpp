/*
 * File names that depend on what already lies on disk: a usable local name
 * for a file name given by the server, and the removal of the companion
 * files the help viewer generates next to a help file.
 *
 * A server-given name that cannot be used is replaced by a numbered file in
 * the logs directory: BP_LOGS\ALTPATH\ALTPATH.nnn (or BPREST for restores),
 * the number found from the files of that stem already there.
 */
#include <cstring>

#include "platform/filenames.h"
#include "twcommon/config.h"
#include "twcommon/text.h"

namespace {

// Where the server puts files it renames during a restore.
constexpr const char kRenameAreaPrefix[] = "C:\\Tallowind\\db\\.rename.";

char lower_ascii(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

bool equal_ignoring_case(const char *a, const char *b, size_t count) {
    for (size_t i = 0; i < count; ++i)
        if (lower_ascii(a[i]) != lower_ascii(b[i])) return false;
    return true;
}

bool equal_ignoring_case(const char *a, const char *b) {
    size_t length = std::strlen(a);
    return length == std::strlen(b) && equal_ignoring_case(a, b, length);
}

// The part of name after stem + ".", when name is that stem followed by a
// dot (the stem compared without regard to case, as NT names are); else null.
const char *after_stem(const char *name, const char *stem, size_t stem_length) {
    if (std::strlen(name) <= stem_length || !equal_ignoring_case(name, stem, stem_length)) return nullptr;
    if (name[stem_length] != '.') return nullptr;
    return name + stem_length + 1;
}

struct NumberedFiles {
    const char *stem;
    size_t stem_length;
    int highest;
};

void note_numbered_file(const char *name, void *context) {
    auto &files = *static_cast<NumberedFiles *>(context);
    const char *extension = after_stem(name, files.stem, files.stem_length);
    if (!extension) return;
    size_t digits = std::strspn(extension, "0123456789");
    if (digits == 0 || digits > 9 || extension[digits] != '\0') return;  // not a number, or too long for one
    int number = 0;
    for (size_t i = 0; i < digits; ++i) number = number * 10 + (extension[i] - '0');
    if (number > files.highest) files.highest = number;
}

// The highest numeric extension among dir's files named stem.nnn; 0 when none.
int highest_numbered_file(const char *dir, const char *stem) {
    NumberedFiles files{stem, std::strlen(stem), 0};
    tw::os::list_directory_names(dir, note_numbered_file, &files);
    return files.highest;
}

struct HelpCompanions {
    const char *dir;
    const char *stem;
    size_t stem_length;
};

bool is_help_document(const char *extension) {
    return equal_ignoring_case(extension, "cnt") || equal_ignoring_case(extension, "hlp") ||
           equal_ignoring_case(extension, "pdf");
}

void remove_help_companion(const char *name, void *context) {
    auto &help = *static_cast<HelpCompanions *>(context);
    if (!after_stem(name, help.stem, help.stem_length)) return;
    const char *extension = std::strrchr(name, '.') + 1;
    if (*extension == '\0' || is_help_document(extension)) return;
    char path[1024];
    Q_snprintf(path, sizeof path, "%s%s%s", help.dir, tw::os::path_separator, name);
    tw::os::remove_file(path);
}

}  // namespace

extern "C" {

int validName_Server2PC(char *path, unsigned size, int kind, int mode) {
    if (!path) return 0;
    if ((mode == 1 || mode == 2) && tw::os::opens_for_read_write(path, mode == 2)) return 0;
    if (kind == 0) {
        if (std::strncmp(path, kRenameAreaPrefix, sizeof kRenameAreaPrefix - 1) != 0) return 0;
    } else if (kind != 1 && kind != 2) {
        return 0;
    }
    const char *stem = kind == 2 ? "BPREST" : "ALTPATH";
    const char *logs = getOrrickString("BP_LOGS");
    if (!logs) logs = "";
    char dir[1024];
    Q_snprintf(dir, sizeof dir, "%s\\%s", logs, stem);
    int highest = highest_numbered_file(dir, stem);
    char number[16];
    Q_snprintf(number, sizeof number, "%03d", kind == 1 ? highest : highest + 1);
    char name[1024];
    Q_snprintf(name, sizeof name, "%s\\%s\\%s.%s", logs, stem, stem, number);
    Q_strlncpy(path, name, sizeof name, size);
    return 1;
}

void RemoveHelpFiles(const char *help_path) {
    if (!help_path) return;
    const char *base = help_path;
    for (const char *p = help_path; *p; ++p)
        if (*p == '\\' || *p == '/' || *p == ':') base = p + 1;
    const char *dot = std::strrchr(base, '.');
    size_t stem_length = dot ? size_t(dot - base) : std::strlen(base);
    char stem[1024];
    Q_strlncpy(stem, base, unsigned(stem_length), sizeof stem);
    const char *dir = getOrrickString("TW_HELP_DIR");
    if (!dir || !*dir) return;  // no help directory: never the drive's root instead
    HelpCompanions help{dir, stem, std::strlen(stem)};
    tw::os::list_directory_names(help.dir, remove_help_companion, &help);
}

}  // extern "C"
