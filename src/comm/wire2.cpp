/*
 * The wire encoding, second generation: the same byte layout moved with Send
 * and Recv, which add time-outs in seconds and report through errno.
 *
 * Results are 0 or a value or a count, -1 (or null) on failure. A tagged
 * string is a 2-byte tag, a 4-byte length and the bytes; with tag 0 the tag
 * is left out. Long strings go in pieces of 4096 bytes, the first one in the
 * same send as the header.
 */
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>

#include "base/alloc.h"
#include "comm/wire_log.h"
#include "twcommon/comm.h"
#include "twcommon/diag.h"

using tw::comm::kFailureLevel;
using tw::comm::log_text;
using tw::comm::log_with_error;

namespace {

constexpr int kBrokenPipe = 32;
constexpr int kOutOfRange = 34;
constexpr int kTimedOut = 10060;
constexpr int kPiece = 4096;

void store_be(unsigned char *out, uint32_t value, int width) {
    for (int i = width - 1; i >= 0; --i) {
        out[i] = static_cast<unsigned char>(value & 0xFF);
        value >>= 8;
    }
}

uint32_t load_be(const unsigned char *in, int width) {
    uint32_t value = 0;
    for (int i = 0; i < width; ++i) value = (value << 8) | in[i];
    return value;
}

}  // namespace

extern "C" {

int put_short_(int sock, unsigned short value, int timeout, int flags) {
    errno = kBrokenPipe;
    unsigned char bytes[2];
    store_be(bytes, value, 2);
    if (Send(sock, bytes, 2, timeout, flags) != 2) {
        log_with_error(kFailureLevel, errno, "put_short_", "protocol error - two byte send failed (%%s)");
        return -1;
    }
    return 0;
}

int put_long_(int sock, unsigned int value, int timeout) {
    errno = kBrokenPipe;
    unsigned char bytes[4];
    store_be(bytes, value, 4);
    if (Send(sock, bytes, 4, timeout, 0) != 4) {
        log_with_error(kFailureLevel, errno, "put_long_", "protocol error - four byte send failed (%%s)");
        return -1;
    }
    return 0;
}

int get_short_(int sock, int timeout, int flags) {
    errno = 0;
    unsigned char bytes[2];
    int n = Recv(sock, bytes, 2, timeout, flags);
    if (n < 0) log_with_error(kFailureLevel, errno, "get_short_", "protocol error - two byte read failed (%%s)");
    if (n != 2) return -1;
    return int(load_be(bytes, 2));
}

// A value with the top bit set comes back negative, as a failure does.
int get_long_(int sock, int timeout, int flags) {
    errno = 0;
    unsigned char bytes[4];
    int n = Recv(sock, bytes, 4, timeout, flags);
    if (n < 0 && errno != kTimedOut)
        log_with_error(kFailureLevel, errno, "get_long_", "protocol error - four byte read failed (%%s)");
    if (n != 4) return -1;
    return int(int32_t(load_be(bytes, 4)));
}

int put_string_(int sock, const char *text, int timeout, int flags, int tag) {
    size_t length = text ? std::strlen(text) : 0;
    if (length > size_t(INT_MAX)) {
        log_text(kFailureLevel, "put_string_", "max data size is %d", INT_MAX);
        return -1;
    }
    // The header and the first piece travel in one send.
    unsigned char first[6 + kPiece];
    int header = 0;
    if (tag != 0) {
        store_be(first, uint32_t(tag) & 0xFFFFu, 2);
        header = 2;
    }
    store_be(first + header, uint32_t(length), 4);
    header += 4;
    int piece = length < size_t(kPiece) ? int(length) : kPiece;
    if (piece > 0) std::memcpy(first + header, text, size_t(piece));
    int total = header + piece;
    int sent_ok = Send(sock, first, total, timeout, flags) == total;
    size_t done = size_t(piece);
    while (sent_ok && done < length) {
        piece = length - done < size_t(kPiece) ? int(length - done) : kPiece;
        sent_ok = Send(sock, text + done, piece, timeout, flags) == piece;
        done += size_t(piece);
    }
    if (!sent_ok) {
        log_with_error(kFailureLevel, errno, "put_string_", "protocol error - string send failed (%%s)");
        return -1;
    }
    return int(length);
}

// A caller's buffer of size bytes takes a string of at most size - 1 bytes
// and its terminator.
char *get_string_(int sock, char *buf, int *length, int size, int timeout, int flags) {
    int ignored;
    if (!length) length = &ignored;
    int wanted = get_long_(sock, timeout, flags);
    if (wanted < 0) {
        if (errno != 0 && errno != kTimedOut)
            log_with_error(kFailureLevel, errno, "get_string_", "failed reading string length (%%s)");
        *length = 0;
        return nullptr;
    }
    *length = wanted;
    char *text = buf;
    if (buf) {
        if (wanted >= size) {
            errno = kOutOfRange;
            logmsg(kFailureLevel, "Read string too large for provided buffer area", "get_string_");
            *length = -1;
            return nullptr;
        }
    } else {
        size_t bytes = size_t(wanted) + 1;
        text = static_cast<char *>(tw::mem_alloc(bytes));
        if (!text) {
            errno = ENOMEM;
            log_text(kFailureLevel, "get_string_", "malloc of %u bytes failed", unsigned(bytes));
            return nullptr;
        }
    }
    int n = Recv(sock, text, wanted, timeout, flags);
    if (n != wanted) {
        if (n < 0) {
            log_with_error(kFailureLevel, errno, "get_string_", "protocol error - string read failed (%%s)");
        } else {
            errno = kBrokenPipe;
            logmsg(kFailureLevel, "unexpected EOF reading string", "get_string_");
        }
        if (text != buf) tw::mem_free(text);
        return nullptr;
    }
    text[wanted] = '\0';
    return text;
}

}  // extern "C"
