// Sockets start-up, waits, and whole-buffer Send/Recv over real loopback
// connections (ports chosen by the system, so parallel cases never collide).
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#ifndef _WIN32
#  include <pthread.h>
#  include <signal.h>
#endif

#include "comm/wire_support.h"
#include "twcommon/comm.h"

using StartFn = int (*)(int, int, uint16_t *);
extern "C" TW_API void twcommon_testhook_winsock(StartFn start, int (*stop)(), void (*sleep)(unsigned));

namespace {

using wiretest::LogCapture;
using wiretest::Pair;
using wiretest::Stopwatch;

constexpr int kTimedOut = 10060;

// ---- start-up with an injected sockets interface ----

struct FakeSockets {
    static inline std::vector<int> results;  // start results, in order; the last repeats
    static inline uint16_t version = 0x0002;
    static inline int starts = 0, stops = 0;
    static inline std::vector<unsigned> sleeps;
    static int start(int, int, uint16_t *granted) {
        *granted = version;
        return results[std::min(size_t(starts++), results.size() - 1)];
    }
    static int stop() { return ++stops, 0; }
    static void sleep(unsigned ms) { sleeps.push_back(ms); }
    FakeSockets(std::vector<int> start_results, uint16_t granted) {
        results = std::move(start_results);
        version = granted;
        starts = stops = 0;
        sleeps.clear();
        twcommon_testhook_winsock(&start, &stop, &sleep);
    }
    ~FakeSockets() { twcommon_testhook_winsock(nullptr, nullptr, nullptr); }
};

TEST(WinsockStart, StartsOnceWaitsWithDoublingSleepsAndStopsOnlyWhatItStarted) {
    // granted: the version the fake grants (2 is 2.0); stops_at_start: another
    // version is cleaned up at once.
    const struct {
        std::vector<int> results;
        uint16_t granted;
        int flags, stops_at_start;
        std::vector<unsigned> sleeps;
        const char *log;
    } cases[] = {
        {{0}, 2, 1, 0, {}, nullptr},
        {{10091, 10091, 10091, 0}, 2, 1, 0, {1000, 2000, 4000}, nullptr},
        // Still not ready after eight waits (1 .. 128 s): a plain failure.
        {{10091}, 2, 0, 0, {1000, 2000, 4000, 8000, 16000, 32000, 64000, 128000}, "WSAStartUp failed, returned 10091"},
        {{10022}, 2, 0, 0, {}, "WSAStartUp failed, returned 10022"},
        {{0}, 0x0101, 0, 1, {}, "WSAStartUp failed, does not support 2.0"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "first result " << c.results[0] << ", version " << c.granted);
        FakeSockets fake(c.results, c.granted);
        LogCapture log;
        EXPECT_EQ(winsock_stop(), 0);  // nothing started yet
        EXPECT_EQ(fake.stops, 0);
        EXPECT_EQ(winsock_start(), c.flags);
        EXPECT_EQ(fake.stops, c.stops_at_start);
        if (c.flags) {
            EXPECT_EQ(winsock_start(), c.flags);
            EXPECT_EQ(fake.starts, int(c.results.size()));  // not started again
        }
        EXPECT_EQ(fake.sleeps, c.sleeps);
        EXPECT_EQ(log.has("winsock_start: Waiting for system to install network drivers."), !c.sleeps.empty());
        EXPECT_TRUE(!c.log || log.has(std::string("winsock_start: ") + c.log)) << log.all();
        EXPECT_EQ(winsock_stop(), 0);
        EXPECT_EQ(winsock_stop(), 0);
        EXPECT_EQ(fake.stops, c.flags + c.stops_at_start);  // a failed start is not undone
    }
}

TEST(WinsockStart, RealInterfaceStartsOnce) {
    EXPECT_EQ(winsock_start() & 1, 1);
    EXPECT_EQ(winsock_start() & 1, 1);
    EXPECT_EQ(winsock_stop(), 0);
    EXPECT_EQ(winsock_stop(), 0);
}

TEST(Sighdl, StoresTheInterruptionCode) {
    const struct { int sig, result, intr; } cases[] = {{2, 0, -7}, {15, 13, -8}, {0, -2, -8}, {1, -1, -8}};
    for (const auto &c : cases) {
        intrtype = 0;
        EXPECT_EQ(sighdl(c.sig), c.result);
        EXPECT_EQ(intrtype, c.intr);
    }
}

// ---- waits ----

int callback_calls = 0;
int callback_result = 0;
int counting_callback() {
    ++callback_calls;
    errno = 0;  // the wait keeps its own errno around the call
    return callback_result;
}

TEST(Timers, ReadyTimedOutAndFailedAskTheCallbackOnlyWhenNothingIsReady) {
    for (bool with_callback : {false, true}) {
        SCOPED_TRACE(with_callback ? "with callback" : "without callback");
        Pair pair;
        ASSERT_TRUE(wiretest::make_pair(pair));
        library_callback_function = with_callback ? &counting_callback : nullptr;
        const struct { int sock; bool write; int stop, seconds; const char *send_first; int result, calls; } cases[] = {
            {pair.writer.get(), true, 1, 0, nullptr, 1, 0},   // ready: not asked
            {pair.reader.get(), false, 0, 0, nullptr, 0, 1},  // timed out: asked once
            {pair.reader.get(), false, 1, 0, nullptr, 0, 1},
            {-1, false, 1, 0, nullptr, -1, 1},  // failed: asked, errno kept
            {pair.reader.get(), false, 1, 5, "x", 1, 0},
        };
        for (const auto &c : cases) {
            ASSERT_TRUE(!c.send_first || wiretest::send_all(pair.writer.get(), c.send_first));
            callback_calls = 0;
            callback_result = c.stop;
            errno = 0;
            int r = c.write ? sendable_timer(c.sock, c.seconds) : recvable_timer(c.sock, c.seconds);
            EXPECT_EQ(r, c.result);
            EXPECT_EQ(callback_calls, with_callback ? c.calls : 0);
            EXPECT_TRUE(r >= 0 || errno != 0);
        }
    }
    library_callback_function = nullptr;
}

#ifndef _WIN32
// A signal interrupts the wait: without a callback (or with one answering 0)
// the wait goes on to its time-out; a callback answering non-zero ends it.
void on_signal(int) {}

TEST(Timers, CallbackEndsAnInterruptedWait) {
    struct sigaction action {};
    action.sa_handler = &on_signal;  // no SA_RESTART: the wait is interrupted
    sigaction(SIGUSR1, &action, nullptr);
    Pair pair;
    ASSERT_TRUE(wiretest::make_pair(pair));
    library_callback_function = &counting_callback;
    for (int stop : {1, 0}) {
        callback_calls = 0;
        callback_result = stop;
        pthread_t waiter = pthread_self();
        std::thread poke([waiter] {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            pthread_kill(waiter, SIGUSR1);
        });
        Stopwatch watch;
        int r = recvable_timer(pair.reader.get(), 1);
        int error = errno;
        long ms = watch.ms();
        poke.join();
        if (stop) {
            EXPECT_EQ(r, -1);
            EXPECT_EQ(error, 10004);
            EXPECT_LT(ms, 900);
            EXPECT_EQ(callback_calls, 1);
        } else {
            EXPECT_EQ(r, 0);  // waited again after the interruption
            EXPECT_GE(callback_calls, 2);
        }
    }
    library_callback_function = nullptr;
}
#endif

// ---- Send and Recv ----

TEST(SendRecv, MoveWholeBuffersAndRecvReturnsWhatCameBeforeTheEnd) {
    Pair pair;
    ASSERT_TRUE(wiretest::make_pair(pair));
    for (size_t size : {size_t(1), size_t(65536), size_t(3) << 20}) {
        std::string data = wiretest::letters(size), got(size, '\0');
        int received = -2;
        std::thread reader([&] { received = Recv(pair.reader.get(), &got[0], int(size), 5, 0); });
        EXPECT_EQ(Send(pair.writer.get(), data.data(), int(size), 5, 0), int(size));
        reader.join();
        EXPECT_EQ(received, int(size));
        EXPECT_TRUE(got == data) << size;
    }
    ASSERT_TRUE(wiretest::send_all(pair.writer.get(), "abcd"));
    pair.writer.reset();
    char buf[10] = {};
    EXPECT_EQ(Recv(pair.reader.get(), buf, 10, 5, 0), 4);
    EXPECT_EQ(std::string(buf, 4), "abcd");
    EXPECT_EQ(Recv(pair.reader.get(), buf, 10, 5, 0), 0);
}

// Runs call, which must fail with the time-out after about a second.
void expect_timeout(const std::function<int()> &call, long min_ms = 900) {
    Stopwatch watch;
    errno = 0;
    EXPECT_EQ(call(), -1);
    EXPECT_EQ(errno, kTimedOut);
    EXPECT_GE(watch.ms(), min_ms);
    EXPECT_LT(watch.ms(), 4000);
}

TEST(SendRecv, SilentPeerTimesOutAfterTheGivenSeconds) {
    Pair pair;
    ASSERT_TRUE(wiretest::make_pair(pair));
    char buf[4];
    expect_timeout([&] { return Recv(pair.reader.get(), buf, 4, 1, 0); });

    // A peer that reads nothing: once its buffers are full (filled without
    // blocking), the wait for writability times out.
    ASSERT_TRUE(wiretest::set_nonblocking(pair.writer.get()));
    static char chunk[65536];
    while (::send(pair.writer.get(), chunk, sizeof chunk, 0) > 0) {
    }
    expect_timeout([&] { return Send(pair.writer.get(), chunk, 1, 1, 0); });

#if !defined(_WIN32)
    // A buffer far larger than the socket takes, on a blocking socket: the
    // send moves what fits and then waits, so it still ends with the
    // time-out. (Windows Sockets has no per-call "do not block": there a
    // blocking send of more than fits may block past it.)
    Pair stalled;
    ASSERT_TRUE(wiretest::make_pair(stalled));
    std::vector<char> big(16 << 20);
    expect_timeout([&] { return Send(stalled.writer.get(), big.data(), int(big.size()), 1, 0); }, 0);
#endif
}

TEST(SendRecv, ClosedOrInvalidSocketIsAnErrorUnlessNothingIsMoved) {
    Pair pair;
    ASSERT_TRUE(wiretest::make_pair(pair));
    int closed = pair.reader.get();
    pair.reader.reset();
    char buf[4] = {};
    for (int sock : {-1, closed}) {
        EXPECT_EQ(Send(sock, buf, 0, 1, 0), 0);  // zero length touches nothing
        EXPECT_EQ(Recv(sock, buf, 0, 1, 0), 0);
        errno = 0;
        EXPECT_EQ(Recv(sock, buf, 4, 1, 0), -1);
        EXPECT_NE(errno, 0);
        EXPECT_NE(errno, kTimedOut);
        errno = 0;
        EXPECT_EQ(Send(sock, buf, 4, 1, 0), -1);
        EXPECT_NE(errno, 0);
    }
}

}  // namespace
