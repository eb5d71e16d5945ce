/*
 * Line reading over a caller-owned buffer block: Readline takes the bytes of
 * a line one at a time from the block and refills the block with one receive
 * of up to its size when it runs dry, waiting first for the socket to become
 * readable. Bytes past the newline stay in the block for the next call.
 *
 * When the wait times out in the middle of a line, the bytes taken for that
 * line are given back to the block (they are still in its data area unless a
 * refill overwrote them), so that the next call reads the whole line again.
 */
#include <cerrno>

#include "base/alloc.h"
#include "comm/wire_log.h"
#include "platform/socket.h"
#include "twcommon/comm.h"

namespace {

constexpr int kIoError = 5;
constexpr int kInvalid = 22;
constexpr int kOutOfRange = 34;
constexpr int kTimedOut = 10060;

enum class Take { byte, end_of_stream, failure };

// Takes the next byte from the block, refilling it from the socket when it
// is empty. On failure errno holds the socket error (10060 on time-out).
Take take_byte(int sock, int timeout, buf_block *block, char *out) {
    if (block->count <= 0) {
        int ready = tw::os::wait_socket(sock, false, timeout);
        if (ready < 0) {
            errno = tw::os::last_socket_error();
            return Take::failure;
        }
        if (ready == 0) {
            errno = kTimedOut;
            return Take::failure;
        }
        int n = tw::os::receive_some(sock, block->data, block->size, 0);
        if (n < 0) {
            errno = tw::os::last_socket_error();
            return Take::failure;
        }
        if (n == 0) return Take::end_of_stream;
        block->count = n;
        block->next = block->data;
    }
    *out = *block->next++;
    --block->count;
    return Take::byte;
}

bool block_usable(const buf_block *block) { return block && block->data && block->size > 0; }

}  // namespace

extern "C" {

buf_block *create_buf_block(int size) {
    if (size <= 0) return nullptr;
    auto block = static_cast<buf_block *>(tw::mem_alloc(sizeof(buf_block)));
    if (!block) return nullptr;
    block->data = static_cast<char *>(tw::mem_alloc(size_t(size)));
    if (!block->data) {
        tw::mem_free(block);
        return nullptr;
    }
    block->size = size;
    block->count = 0;
    block->next = block->data;
    return block;
}

void free_buf_block(buf_block *block) {
    if (!block) return;
    tw::mem_free(block->data);
    tw::mem_free(block);
}

int Readline(int sock, char *line, int maxlen, int timeout, buf_block *block) {
    errno = 0;
    if (!line || maxlen < 1 || !block_usable(block)) {
        errno = kInvalid;
        return -1;
    }
    // A block whose bookkeeping is out of its data area is taken as empty.
    if (block->count < 0 || block->count > block->size || block->next < block->data ||
        block->next + block->count > block->data + block->size) {
        block->count = 0;
        block->next = block->data;
    }
    int stored = 0;
    for (int position = 1; position < maxlen; ++position) {
        char c = 0;
        Take taken = take_byte(sock, timeout, block, &c);
        if (taken == Take::end_of_stream) {
            line[stored] = '\0';
            return stored;
        }
        if (taken == Take::failure) {
            line[stored] = '\0';
            if (tw::comm::is_interrupted(errno)) return -position;
            if (errno == kTimedOut && stored > 0) {
                if (block->next - block->data >= stored) {
                    block->next -= stored;
                    block->count += stored;
                } else {
                    errno = kIoError;
                }
            }
            return -1;
        }
        line[stored++] = c;
        if (c == '\n') {
            line[stored] = '\0';
            return position;
        }
    }
    line[stored] = '\0';
    errno = kOutOfRange;
    return -1;
}

}  // extern "C"
