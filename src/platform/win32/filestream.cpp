/*
 * fopen on Windows takes the ANSI code page; paths are UTF-8, so they go to
 * _wfopen in their wide form.
 */
#include <cerrno>
#include <cstdio>
#include <cwchar>

#include "base/alloc.h"
#include "platform/filestream.h"
#include "platform/win32/widepath.h"

namespace tw::os {

std::FILE *open_file_stream(const char *path, const char *mode) {
    wchar_t wide_mode[16];
    size_t n = 0;
    if (mode)
        for (; mode[n] && n + 1 < sizeof wide_mode / sizeof *wide_mode; ++n) wide_mode[n] = wchar_t(mode[n]);
    if (!mode || mode[n]) {
        errno = EINVAL;
        return nullptr;
    }
    wide_mode[n] = L'\0';
    wchar_t *wide = wide_path(path);
    if (!wide) return nullptr;
    std::FILE *file = _wfopen(wide, wide_mode);
    const int error = errno;
    mem_free(wide);
    errno = error;
    return file;
}

}  // namespace tw::os
