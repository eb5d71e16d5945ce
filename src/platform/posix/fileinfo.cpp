#include <sys/stat.h>

#include "platform/fileinfo.h"

namespace tw::os {

bool directory_exists(const char *path) {
    struct stat info;
    return path && stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace tw::os
