// The fuzz targets' byte stream: a socket pair holding the input, its
// writing end closed, so that a reader sees the bytes and then the end.
#ifndef TW_FUZZ_STREAM_PAIR_H
#define TW_FUZZ_STREAM_PAIR_H

#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

// The reading end, or -1. The input must fit the pair's buffers (a
// mebibyte is asked for the sending side).
inline int stream_of(const uint8_t *data, size_t size) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) return -1;
    int sndbuf = 1 << 20;
    setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &sndbuf, sizeof sndbuf);
    const bool written = write(ends[1], data, size) == ssize_t(size);
    close(ends[1]);
    if (written) return ends[0];
    close(ends[0]);
    return -1;
}

#endif
