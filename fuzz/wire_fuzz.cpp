// Feeds an arbitrary byte stream to the wire readers through a socket pair
// whose writing end is closed, so every read ends at the data or at the end
// of the stream. The first byte picks the reader (and nonblocking_read); the
// readers then run one after another until the stream is spent. Buffers are
// exactly as large as each reader may use, so a write past them is caught.
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/alloc.h"
#include "stream_pair.h"
#include "twcommon/comm.h"

namespace {

// Heap-buffer readers may ask for any length the stream names: above this,
// the allocation is made to fail instead (the no-memory path).
constexpr uint32_t kLargeLength = 1u << 20;

// Makes the next allocation fail when the next four bytes name a large length.
void limit_next_allocation(int sock) {
    unsigned char head[4];
    if (recv(sock, head, 4, MSG_PEEK | MSG_DONTWAIT) != 4) return;
    uint32_t length = uint32_t(head[0]) << 24 | uint32_t(head[1]) << 16 | uint32_t(head[2]) << 8 | head[3];
    if (length > kLargeLength) tw::alloc_failure_countdown.store(1);
}

bool read_one(int sock, int kind, int size) {
    int err = 0, code = 0, length = 0;
    switch (kind) {
    case 0: {
        int v = get_short(sock, 0, &err);
        if (v > 65535) std::abort();
        return v > 0 || (v == 0 && !nonblocking_read);
    }
    case 1: return get_long(sock, 0, &err) != -9;
    case 2:
        get_vint64t(sock, 0, &code);
        return code == 0 && !nonblocking_read;
    case 3: {
        char *buf = static_cast<char *>(std::malloc(size_t(size) + 1));
        int n = get_string(sock, buf, size, 0, &err);
        if (n > size || (n >= 0 && std::strlen(buf) > size_t(n))) std::abort();
        std::free(buf);
        return n > 0;
    }
    case 4: {
        limit_next_allocation(sock);
        char *text = get_adaptable_string(sock, &length, 0, &err);
        tw::alloc_failure_countdown.store(0);
        if (text && length >= 0 && std::strlen(text) > size_t(length)) std::abort();
        std::free(text);
        return length > 0;
    }
    case 5: return get_short_(sock, 0, 0) >= 0;
    case 6: {
        char *buf = static_cast<char *>(std::malloc(size_t(size)));
        char *text = get_string_(sock, buf, &length, size, 0, 0);
        if (text && (text != buf || length >= size)) std::abort();
        std::free(buf);
        return text != nullptr;
    }
    default: {
        limit_next_allocation(sock);
        char *text = get_string_(sock, nullptr, &length, 0, 0, 0);
        tw::alloc_failure_countdown.store(0);
        if (text && std::strlen(text) > size_t(length)) std::abort();
        std::free(text);
        return text != nullptr;
    }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2 || size > 100000) return 0;  // the whole stream must fit in the pair's buffers
    int kind = data[0] & 7;
    nonblocking_read = (data[0] & 8) ? 1 : 0;
    int buffer_size = data[1];
    data += 2, size -= 2;
    const int sock = stream_of(data, size);
    if (sock < 0) return 0;
    // A read that takes nothing happens only at the end of the stream, so
    // there is never work for more reads than bytes.
    for (size_t reads = 0; reads <= size && read_one(sock, kind, buffer_size); ++reads) {
    }
    close(sock);
    nonblocking_read = 0;
    return 0;
}
