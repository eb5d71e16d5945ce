/*
 * Directory services on Windows: the library's own directory stream (the
 * NT search wrapped by opendir/readdir), file attributes for the status and
 * the C runtime's mkdir. 8-bit names are in the ANSI code page.
 */
#include <windows.h>

#include <direct.h>

#include <cerrno>

#include "base/alloc.h"
#include "platform/directories.h"
#include "twcommon/unixnt.h"

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

// The stream is the directory handle itself.
DirectoryStream *open_directory(const char *dir) {
    if (!dir) {
        errno = EFAULT;
        return nullptr;
    }
    return reinterpret_cast<DirectoryStream *>(opendir(dir));
}

const char *next_directory_name(DirectoryStream *stream) {
    const dirent *entry = stream ? readdir(reinterpret_cast<DIR *>(stream)) : nullptr;
    return entry ? entry->d_name : nullptr;
}

void close_directory(DirectoryStream *stream) {
    if (stream) closedir(reinterpret_cast<DIR *>(stream));
}

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
