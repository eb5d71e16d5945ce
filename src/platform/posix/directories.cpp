/*
 * Directory services off Windows: the C library's directory stream and
 * POSIX stat/mkdir. Wide names are UTF-16 and become UTF-8 for each call.
 */
#include <dirent.h>
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

// The stream is the directory handle itself.
DirectoryStream *open_directory(const char *dir) {
    if (!dir) {
        errno = EFAULT;
        return nullptr;
    }
    return reinterpret_cast<DirectoryStream *>(opendir(dir));
}

const char *next_directory_name(DirectoryStream *stream) {
    const dirent *entry = stream ? readdir(reinterpret_cast<DIR *>(stream)) : nullptr;
    return entry ? entry->d_name : nullptr;
}

void close_directory(DirectoryStream *stream) {
    if (stream) closedir(reinterpret_cast<DIR *>(stream));
}

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
