/*
 * Directory services off Windows: POSIX stat/mkdir (the stream is the C
 * library's, in the header). Wide names are UTF-16 and become UTF-8 for
 * each call.
 */
#include <sys/stat.h>

#include <cerrno>

#include "base/alloc.h"
#include "platform/directories.h"
#include "platform/platform.h"

namespace tw::os {
namespace {

// The wide path as a new UTF-8 block (mem_free it), or null with errno set.
char *utf8_copy(const tw_wchar_t *path) {
    if (!path) {
        errno = EFAULT;
        return nullptr;
    }
    int size = wide_to_multibyte(CodePage::utf8, path, nullptr, 0);
    auto text = size > 0 ? static_cast<char *>(mem_alloc(size_t(size))) : nullptr;
    if (!text) {
        errno = size > 0 ? ENOMEM : EINVAL;
        return nullptr;
    }
    wide_to_multibyte(CodePage::utf8, path, text, size);
    return text;
}

}  // namespace

int path_status(const char *path, bool *is_directory) {
    struct stat info;
    if (!path) {
        errno = EFAULT;
        return -1;
    }
    if (stat(path, &info) != 0) return -1;
    *is_directory = S_ISDIR(info.st_mode);
    return 0;
}

int path_status(const tw_wchar_t *path, bool *is_directory) {
    char *text = utf8_copy(path);
    if (!text) return -1;
    int result = path_status(text, is_directory);
    int error = errno;
    mem_free(text);
    errno = error;
    return result;
}

int make_directory(const char *path) {
    if (!path) {
        errno = EFAULT;
        return -1;
    }
    return mkdir(path, 0777);
}

int make_directory(const tw_wchar_t *path) {
    char *text = utf8_copy(path);
    if (!text) return -1;
    int result = make_directory(text);
    int error = errno;
    mem_free(text);
    errno = error;
    return result;
}

}  // namespace tw::os
