/*
 * Low-level descriptor I/O off Windows: POSIX calls on the UTF-8 names as
 * given.
 */
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>

#include "platform/lowio.h"

namespace tw::os {

int open_append_file(const char *path, int mode) {
    if (!path) {
        errno = EFAULT;
        return -1;
    }
    // The umask is process-wide: instead of clearing it around the open, a
    // file this call creates gets its exact mode afterwards.
    for (;;) {
        int fd = open(path, O_WRONLY | O_APPEND | O_CREAT | O_EXCL, mode_t(mode));
        if (fd >= 0) {
            int saved = errno;
            // A file system without modes may refuse; the file is usable still.
            if (fchmod(fd, mode_t(mode) & 07777) != 0) errno = saved;
            return fd;
        }
        if (errno != EEXIST) return -1;
        fd = open(path, O_WRONLY | O_APPEND);
        if (fd >= 0 || errno != ENOENT) return fd;
        // Removed between the two opens: create it after all.
    }
}

int write_descriptor(int fd, const void *data, unsigned size) {
    // The count comes back as an int: never ask for more than one can hold.
    return int(write(fd, data, size > unsigned(INT_MAX) ? unsigned(INT_MAX) : size));
}

long long seek_to_end(int fd) { return lseek(fd, 0, SEEK_END); }

int close_descriptor(int fd) { return close(fd); }

bool path_exists(const char *path) {
    struct stat info;
    return path && stat(path, &info) == 0;
}

FILE *stream_on_descriptor(int fd, const char *mode) { return fdopen(fd, mode); }

int descriptor_of_stream(FILE *stream) { return fileno(stream); }

namespace {

// getpid and gettid are system calls here; the ids are kept, and forgotten
// in a forked child (whose forking thread is the one that runs the handler).
std::atomic<int> known_process_id{0};
thread_local int known_thread_id = 0;

void forget_ids() {
    known_process_id.store(0);
    known_thread_id = 0;
}

void watch_forks() {
    static const bool watching = pthread_atfork(nullptr, nullptr, forget_ids) == 0;
    (void)watching;
}

}  // namespace

int current_process_id() {
    int id = known_process_id.load(std::memory_order_relaxed);
    if (id == 0) {
        watch_forks();
        id = int(getpid());
        known_process_id.store(id, std::memory_order_relaxed);
    }
    return id;
}

int current_thread_id() {
    if (known_thread_id == 0) {
        watch_forks();
        known_thread_id = int(syscall(SYS_gettid));
    }
    return known_thread_id;
}

}  // namespace tw::os
