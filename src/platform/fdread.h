/*
 * Reading the C runtime's descriptors that callers hand to the library (the
 * local side of the remote file transfer).
 */
#ifndef TW_PLATFORM_FDREAD_H
#define TW_PLATFORM_FDREAD_H

namespace tw::os {

// One low-level read of at most size bytes: the count (0 at end of file), or
// -1 with errno set. An interrupted read is repeated.
int read_descriptor(int fd, void *data, unsigned size);

}  // namespace tw::os

#endif
