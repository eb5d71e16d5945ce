/*
 * Creation of a directory path with every missing parent, for 8-bit and
 * wide path names. Works on a private copy of the path, cutting it at each
 * separator ("\\", "/" or ":") on the way up; a drive ("C:") is never
 * created. The mode argument is accepted for the callers' sake only: the
 * directories get the platform's default permissions.
 */
#include <cerrno>
#include <cstring>
#include <string>

#include "base/alloc.h"
#include "platform/directories.h"
#include "twcommon/containers.h"

namespace {

template <typename Char>
bool is_separator(Char c) {
    return c == Char('\\') || c == Char('/') || c == Char(':');
}

// Creates path[0, length) and its missing parents; 0 or the error number.
template <typename Char>
int make_path(Char *path, size_t length) {
    bool is_directory = false;
    if (tw::os::path_status(path, &is_directory) == 0) return 0;
    if (errno != ENOENT) return errno;

    size_t separator = length;
    for (size_t i = length; i-- > 0;)
        if (is_separator(path[i])) {
            separator = i;
            break;
        }
    bool has_separator = separator < length;
    if (has_separator && separator > 0 && path[separator] != Char(':')) {
        Char cut = path[separator];
        path[separator] = Char(0);
        int error = make_path(path, separator);
        path[separator] = cut;
        if (error) return error;
    }
    if (has_separator && separator == length - 1) return 0;

    if (tw::os::make_directory(path) == 0) return 0;
    int error = errno;
    if (error == EEXIST && tw::os::path_status(path, &is_directory) == 0 && is_directory) return 0;
    return error;
}

template <typename Char>
int make_path_copy(const Char *path, int *err) {
    int ignored;
    if (!err) err = &ignored;
    *err = 0;
    if (!path) {
        *err = EINVAL;
        return -1;
    }
    size_t length = std::char_traits<Char>::length(path);
    auto copy = static_cast<Char *>(tw::mem_alloc((length + 1) * sizeof(Char)));
    if (!copy) {
        *err = ENOMEM;
        return -1;
    }
    std::char_traits<Char>::copy(copy, path, length + 1);
    *err = make_path(copy, length);
    tw::mem_free(copy);
    return *err ? -1 : 0;
}

}  // namespace

extern "C" {

int mkdirpath(const char *path, int, int *err) { return make_path_copy(path, err); }

int _wmkdirpath(const tw_wchar_t *path, int, int *err) { return make_path_copy(path, err); }

}  // extern "C"
