/*
 * Stream and datagram sockets of the OS layer, IPv4 only, for the wire
 * encoding, the socket transfer, the host-name functions and the reserved
 * ports.
 *
 * Sockets are plain ints on both platforms (a Windows Sockets handle fits in
 * 32 bits). Error numbers are the Windows Sockets ones everywhere: 10004
 * interrupted, 10035 would block, 10048 address in use, 10049 address not
 * available, 10054 reset, 10057 not connected, 10060 timed out, 11001 host
 * not found, 11002 try again... Off Windows the C library's errno values are
 * translated to them (EINTR gives 10004, EAGAIN 10035, and so on; a value
 * with no equivalent is passed on as it is), so every algorithm above this
 * layer is written once against the numbers its callers see on NT.
 *
 * Addresses are 32-bit IPv4 addresses in network byte order; ports are in
 * host byte order unless a name says otherwise.
 */
#ifndef TW_PLATFORM_SOCKET_H
#define TW_PLATFORM_SOCKET_H

#include <cstdint>

struct hostent;
struct servent;

namespace tw::os {

// The Windows Sockets error numbers the library tests for.
enum SocketError : int {
    kSocketInterrupted = 10004,
    kSocketWouldBlock = 10035,
    kSocketInProgress = 10036,
    kSocketAddressInUse = 10048,
    kSocketAddressNotAvailable = 10049,
    kSocketReset = 10054,
    kSocketNotConnected = 10057,
    kSocketTimedOut = 10060,
    kSocketSystemNotReady = 10091,
    kSocketHostNotFound = 11001,
    kSocketTryAgain = 11002,
    kSocketNoRecovery = 11003,
    kSocketNoAddress = 11004,
};

// Starts the sockets interface asking for version major.minor: 0, or the
// error number; *granted gets the version granted (major in the low byte, as
// Windows Sockets gives it). Off Windows there is nothing to start: 0 and the
// version asked for.
int sockets_start(int major, int minor, uint16_t *granted);
// Undoes one start: 0, or the error number (the result of the clean-up).
int sockets_stop();

// The last socket error of the calling thread, and setting it.
int last_socket_error();
void set_last_socket_error(int error);

// A new IPv4 stream or datagram socket, or -1 (last_socket_error set).
int open_stream_socket();
int open_datagram_socket();
// 0, or -1 (last_socket_error set).
int close_socket(int sock);

// One send or receive call: the byte count (0 from receive at end of
// stream), or -1 with last_socket_error set.
int send_some(int sock, const void *data, int length, int flags);
int receive_some(int sock, void *data, int length, int flags);
// The same, but never blocking where the platform can ask that of one call
// (then -1 with 10035 when nothing can move now): a caller tries first and
// waits only when it must, and a send never blocks past its wait. Where it
// cannot (calls_never_block() false), they block as send_some and
// receive_some do, and callers wait for readiness first.
bool calls_never_block();
int send_now(int sock, const void *data, int length, int flags);
int receive_now(int sock, void *data, int length, int flags);

// Waits until sock is readable (for_write false) or writable, at most
// seconds (below 0: without limit): 1 ready, 0 time-out, -1 error
// (last_socket_error set). The wait is one select call: an interruption is
// an error (10004) for the caller to handle.
int wait_socket(int sock, bool for_write, int seconds);

// The receive time-out (SO_RCVTIMEO) in milliseconds; 0, or -1 with
// last_socket_error set.
int get_receive_timeout(int sock, uint32_t *milliseconds);
int set_receive_timeout(int sock, uint32_t milliseconds);
// SO_REUSEADDR on; 0 or -1.
int set_reuse_address(int sock);
// Binds to address (network order, 0 = any) and port (host order); 0 or -1.
int bind_socket(int sock, uint32_t address, uint16_t port);
// Listens, connects to address:port (network order address, host order
// port), accepts; 0 / the new socket, or -1 with last_socket_error set.
int listen_socket(int sock, int backlog);
int connect_socket(int sock, uint32_t address, uint16_t port);
int accept_socket(int sock);
// The local port a socket is bound to (host order), or -1.
int local_port(int sock);

// The system's own entries (valid until the next lookup on the thread), or
// null with last_socket_error set.
servent *service_by_name(const char *name, const char *protocol);
hostent *host_by_name(const char *name);
hostent *host_by_address(const void *address, int length, int type);

// The fields of a system service entry (entry not null): name, aliases
// (null-terminated, may be null), port as the entry holds it (network byte
// order) and protocol.
struct ServiceFields {
    const char *name;
    char *const *aliases;
    uint16_t port;
    const char *protocol;
};
ServiceFields service_entry_fields(const servent *entry);
// One service entry with static storage, owned by the library, for the
// lookups to hand out; its fields are set with set_service_entry.
servent *library_service_entry();
void set_service_entry(servent *entry, char *name, char **aliases, uint16_t port, char *protocol);
void set_service_entry_port(servent *entry, uint16_t port);

// The system's text for a socket error number, into buf; false when the
// system has none.
bool socket_error_text(int error, char *buf, unsigned size);


}  // namespace tw::os

#endif
