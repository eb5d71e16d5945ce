/*
 * Directory services of the OS layer used by the directory listings: a
 * stream of the names in a directory, and the stat and mkdir that building a
 * directory path needs, for 8-bit and for wide path names.
 *
 * Failures leave errno set: ENOENT for a missing entry, ENOTDIR when a path
 * is not a directory, ENOMEM when a name cannot be converted for lack of
 * memory. On Windows the stream is the library's own opendir/readdir (8-bit
 * names in the ANSI code page); elsewhere it is the C library's.
 */
#ifndef TW_PLATFORM_DIRECTORIES_H
#define TW_PLATFORM_DIRECTORIES_H

#include "twcommon/base.h"

namespace tw::os {

struct DirectoryStream;

// Opens a stream over the entries of dir; null with errno set.
DirectoryStream *open_directory(const char *dir);
// The next entry's name ("." and ".." included), valid until the next call;
// null at the end.
const char *next_directory_name(DirectoryStream *stream);
void close_directory(DirectoryStream *stream);

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
