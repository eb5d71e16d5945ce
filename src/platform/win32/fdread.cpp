#include <io.h>

#include <climits>

#include "platform/fdread.h"

namespace tw::os {

int read_descriptor(int fd, void *data, unsigned size) {
    // The count comes back as an int: never ask for more than one can hold.
    return _read(fd, data, size > unsigned(INT_MAX) ? unsigned(INT_MAX) : size);
}

}  // namespace tw::os
