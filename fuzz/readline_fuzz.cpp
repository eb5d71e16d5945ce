// Reads an arbitrary byte stream line by line with Readline through a socket
// pair whose writing end is closed. The lines (and the pieces of lines too
// long for the buffer) must give back the input exactly, each positive
// result must be its line's length with a newline only at its end (the last
// piece may have none), and no call may write past the line buffer or the
// block.
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "stream_pair.h"
#include "twcommon/comm.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2 || size > 100000) return 0;
    int block_size = data[0] % 64 + 1;
    int maxlen = data[1] % 80 + 1;
    data += 2, size -= 2;
    const int sock = stream_of(data, size);
    if (sock < 0) return 0;
    buf_block *block = create_buf_block(block_size);
    char *line = static_cast<char *>(std::malloc(size_t(maxlen)));
    std::string seen;
    bool ended_without_newline = false;
    for (;;) {
        int n = Readline(sock, line, maxlen, 5, block);
        if (n == 0) break;
        if (ended_without_newline) std::abort();  // only the last piece may lack a newline
        if (n > 0) {
            if (n > maxlen - 1 || line[n] != '\0' || std::memchr(line, '\n', size_t(n) - 1)) std::abort();
            ended_without_newline = line[n - 1] != '\n';
            seen.append(line, size_t(n));
        } else {
            // On a stream that ends, only a full line fails.
            if (errno != 34 || line[maxlen - 1] != '\0') std::abort();
            if (maxlen == 1) break;  // no room for anything
            seen.append(line, size_t(maxlen) - 1);
        }
    }
    if (maxlen > 1 && seen != std::string(reinterpret_cast<const char *>(data), size)) std::abort();
    std::free(line);
    free_buf_block(block);
    close(sock);
    return 0;
}
