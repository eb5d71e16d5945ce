/*
 * Low-level descriptor I/O on Windows: the C runtime's descriptors, with
 * UTF-8 names made wide through wide_path.
 *
 * The log file is created with CreateFileW and handed to the runtime as a
 * descriptor, so that its permission is exactly the mode given: the
 * runtime's own open would apply the process umask, and changing the umask
 * around the call would change it for every thread.
 */
#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "base/alloc.h"
#include "platform/lowio.h"
#include "platform/win32/widepath.h"

namespace tw::os {
namespace {

// The runtime's errno for a failed CreateFileW, as its own open would set it.
int errno_of_open_error(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_FILENAME_EXCED_RANGE: return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_WRITE_PROTECT: return EACCES;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS: return EEXIST;
    case ERROR_TOO_MANY_OPEN_FILES: return EMFILE;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY: return ENOMEM;
    case ERROR_DISK_FULL: return ENOSPC;
    default: return EINVAL;
    }
}

// Text mode unless the runtime's default is binary, as for an open that
// gives neither flag.
int default_translation() { return _fmode == _O_BINARY ? 0 : _O_TEXT; }

}  // namespace

int open_append_file(const char *path, int mode) {
    wchar_t *wide = wide_path(path);
    if (!wide) return -1;
    // Inheritable and shared for reading and writing, as the runtime opens.
    SECURITY_ATTRIBUTES inherit{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    DWORD attributes = (mode & _S_IWRITE) ? FILE_ATTRIBUTE_NORMAL : FILE_ATTRIBUTE_READONLY;
    HANDLE file = CreateFileW(wide, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, OPEN_ALWAYS,
                              attributes, nullptr);
    DWORD error = GetLastError();
    mem_free(wide);
    if (file == INVALID_HANDLE_VALUE) {
        errno = errno_of_open_error(error);
        return -1;
    }
    int fd = _open_osfhandle(reinterpret_cast<intptr_t>(file), _O_WRONLY | _O_APPEND | default_translation());
    if (fd < 0) {
        int open_error = errno;
        CloseHandle(file);
        errno = open_error;
    }
    return fd;
}

int write_descriptor(int fd, const void *data, unsigned size) {
    // The count comes back as an int: never ask for more than one can hold.
    return _write(fd, data, size > unsigned(INT_MAX) ? unsigned(INT_MAX) : size);
}

long long seek_to_end(int fd) { return _lseeki64(fd, 0, SEEK_END); }

int close_descriptor(int fd) { return _close(fd); }

bool path_exists(const char *path) {
    wchar_t *wide = path ? wide_path(path) : nullptr;
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
