// Sockets for the wire tests, made with the system's own calls so that the
// library is tested from the outside: a connected loopback pair of ours, a
// connection to the wire peer (peer.py, port in TW_PEER_PORT), and a capture
// of what the library logs.
#ifndef TWTEST_COMM_WIRE_SUPPORT_H
#define TWTEST_COMM_WIRE_SUPPORT_H

#ifdef _WIN32
#  include <winsock2.h>
#  include <ws2tcpip.h>
#else
#  include <arpa/inet.h>
#  include <fcntl.h>
#  include <netinet/in.h>
#  include <netinet/tcp.h>
#  include <sys/socket.h>
#  include <sys/time.h>
#  include <unistd.h>
#endif

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "twcommon/comm.h"
#include "twcommon/diag.h"

namespace wiretest {

inline void close_socket(int s) {
    if (s < 0) return;
#ifdef _WIN32
    closesocket(SOCKET(s));
#else
    ::close(s);
#endif
}

// A socket closed with the object.
class Socket {
public:
    Socket() = default;
    explicit Socket(int fd) : fd_(fd) {}
    ~Socket() { close_socket(fd_); }
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;
    int get() const { return fd_; }
    void reset(int fd = -1) {
        close_socket(fd_);
        fd_ = fd;
    }

private:
    int fd_ = -1;
};

inline int new_tcp_socket() {
    winsock_start();
    auto s = ::socket(AF_INET, SOCK_STREAM, 0);
#ifdef _WIN32
    if (s == INVALID_SOCKET) return -1;
#endif
    int one = 1;
    setsockopt(s, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&one), sizeof one);
    return int(s);
}

inline int connect_loopback(int port) {
    int s = new_tcp_socket();
    if (s < 0) return -1;
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sa.sin_port = htons(uint16_t(port));
    if (::connect(s, reinterpret_cast<sockaddr *>(&sa), sizeof sa) != 0) {
        close_socket(s);
        return -1;
    }
    return s;
}

// Two connected ends over 127.0.0.1.
struct Pair {
    Socket reader, writer;
};

inline bool make_pair(Pair &pair) {
    Socket listener(new_tcp_socket());
    if (listener.get() < 0) return false;
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof sa;
    if (::bind(listener.get(), reinterpret_cast<sockaddr *>(&sa), sizeof sa) != 0 ||
        ::listen(listener.get(), 1) != 0 ||
        ::getsockname(listener.get(), reinterpret_cast<sockaddr *>(&sa), &len) != 0)
        return false;
    pair.writer.reset(connect_loopback(ntohs(sa.sin_port)));
    if (pair.writer.get() < 0) return false;
    auto accepted = ::accept(listener.get(), nullptr, nullptr);
    pair.reader.reset(int(accepted));
    return pair.reader.get() >= 0;
}

inline bool send_all(int s, const void *data, size_t size) {
    auto p = static_cast<const char *>(data);
    while (size > 0) {
        int n = int(::send(s, p, int(size), 0));
        if (n <= 0) return false;
        p += n;
        size -= size_t(n);
    }
    return true;
}
inline bool send_all(int s, const std::string &bytes) { return send_all(s, bytes.data(), bytes.size()); }

inline void shut_write(int s) {
#ifdef _WIN32
    ::shutdown(SOCKET(s), SD_SEND);
#else
    ::shutdown(s, SHUT_WR);
#endif
}

inline bool set_nonblocking(int s) {
#ifdef _WIN32
    u_long on = 1;
    return ioctlsocket(SOCKET(s), FIONBIO, &on) == 0;
#else
    int flags = fcntl(s, F_GETFL);
    return flags >= 0 && fcntl(s, F_SETFL, flags | O_NONBLOCK) == 0;
#endif
}

// The receive time-out in milliseconds (-1 when it cannot be read).
inline long receive_timeout_ms(int s) {
#ifdef _WIN32
    DWORD ms = 0;
    int len = sizeof ms;
    if (getsockopt(SOCKET(s), SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<char *>(&ms), &len) != 0) return -1;
    return long(ms);
#else
    timeval tv{};
    socklen_t len = sizeof tv;
    if (getsockopt(s, SOL_SOCKET, SO_RCVTIMEO, &tv, &len) != 0) return -1;
    return long(tv.tv_sec * 1000 + tv.tv_usec / 1000);
#endif
}

inline bool set_receive_timeout_ms(int s, long ms) {
#ifdef _WIN32
    DWORD value = DWORD(ms);
    return setsockopt(SOCKET(s), SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char *>(&value), sizeof value) == 0;
#else
    timeval tv{ms / 1000, (ms % 1000) * 1000};
    return setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv) == 0;
#endif
}

// Reads up to a newline (not kept), at most seconds long.
inline std::string read_line(int s, long seconds = 10) {
    set_receive_timeout_ms(s, seconds * 1000);
    std::string line;
    char c;
    while (::recv(s, &c, 1, 0) == 1 && c != '\n') line += c;
    return line;
}

// Reads until the other end closes, at most seconds long.
inline std::string read_all(int s, long seconds = 10) {
    set_receive_timeout_ms(s, seconds * 1000);
    std::string data;
    char buf[4096];
    int n;
    while ((n = int(::recv(s, buf, sizeof buf, 0))) > 0) data.append(buf, size_t(n));
    return data;
}

// The peer's letter pattern: byte i is 'a' + i % 26.
inline std::string letters(size_t n) {
    std::string text(n, 'a');
    for (size_t i = 0; i < n; ++i) text[i] = char('a' + i % 26);
    return text;
}

// The port of the wire peer, or 0 when the test runs without one.
inline int peer_port() {
    const char *text = std::getenv("TW_PEER_PORT");
    return text ? std::atoi(text) : 0;
}

// Connects to the peer and hands it the scenario: the socket, or -1.
inline int open_scenario(const std::string &command) {
    int s = connect_loopback(peer_port());
    if (s < 0) return -1;
    std::string line = command + "\n";
    if (!send_all(s, line)) {
        close_socket(s);
        return -1;
    }
    return s;
}

// Skips the test unless the peer runs; otherwise opens the scenario into
// the Socket named var.
#define WIRE_SCENARIO(var, command)                                                            \
    if (wiretest::peer_port() == 0) GTEST_SKIP() << "needs the wire peer (TW_PEER_PORT unset)"; \
    wiretest::Socket var(wiretest::open_scenario(command));                                    \
    ASSERT_GE(var.get(), 0) << "cannot reach the wire peer"

// Everything the library logs while alive: "function: text" per line.
class LogCapture {
public:
    LogCapture() { log_set_callback(&LogCapture::sink, this, &saved_); }
    ~LogCapture() { log_set_callback(saved_.fn, saved_.datum, nullptr); }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;
    bool has(const std::string &line) const {
        for (const auto &seen : lines) if (seen == line) return true;
        return false;
    }
    bool has_prefix(const std::string &prefix) const {
        for (const auto &seen : lines) if (seen.compare(0, prefix.size(), prefix) == 0) return true;
        return false;
    }
    std::string all() const {
        std::string text;
        for (const auto &seen : lines) text += seen + "\n";
        return text;
    }
    std::vector<std::string> lines;

private:
    static int sink(void *datum, int, const char *text, const char *function) {
        static_cast<LogCapture *>(datum)->lines.push_back(std::string(function ? function : "?") + ": " +
                                                          (text ? text : ""));
        return 0;
    }
    log_callback_record saved_{};
};

// Milliseconds since construction.
class Stopwatch {
public:
    long ms() const {
        return long(std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start_)
                        .count());
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace wiretest

#endif
