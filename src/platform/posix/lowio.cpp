#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>

#include "platform/lowio.h"

namespace tw::os {

int open_append_file(const char *path, int mode) {
    mode_t saved = umask(0);
    int fd = open(path, O_WRONLY | O_APPEND | O_CREAT, mode_t(mode));
    umask(saved);
    return fd;
}

int write_descriptor(int fd, const void *data, unsigned size) { return int(write(fd, data, size)); }

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
