/*
 * File-name services on Windows: the C runtime's wide file calls and the
 * wide directory search, with UTF-8 names converted on the way in (through
 * wide_path, so long paths work) and out.
 */
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <cerrno>

#include "base/alloc.h"
#include "platform/filenames.h"
#include "platform/platform.h"
#include "platform/win32/widepath.h"

namespace tw::os {

const char path_separator[] = "\\";

bool is_lead_byte(unsigned char c) { return IsDBCSLeadByte(c) != 0; }

int runtime_chmod(const char *path, int mode) {
    wchar_t *wide = wide_path(path);
    if (!wide) return -1;
    int result = _wchmod(wide, mode);
    mem_free(wide);
    return result;
}

bool opens_for_read_write(const char *path, bool create) {
    wchar_t *wide = wide_path(path);
    if (!wide) return false;
    int fd = _wopen(wide, _O_RDWR | _O_TEXT | (create ? _O_CREAT : 0), 0660);
    mem_free(wide);
    if (fd < 0) return false;
    _close(fd);
    return true;
}

bool list_directory_names(const char *dir, void (*visit)(const char *name, void *context), void *context) {
    if (!dir) return false;
    size_t length = 0;
    while (dir[length]) ++length;
    auto pattern = static_cast<char *>(mem_alloc(length + 3));
    if (!pattern) return false;
    for (size_t i = 0; i < length; ++i) pattern[i] = dir[i];
    pattern[length] = '\\', pattern[length + 1] = '*', pattern[length + 2] = '\0';
    wchar_t *wide = wide_path(pattern);
    mem_free(pattern);
    if (!wide) return false;
    WIN32_FIND_DATAW found;
    HANDLE search = FindFirstFileW(wide, &found);
    mem_free(wide);
    if (search == INVALID_HANDLE_VALUE) return false;
    do {
        const wchar_t *name = found.cFileName;
        if (name[0] == L'.' && (name[1] == 0 || (name[1] == L'.' && name[2] == 0))) continue;
        char utf8[MAX_PATH * 3 + 1];
        if (wide_to_multibyte(CodePage::utf8, name, utf8, sizeof utf8) > 0) visit(utf8, context);
    } while (FindNextFileW(search, &found));
    FindClose(search);
    return true;
}

bool remove_file(const char *path) {
    wchar_t *wide = wide_path(path);
    if (!wide) return false;
    bool removed = _wunlink(wide) == 0;
    mem_free(wide);
    return removed;
}

}  // namespace tw::os
