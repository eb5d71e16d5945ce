/*
 * File-name services off Windows: POSIX calls on the UTF-8 names as given.
 */
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/filenames.h"

namespace tw::os {

const char path_separator[] = "/";

bool is_lead_byte(unsigned char) { return false; }

int runtime_chmod(const char *path, int mode) {
    if (!path) {
        errno = EFAULT;
        return -1;
    }
    return chmod(path, mode_t(mode) & 07777);
}

bool opens_for_read_write(const char *path, bool create) {
    if (!path) return false;
    int fd = open(path, O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0660);
    if (fd < 0) return false;
    close(fd);
    return true;
}

bool list_directory_names(const char *dir, void (*visit)(const char *name, void *context), void *context) {
    DIR *listing = dir ? opendir(dir) : nullptr;
    if (!listing) return false;
    while (const dirent *entry = readdir(listing))
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            visit(entry->d_name, context);
    closedir(listing);
    return true;
}

bool remove_file(const char *path) { return path && unlink(path) == 0; }

}  // namespace tw::os
