/*
 * IPv4 sockets off Windows: BSD sockets with errno and h_errno translated to
 * the Windows Sockets numbers, so that the code above sees what it sees on NT.
 *
 * The last socket error is kept per thread here (errno is overwritten by
 * anything). Waits use poll, which has no FD_SETSIZE limit; a descriptor
 * that poll reports as invalid gives 10038 (not a socket), as select does on
 * NT for a closed socket. Sends never raise SIGPIPE (MSG_NOSIGNAL), so a
 * peer that went away is an error return, not a signal, and no process-wide
 * signal disposition is touched.
 */
#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "platform/socket.h"

namespace tw::os {
namespace {

thread_local int socket_error = 0;

// errno to the Windows Sockets number for the same condition.
int translate_errno(int e) {
    switch (e) {
    case 0: return 0;
    case EINTR: return 10004;
    case EBADF: return 10038;  // NT: a closed or foreign handle is "not a socket"
    case EACCES: return 10013;
    case EFAULT: return 10014;
    case EINVAL: return 10022;
    case EMFILE: return 10024;
    case EAGAIN: return 10035;
    case EINPROGRESS: return 10036;
    case EALREADY: return 10037;
    case ENOTSOCK: return 10038;
    case EDESTADDRREQ: return 10039;
    case EMSGSIZE: return 10040;
    case EPROTOTYPE: return 10041;
    case ENOPROTOOPT: return 10042;
    case EPROTONOSUPPORT: return 10043;
    case ESOCKTNOSUPPORT: return 10044;
    case EOPNOTSUPP: return 10045;
    case EPFNOSUPPORT: return 10046;
    case EAFNOSUPPORT: return 10047;
    case EADDRINUSE: return 10048;
    case EADDRNOTAVAIL: return 10049;
    case ENETDOWN: return 10050;
    case ENETUNREACH: return 10051;
    case ENETRESET: return 10052;
    case ECONNABORTED: return 10053;
    case ECONNRESET:
    case EPIPE: return 10054;  // NT reports a send to a vanished peer as a reset
    case ENOBUFS: return 10055;
    case EISCONN: return 10056;
    case ENOTCONN: return 10057;
    case ESHUTDOWN: return 10058;
    case ETOOMANYREFS: return 10059;
    case ETIMEDOUT: return 10060;
    case ECONNREFUSED: return 10061;
    case ELOOP: return 10062;
    case ENAMETOOLONG: return 10063;
    case EHOSTDOWN: return 10064;
    case EHOSTUNREACH: return 10065;
    case ENOTEMPTY: return 10066;
    case EUSERS: return 10068;
    case EDQUOT: return 10069;
    case ESTALE: return 10070;
    case EREMOTE: return 10071;
    default: return e;
    }
}

int fail_with_errno() {
    socket_error = translate_errno(errno);
    return -1;
}

int translate_h_errno(int e) {
    switch (e) {
    case HOST_NOT_FOUND: return kSocketHostNotFound;
    case TRY_AGAIN: return kSocketTryAgain;
    case NO_RECOVERY: return kSocketNoRecovery;
    case NO_DATA: return kSocketNoAddress;
    default: return kSocketNoRecovery;
    }
}

// The Windows Sockets message flags (MSG_OOB 1, MSG_PEEK 2, MSG_DONTROUTE 4,
// MSG_WAITALL 8) as this system numbers them; others are refused by the call.
int translate_flags(int flags) {
    int out = 0;
    if (flags & 1) out |= MSG_OOB;
    if (flags & 2) out |= MSG_PEEK;
    if (flags & 4) out |= MSG_DONTROUTE;
    if (flags & 8) out |= MSG_WAITALL;
    if (flags & ~15) out |= flags & ~15;
    return out;
}

sockaddr_in ipv4_address(uint32_t address, uint16_t port) {
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = address;
    sa.sin_port = htons(port);
    return sa;
}

int open_socket(int type) {
    int s = ::socket(AF_INET, type | SOCK_CLOEXEC, 0);
    return s < 0 ? fail_with_errno() : s;
}

}  // namespace

int sockets_start(int major, int minor, uint16_t *granted) {
    if (granted) *granted = uint16_t((major & 0xFF) | ((minor & 0xFF) << 8));
    return 0;
}

int sockets_stop() { return 0; }

int last_socket_error() { return socket_error; }

void set_last_socket_error(int error) { socket_error = error; }

int open_stream_socket() { return open_socket(SOCK_STREAM); }

int open_datagram_socket() { return open_socket(SOCK_DGRAM); }

int close_socket(int sock) {
    if (sock < 0) {
        socket_error = 10038;
        return -1;
    }
    return ::close(sock) == 0 ? 0 : fail_with_errno();
}

int send_some(int sock, const void *data, int length, int flags) {
    if (length < 0) {
        socket_error = 10022;
        return -1;
    }
    ssize_t n = ::send(sock, data, size_t(length), translate_flags(flags) | MSG_NOSIGNAL);
    return n < 0 ? fail_with_errno() : int(n);
}

int receive_some(int sock, void *data, int length, int flags) {
    if (length < 0) {
        socket_error = 10022;
        return -1;
    }
    ssize_t n = ::recv(sock, data, size_t(length), translate_flags(flags));
    return n < 0 ? fail_with_errno() : int(n);
}

bool calls_never_block() { return true; }

int send_now(int sock, const void *data, int length, int flags) {
    return send_some(sock, data, length, flags | MSG_DONTWAIT);
}

int receive_now(int sock, void *data, int length, int flags) {
    return receive_some(sock, data, length, flags | MSG_DONTWAIT);
}

int wait_socket(int sock, bool for_write, int seconds) {
    if (sock < 0) {
        socket_error = 10038;
        return -1;
    }
    pollfd pfd{sock, short(for_write ? POLLOUT : POLLIN), 0};
    timespec limit{seconds < 0 ? 0 : time_t(seconds), 0};
    int n = ::ppoll(&pfd, 1, seconds < 0 ? nullptr : &limit, nullptr);
    if (n < 0) return fail_with_errno();
    if (n == 0) return 0;
    if (pfd.revents & POLLNVAL) {
        socket_error = 10038;
        return -1;
    }
    // An error or hang-up makes the socket "ready": the next call reports it.
    return 1;
}

int get_receive_timeout(int sock, uint32_t *milliseconds) {
    timeval tv{};
    socklen_t size = sizeof tv;
    if (::getsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &tv, &size) != 0) return fail_with_errno();
    if (milliseconds) *milliseconds = uint32_t(tv.tv_sec) * 1000u + uint32_t(tv.tv_usec / 1000);
    return 0;
}

int set_receive_timeout(int sock, uint32_t milliseconds) {
    timeval tv{time_t(milliseconds / 1000), suseconds_t(milliseconds % 1000) * 1000};
    return ::setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv) == 0 ? 0 : fail_with_errno();
}

int set_reuse_address(int sock) {
    int on = 1;
    return ::setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 ? 0 : fail_with_errno();
}

int bind_socket(int sock, uint32_t address, uint16_t port) {
    sockaddr_in sa = ipv4_address(address, port);
    return ::bind(sock, reinterpret_cast<sockaddr *>(&sa), sizeof sa) == 0 ? 0 : fail_with_errno();
}

int listen_socket(int sock, int backlog) { return ::listen(sock, backlog) == 0 ? 0 : fail_with_errno(); }

int connect_socket(int sock, uint32_t address, uint16_t port) {
    sockaddr_in sa = ipv4_address(address, port);
    return ::connect(sock, reinterpret_cast<sockaddr *>(&sa), sizeof sa) == 0 ? 0 : fail_with_errno();
}

int accept_socket(int sock) {
    int s = ::accept4(sock, nullptr, nullptr, SOCK_CLOEXEC);
    return s < 0 ? fail_with_errno() : s;
}

int local_port(int sock) {
    sockaddr_in sa{};
    socklen_t size = sizeof sa;
    if (::getsockname(sock, reinterpret_cast<sockaddr *>(&sa), &size) != 0) return fail_with_errno();
    return ntohs(sa.sin_port);
}

servent *service_by_name(const char *name, const char *protocol) {
    thread_local servent entry;
    thread_local char buffer[4096];
    if (!name) {
        socket_error = 10014;
        return nullptr;
    }
    servent *result = nullptr;
    int rc = ::getservbyname_r(name, protocol, &entry, buffer, sizeof buffer, &result);
    if (rc != 0 || !result) {
        socket_error = rc == ERANGE ? 10055 : kSocketNoAddress;
        return nullptr;
    }
    return result;
}

namespace {

thread_local hostent host_entry;
thread_local char host_buffer[16384];

hostent *host_result(int rc, hostent *result, int herr) {
    if (rc == 0 && result) return result;
    socket_error = rc == ERANGE ? 10055 : translate_h_errno(herr);
    return nullptr;
}

}  // namespace

hostent *host_by_name(const char *name) {
    if (!name) {
        socket_error = 10014;
        return nullptr;
    }
    hostent *result = nullptr;
    int herr = 0;
    int rc = ::gethostbyname_r(name, &host_entry, host_buffer, sizeof host_buffer, &result, &herr);
    return host_result(rc, result, herr);
}

hostent *host_by_address(const void *address, int length, int type) {
    if (!address || length < 0) {
        socket_error = 10014;
        return nullptr;
    }
    hostent *result = nullptr;
    int herr = 0;
    int rc = ::gethostbyaddr_r(address, socklen_t(length), type, &host_entry, host_buffer, sizeof host_buffer,
                               &result, &herr);
    return host_result(rc, result, herr);
}

bool socket_error_text(int error, char *buf, unsigned size) {
    struct Text {
        int error;
        const char *text;
    };
    // The system has no texts for these numbers; these say what NT says, briefly.
    static const Text texts[] = {
        {10004, "A blocking operation was interrupted."},
        {10009, "The file handle supplied is not valid."},
        {10013, "An attempt was made to access a socket in a way forbidden by its access permissions."},
        {10014, "The system detected an invalid pointer address."},
        {10022, "An invalid argument was supplied."},
        {10024, "Too many open sockets."},
        {10035, "A non-blocking socket operation could not be completed immediately."},
        {10036, "A blocking operation is currently executing."},
        {10037, "An operation was attempted on a non-blocking socket that already had an operation in progress."},
        {10038, "An operation was attempted on something that is not a socket."},
        {10039, "A required address was omitted from an operation on a socket."},
        {10040, "A message sent on a datagram socket was larger than the internal message buffer."},
        {10041, "A protocol was specified that does not support the semantics of the socket type requested."},
        {10042, "An unknown, invalid, or unsupported option or level was specified."},
        {10043, "The requested protocol has not been configured into the system."},
        {10044, "The support for the specified socket type does not exist in this address family."},
        {10045, "The attempted operation is not supported for the type of object referenced."},
        {10046, "The protocol family has not been configured into the system."},
        {10047, "An address incompatible with the requested protocol was used."},
        {10048, "Only one usage of each socket address (protocol/network address/port) is normally permitted."},
        {10049, "The requested address is not valid in its context."},
        {10050, "A socket operation encountered a dead network."},
        {10051, "A socket operation was attempted to an unreachable network."},
        {10052, "The connection has been broken due to keep-alive activity."},
        {10053, "An established connection was aborted by the software in your host machine."},
        {10054, "An existing connection was forcibly closed by the remote host."},
        {10055, "No buffer space was available for a socket operation."},
        {10056, "A connect request was made on an already connected socket."},
        {10057, "A request to send or receive data was disallowed because the socket is not connected."},
        {10058, "A request to send or receive data was disallowed because the socket had already been shut down."},
        {10060, "A connection attempt failed because the connected party did not properly respond after a period "
                "of time."},
        {10061, "No connection could be made because the target machine actively refused it."},
        {10064, "A socket operation failed because the destination host was down."},
        {10065, "A socket operation was attempted to an unreachable host."},
        {10091, "The network subsystem is unavailable."},
        {11001, "No such host is known."},
        {11002, "This is usually a temporary error during hostname resolution."},
        {11003, "A non-recoverable error occurred during a database lookup."},
        {11004, "The requested name is valid, but no data of the requested type was found."},
    };
    for (const Text &t : texts) {
        if (t.error != error) continue;
        size_t n = std::strlen(t.text);
        if (!buf || n >= size) return false;
        std::memcpy(buf, t.text, n + 1);
        return true;
    }
    return false;
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
    entry->s_port = port;
    entry->s_proto = protocol;
}

void set_service_entry_port(servent *entry, uint16_t port) { entry->s_port = port; }

}  // namespace tw::os
