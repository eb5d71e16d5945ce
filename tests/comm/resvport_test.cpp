// Reserved ports: the clock-dependent start, the search downwards with its
// single wrap, and the refusal of an empty range.
#include <gtest/gtest.h>

#include <cerrno>
#include <ctime>
#include <memory>
#include <vector>

#include "comm/wire_support.h"
#include "twcommon/comm.h"

namespace {

using wiretest::Socket;

constexpr int kAccessDenied = 10013;

int bound_port(int sock) {
    sockaddr_in sa{};
    socklen_t len = sizeof sa;
    if (::getsockname(sock, reinterpret_cast<sockaddr *>(&sa), &len) != 0) return -1;
    return ntohs(sa.sin_port);
}

TEST(Rresvport, BindsAPortBetween512AndTheHighestFromAClockDependentStart) {
    winsock_start();
    int port = 1023;
    long long before = std::time(nullptr);
    errno = 0;
    Socket s(rresvport(&port));
    long long after = std::time(nullptr);
    if (s.get() < 0 && errno == kAccessDenied) GTEST_SKIP() << "binding below 1024 needs privileges here";
    ASSERT_GE(s.get(), 0) << errno;
    EXPECT_GE(port, 512);
    EXPECT_LE(port, 1023);
    EXPECT_EQ(bound_port(s.get()), port);
    // Where the search started, unless that port was taken (then lower).
    if (before == after) {
        int start = int(1023 - (before - 1023) % 512);
        if (port != start) {
            // Another port only when the start was taken.
            Socket probe(wiretest::new_tcp_socket());
            sockaddr_in sa{};
            sa.sin_family = AF_INET;
            sa.sin_port = htons(uint16_t(start));
            EXPECT_NE(::bind(probe.get(), reinterpret_cast<sockaddr *>(&sa), sizeof sa), 0) << start;
        }
    }
}

TEST(Rresvport, AllPortsTakenGivesTryAgain) {
    winsock_start();
    const int highest = 520;
    std::vector<std::unique_ptr<Socket>> held;
    for (int p = 512; p <= highest; ++p) {
        held.push_back(std::make_unique<Socket>(wiretest::new_tcp_socket()));
        sockaddr_in sa{};
        sa.sin_family = AF_INET;
        sa.sin_port = htons(uint16_t(p));
        if (::bind(held.back()->get(), reinterpret_cast<sockaddr *>(&sa), sizeof sa) != 0)
            GTEST_SKIP() << "cannot hold port " << p << " (in use, or needs privileges)";
    }
    int port = highest;
    errno = 0;
    EXPECT_EQ(rresvport(&port), -1);
    EXPECT_EQ(errno, 11002);
    EXPECT_EQ(port, 513);  // the last port tried, on the second pass
}

TEST(Rresvport, RefusesAnEmptyRange) {
    for (int highest : {511, 100, 0, -1, 70000}) {
        int port = highest;
        errno = 0;
        EXPECT_EQ(rresvport(&port), -1);
        EXPECT_EQ(errno, 10022);
        EXPECT_EQ(port, highest);
    }
    errno = 0;
    EXPECT_EQ(rresvport(nullptr), -1);
    EXPECT_NE(errno, 0);
}

}  // namespace
