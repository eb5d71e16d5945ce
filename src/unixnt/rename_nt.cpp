/*
 * Rename with Unix semantics on NT: the target is replaced when it exists,
 * and a move to another volume is done by copying. Names are UTF-8, made
 * wide (long paths included) just before the call. The result is the NT
 * error number itself (callers test for non-zero), errno its Unix meaning.
 */
#include <windows.h>

#include <cerrno>

#include "base/alloc.h"
#include "platform/win32/widepath.h"
#include "twcommon/unixnt.h"

extern "C" int NTrename(const char *old_path, const char *new_path) {
    DWORD error = ERROR_INVALID_PARAMETER;
    if (old_path && new_path) {
        wchar_t *wide_old = tw::os::wide_path(old_path);
        wchar_t *wide_new = wide_old ? tw::os::wide_path(new_path) : nullptr;
        if (!wide_new)
            error = errno == ENOMEM ? ERROR_NOT_ENOUGH_MEMORY : ERROR_INVALID_PARAMETER;
        else if (MoveFileExW(wide_old, wide_new, MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED))
            error = ERROR_SUCCESS;
        else
            error = GetLastError();
        tw::mem_free(wide_old);
        tw::mem_free(wide_new);
        if (error == ERROR_SUCCESS) {
            errno = 0;
            return 0;
        }
    }
    errno = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? ENOENT
            : error == ERROR_ACCESS_DENIED                                  ? EACCES
                                                                            : EINVAL;
    return int(error);
}
