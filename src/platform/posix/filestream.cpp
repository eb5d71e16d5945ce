#include <cerrno>
#include <cstdio>

#include "platform/filestream.h"

namespace tw::os {

std::FILE *open_file_stream(const char *path, const char *mode) {
    if (!path || !mode) {
        errno = EINVAL;
        return nullptr;
    }
    return std::fopen(path, mode);
}

}  // namespace tw::os
