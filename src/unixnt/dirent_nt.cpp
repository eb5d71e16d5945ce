/*
 * Unix directory reading on NT: opendir/readdir/closedir over the wide NT
 * directory search, with UTF-8 names in and out.
 *
 * opendir already holds the first entry found; the first readdir hands it
 * out without a search step, later ones advance the search. Each entry's
 * name is converted into the stream's own name buffer, which holds the
 * longest name, so it stays valid until the next readdir. When the search
 * ends (or fails) the handle is closed and the stream marked exhausted with
 * INVALID_HANDLE_VALUE; readdir of an exhausted stream leaves errno alone.
 */
#include <windows.h>

#include <cerrno>
#include <cstring>

#include "base/alloc.h"
#include "platform/platform.h"
#include "platform/win32/widepath.h"
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
    wchar_t *wide = tw::os::wide_path(path);
    if (!wide) return false;
    DWORD attributes = GetFileAttributesW(wide);
    tw::mem_free(wide);
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool ends_with_separator(const char *path, size_t length) {
    return length > 0 && std::strchr("/\\:", path[length - 1]);
}

// The search pattern of path as a wide block, or null with errno set.
wchar_t *search_pattern(const char *path) {
    size_t length = std::strlen(path);
    auto pattern = static_cast<char *>(tw::mem_alloc(length + 5));
    if (!pattern) {
        errno = ENOMEM;
        return nullptr;
    }
    std::memcpy(pattern, path, length);
    std::strcpy(pattern + length, ends_with_separator(path, length) ? "*.*" : "\\*.*");
    wchar_t *wide = tw::os::wide_path(pattern);
    tw::mem_free(pattern);
    return wide;
}

}  // namespace

extern "C" {

DIR *opendir(const char *path) {
    if (!path) {
        errno = EINVAL;
        return nullptr;
    }
    auto stream = static_cast<DIR *>(tw::mem_calloc(1, sizeof(DIR)));
    wchar_t *pattern = stream ? search_pattern(path) : nullptr;
    if (!pattern) {
        if (!stream) errno = ENOMEM;
        tw::mem_free(stream);
        return nullptr;
    }
    stream->search = FindFirstFileW(pattern, &stream->found);
    DWORD error = GetLastError();
    tw::mem_free(pattern);
    if (stream->search == INVALID_HANDLE_VALUE) {
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
    if (stream->entry.d_name && !FindNextFileW(stream->search, &stream->found)) {
        errno = errno_of_search_error(GetLastError());
        FindClose(stream->search);
        stream->search = INVALID_HANDLE_VALUE;
        return nullptr;
    }
    // The buffer holds three bytes for every unit of the longest name, so the
    // conversion cannot run out of room.
    if (tw::os::wide_to_multibyte(tw::os::CodePage::utf8, stream->found.cFileName, stream->name,
                                  int(sizeof stream->name)) <= 0)
        stream->name[0] = '\0';
    stream->entry.d_name = stream->name;
    return &stream->entry;
}

int closedir(DIR *stream) {
    if (!stream) return 0;
    if (stream->search != INVALID_HANDLE_VALUE) FindClose(stream->search);
    tw::mem_free(stream);
    return 0;
}

}  // extern "C"
