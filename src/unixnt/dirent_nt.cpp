/*
 * Unix directory reading on NT: opendir/readdir/closedir over the NT
 * directory search (ANSI form).
 *
 * opendir already holds the first entry found; the first readdir hands it
 * out without a search step, later ones advance the search. When the search
 * ends (or fails) the handle is closed and the stream marked exhausted with
 * INVALID_HANDLE_VALUE; readdir of an exhausted stream leaves errno alone.
 */
#include <windows.h>

#include <cerrno>
#include <cstring>

#include "base/alloc.h"
#include "twcommon/unixnt.h"

namespace {

int errno_of_search_error(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_NO_MORE_FILES: return ENOENT;
    case ERROR_DIRECTORY: return ENOTDIR;
    default: return EINVAL;
    }
}

// Some NT implementations answer a search inside a plain file with "invalid
// name" rather than "not a directory"; the path's attributes tell.
bool is_plain_file(const char *path) {
    DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool ends_with_separator(const char *path, size_t length) {
    return length > 0 && std::strchr("/\\:", path[length - 1]);
}

}  // namespace

extern "C" {

DIR *opendir(const char *path) {
    if (!path) {
        errno = EINVAL;
        return nullptr;
    }
    auto stream = static_cast<DIR *>(tw::mem_calloc(1, sizeof(DIR)));
    size_t length = std::strlen(path);
    auto pattern = stream ? static_cast<char *>(tw::mem_alloc(length + 5)) : nullptr;
    if (!pattern) {
        tw::mem_free(stream);
        errno = ENOMEM;
        return nullptr;
    }
    std::memcpy(pattern, path, length);
    std::strcpy(pattern + length, ends_with_separator(path, length) ? "*.*" : "\\*.*");

    stream->search = FindFirstFileA(pattern, &stream->found);
    tw::mem_free(pattern);
    if (stream->search == INVALID_HANDLE_VALUE) {
        DWORD error = GetLastError();
        int mapped = errno_of_search_error(error);
        if (mapped == EINVAL && is_plain_file(path)) mapped = ENOTDIR;
        tw::mem_free(stream);
        errno = mapped;
        return nullptr;
    }
    stream->entry.d_name = nullptr;
    return stream;
}

struct dirent *readdir(DIR *stream) {
    if (!stream || stream->search == INVALID_HANDLE_VALUE) return nullptr;
    if (stream->entry.d_name && !FindNextFileA(stream->search, &stream->found)) {
        errno = errno_of_search_error(GetLastError());
        FindClose(stream->search);
        stream->search = INVALID_HANDLE_VALUE;
        return nullptr;
    }
    stream->entry.d_name = stream->found.cFileName;
    return &stream->entry;
}

int closedir(DIR *stream) {
    if (!stream) return 0;
    if (stream->search != INVALID_HANDLE_VALUE) FindClose(stream->search);
    tw::mem_free(stream);
    return 0;
}

}  // extern "C"
