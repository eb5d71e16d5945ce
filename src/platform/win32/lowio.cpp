#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>

#include "platform/lowio.h"
#include "base/alloc.h"
#include "twcommon/text.h"

namespace tw::os {
namespace {

// The UTF-8 path as a new wide string (free it), or null with errno set.
wchar_t *wide_path(const char *path) {
    if (!path) {
        errno = EINVAL;
        return nullptr;
    }
    wchar_t *wide = Q_StrDupUTF8ToWide(path);
    if (!wide) errno = ENOMEM;
    return wide;
}

}  // namespace

int open_append_file(const char *path, int mode) {
    wchar_t *wide = wide_path(path);
    if (!wide) return -1;
    int saved = _umask(0);
    int fd = _wopen(wide, _O_WRONLY | _O_APPEND | _O_CREAT, mode);
    int open_error = errno;
    _umask(saved);
    mem_free(wide);
    errno = open_error;
    return fd;
}

int write_descriptor(int fd, const void *data, unsigned size) { return _write(fd, data, size); }

long long seek_to_end(int fd) { return _lseeki64(fd, 0, SEEK_END); }

int close_descriptor(int fd) { return _close(fd); }

bool path_exists(const char *path) {
    if (!path) return false;
    wchar_t *wide = Q_StrDupUTF8ToWide(path);
    if (!wide) return false;
    DWORD attributes = GetFileAttributesW(wide);
    mem_free(wide);
    return attributes != INVALID_FILE_ATTRIBUTES;
}

FILE *stream_on_descriptor(int fd, const char *mode) { return _fdopen(fd, mode); }

int descriptor_of_stream(FILE *stream) { return _fileno(stream); }

int current_process_id() { return int(GetCurrentProcessId()); }

int current_thread_id() { return int(GetCurrentThreadId()); }

}  // namespace tw::os
