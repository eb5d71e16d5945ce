#include <unistd.h>

#include <cerrno>
#include <climits>

#include "platform/fdread.h"

namespace tw::os {

int read_descriptor(int fd, void *data, unsigned size) {
    if (size > unsigned(INT_MAX)) size = unsigned(INT_MAX);
    ssize_t n;
    do n = ::read(fd, data, size);
    while (n < 0 && errno == EINTR);
    return int(n);
}

}  // namespace tw::os
