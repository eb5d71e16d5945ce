#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>

#if !defined(_WIN32)
#  include <sys/wait.h>
#  include <unistd.h>
#endif

#include "diag/log_test_support.h"
#include "support/alloc_hook.h"
#include "support/scratch.h"
#include "twcommon/diag.h"

namespace {

using twtest::read_log;
using twtest::ScratchDir;
using twtest::StoppedLogClock;

// A log file of its own in a scratch directory, on 2007-03-04 12:34:56.789.
class LineTest : public ::testing::Test {
protected:
    void SetUp() override {
        int err = -1;
        fd = open_log(dir.path().c_str(), 0644, &err);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(err, 0);
    }
    void TearDown() override {
        log_set_callback(nullptr, nullptr, nullptr);
        debugFD = -1;
        close_fd();
    }
    void close_fd() {
        if (fd >= 0) twtest::close_descriptor(fd);
        fd = -1;
    }
    std::string text() { return read_log(dir.file("030407.log")); }

    StoppedLogClock clock{2007, 3, 4, 12, 34, 56, 789};
    ScratchDir dir;
    int fd = -1;
};

// Each writer's line, cut so that it fits its buffer (its size - 1 bytes).
TEST_F(LineTest, EachWriterFormatsItsLineAndCutsItToItsBuffer) {
    const std::string long_text(5000, 'x');
    const std::string stamp = twtest::ids_stamp();
    auto cut = [](const std::string &line, size_t limit) { return line.substr(0, limit); };

    struct Case {
        const char *name;
        int (*write)(int, const char *);
        std::string head;
        size_t text_limit, line_limit;
    } cases[] = {
        {"debuglog", debuglog, "12:34:56.789 " + stamp, 4064, 4095},
        {"logwithdate", logwithdate, "2007/03/04 12:34:56.789 " + stamp, 4053, 4095},
        {"logwithtime", logwithtime, "12:34:56 ", 2660, 2670},
    };
    std::string expected;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_EQ(c.write(fd, "short"), 0);
        ASSERT_EQ(c.write(fd, long_text.c_str()), 0);
        std::string long_line = cut(c.head + long_text.substr(0, c.text_limit) + "\n", c.line_limit);
        EXPECT_LE(long_line.size(), c.line_limit);
        expected += c.head + "short\n" + long_line;
        EXPECT_EQ(text(), expected);
    }
    // The id counts against the same buffer: a long one costs the newline.
    ASSERT_EQ(logwithtime_and_id(fd, "job7", "short"), 0);
    ASSERT_EQ(logwithtime_and_id(fd, std::string(100, 'i').c_str(), long_text.c_str()), 0);
    expected += "12:34:56 (job7) short\n";
    expected += cut("12:34:56 (" + std::string(100, 'i') + ") " + long_text.substr(0, 2660), 2734);
    EXPECT_EQ(text(), expected);
}

TEST_F(LineTest, DebuglogPrintsANullTextAsABlankAndWritersRefuseANegativeDescriptor) {
    ASSERT_EQ(debuglog(fd, nullptr), 0);
    EXPECT_EQ(text(), "12:34:56.789 " + twtest::ids_stamp() + " \n");
    EXPECT_EQ(debuglog(-1, "x"), -1);
    EXPECT_EQ(logwithdate(-1, "x"), -1);
    EXPECT_EQ(logwithtime(-1, "x"), -1);
    EXPECT_EQ(logwithtime_and_id(-1, "id", "x"), -1);
    EXPECT_EQ(logwithoutdate(-1, "x"), -1);
}

TEST_F(LineTest, LogmsgCutsTextsOf965CharactersAndLongerWithAnEllipsis) {
    debugFD = fd;
    const std::string function(40, 'f');
    ASSERT_EQ(logmsg(2, std::string(964, 'a').c_str(), "fn"), 0);
    ASSERT_EQ(logmsg(2, std::string(965, 'b').c_str(), "fn"), 0);
    ASSERT_EQ(logmsg(8, std::string(2000, 'c').c_str(), function.c_str()), 0);
    // The short form is cut to the 1024 characters of the message buffer.
    ASSERT_EQ(logmsg(4, std::string(964, 'd').c_str(), std::string(100, 'g').c_str()), 0);
    ASSERT_EQ(logmsg(16, nullptr, nullptr), 0);

    const std::string head = "12:34:56.789 " + twtest::ids_stamp();
    std::string expected = head + "<2> fn: " + std::string(964, 'a') + "\n";
    expected += head + "<2> fn: " + std::string(965, 'b') + "...\n";
    expected += head + "<8> " + function.substr(0, 31) + ": " + std::string(965, 'c') + "...\n";
    expected += head + ("<4> " + std::string(100, 'g') + ": " + std::string(964, 'd')).substr(0, 1024) + "\n";
    expected += head + "<16> ?: ?\n";
    EXPECT_EQ(text(), expected);

    debugFD = -1;
    EXPECT_EQ(logmsg(2, "nowhere", "fn"), -1);
}

// The budget is the process's, not the call's: five zero-byte writes are
// retried (a second apart), the sixth in the life of the process fails.
TEST_F(LineTest, ZeroByteWritesAreRetriedFiveTimesPerProcessThenFailWith27) {
    auto started = std::chrono::steady_clock::now();
    twcommon_testhook_zerowrites(3);
    EXPECT_EQ(logwithoutdate(fd, "abc"), 0);
    twcommon_testhook_zerowrites(2);
    EXPECT_EQ(logwithoutdate(fd, "def"), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(4900));
    EXPECT_EQ(text(), "abcdef");

    started = std::chrono::steady_clock::now();
    twcommon_testhook_zerowrites(1);
    EXPECT_EQ(logwithoutdate(fd, "ghi"), 27);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(900));
    EXPECT_EQ(logwithoutdate(fd, "jkl"), 0);  // writes that move bytes still work
    EXPECT_EQ(text(), "abcdefjkl");
}

TEST_F(LineTest, AFailedWriteReturnsItsErrno) {
    int closed = fd;
    close_fd();
    EXPECT_EQ(logwithoutdate(closed, "x"), EBADF);
}

#if !defined(_WIN32)
// A forked child stamps its own process id, not its parent's.
TEST_F(LineTest, AForkedChildStampsItsOwnProcessId) {
    ASSERT_EQ(debuglog(fd, "parent"), 0);
    pid_t child = fork();
    if (child == 0) _exit(debuglog(fd, "child"));
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    const std::string parent_line = "12:34:56.789 " + twtest::ids_stamp() + "parent\n";
    EXPECT_EQ(text(), parent_line + "12:34:56.789 [" + std::to_string(child) + "." + std::to_string(child) +
                          "] child\n");
}
#endif

struct Recorded {
    int calls = 0;
    int level = 0;
    std::string text, function;
};

int record(void *datum, int level, const char *text, const char *function) {
    auto *r = static_cast<Recorded *>(datum);
    ++r->calls;
    r->level = level;
    r->text = text ? text : "(null)";
    r->function = function ? function : "(null)";
    return 77;
}

TEST_F(LineTest, TheCallbackSwitchAnnouncesItselfOnTheOldSinkThenTheNewOne) {
    debugFD = fd;
    Recorded recorded;
    log_callback_record saved{record, &recorded};
    EXPECT_EQ(log_set_callback(record, &recorded, &saved), 77);
    EXPECT_EQ(saved.fn, nullptr);
    EXPECT_EQ(saved.datum, nullptr);
    const std::string head = "12:34:56.789 " + twtest::ids_stamp();
    EXPECT_EQ(text(), head + "<2> log_set_callback: switching to a new logging callback\n");
    EXPECT_EQ(recorded.calls, 1);
    EXPECT_EQ(recorded.level, 2);
    EXPECT_EQ(recorded.text, "switched to a new logging callback");  // raw, not formatted
    EXPECT_EQ(recorded.function, "log_set_callback");

    // Lines aimed at debugFD go to the callback; others still to their file.
    EXPECT_EQ(logmsg(8, nullptr, "fn"), 77);
    EXPECT_EQ(recorded.text, "(null)");
    EXPECT_EQ(debuglog(debugFD, "d"), 77);
    EXPECT_EQ(recorded.level, 1);
    EXPECT_EQ(recorded.function, "debuglog");
    EXPECT_EQ(logwithdate(debugFD, "w"), 77);
    EXPECT_EQ(recorded.function, "logwithdate");
    EXPECT_EQ(logwithtime(debugFD, "t"), 77);
    EXPECT_EQ(recorded.function, "logwithtime");
    EXPECT_EQ(recorded.calls, 5);
    debugFD = -1;
    EXPECT_EQ(logmsg(2, "no file needed", "fn"), 77);
    debugFD = fd;

    EXPECT_EQ(log_set_callback(nullptr, nullptr, &saved), 0);
    EXPECT_EQ(saved.fn, &record);
    EXPECT_EQ(saved.datum, &recorded);
    EXPECT_EQ(recorded.text, "switching to a new logging callback");
    EXPECT_EQ(recorded.calls, 7);
    EXPECT_EQ(text(), head + "<2> log_set_callback: switching to a new logging callback\n" + head +
                          "<2> log_set_callback: switched to a new logging callback\n");
}

TEST_F(LineTest, LogparamsJoinsTheArgumentsWithATrailingBlank) {
    debugFD = fd;
    char a[] = "prog", b[] = "-x", c[] = "value";
    char *argv[] = {a, b, c, nullptr};
    EXPECT_EQ(logparams(3, argv), 0);
    EXPECT_EQ(logparamswithdate(2, argv), 0);
    EXPECT_EQ(logparams(0, argv), 0);
    const std::string stamp = twtest::ids_stamp();
    EXPECT_EQ(text(), "12:34:56.789 " + stamp + "<2> logparams: prog -x value \n" + "2007/03/04 12:34:56.789 " +
                          stamp + "logparams: prog -x \n" + "12:34:56.789 " + stamp + "<2> logparams: \n");
}

TEST_F(LineTest, LogparamsReturnsMinusOneWhenMemoryRunsOut) {
    debugFD = fd;
    char a[] = "prog";
    char *argv[] = {a, nullptr};
    for (auto call : {logparams, logparamswithdate}) {
        twtest::FailAllocation fail(1);
        EXPECT_EQ(call(1, argv), -1);
        EXPECT_TRUE(fail.fired());
    }
    EXPECT_EQ(text(), "");
}

}  // namespace
