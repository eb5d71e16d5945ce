/*
 * Reserved ports: a stream socket bound to a free local port in 512..P
 * (P normally 1023). The search starts at a point that moves with the clock,
 * so that successive callers do not all fight over the same port, runs
 * downwards and wraps once from 512 back to P.
 */
#include <cerrno>
#include <ctime>

#include "platform/socket.h"
#include "twcommon/comm.h"

namespace {

constexpr int kLowestTried = 513;  // 512 itself is reached only as the start
constexpr int kInvalidArgument = 10022;
constexpr int kBadAddress = 10014;

int fail(int error) {
    tw::os::set_last_socket_error(error);
    errno = error;
    return -1;
}

}  // namespace

extern "C" int rresvport(int *port) {
    if (!port) return fail(kBadAddress);
    const int highest = *port;
    // 511 or below leaves no range (and a zero divisor below); no port
    // number goes above 65535.
    if (highest <= 511 || highest > 65535) return fail(kInvalidArgument);
    int sock = tw::os::open_stream_socket();
    if (sock < 0) return fail(tw::os::last_socket_error());
    long long now = static_cast<long long>(std::time(nullptr));
    long long span = highest - 511;
    long long offset = (now - highest) % span;
    if (offset < 0) offset += span;  // a clock before 1970 + P: still inside the range
    int candidate = highest - static_cast<int>(offset);
    bool wrapped = false;
    *port = candidate;
    for (;;) {
        if (tw::os::bind_socket(sock, 0, static_cast<uint16_t>(candidate)) == 0) return sock;
        int error = tw::os::last_socket_error();
        if (error != tw::os::kSocketAddressInUse && error != tw::os::kSocketAddressNotAvailable) {
            tw::os::close_socket(sock);
            return fail(error);
        }
        if (--candidate < kLowestTried) {
            if (wrapped) {
                tw::os::close_socket(sock);
                return fail(tw::os::kSocketTryAgain);
            }
            wrapped = true;
            candidate = highest;
        }
        *port = candidate;
    }
}
