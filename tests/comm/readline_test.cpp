// Readline over a caller's buffer block: lines across refills, the end of
// the stream, a full line, and the give-back of a partial line on time-out.
#include <gtest/gtest.h>

#include <memory>

#include "../support/alloc_hook.h"
#include "wire_support.h"

namespace {

using wiretest::Stopwatch;

struct BlockDeleter {
    void operator()(buf_block *block) const { free_buf_block(block); }
};
using Block = std::unique_ptr<buf_block, BlockDeleter>;

struct Step {
    int result;
    int error;  // errno when result is -1
    const char *line;
    int timeout = 1;
};

struct LineRow {
    const char *scenario;
    int block_size;
    int maxlen;
    std::vector<Step> steps;
};

TEST(Readline, LinesFillsAndFailures) {
    const LineRow rows[] = {
        // Lines across refills of a 4-byte block; the last without a newline.
        {"send text:ab%0Acdefg%0Ah", 4, 64, {{3, 0, "ab\n"}, {6, 0, "cdefg\n"}, {1, 0, "h"}, {0, 0, ""}}},
        // A full line: maxlen - 1 bytes and no newline; the rest stays.
        {"send text:abcdefg%0A", 64, 5, {{-1, 34, "abcd"}, {4, 0, "efg\n"}}},
        // A time-out in mid-line gives the partial line back...
        {"send text:par pause:1500 text:tial%0Anext%0A", 64, 64,
         {{-1, 10060, "par"}, {8, 0, "partial\n", 3}, {5, 0, "next\n"}}},
        // ...unless a refill has overwritten its start.
        {"send text:ab pause:100 text:cd @stall", 2, 64, {{-1, 5, "abcd"}}},
        {"send @stall", 64, 64, {{-1, 10060, ""}}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.scenario);
        WIRE_SCENARIO(peer, row.scenario);
        Block block(create_buf_block(row.block_size));
        ASSERT_NE(block, nullptr);
        Stopwatch clock;
        for (const auto &step : row.steps) {
            std::vector<char> line(size_t(row.maxlen) + 1, '#');  // the last byte guards the end
            EXPECT_EQ(Readline(peer.get(), line.data(), row.maxlen, step.timeout, block.get()), step.result);
            if (step.result == -1) {
                EXPECT_EQ(errno, step.error);
            }
            EXPECT_STREQ(line.data(), step.line);
            EXPECT_EQ(line.back(), '#');
        }
        EXPECT_LT(clock.ms(), 4500);
    }
}

TEST(Readline, BadArgumentsAndSockets) {
    Block block(create_buf_block(16));
    char line[16];
    EXPECT_EQ(Readline(0, nullptr, 16, 1, block.get()), -1);
    EXPECT_EQ(Readline(0, line, 0, 1, block.get()), -1);
    EXPECT_EQ(Readline(0, line, 16, 1, nullptr), -1);
    int closed = wiretest::new_tcp_socket();
    wiretest::close_socket(closed);
    EXPECT_EQ(Readline(closed, line, 16, 1, block.get()), -1);
    EXPECT_NE(errno, 0);
    EXPECT_STREQ(line, "");
}

TEST(Readline, BlocksAndMemory) {
    EXPECT_EQ(create_buf_block(0), nullptr);
    EXPECT_EQ(create_buf_block(-5), nullptr);
    Block block(create_buf_block(100));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->size, 100);
    EXPECT_EQ(block->count, 0);
    EXPECT_EQ(block->next, block->data);
    free_buf_block(nullptr);
    for (int nth : {1, 2}) {
        twtest::FailAllocation fail(nth);
        EXPECT_EQ(create_buf_block(100), nullptr);
        EXPECT_TRUE(fail.fired());
    }
}

}  // namespace
