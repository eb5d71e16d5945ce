/*
 * Directory services on Windows: file attributes for the status and the C
 * runtime's mkdir (the stream is the library's own opendir, in the header).
 * 8-bit names are in the ANSI code page.
 */
#include <windows.h>

#include <direct.h>

#include <cerrno>

#include "base/alloc.h"
#include "platform/directories.h"

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

}  // namespace

int path_status(const char *path, bool *is_directory) {
    if (!path) {
        errno = EFAULT;
        return -1;
    }
    return status_from_attributes(GetFileAttributesA(path), is_directory);
}

int path_status(const wchar_t *path, bool *is_directory) {
    if (!path) {
        errno = EFAULT;
        return -1;
    }
    return status_from_attributes(GetFileAttributesW(path), is_directory);
}

int make_directory(const char *path) {
    if (!path) {
        errno = EFAULT;
        return -1;
    }
    return _mkdir(path);
}

int make_directory(const wchar_t *path) {
    if (!path) {
        errno = EFAULT;
        return -1;
    }
    return _wmkdir(path);
}

}  // namespace tw::os
