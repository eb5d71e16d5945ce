#include <windows.h>

#include "platform/fileinfo.h"

namespace tw::os {

bool directory_exists(const char *path) {
    if (!path) return false;
    DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace tw::os
