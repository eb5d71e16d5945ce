// The second-generation wire encoding (through Send and Recv) against the
// independent peer.
#include <gtest/gtest.h>

#include "../support/alloc_hook.h"
#include "wire_support.h"

namespace {

using wiretest::LogCapture;
using wiretest::Stopwatch;

TEST(Wire2Write, EveryByteAsThePeerDecodesIt) {
    const std::string big = wiretest::letters(10000);  // three pieces
    WIRE_SCENARIO(peer, "expect short:65535 raw:0102 long:0xFFFFFFFD str: str:hello tagged:7:hello "
                        "taggedn:0xABCD:10000 strn:4096");
    int s = peer.get();
    EXPECT_EQ(put_short_(s, 65535, 5, 0), 0);  // no 65534 limit here
    EXPECT_EQ(put_short_(s, 258, 5, 0), 0);
    EXPECT_EQ(put_long_(s, 0xFFFFFFFDu, 5), 0);
    EXPECT_EQ(put_string_(s, "", 5, 0, 0), 0);
    EXPECT_EQ(put_string_(s, "hello", 5, 0, 0), 5);
    EXPECT_EQ(put_string_(s, "hello", 5, 0, 7), 5);
    EXPECT_EQ(put_string_(s, big.c_str(), 5, 0, 0xABCD), 10000);
    EXPECT_EQ(put_string_(s, big.substr(0, 4096).c_str(), 5, 0, 0), 4096);
    wiretest::shut_write(s);
    EXPECT_EQ(wiretest::read_line(s), "OK");
}

TEST(Wire2Write, FailuresAreLogged) {
    int closed = wiretest::new_tcp_socket();
    wiretest::close_socket(closed);
    LogCapture log;
    EXPECT_EQ(put_short_(closed, 1, 1, 0), -1);
    EXPECT_EQ(put_long_(closed, 1, 1), -1);
    EXPECT_EQ(put_string_(closed, "abc", 1, 0, 3), -1);
    EXPECT_TRUE(log.has_prefix("put_short_: protocol error - two byte send failed (")) << log.all();
    EXPECT_TRUE(log.has_prefix("put_long_: protocol error - four byte send failed (")) << log.all();
    EXPECT_TRUE(log.has_prefix("put_string_: protocol error - string send failed (")) << log.all();
}

TEST(Wire2Read, Integers) {
    WIRE_SCENARIO(peer, "send raw:0102 short:65535 raw:01020304 long:0xFFFFFFFD raw:01");
    int s = peer.get();
    EXPECT_EQ(get_short_(s, 5, 0), 258);
    EXPECT_EQ(get_short_(s, 5, 0), 65535);
    EXPECT_EQ(get_long_(s, 5, 0), 0x01020304);
    EXPECT_EQ(get_long_(s, 5, 0), -3);
    EXPECT_EQ(get_short_(s, 5, 0), -1);  // one byte, then the end
}

TEST(Wire2Read, SilentPeerTimesOut) {
    WIRE_SCENARIO(peer, "send raw:01 @stall");
    LogCapture log;
    Stopwatch clock;
    EXPECT_EQ(get_long_(peer.get(), 1, 0), -1);
    EXPECT_EQ(errno, 10060);
    EXPECT_EQ(get_short_(peer.get(), 1, 0), -1);
    EXPECT_EQ(errno, 10060);
    EXPECT_LT(clock.ms(), 4000);
    // A time-out is worth a report from the short reader only.
    EXPECT_FALSE(log.has_prefix("get_long_:")) << log.all();
    EXPECT_TRUE(log.has_prefix("get_short_: protocol error - two byte read failed (")) << log.all();
}

struct StringRow {
    const char *scenario;
    bool caller_buffer;
    int size;
    bool ok;
    int length;       // *length afterwards
    int error;        // errno on failure (0: not checked)
    const char *text; // the text on success; a log line on failure
};

TEST(Wire2Read, Strings) {
    const StringRow rows[] = {
        {"send str:hello", true, 10, true, 5, 0, "hello"},
        {"send lenstr:9:123456789", true, 10, true, 9, 0, "123456789"},
        {"send lenstr:10:1234567890", true, 10, false, -1, 34,
         "get_string_: Read string too large for provided buffer area"},
        {"send str:", false, 0, true, 0, 0, ""},
        {"send strn:5000", false, 0, true, 5000, 0, nullptr},
        {"send lenstr:100:abc", false, 0, false, 100, 32, "get_string_: unexpected EOF reading string"},
        {"send lenstr:100:abc", true, 200, false, 100, 32, "get_string_: unexpected EOF reading string"},
        {"send long:-1", false, 0, false, 0, 0, nullptr},
        {"send raw:0000", false, 0, false, 0, 0, nullptr},
        {"send raw:00 @stall", false, 0, false, 0, 10060, nullptr},
        {"send lenstr:8:abc @stall", false, 0, false, 8, 10060, "get_string_: protocol error - string read failed ("},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.scenario);
        WIRE_SCENARIO(peer, row.scenario);
        LogCapture log;
        Stopwatch clock;
        std::vector<char> buf(size_t(row.size) + 1, '#');  // the last byte guards the end
        int length = 12345;
        char *text = get_string_(peer.get(), row.caller_buffer ? buf.data() : nullptr, &length, row.size, 1, 0);
        int error = errno;
        EXPECT_EQ(text != nullptr, row.ok);
        EXPECT_EQ(length, row.length);
        if (row.caller_buffer) {
            EXPECT_EQ(buf.back(), '#');
        }
        if (text && row.caller_buffer) {
            EXPECT_EQ(text, buf.data());
        }
        if (text) {
            EXPECT_EQ(std::string(text), row.text ? row.text : wiretest::letters(size_t(row.length)));
            if (!row.caller_buffer) std::free(text);
        } else {
            if (row.error) {
                EXPECT_EQ(error, row.error);
            }
            if (row.text) {
                EXPECT_TRUE(log.has_prefix(row.text)) << log.all();
            }
        }
        EXPECT_LT(clock.ms(), 4000);
    }
}

TEST(Wire2Read, HeapStringWithoutMemory) {
    WIRE_SCENARIO(peer, "send str:hello");
    LogCapture log;
    int length = 0;
    twtest::FailAllocation fail(1);
    EXPECT_EQ(get_string_(peer.get(), nullptr, &length, 0, 1, 0), nullptr);
    EXPECT_TRUE(log.has("get_string_: malloc of 6 bytes failed")) << log.all();
}

}  // namespace
