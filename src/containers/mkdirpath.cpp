/*
 * Creation of a directory path with every missing parent, for UTF-8 and
 * wide path names (the OS layer makes each one wide, long paths included).
 * Works on a private copy of the path, cutting it at each separator ("\\",
 * "/" or ":") on the way up; a drive ("C:") is never created. The mode
 * argument is accepted for the callers' sake only: the directories get the
 * platform's default permissions.
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

// The last separator in path[0, end), or end when there is none.
template <typename Char>
size_t last_separator(const Char *path, size_t end) {
    for (size_t i = end; i-- > 0;)
        if (is_separator(path[i])) return i;
    return end;
}

// The first separator after start, or length when there is none.
template <typename Char>
size_t next_separator(const Char *path, size_t start, size_t length) {
    for (size_t i = start + 1; i < length; ++i)
        if (is_separator(path[i])) return i;
    return length;
}

// Runs step on path[0, end), the path cut there for the call.
template <typename Char, typename Step>
int on_prefix(Char *path, size_t end, Step step) {
    const Char cut = path[end];
    path[end] = Char(0);
    const int result = step();
    path[end] = cut;
    return result;
}

// Creates path[0, length) and its missing parents; 0 or the error number.
// It walks up, one separator at a time, to the first prefix that exists or
// has no parent to go up to, then creates each prefix on the way back down.
// A prefix that ends in a separator is not created itself; a drive ("C:")
// and a root are never gone up to. Iterative: a path's depth is the caller's.
template <typename Char>
int make_path(Char *path, size_t length) {
    size_t end = length;
    bool exists = false;
    for (;;) {
        bool is_directory = false;
        if (on_prefix(path, end, [&] { return tw::os::path_status(path, &is_directory); }) == 0) {
            exists = true;
            break;
        }
        if (errno != ENOENT) return errno;
        const size_t parent = last_separator(path, end);
        if (parent == end || parent == 0 || path[parent] == Char(':')) break;
        end = parent;
    }
    if (exists) {
        if (end == length) return 0;
        end = next_separator(path, end, length);
    }
    for (;;) {
        if (last_separator(path, end) + 1 != end) {
            const int error = on_prefix(path, end, [&] {
                if (tw::os::make_directory(path) == 0) return 0;
                const int failure = errno;
                bool is_directory = false;
                if (failure == EEXIST && tw::os::path_status(path, &is_directory) == 0 && is_directory) return 0;
                return failure;
            });
            if (error) return error;
        }
        if (end == length) return 0;
        end = next_separator(path, end, length);
    }
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
