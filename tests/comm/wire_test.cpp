// The first-generation wire encoding against the independent peer (every
// byte written is decoded there; every byte read was encoded there) and
// against loopback pairs of our own for what a peer cannot provoke.
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <thread>

#include "../support/alloc_hook.h"
#include "wire_support.h"

extern "C" TW_API int twcommon_testhook_retry_delay(int milliseconds);

namespace {

using wiretest::LogCapture;
using wiretest::Stopwatch;

// ---- Writers ----

TEST(WireWrite, EveryByteAsThePeerDecodesIt) {
    static const std::string big = wiretest::letters(100000);
    static const char with_nuls[] = {'a', 0, 'b', 0};
    // peer_items: what the peer must have read ("" for nothing).
    const struct {
        const char *what;
        std::function<int(int, int *)> write;
        int result;
        const char *peer_items;
    } rows[] = {
        {"short 0", [](int s, int *e) { return put_short(s, 0, e); }, 0, "short:0"},
        {"short 258 big-endian", [](int s, int *e) { return put_short(s, 258, e); }, 0, "raw:0102"},
        {"short 65534 is the limit", [](int s, int *e) { return put_short(s, 65534, e); }, 0, "raw:fffe"},
        {"short 65535 is refused", [](int s, int *e) { return put_short(s, 65535, e); }, -1, ""},
        {"short -2 goes as its low bits", [](int s, int *e) { return put_short(s, -2, e); }, 0, "short:0xfffe"},
        {"long", [](int s, int *e) { return put_long(s, 0x01020304u, e); }, 0, "raw:01020304"},
        {"long max", [](int s, int *e) { return put_long(s, 0xFFFFFFFDu, e); }, 0, "long:-3"},
        {"int64 1", [](int s, int *e) { return put_vint64t(s, 1, e); }, 0, "raw:0000000000000001"},
        {"int64 -2", [](int s, int *e) { return put_vint64t(s, -2, e); }, 0, "int64:-2"},
        {"uint64 max", [](int s, int *e) { return put_vuint64t(s, UINT64_MAX, e); }, 0, "uint64:0xffffffffffffffff"},
        {"empty string", [](int s, int *e) { return put_string(s, "", e); }, 0, "raw:00000000"},
        {"null string as empty", [](int s, int *e) { return put_string(s, nullptr, e); }, 0, "str:"},
        {"string", [](int s, int *e) { return put_string(s, "hi there", e); }, 0, "str:hi%20there"},
        {"length string with NULs", [](int s, int *e) { return put_length_string(s, 4, with_nuls, e); }, 0,
         "raw:0000000461006200"},
        {"long string", [](int s, int *e) { return put_string(s, big.c_str(), e); }, 0, "strn:100000"},
    };
    std::string items;
    for (const auto &row : rows)
        if (*row.peer_items) items += std::string(" ") + row.peer_items;
    WIRE_SCENARIO(peer, "expect" + items);
    LogCapture log;
    for (const auto &row : rows) {
        int err = -1;
        EXPECT_EQ(row.write(peer.get(), &err), row.result) << row.what;
        EXPECT_EQ(err, 0) << row.what;
    }
    EXPECT_TRUE(log.has("put_short: max data size is 65534")) << log.all();
    wiretest::shut_write(peer.get());
    EXPECT_EQ(wiretest::read_line(peer.get()), "OK");
}

TEST(Wire, UnconnectedAndClosedSocketsAreErrors) {
    LogCapture log;
    // A socket that was never connected: 10057 and -5 on Windows. (Wine
    // reports 10054 instead, which is an ordinary send error, -4.)
    wiretest::Socket unconnected(wiretest::new_tcp_socket());
    int out = 0;  // the call's error, code or length
    int code = put_long(unconnected.get(), 7, &out);
    EXPECT_EQ(code, out == 10057 ? -5 : -4) << "error " << out;
    EXPECT_NE(out, 0);
#ifndef _WIN32
    // Linux reports a send on an unconnected TCP socket as a broken pipe; a
    // local stream socket says "not connected".
    wiretest::Socket local(::socket(AF_UNIX, SOCK_STREAM, 0));
    EXPECT_EQ(put_short(local.get(), 1, &out), -5);
    EXPECT_EQ(out, 10057);
#endif
    // A closed socket is an error, not a crash. (The 64-bit and adaptable
    // readers give their code or length through the pointer; their lambdas
    // return it.)
    const int closed = wiretest::new_tcp_socket();
    wiretest::close_socket(closed);
    int err = 0;
    const std::pair<std::function<int(int *)>, int> failing[] = {
        {[&](int *e) { return put_short(closed, 1, e); }, -4},
        {[&](int *e) { return put_vint64t(closed, 1, e); }, -4},
        {[&](int *e) { return put_string(closed, "x", e); }, -4},
        {[&](int *e) { return put_length_string(closed, 1, "x", e); }, -4},
        {[&](int *e) { return get_short(closed, 1, e); }, -3},
        {[&](int *e) { return get_vint64t(closed, 0, e) == 0 ? *e : 1; }, -3},
        {[&](int *e) { return get_adaptable_string(closed, e, 0, &err) ? 1 : *e; }, -3},
    };
    for (const auto &[call, result] : failing) {
        out = 0;
        EXPECT_EQ(call(&out), result);
        EXPECT_NE(out, 0);
    }
    EXPECT_TRUE(log.has_prefix("put_short: (10) network write() error: ")) << log.all();
    EXPECT_TRUE(log.has_prefix("put_vint64t: (11) network write() error: ")) << log.all();
    char buf[8];
    EXPECT_EQ(get_string(closed, buf, 7, 1, &out), -3);
    EXPECT_EQ(get_string(closed, nullptr, 7, 0, &out), -1);
    EXPECT_EQ(put_length_string(closed, 3, nullptr, &out), -1);  // no bytes to send
}

// ---- Fixed-width readers ----

enum Reader { kShort, kLong, kInt64, kUint64 };

int64_t run_reader(Reader reader, int sock, int timeout, int *err, int *code) {
    *code = 0;
    switch (reader) {
    case kShort: return get_short(sock, timeout, err);
    case kLong: return get_long(sock, timeout, err);
    case kInt64: return get_vint64t(sock, timeout, code);
    case kUint64: return int64_t(get_vuint64t(sock, timeout, code));
    }
    return 0;
}

TEST(WireRead, FixedWidthValuesAndFailures) {
    // value: the 64-bit readers' value, the others' result; code: the 64-bit
    // readers' *code; err: the others' (-1 any non-zero); log: a line (its
    // beginning) that must be logged; min_ms: the least time the read takes.
    const struct {
        const char *scenario;
        Reader reader;
        int timeout;
        int64_t value;
        int code, err;
        const char *log;
        long min_ms;
    } rows[] = {
        {"send raw:0102", kShort, 0, 258, 0, 0, nullptr, 0},
        {"send short:65535", kShort, 0, 65535, 0, 0, nullptr, 0},
        {"send raw:01020304", kLong, 0, 0x01020304, 0, 0, nullptr, 0},
        {"send long:0xFFFFFFFD", kLong, 0, -3, 0, 0, nullptr, 0},
        {"send int64:-2", kInt64, 0, -2, 0, 0, nullptr, 0},
        {"send raw:0102030405060708", kUint64, 0, 0x0102030405060708, 0, 0, nullptr, 0},
        {"send raw:01 pause:50 raw:02", kShort, 0, 258, 0, 0, nullptr, 0},
        {"send raw:01", kShort, 0, -9, 0, 5, "get_short: (2) premature end of file (byte 2)", 0},
        {"send", kLong, 0, -9, 0, 5, "get_long: (2) premature end of file (byte 1)", 0},
        {"send raw:010203", kInt64, 0, 0, -9, 0, "get_vint64t: (2) premature end of file (byte 4)", 0},
        {"send raw:010203 @stall", kLong, 1, -3, 0, -1, "get_long: (1) cannot read (byte 4) from network: ", 900},
        {"send @stall", kUint64, 1, 0, -3, 0, "get_vuint64t: (1) cannot read (byte 1) from network: ", 900},
        {"send raw:00 @stall", kShort, 1, -3, 0, -1, nullptr, 900},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.scenario);
        WIRE_SCENARIO(peer, row.scenario);
        // A time-out of the call's own leaves the socket's as it was.
        ASSERT_TRUE(wiretest::set_receive_timeout_ms(peer.get(), 7000));
        LogCapture log;
        Stopwatch clock;
        int err = 77, code = 77;
        int64_t value = run_reader(row.reader, peer.get(), row.timeout, &err, &code);
        EXPECT_GE(clock.ms(), row.min_ms);
        EXPECT_EQ(wiretest::receive_timeout_ms(peer.get()), 7000);
        EXPECT_EQ(value, row.value);
        EXPECT_EQ(code, row.code);
        const bool has_err = row.reader == kShort || row.reader == kLong;
        EXPECT_TRUE(!has_err || (row.err == -1 ? err != 0 : err == row.err)) << err;
        EXPECT_TRUE(!row.log || log.has_prefix(row.log)) << log.all();
        EXPECT_LT(clock.ms(), 4000);
    }
}

TEST(WireRead, NonblockingReadsTakeEndAndSilenceAsNoDataAndRetryAdaptableStrings) {
    nonblocking_read = 1;
    {
        WIRE_SCENARIO(peer, "send");
        int err = 0, code = 9;
        EXPECT_EQ(get_long(peer.get(), 0, &err), 0);
        EXPECT_EQ(get_vint64t(peer.get(), 0, &code), 0);
        EXPECT_EQ(code, 0);
    }
    wiretest::Pair pair;
    ASSERT_TRUE(wiretest::make_pair(pair) && wiretest::set_nonblocking(pair.reader.get()));
    // Sends bytes and lets them arrive.
    auto send = [&](const std::string &bytes) {
        ASSERT_TRUE(wiretest::send_all(pair.writer.get(), bytes));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    };
    int err = 0;
    EXPECT_EQ(get_short(pair.reader.get(), 0, &err), 0);  // nothing there yet
    send(std::string(4, '\0'));
    char buf[8];
    EXPECT_EQ(get_string(pair.reader.get(), buf, 7, 0, &err), 0);  // length 0: nothing yet

    // An adaptable string whose data stops is retried a thousand times.
    auto adaptable = [&](int expected_length, const char *expected_text) {
        int length = 0;
        char *text = get_adaptable_string(pair.reader.get(), &length, 0, &err);
        ASSERT_NE(text, nullptr);
        EXPECT_EQ(length, expected_length);
        EXPECT_STREQ(text, expected_text);
        std::free(text);
    };
    send(std::string("\0\0\0\5ab", 6));
    twcommon_testhook_retry_delay(0);
    {
        LogCapture log;
        adaptable(-3, "");
        EXPECT_EQ(twcommon_testhook_retry_delay(-1), 1000);
        EXPECT_TRUE(log.has("get_adaptable_string: did not receive data after 1000 non-blocking reads")) << log.all();
    }
    // Data that comes during the pauses is taken.
    twcommon_testhook_retry_delay(5);
    send(std::string("\0\0\0\4", 4));
    std::thread late([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        wiretest::send_all(pair.writer.get(), "wxyz", 4);
    });
    adaptable(4, "wxyz");
    late.join();
    const int pauses = twcommon_testhook_retry_delay(-1) - 1000;
    EXPECT_GT(pauses, 0);
    EXPECT_LT(pauses, 1000);

    // Without the setting, would-block is a receive error.
    nonblocking_read = 0;
    EXPECT_EQ(get_short(pair.reader.get(), 0, &err), -3);
    EXPECT_EQ(err, 10035);
}

// ---- String readers ----

TEST(WireRead, GetStringLimitsAndFailures) {
    // text: the buffer afterwards; logs: lines (or their beginnings) that must be logged.
    const struct { const char *scenario; int size, timeout, result; const char *text, *logs[2]; } rows[] = {
        {"send str:hello", 64, 0, 5, "hello", {}},
        {"send lenstr:10:0123456789", 10, 0, 10, "0123456789", {}},
        {"send lenstr:11:0123456789a", 10, 0, -1, "",
         {"get_string: buffer space for 10 bytes, but incoming data needs 11 bytes",
          "get_string: (7) inadequate buffer space for data"}},
        {"send long:0", 10, 0, -3, "", {"get_string: (6) protocol error"}},
        {"send long:-5", 10, 0, -3, "", {"get_string: (6) protocol error"}},
        {"send raw:0000", 10, 0, -9, "", {"get_string: (2) premature end of file (byte 3)"}},
        {"send lenstr:5:ab", 10, 0, -9, "",
         {"get_string: (9) premature end of file", "get_string: read 2 of 5 bytes from socket"}},
        {"send lenstr:5:ab @stall", 10, 1, -3, "",
         {"get_string: read 2 of 5 bytes from socket", "get_string: (8) network read() error:  "}},
        // Text lines where a length belongs.
        {"send text:GET%20/index.html%20HTTP/1.0%0A long:7", 64, 0, -1, "GET /index.html HTTP/1.0",
         {"get_string: read until a newline was found got:", "get_string: GET /index.html HTTP/1.0"}},
        {"send text:HELO%20there", 64, 0, -1, "HELO there", {"get_string: EOF on read from socket. Read 10 bytes"}},
        {"send text:QUIT%20now%20please%0A", 8, 0, -1, "QUIT now",
         {"get_string: read until the buffer was full; got:", "get_string: QUIT now"}},
        {"send text:LONG", 2, 0, -1, "LO", {"get_string: read until the buffer was full; got:"}},
        {"send raw:7fffffff @stall", 10, 1, -1, "\x7f\xff\xff\xff",
         {"get_string: buffer space for 10 bytes, but incoming data needs 2147483647 bytes",
          "get_string: read 4 bytes from socket"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.scenario);
        WIRE_SCENARIO(peer, row.scenario);
        LogCapture log;
        Stopwatch clock;
        std::vector<char> buf(size_t(row.size) + 2, '#');  // the last byte guards the end
        int err = 0;
        EXPECT_EQ(get_string(peer.get(), buf.data(), row.size, row.timeout, &err), row.result);
        EXPECT_STREQ(buf.data(), row.text);
        EXPECT_EQ(buf.back(), '#');
        for (const char *line : row.logs) EXPECT_TRUE(!line || log.has_prefix(line)) << log.all();
        EXPECT_LT(clock.ms(), 4000);
        if (std::strstr(row.scenario, "long:7")) {
            EXPECT_EQ(get_long(peer.get(), 0, &err), 7);  // the line was read up to its newline only
        }
    }
}

TEST(WireRead, GetAdaptableString) {
    if (wiretest::peer_port() == 0) GTEST_SKIP() << "needs the wire peer (TW_PEER_PORT unset)";
    static const std::string big = wiretest::letters(70000);
    // scenario null: the previous connection again; text null: none returned; err -1: not checked.
    const struct {
        const char *scenario;
        int timeout;
        bool fail_allocation;
        const char *text;
        int length, err;
        const char *log;
    } rows[] = {
        {"send strn:70000 str:", 0, false, big.c_str(), 70000, -1, nullptr},
        {nullptr, 0, false, nullptr, -3, -1, "get_adaptable_string: (3) protocol error"},
        // A length that lies: the buffer comes back empty with the code.
        {"send lenstr:1000:abc", 0, false, "", -9, -1, "get_adaptable_string: (5) premature end of file"},
        {"send raw:7fffffff @stall", 1, true, nullptr, -11, ENOMEM,
         "get_adaptable_string: malloc of 2147483648 bytes failed"},
    };
    std::optional<wiretest::Socket> peer;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.scenario ? row.scenario : "(the same again)");
        if (row.scenario) peer.emplace(wiretest::open_scenario(row.scenario));
        ASSERT_GE(peer->get(), 0) << "cannot reach the wire peer";
        LogCapture log;
        int length = 0, err = 0;
        std::optional<twtest::FailAllocation> fail;
        if (row.fail_allocation) fail.emplace(1);
        char *text = get_adaptable_string(peer->get(), &length, row.timeout, &err);
        fail.reset();
        EXPECT_EQ(length, row.length);
        EXPECT_TRUE(row.err == -1 || err == row.err) << err;
        EXPECT_TRUE(!row.log || log.has(row.log)) << log.all();
        ASSERT_EQ(text != nullptr, row.text != nullptr);
        EXPECT_TRUE(!text || text == std::string(row.text)) << std::string(text).substr(0, 40);
        std::free(text);
    }
}

}  // namespace

#ifndef _WIN32
#  include <pthread.h>
#  include <signal.h>

namespace {

// Interruptions exist natively only: a signal whose handler does not ask for
// restarts ends a blocked receive with EINTR (10004 to the library).
enum Handler { kNothing, kProgramTimeout, kSighdl };
Handler handler_kind = kNothing;

void on_signal(int) {
    if (handler_kind == kProgramTimeout) intrtype = -2;
    if (handler_kind == kSighdl) sighdl(2);
}

// Sends before, runs read on this thread while another thread interrupts it
// and then sends tail.
template <typename Read>
void interrupted_read(Handler kind, const std::string &before, const std::string &tail, Read read) {
    wiretest::Pair pair;
    ASSERT_TRUE(wiretest::make_pair(pair));
    ASSERT_TRUE(wiretest::set_receive_timeout_ms(pair.reader.get(), 3000));  // never hang
    ASSERT_TRUE(wiretest::send_all(pair.writer.get(), before));
    struct sigaction action {}, saved{};
    action.sa_handler = on_signal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;
    sigaction(SIGUSR1, &action, &saved);
    handler_kind = kind;
    pthread_t reader = pthread_self();
    std::thread interrupter([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        pthread_kill(reader, SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        if (!tail.empty()) wiretest::send_all(pair.writer.get(), tail);
    });
    read(pair.reader.get());
    interrupter.join();
    sigaction(SIGUSR1, &saved, nullptr);
}

TEST(WireRead, Interruptions) {
    int err = 0;
    // The program's own -2 ends a fixed-width read; sighdl's codes do not.
    interrupted_read(kProgramTimeout, std::string("\1\2", 2), "",
                     [&](int s) { EXPECT_EQ(get_long(s, 0, &err), -2); });
    EXPECT_EQ(err, 10004);
    interrupted_read(kSighdl, std::string("\0\0", 2), "\1\2", [&](int s) { EXPECT_EQ(get_long(s, 0, &err), 258); });
    // The string readers pass sighdl's code on...
    char buf[16];
    interrupted_read(kSighdl, std::string("\0\0\0\5ab", 6), "cde",
                     [&](int s) { EXPECT_EQ(get_string(s, buf, 15, 0, &err), -7); });
    // ...and without one read the data again from its start.
    interrupted_read(kNothing, std::string("\0\0\0\5ab", 6), "cdefg", [&](int s) {
        EXPECT_EQ(get_string(s, buf, 15, 0, &err), 5);
        EXPECT_STREQ(buf, "cdefg");
    });
    // Readline reports the position it was filling.
    buf_block *block = create_buf_block(64);
    interrupted_read(kNothing, "ab", "", [&](int s) { EXPECT_EQ(Readline(s, buf, 16, 5, block), -3); });
    EXPECT_STREQ(buf, "ab");
    free_buf_block(block);
}

}  // namespace
#endif
