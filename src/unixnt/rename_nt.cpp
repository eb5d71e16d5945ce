/*
 * Rename with Unix semantics on NT: the target is replaced when it exists,
 * and a move to another volume is done by copying. The result is the NT
 * error number itself (callers test for non-zero), errno its Unix meaning.
 */
#include <windows.h>

#include <cerrno>

#include "twcommon/unixnt.h"

extern "C" int NTrename(const char *old_path, const char *new_path) {
    DWORD error = ERROR_INVALID_PARAMETER;
    if (old_path && new_path) {
        if (MoveFileExA(old_path, new_path, MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED)) {
            errno = 0;
            return 0;
        }
        error = GetLastError();
    }
    errno = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? ENOENT
            : error == ERROR_ACCESS_DENIED                                  ? EACCES
                                                                            : EINVAL;
    return int(error);
}
