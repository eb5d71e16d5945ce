/*
 * Standard I/O streams on UTF-8 path names (wide calls on Windows).
 */
#ifndef TW_PLATFORM_FILESTREAM_H
#define TW_PLATFORM_FILESTREAM_H

#include <cstdio>

namespace tw::os {

// fopen of a UTF-8 path with the runtime's mode letters; null with errno set
// when it fails.
std::FILE *open_file_stream(const char *path, const char *mode);

}  // namespace tw::os

#endif
