/*
 * File-system queries on UTF-8 path names (wide just before the call on
 * Windows).
 */
#ifndef TW_PLATFORM_FILEINFO_H
#define TW_PLATFORM_FILEINFO_H

namespace tw::os {

// True when path names an existing directory.
bool directory_exists(const char *path);

}  // namespace tw::os

#endif
