/*
 * Socket transfer for the product's programs: the once-per-process start of
 * the sockets interface, waits for readability and writability in whole
 * seconds, and sends and receives of whole buffers.
 *
 * Where the platform can ask one call not to block, Send and Recv try the
 * call first and wait only when nothing can move: the same results with
 * fewer system calls, and a send to a peer that stopped reading never
 * blocks past its time-out. Elsewhere they wait for readiness first.
 *
 * Every failure is reported through errno with the Windows Sockets number
 * (10060 when a wait timed out), on every platform. The tunables defined
 * here are process-wide and unlocked, like the rest of the subsystem's
 * state: one thread at a time.
 */
#include <cerrno>
#include <cstdint>

#include "comm/wire_log.h"
#include "platform/clock.h"
#include "platform/socket.h"
#include "twcommon/comm.h"
#include "twcommon/diag.h"

extern "C" {

TW_API int nonblocking_read = 0;
TW_API int extra_tries_on_connect = 0;
TW_API int overide_connect_timeout = 0;
TW_API int comm_verbose = 0;
TW_API int defaultPORT = 0;
TW_API int intrtype = 0;
TW_API int (*library_callback_function)(void) = nullptr;

}

namespace {

using StartFn = int (*)(int major, int minor, uint16_t *granted);
using StopFn = int (*)();
using SleepFn = void (*)(unsigned milliseconds);

// Bit 0: the sockets interface was started by this library.
int start_flags = 0;
uint16_t granted_version = 0;

StartFn start_sockets = tw::os::sockets_start;
StopFn stop_sockets = tw::os::sockets_stop;
SleepFn sleep_for = tw::os::sleep_milliseconds;

constexpr int kStartedBit = 1;
constexpr int kMaxNotReadyWaits = 8;
constexpr uint16_t kVersion20 = 0x0002;  // major 2 in the low byte, minor 0

int wait_until_ready(int sock, int seconds, bool for_write) {
    for (;;) {
        int n = tw::os::wait_socket(sock, for_write, seconds);
        if (n < 0) errno = tw::os::last_socket_error();
        if (n < 1 && library_callback_function) {
            int saved = errno;
            int stop = library_callback_function();
            errno = saved;
            if (stop) return n;
        }
        // Only a failed wait can have been interrupted; errno is stale otherwise.
        if (n < 0 && tw::comm::is_interrupted(errno)) continue;
        return n;
    }
}

// The wait of Send and Recv: true when ready; false with errno set (10060
// on time-out).
bool wait_for(int sock, int seconds, bool for_write) {
    const int ready = wait_until_ready(sock, seconds, for_write);
    if (ready == 0) errno = tw::os::kSocketTimedOut;
    return ready > 0;
}

}  // namespace

// Test hook: replaces the start, clean-up and sleep of the sockets start-up
// (null restores the system's). Returns nothing; the flag word is reset.
extern "C" TW_API void twcommon_testhook_winsock(StartFn start, StopFn stop, SleepFn sleep) {
    start_sockets = start ? start : tw::os::sockets_start;
    stop_sockets = stop ? stop : tw::os::sockets_stop;
    sleep_for = sleep ? sleep : tw::os::sleep_milliseconds;
    start_flags = 0;
    granted_version = 0;
}

extern "C" {

int winsock_start(void) {
    if (start_flags & kStartedBit) return start_flags;
    start_flags |= kStartedBit;
    int rc = start_sockets(2, 0, &granted_version);
    unsigned wait_seconds = 1;
    for (int waits = 0; rc == tw::os::kSocketSystemNotReady && waits < kMaxNotReadyWaits; ++waits) {
        logmsg(2, "Waiting for system to install network drivers.", "winsock_start");
        sleep_for(wait_seconds * 1000u);
        wait_seconds *= 2;
        rc = start_sockets(2, 0, &granted_version);
    }
    if (rc != 0) {
        start_flags = 0;
        tw::comm::log_text(2, "winsock_start", "WSAStartUp failed, returned %d", rc);
        return start_flags;
    }
    if (granted_version != kVersion20) {
        start_flags &= ~kStartedBit;
        stop_sockets();
        logmsg(2, "WSAStartUp failed, does not support 2.0", "winsock_start");
    }
    return start_flags;
}

int winsock_stop(void) {
    bool started = (start_flags & kStartedBit) != 0;
    start_flags &= ~kStartedBit;
    return started ? stop_sockets() : 0;
}

int sighdl(int sig) {
    intrtype = sig == 2 ? -7 : -8;
    return sig - 2;
}

int recvable_timer(int sock, int seconds) { return wait_until_ready(sock, seconds, false); }

int sendable_timer(int sock, int seconds) { return wait_until_ready(sock, seconds, true); }

int Send(int sock, const void *buf, int len, int seconds, int flags) {
    if (len == 0) return 0;
    if (len < 0 || !buf) {
        errno = 10022;  // invalid argument
        return -1;
    }
    auto bytes = static_cast<const char *>(buf);
    const bool try_first = tw::os::calls_never_block();
    int sent = 0;
    while (sent < len) {
        if (!try_first && !wait_for(sock, seconds, true)) return -1;
        int n = tw::os::send_now(sock, bytes + sent, len - sent, flags);
        if (n > 0) {
            sent += n;
            continue;
        }
        errno = tw::os::last_socket_error();
        if (tw::comm::is_interrupted(errno)) continue;
        if (try_first && n < 0 && tw::comm::is_would_block(errno)) {
            if (!wait_for(sock, seconds, true)) return -1;
            continue;
        }
        return -1;
    }
    return len;
}

int Recv(int sock, void *buf, int len, int seconds, int flags) {
    if (len == 0) return 0;
    if (len < 0 || !buf) {
        errno = 10022;
        return -1;
    }
    auto bytes = static_cast<char *>(buf);
    const bool try_first = tw::os::calls_never_block();
    int received = 0;
    while (received < len) {
        if (!try_first && !wait_for(sock, seconds, false)) return -1;
        int n = tw::os::receive_now(sock, bytes + received, len - received, flags);
        if (n == 0) return received;
        if (n > 0) {
            received += n;
            continue;
        }
        errno = tw::os::last_socket_error();
        if (tw::comm::is_interrupted(errno)) continue;
        if (try_first && tw::comm::is_would_block(errno)) {
            if (!wait_for(sock, seconds, false)) return -1;
            continue;
        }
        return -1;
    }
    return len;
}

}  // extern "C"
