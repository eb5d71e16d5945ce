/*
 * File-system queries on 8-bit (local code page) path names.
 */
#ifndef TW_PLATFORM_FILEINFO_H
#define TW_PLATFORM_FILEINFO_H

namespace tw::os {

// True when path names an existing directory.
bool directory_exists(const char *path);

}  // namespace tw::os

#endif
