// Sockets start-up, waits, and whole-buffer Send/Recv over real loopback
// connections (ports chosen by the system, so parallel cases never collide).
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
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
        int rc = results[size_t(starts) < results.size() ? size_t(starts) : results.size() - 1];
        ++starts;
        *granted = version;
        return rc;
    }
    static int stop() { return ++stops, 0; }
    static void sleep(unsigned ms) { sleeps.push_back(ms); }
    explicit FakeSockets(std::vector<int> start_results, uint16_t granted = 0x0002) {
        results = std::move(start_results);
        version = granted;
        starts = stops = 0;
        sleeps.clear();
        twcommon_testhook_winsock(&start, &stop, &sleep);
    }
    ~FakeSockets() { twcommon_testhook_winsock(nullptr, nullptr, nullptr); }
};

TEST(WinsockStart, StartsOnceAndStopsOnlyWhatItStarted) {
    FakeSockets fake({0});
    EXPECT_EQ(winsock_stop(), 0);  // nothing started yet
    EXPECT_EQ(fake.stops, 0);
    EXPECT_EQ(winsock_start(), 1);
    EXPECT_EQ(winsock_start(), 1);
    EXPECT_EQ(fake.starts, 1);
    EXPECT_EQ(winsock_stop(), 0);
    EXPECT_EQ(winsock_stop(), 0);
    EXPECT_EQ(fake.stops, 1);
}

TEST(WinsockStart, WaitsForTheNetworkWithDoublingSleeps) {
    struct Case {
        std::vector<int> results;
        int flags;
        std::vector<unsigned> sleeps;
        const char *log;
    };
    const Case cases[] = {
        {{10091, 10091, 10091, 0}, 1, {1000, 2000, 4000}, nullptr},
        // Still not ready after eight waits (1 .. 128 s): a plain failure.
        {{10091}, 0, {1000, 2000, 4000, 8000, 16000, 32000, 64000, 128000}, "WSAStartUp failed, returned 10091"},
        {{10022}, 0, {}, "WSAStartUp failed, returned 10022"},
    };
    for (const Case &c : cases) {
        FakeSockets fake(c.results);
        LogCapture log;
        EXPECT_EQ(winsock_start(), c.flags);
        EXPECT_EQ(fake.sleeps, c.sleeps);
        EXPECT_EQ(log.has("winsock_start: Waiting for system to install network drivers."), !c.sleeps.empty());
        EXPECT_TRUE(!c.log || log.has(std::string("winsock_start: ") + c.log)) << log.all();
        winsock_stop();
        EXPECT_EQ(fake.stops, c.flags);  // a failed start is not undone
    }
}

TEST(WinsockStart, RefusesAnotherVersion) {
    FakeSockets fake({0}, 0x0101);
    LogCapture log;
    EXPECT_EQ(winsock_start(), 0);
    EXPECT_EQ(fake.stops, 1);  // cleaned up at once
    EXPECT_TRUE(log.has("winsock_start: WSAStartUp failed, does not support 2.0"));
    EXPECT_EQ(winsock_stop(), 0);
    EXPECT_EQ(fake.stops, 1);
}

TEST(WinsockStart, RealInterfaceStartsOnce) {
    EXPECT_EQ(winsock_start() & 1, 1);
    EXPECT_EQ(winsock_start() & 1, 1);
    EXPECT_EQ(winsock_stop(), 0);
    EXPECT_EQ(winsock_stop(), 0);
}

TEST(Sighdl, StoresTheInterruptionCode) {
    const struct {
        int sig, result, intr;
    } cases[] = {{2, 0, -7}, {15, 13, -8}, {0, -2, -8}, {1, -1, -8}};
    for (const auto &c : cases) {
        intrtype = 0;
        EXPECT_EQ(sighdl(c.sig), c.result);
        EXPECT_EQ(intrtype, c.intr);
    }
}

// ---- waits ----

TEST(Timers, ReadyTimedOutAndFailed) {
    Pair pair;
    ASSERT_TRUE(wiretest::make_pair(pair));
    EXPECT_EQ(recvable_timer(pair.reader.get(), 0), 0);
    EXPECT_EQ(sendable_timer(pair.writer.get(), 0), 1);
    ASSERT_TRUE(wiretest::send_all(pair.writer.get(), "x"));
    EXPECT_EQ(recvable_timer(pair.reader.get(), 5), 1);
    errno = 0;
    EXPECT_EQ(recvable_timer(-1, 0), -1);
    EXPECT_NE(errno, 0);
}

int callback_calls = 0;
int callback_result = 0;
int counting_callback() {
    ++callback_calls;
    errno = 0;  // the wait keeps its own errno around the call
    return callback_result;
}

TEST(Timers, CallbackIsAskedOnlyWhenNothingIsReady) {
    Pair pair;
    ASSERT_TRUE(wiretest::make_pair(pair));
    library_callback_function = &counting_callback;
    const struct {
        int sock;
        bool write;
        int stop;
        int result;
        int calls;
    } cases[] = {
        {pair.writer.get(), true, 1, 1, 0},   // ready: not asked
        {pair.reader.get(), false, 0, 0, 1},  // timed out: asked once
        {pair.reader.get(), false, 1, 0, 1},
        {-1, false, 1, -1, 1},  // failed: asked, errno kept
    };
    for (const auto &c : cases) {
        callback_calls = 0;
        callback_result = c.stop;
        errno = 0;
        int r = c.write ? sendable_timer(c.sock, 0) : recvable_timer(c.sock, 0);
        EXPECT_EQ(r, c.result);
        EXPECT_EQ(callback_calls, c.calls);
        EXPECT_TRUE(r >= 0 || errno != 0);
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

TEST(SendRecv, MoveWholeBuffers) {
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
}

TEST(SendRecv, ZeroLengthTouchesNothing) {
    char byte = 0;
    EXPECT_EQ(Send(-1, &byte, 0, 1, 0), 0);
    EXPECT_EQ(Recv(-1, &byte, 0, 1, 0), 0);
}

TEST(SendRecv, RecvReturnsWhatCameBeforeTheEndOfStream) {
    Pair pair;
    ASSERT_TRUE(wiretest::make_pair(pair));
    ASSERT_TRUE(wiretest::send_all(pair.writer.get(), "abcd"));
    pair.writer.reset();
    char buf[10] = {};
    EXPECT_EQ(Recv(pair.reader.get(), buf, 10, 5, 0), 4);
    EXPECT_EQ(std::string(buf, 4), "abcd");
    EXPECT_EQ(Recv(pair.reader.get(), buf, 10, 5, 0), 0);
}

TEST(SendRecv, SilentPeerTimesOutAfterTheGivenSeconds) {
    Pair pair;
    ASSERT_TRUE(wiretest::make_pair(pair));
    char buf[4];
    Stopwatch watch;
    errno = 0;
    EXPECT_EQ(Recv(pair.reader.get(), buf, 4, 1, 0), -1);
    EXPECT_EQ(errno, kTimedOut);
    EXPECT_GE(watch.ms(), 900);
    EXPECT_LT(watch.ms(), 4000);

    // A peer that reads nothing: once its buffers are full (filled without
    // blocking), the wait for writability times out.
    ASSERT_TRUE(wiretest::set_nonblocking(pair.writer.get()));
    static char chunk[65536];
    while (::send(pair.writer.get(), chunk, sizeof chunk, 0) > 0) {
    }
    Stopwatch send_watch;
    errno = 0;
    EXPECT_EQ(Send(pair.writer.get(), chunk, 1, 1, 0), -1);
    EXPECT_EQ(errno, kTimedOut);
    EXPECT_GE(send_watch.ms(), 900);
    EXPECT_LT(send_watch.ms(), 4000);

#if !defined(_WIN32)
    // A buffer far larger than the socket takes, on a blocking socket: the
    // send moves what fits and then waits, so it still ends with the
    // time-out. (Windows Sockets has no per-call "do not block": there a
    // blocking send of more than fits may block past it.)
    Pair stalled;
    ASSERT_TRUE(wiretest::make_pair(stalled));
    std::vector<char> big(16 << 20);
    Stopwatch big_watch;
    errno = 0;
    EXPECT_EQ(Send(stalled.writer.get(), big.data(), int(big.size()), 1, 0), -1);
    EXPECT_EQ(errno, kTimedOut);
    EXPECT_LT(big_watch.ms(), 4000);
#endif
}

TEST(SendRecv, ClosedOrInvalidSocketIsAnError) {
    Pair pair;
    ASSERT_TRUE(wiretest::make_pair(pair));
    int closed = pair.reader.get();
    pair.reader.reset();
    char buf[4] = {};
    for (int sock : {-1, closed}) {
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
