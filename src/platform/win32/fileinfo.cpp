#include <windows.h>

#include "base/alloc.h"
#include "platform/fileinfo.h"
#include "platform/win32/widepath.h"

namespace tw::os {

bool directory_exists(const char *path) {
    wchar_t *wide = path ? wide_path(path) : nullptr;
    if (!wide) return false;
    DWORD attributes = GetFileAttributesW(wide);
    mem_free(wide);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace tw::os
