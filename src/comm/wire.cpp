/*
 * The wire encoding, first generation: integers and strings written and read
 * with plain socket calls.
 *
 * Integers travel most significant byte first at fixed widths (2, 4, 8);
 * strings as a 4-byte length and the bytes, with no terminator. The readers
 * take one byte per receive call for the integers, so that a value is never
 * read past; they reset intrtype as they start, and a positive timeout
 * replaces the socket's receive time-out for the call only (restored on every
 * path). Results are 0 or a count, else the negative codes commerrstr names;
 * err receives 0 or the socket error.
 *
 * Would-block and try-again errors are "no data yet" only when
 * nonblocking_read is set; otherwise they are receive errors (natively an
 * expired receive time-out reports itself this way).
 */
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>

#include "base/alloc.h"
#include "comm/wire_log.h"
#include "platform/clock.h"
#include "platform/socket.h"
#include "twcommon/comm.h"
#include "twcommon/diag.h"

using tw::comm::is_interrupted;
using tw::comm::is_would_block;
using tw::comm::kFailureLevel;
using tw::comm::kNoteLevel;
using tw::comm::log_text;
using tw::comm::log_with_error;

namespace {

constexpr int kShortLimit = 65534;  // 65535 is refused too, as the peers expect
constexpr int kNotConnected = 10057;
constexpr int kBrokenPipe = 10054;       // a send that moved nothing and said nothing
constexpr int kEndOfStream = 5;      // *err of a fixed-width read cut short
constexpr int kTextLineLength = 0x20000000;  // above: the peer sent a text line
constexpr int kMaxNonblockingRetries = 1000;

// The pause between non-blocking retries of get_adaptable_string, and the
// number of pauses made (both reachable by the test hook below).
int retry_delay_ms = 100;
int retry_pauses = 0;

// Replaces the socket's receive time-out for the lifetime of the object when
// seconds is positive, and puts the saved one back.
class ReceiveTimeoutScope {
public:
    ReceiveTimeoutScope(int sock, int seconds, const char *function) : sock_(sock) {
        if (seconds <= 0) return;
        if (tw::os::get_receive_timeout(sock, &saved_) == 0)
            saved_valid_ = true;
        else
            log_with_error(kNoteLevel, tw::os::last_socket_error(), function, "getsockopt failed:  %%s");
        uint64_t ms = uint64_t(seconds) * 1000u;
        if (ms > UINT32_MAX - 1) ms = UINT32_MAX - 1;
        if (tw::os::set_receive_timeout(sock, uint32_t(ms)) == 0)
            changed_ = true;
        else
            log_with_error(kNoteLevel, tw::os::last_socket_error(), function, "setsockopt failed:  %%s");
    }
    ~ReceiveTimeoutScope() {
        if (changed_ && saved_valid_) tw::os::set_receive_timeout(sock_, saved_);
    }
    ReceiveTimeoutScope(const ReceiveTimeoutScope &) = delete;
    ReceiveTimeoutScope &operator=(const ReceiveTimeoutScope &) = delete;

private:
    int sock_;
    uint32_t saved_ = 0;
    bool saved_valid_ = false;
    bool changed_ = false;
};

// Reads a big-endian value of width bytes, one receive call per byte.
// Returns 0 with *value set (0 too when nonblocking_read found no data), or a
// negative code with *err set.
int read_fixed(int sock, int width, int timeout, int *err, const char *function, uint64_t *value) {
    *err = 0;
    intrtype = 0;
    *value = 0;
    ReceiveTimeoutScope scope(sock, timeout, function);
    uint64_t assembled = 0;
    for (int byte = 1; byte <= width;) {
        unsigned char c = 0;
        int n = tw::os::receive_some(sock, &c, 1, 0);
        if (n == 1) {
            assembled = (assembled << 8) | c;
            ++byte;
            continue;
        }
        if (n == 0) {
            if (nonblocking_read) return 0;
            *err = kEndOfStream;
            log_text(kFailureLevel, function, "(2) premature end of file (byte %d)", byte);
            return -9;
        }
        int error = tw::os::last_socket_error();
        if (is_interrupted(error)) {
            // Only the program's own -2 ends the read; sighdl's codes do not.
            if (intrtype != -2) continue;
            *err = error;
            log_with_error(kFailureLevel, error, function, "(1) cannot read (byte %d) from network: %%s", byte);
            return -2;
        }
        if (is_would_block(error) && nonblocking_read) {
            if (byte == 1) return 0;
            continue;
        }
        *err = error;
        log_with_error(kFailureLevel, error, function, "(1) cannot read (byte %d) from network: %%s", byte);
        return -3;
    }
    *value = assembled;
    return 0;
}

// Sends all of data with as few send calls as the socket allows; a short
// write is noted under function when note_short_writes is set. 0, or the
// socket error of the failed send (never 0).
int send_all(int sock, const void *data, size_t length, const char *function, bool note_short_writes) {
    const char *p = static_cast<const char *>(data);
    size_t remaining = length;
    while (remaining > 0) {
        int piece = remaining > size_t(INT_MAX) ? INT_MAX : int(remaining);
        int n = tw::os::send_some(sock, p, piece, 0);
        if (n <= 0) {
            int error = tw::os::last_socket_error();
            return error != 0 ? error : kBrokenPipe;
        }
        if (size_t(n) < remaining && note_short_writes)
            log_with_error(kNoteLevel, tw::os::last_socket_error(), function,
                           "could only write %d of %d bytes to network:  %%s", n, piece);
        p += n;
        remaining -= size_t(n);
    }
    return 0;
}

int send_code(int error) { return error == kNotConnected ? -5 : -4; }

// Sends value as width big-endian bytes; the 2-byte writer reports failures
// with its own number.
int send_fixed(int sock, uint64_t value, int width, int *err, const char *function) {
    *err = 0;
    unsigned char bytes[8];
    for (int i = width - 1; i >= 0; --i) {
        bytes[i] = static_cast<unsigned char>(value & 0xFF);
        value >>= 8;
    }
    int error = send_all(sock, bytes, size_t(width), function, false);
    if (error == 0) return 0;
    *err = error;
    if (width == 2)
        log_with_error(kFailureLevel, error, function, "(10) network write() error: %%s; socket = %ld", long(sock));
    else
        log_with_error(kFailureLevel, error, function, "(11) network write() error: %%s; socket = %ld", long(sock));
    return send_code(error);
}

int put_bytes_after_length(int sock, const void *bytes, size_t length, int *err, const char *function) {
    int error = send_all(sock, bytes, length, function, true);
    if (error == 0) return 0;
    *err = error;
    log_with_error(kFailureLevel, error, function, "cannot write data to network:  %%s");
    return send_code(error);
}

// The texts and retry rule that tell get_string and get_adaptable_string apart.
struct StringReader {
    const char *function;
    const char *protocol_error;
    const char *premature_end;
    const char *read_error;  // holds "%s" for the system text
    bool paced_retries;  // would-block retried after a pause, a bounded number of times
};

const StringReader kGetString = {"get_string", "(6) protocol error", "(9) premature end of file",
                                 "(8) network read() error:  %s", false};
const StringReader kGetAdaptableString = {"get_adaptable_string", "(3) protocol error", "(5) premature end of file",
                                          "(4) network read() error:  %s", true};

// Reads the length of a string. Returns the length (above 0), 0 for "no
// data yet" under nonblocking_read, or a negative code.
int read_string_length(int sock, int *err, const StringReader &reader) {
    uint64_t raw = 0;
    int code = read_fixed(sock, 4, 0, err, reader.function, &raw);
    int length = code < 0 ? code : int(int32_t(uint32_t(raw)));
    if (length == 0 && nonblocking_read) return 0;
    if (length <= 0) {
        if (*err == 0) {
            logmsg(kFailureLevel, reader.protocol_error, reader.function);
            return -3;
        }
        return length < 0 ? length : -3;
    }
    return length;
}

// The peer sent a text line where a string length belongs: the four length
// bytes are its first characters. Reads the rest of the line (one byte per
// call, never past the newline) into buf, which holds size + 1 bytes, and
// logs what came.
void recover_text_line(int sock, char *buf, int size, uint32_t length_bytes, const char *function) {
    int stored = 0;
    for (int shift = 24; shift >= 0 && stored < size; shift -= 8)
        buf[stored++] = static_cast<char>((length_bytes >> shift) & 0xFF);
    for (;;) {
        if (stored >= size) {
            buf[stored] = '\0';
            logmsg(kFailureLevel, "read until the buffer was full; got:", function);
            log_text(kFailureLevel, function, "%-.4095s", buf);
            return;
        }
        char c = 0;
        int n = tw::os::receive_some(sock, &c, 1, 0);
        if (n == 0) {
            buf[stored] = '\0';
            log_text(kFailureLevel, function, "EOF on read from socket. Read %d bytes", stored);
            return;
        }
        if (n < 0) {
            buf[stored] = '\0';
            log_text(kFailureLevel, function, "read %d bytes from socket", stored);
            return;
        }
        if (c == '\n') {
            buf[stored] = '\0';
            logmsg(kFailureLevel, "read until a newline was found got:", function);
            log_text(kFailureLevel, function, "%-.4095s", buf);
            return;
        }
        buf[stored++] = c;
    }
}

// Receives exactly length bytes into buf. The length, or a negative code
// with *err set.
int read_string_data(int sock, char *buf, int length, int *err, const StringReader &reader) {
    int got = 0;
    int retries = 0;
    while (got < length) {
        int n = tw::os::receive_some(sock, buf + got, length - got, 0);
        if (n > 0) {
            got += n;
            continue;
        }
        if (n == 0) {
            logmsg(kFailureLevel, reader.premature_end, reader.function);
            log_text(kFailureLevel, reader.function, "read %d of %d bytes from socket", got, length);
            return -9;
        }
        int error = tw::os::last_socket_error();
        if (is_interrupted(error)) {
            if (intrtype == 0) {
                got = 0;  // the data is read again from its start
                continue;
            }
            *err = error;
            log_with_error(kFailureLevel, error, reader.function, "%s", reader.read_error);
            return intrtype;
        }
        if (is_would_block(error) && nonblocking_read) {
            if (!reader.paced_retries) continue;
            if (retries < kMaxNonblockingRetries) {
                ++retries;
                ++retry_pauses;
                tw::os::sleep_milliseconds(unsigned(retry_delay_ms));
                continue;
            }
            *err = error;
            log_text(kFailureLevel, reader.function, "did not receive data after %d non-blocking reads",
                     kMaxNonblockingRetries);
            return -3;
        }
        *err = error;
        log_text(kFailureLevel, reader.function, "read %d of %d bytes from socket", got, length);
        log_with_error(kFailureLevel, error, reader.function, "%s", reader.read_error);
        return -3;
    }
    return length;
}

}  // namespace

extern "C" {

// Test only: sets the pause between the non-blocking retries of
// get_adaptable_string (milliseconds; a negative value keeps it) and returns
// the number of pauses made so far in the process.
TW_API int twcommon_testhook_retry_delay(int milliseconds) {
    if (milliseconds >= 0) retry_delay_ms = milliseconds;
    return retry_pauses;
}

int put_short(int sock, int value, int *err) {
    int ignored;
    if (!err) err = &ignored;
    *err = 0;
    if (value > kShortLimit) {
        log_text(kFailureLevel, "put_short", "max data size is %d", kShortLimit);
        return -1;
    }
    return send_fixed(sock, uint64_t(unsigned(value) & 0xFFFFu), 2, err, "put_short");
}

// The 32- and 64-bit writers have no value above their type's maximum to
// refuse.
int put_long(int sock, unsigned int value, int *err) {
    int ignored;
    return send_fixed(sock, value, 4, err ? err : &ignored, "put_long");
}

int put_vint64t(int sock, int64_t value, int *err) {
    int ignored;
    return send_fixed(sock, uint64_t(value), 8, err ? err : &ignored, "put_vint64t");
}

int put_vuint64t(int sock, uint64_t value, int *err) {
    int ignored;
    return send_fixed(sock, value, 8, err ? err : &ignored, "put_vuint64t");
}

int put_string(int sock, const char *text, int *err) {
    int ignored;
    if (!err) err = &ignored;
    size_t length = text ? std::strlen(text) : 0;
    if (length > UINT32_MAX) {
        *err = 0;
        log_text(kFailureLevel, "put_string", "max data size is %u", unsigned(UINT32_MAX));
        return -1;
    }
    int code = put_long(sock, unsigned(length), err);
    if (code != 0) return code;
    return put_bytes_after_length(sock, text, length, err, "put_string");
}

int put_length_string(int sock, unsigned int length, const void *bytes, int *err) {
    int ignored;
    if (!err) err = &ignored;
    if (!bytes && length > 0) {
        *err = 0;
        log_text(kFailureLevel, "put_length_string", "no data for a length of %u", length);
        return -1;
    }
    int code = put_long(sock, length, err);
    if (code != 0) return code;
    return put_bytes_after_length(sock, bytes, length, err, "put_length_string");
}

int get_short(int sock, int timeout, int *err) {
    int ignored;
    uint64_t value = 0;
    int code = read_fixed(sock, 2, timeout, err ? err : &ignored, "get_short", &value);
    return code < 0 ? code : int(value);
}

// A transmitted value with the top bit set comes back negative, like a code.
int get_long(int sock, int timeout, int *err) {
    int ignored;
    uint64_t value = 0;
    int code = read_fixed(sock, 4, timeout, err ? err : &ignored, "get_long", &value);
    return code < 0 ? code : int(int32_t(uint32_t(value)));
}

int64_t get_vint64t(int sock, int timeout, int *code) {
    int err = 0, ignored;
    uint64_t value = 0;
    int result = read_fixed(sock, 8, timeout, &err, "get_vint64t", &value);
    *(code ? code : &ignored) = result;
    return result < 0 ? 0 : int64_t(value);
}

uint64_t get_vuint64t(int sock, int timeout, int *code) {
    int err = 0, ignored;
    uint64_t value = 0;
    int result = read_fixed(sock, 8, timeout, &err, "get_vuint64t", &value);
    *(code ? code : &ignored) = result;
    return result < 0 ? 0 : value;
}

// buf holds size + 1 bytes: a string of exactly size bytes fits with its
// terminator.
int get_string(int sock, char *buf, int size, int timeout, int *err) {
    int ignored;
    if (!err) err = &ignored;
    *err = 0;
    if (!buf || size < 0) {
        logmsg(kFailureLevel, "no buffer for the data", "get_string");
        return -1;
    }
    buf[0] = '\0';
    ReceiveTimeoutScope scope(sock, timeout, "get_string");
    int length = read_string_length(sock, err, kGetString);
    if (length <= 0) return length;
    if (length > size) {
        log_text(kFailureLevel, "get_string", "buffer space for %d bytes, but incoming data needs %d bytes", size,
                 length);
        logmsg(kFailureLevel, "(7) inadequate buffer space for data", "get_string");
        if (length > kTextLineLength) recover_text_line(sock, buf, size, uint32_t(length), "get_string");
        return -1;
    }
    int result = read_string_data(sock, buf, length, err, kGetString);
    buf[result < 0 ? 0 : length] = '\0';
    return result;
}

char *get_adaptable_string(int sock, int *length, int timeout, int *err) {
    int ignored_err, ignored_length;
    if (!err) err = &ignored_err;
    if (!length) length = &ignored_length;
    *err = 0;
    ReceiveTimeoutScope scope(sock, timeout, "get_adaptable_string");
    int wanted = read_string_length(sock, err, kGetAdaptableString);
    *length = wanted;
    if (wanted <= 0) return nullptr;
    size_t bytes = size_t(wanted) + 1;
    auto buf = static_cast<char *>(tw::mem_alloc(bytes));
    if (!buf) {
        errno = ENOMEM;
        *err = ENOMEM;
        log_text(kFailureLevel, "get_adaptable_string", "malloc of %u bytes failed", unsigned(bytes));
        *length = -11;
        return nullptr;
    }
    int result = read_string_data(sock, buf, wanted, err, kGetAdaptableString);
    buf[result < 0 ? 0 : wanted] = '\0';
    *length = result;
    return buf;
}

}  // extern "C"
