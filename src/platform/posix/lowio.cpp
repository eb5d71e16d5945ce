#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

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

int current_process_id() { return int(getpid()); }

int current_thread_id() { return int(syscall(SYS_gettid)); }

}  // namespace tw::os
