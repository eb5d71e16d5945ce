/*
 * Directory services on Windows: file attributes for the status and the C
 * runtime's wide mkdir (the stream is the library's own opendir, in the
 * header). 8-bit names are UTF-8; every name goes through wide_path, so a
 * long absolute path works too.
 */
#include <windows.h>

#include <direct.h>

#include <cerrno>

#include "base/alloc.h"
#include "platform/directories.h"
#include "platform/win32/widepath.h"

namespace tw::os {
namespace {

int status_from_attributes(DWORD attributes, bool *is_directory) {
    if (attributes != INVALID_FILE_ATTRIBUTES) {
        *is_directory = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        return 0;
    }
    DWORD error = GetLastError();
    errno = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? ENOENT
            : error == ERROR_ACCESS_DENIED                                  ? EACCES
                                                                            : EINVAL;
    return -1;
}

template <typename Char>
int status_of(const Char *path, bool *is_directory) {
    if (!path) {
        errno = EFAULT;
        return -1;
    }
    wchar_t *wide = wide_path(path);
    if (!wide) return -1;
    DWORD attributes = GetFileAttributesW(wide);
    DWORD error = GetLastError();
    mem_free(wide);
    SetLastError(error);
    return status_from_attributes(attributes, is_directory);
}

template <typename Char>
int make_directory_at(const Char *path) {
    if (!path) {
        errno = EFAULT;
        return -1;
    }
    wchar_t *wide = wide_path(path);
    if (!wide) return -1;
    int result = _wmkdir(wide);
    int error = errno;
    mem_free(wide);
    errno = error;
    return result;
}

}  // namespace

int path_status(const char *path, bool *is_directory) { return status_of(path, is_directory); }

int path_status(const wchar_t *path, bool *is_directory) { return status_of(path, is_directory); }

int make_directory(const char *path) { return make_directory_at(path); }

int make_directory(const wchar_t *path) { return make_directory_at(path); }

}  // namespace tw::os
