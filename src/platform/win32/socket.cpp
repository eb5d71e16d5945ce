/*
 * IPv4 sockets on Windows: Windows Sockets 2, whose error numbers the layer
 * hands on as they are.
 *
 * A SOCKET fits in 32 bits (the system keeps handle values below 2^32), so
 * sockets travel as ints; INVALID_SOCKET is -1. The sockets interface must
 * have been started (sockets_start) by someone in the process; a call made
 * before that fails with 10093, as the system says.
 */
#include <winsock2.h>
#include <ws2tcpip.h>

#include <cstring>

#include "platform/socket.h"

namespace tw::os {
namespace {

SOCKET as_socket(int sock) { return sock < 0 ? INVALID_SOCKET : SOCKET(unsigned(sock)); }

int as_int(SOCKET s) { return s == INVALID_SOCKET ? -1 : int(unsigned(s)); }

sockaddr_in ipv4_address(uint32_t address, uint16_t port) {
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = address;
    sa.sin_port = htons(port);
    return sa;
}

int result(int rc) { return rc == SOCKET_ERROR ? -1 : rc; }

int open_socket(int type, int protocol) {
    // Not inherited by child processes, as the POSIX side opens with CLOEXEC.
    SOCKET s = WSASocketW(AF_INET, type, protocol, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
    if (s == INVALID_SOCKET && WSAGetLastError() == WSAEINVAL)  // systems without the flag
        s = WSASocketW(AF_INET, type, protocol, nullptr, 0, WSA_FLAG_OVERLAPPED);
    return as_int(s);
}

}  // namespace

int sockets_start(int major, int minor, uint16_t *granted) {
    WSADATA data;
    int rc = WSAStartup(MAKEWORD(major, minor), &data);
    if (rc == 0 && granted) *granted = data.wVersion;
    return rc;
}

int sockets_stop() { return WSACleanup() == 0 ? 0 : WSAGetLastError(); }

int last_socket_error() { return WSAGetLastError(); }

void set_last_socket_error(int error) { WSASetLastError(error); }

int open_stream_socket() { return open_socket(SOCK_STREAM, IPPROTO_TCP); }

int open_datagram_socket() { return open_socket(SOCK_DGRAM, IPPROTO_UDP); }

int close_socket(int sock) { return result(closesocket(as_socket(sock))); }

int send_some(int sock, const void *data, int length, int flags) {
    return result(send(as_socket(sock), static_cast<const char *>(data), length, flags));
}

int receive_some(int sock, void *data, int length, int flags) {
    return result(recv(as_socket(sock), static_cast<char *>(data), length, flags));
}

// Windows Sockets has no per-call "do not block": callers wait first.
bool calls_never_block() { return false; }

int send_now(int sock, const void *data, int length, int flags) { return send_some(sock, data, length, flags); }

int receive_now(int sock, void *data, int length, int flags) { return receive_some(sock, data, length, flags); }

int wait_socket(int sock, bool for_write, int seconds) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(as_socket(sock), &set);
    timeval limit{seconds < 0 ? 0 : long(seconds), 0};
    int n = select(0, for_write ? nullptr : &set, for_write ? &set : nullptr, nullptr,
                   seconds < 0 ? nullptr : &limit);
    return result(n);
}

int get_receive_timeout(int sock, uint32_t *milliseconds) {
    DWORD value = 0;
    int size = sizeof value;
    if (getsockopt(as_socket(sock), SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<char *>(&value), &size) != 0)
        return -1;
    if (milliseconds) *milliseconds = value;
    return 0;
}

int set_receive_timeout(int sock, uint32_t milliseconds) {
    DWORD value = milliseconds;
    return result(
        setsockopt(as_socket(sock), SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char *>(&value), sizeof value));
}

int set_reuse_address(int sock) {
    BOOL on = TRUE;
    return result(setsockopt(as_socket(sock), SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char *>(&on), sizeof on));
}

int bind_socket(int sock, uint32_t address, uint16_t port) {
    sockaddr_in sa = ipv4_address(address, port);
    return result(bind(as_socket(sock), reinterpret_cast<sockaddr *>(&sa), sizeof sa));
}

int listen_socket(int sock, int backlog) { return result(listen(as_socket(sock), backlog)); }

int connect_socket(int sock, uint32_t address, uint16_t port) {
    sockaddr_in sa = ipv4_address(address, port);
    return result(connect(as_socket(sock), reinterpret_cast<sockaddr *>(&sa), sizeof sa));
}

int accept_socket(int sock) { return as_int(accept(as_socket(sock), nullptr, nullptr)); }

int local_port(int sock) {
    sockaddr_in sa{};
    int size = sizeof sa;
    if (getsockname(as_socket(sock), reinterpret_cast<sockaddr *>(&sa), &size) != 0) return -1;
    return ntohs(sa.sin_port);
}

servent *service_by_name(const char *name, const char *protocol) {
    if (!name) {
        WSASetLastError(WSAEFAULT);
        return nullptr;
    }
    return getservbyname(name, protocol);
}

hostent *host_by_name(const char *name) {
    if (!name) {
        WSASetLastError(WSAEFAULT);
        return nullptr;
    }
    return gethostbyname(name);
}

hostent *host_by_address(const void *address, int length, int type) {
    if (!address) {
        WSASetLastError(WSAEFAULT);
        return nullptr;
    }
    return gethostbyaddr(static_cast<const char *>(address), length, type);
}

bool socket_error_text(int error, char *buf, unsigned size) {
    if (!buf || size == 0) return false;
    wchar_t wide[512];
    DWORD n = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
                             nullptr, DWORD(error), 0, wide, sizeof wide / sizeof wide[0], nullptr);
    if (n == 0) return false;
    while (n > 0 && (wide[n - 1] == L' ' || wide[n - 1] == L'\r' || wide[n - 1] == L'\n')) wide[--n] = 0;
    int written = WideCharToMultiByte(CP_UTF8, 0, wide, -1, buf, int(size), nullptr, nullptr);
    return written > 0;
}


ServiceFields service_entry_fields(const servent *entry) {
    return {entry->s_name ? entry->s_name : "", entry->s_aliases, uint16_t(entry->s_port),
            entry->s_proto ? entry->s_proto : ""};
}

servent *library_service_entry() {
    static servent entry;
    return &entry;
}

void set_service_entry(servent *entry, char *name, char **aliases, uint16_t port, char *protocol) {
    entry->s_name = name;
    entry->s_aliases = aliases;
    entry->s_port = short(port);
    entry->s_proto = protocol;
}

void set_service_entry_port(servent *entry, uint16_t port) { entry->s_port = short(port); }

}  // namespace tw::os
