/*
 * Directory services of the OS layer used by the directory listings: a
 * stream of the names in a directory, and the stat and mkdir that building a
 * directory path needs, for 8-bit and for wide path names.
 *
 * Failures leave errno set: ENOENT for a missing entry, ENOTDIR when a path
 * is not a directory, ENOMEM when a name cannot be converted for lack of
 * memory. Names are UTF-8. On Windows the stream is the library's own
 * opendir/readdir over the wide directory search; elsewhere it is the C
 * library's.
 */
#ifndef TW_PLATFORM_DIRECTORIES_H
#define TW_PLATFORM_DIRECTORIES_H

#include <cerrno>

#if defined(_WIN32)
#include "twcommon/unixnt.h"  // the library's own opendir/readdir/closedir
#else
#include <dirent.h>
#endif

#include "twcommon/base.h"

namespace tw::os {

// Both platforms have the POSIX directory stream, so it is the stream here.
using DirectoryStream = DIR;

// Opens a stream over the entries of dir; null with errno set.
inline DirectoryStream *open_directory(const char *dir) {
    if (!dir) {
        errno = EFAULT;
        return nullptr;
    }
    return opendir(dir);
}
// The next entry's name ("." and ".." included), valid until the next call;
// null at the end.
inline const char *next_directory_name(DirectoryStream *stream) {
    const dirent *entry = stream ? readdir(stream) : nullptr;
    return entry ? entry->d_name : nullptr;
}
inline void close_directory(DirectoryStream *stream) {
    if (stream) closedir(stream);
}

// 0 when path names an existing entry (*is_directory tells its kind), else
// -1 with errno set.
int path_status(const char *path, bool *is_directory);
int path_status(const tw_wchar_t *path, bool *is_directory);

// Creates one directory with the platform's default permissions; 0, or -1
// with errno set (EEXIST when something exists there already).
int make_directory(const char *path);
int make_directory(const tw_wchar_t *path);

}  // namespace tw::os

#endif
