/*
 * Copying a file over a socket: a stream of blocks, each a 2-byte
 * big-endian length n (1..8192) and n bytes of the file, ended by a length
 * of 0 with no data. The local side is a runtime descriptor of the caller's,
 * read or written as it is (its text or binary mode is the caller's).
 *
 * Failures are logged at level 2 under the caller's tag and give -1.
 */
#include <cerrno>

#include "comm/wire_log.h"
#include "platform/fdread.h"
#include "platform/lowio.h"
#include "twcommon/comm.h"
#include "twcommon/diag.h"

namespace {

constexpr int kBlockSize = 8192;
constexpr int kBrokenPipe = 32;

const char *tag_or(const char *tag, const char *function) { return tag ? tag : function; }

}  // namespace

extern "C" {

int write_remote_file(int sock, int local_fd, int seconds, const char *tag) {
    tag = tag_or(tag, "write_remote_file");
    // Length and data leave in one send, so a block is one segment's worth
    // of work on both sides.
    unsigned char block[2 + kBlockSize];
    long long total = 0;
    for (;;) {
        int n = tw::os::read_descriptor(local_fd, block + 2, kBlockSize);
        if (n < 0) {
            tw::comm::log_text(tw::comm::kFailureLevel, tag, "problem reading local file (%s)", sysErrorString(errno));
            return -1;
        }
        if (n == 0) break;
        block[0] = static_cast<unsigned char>(n >> 8);
        block[1] = static_cast<unsigned char>(n);
        if (Send(sock, block, n + 2, seconds, 0) != n + 2) {
            tw::comm::log_with_error(tw::comm::kFailureLevel, errno, tag,
                                     "protocol error - problem transmitting file (%%s)");
            return -1;
        }
        total += n;
    }
    if (put_short_(sock, 0, seconds, 0) != 0) {
        tw::comm::log_with_error(tw::comm::kFailureLevel, errno, tag, "protocol error - problem sending EOF (%%s)");
        return -1;
    }
    return static_cast<int>(total);
}

int read_remote_file(int sock, int local_fd, int seconds, const char *tag) {
    tag = tag_or(tag, "read_remote_file");
    unsigned char buffer[kBlockSize];
    long long total = 0;
    for (;;) {
        int length = get_short_(sock, seconds, 0);
        if (length == 0) return static_cast<int>(total);
        if (length < 0) {
            tw::comm::log_with_error(tw::comm::kFailureLevel, errno, tag, "problem reading block length (%%s)");
            return -1;
        }
        // A peer may announce up to 65535 bytes; they are taken in pieces
        // of the buffer's size, each handled as a block of its own.
        while (length > 0) {
            int want = length < kBlockSize ? length : kBlockSize;
            int got = Recv(sock, buffer, want, seconds, 0);
            if (got < 0) {
                tw::comm::log_with_error(tw::comm::kFailureLevel, errno, tag,
                                         "protocol error - problem reading remote file (%%s)");
                return -1;
            }
            if (got == 0) {
                tw::comm::log_text(tw::comm::kFailureLevel, tag, "unexpected EOF reading remote file");
                errno = kBrokenPipe;
                return -1;
            }
            if (tw::os::write_descriptor(local_fd, buffer, unsigned(got)) != got) {
                tw::comm::log_text(tw::comm::kFailureLevel, tag, "problem writing to file (%s)",
                                   sysErrorString(errno));
                return -1;
            }
            total += got;
            length -= want;
        }
    }
}

}  // extern "C"
