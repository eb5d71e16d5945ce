#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "diag/log_test_support.h"
#include "support/alloc_hook.h"
#include "support/scratch.h"
#include "twcommon/diag.h"

namespace {

namespace fs = std::filesystem;
using twtest::read_log;
using twtest::ScratchDir;
using twtest::StoppedLogClock;

class CmnlogTest : public ::testing::Test {
protected:
    void TearDown() override { cmnlogCLOSE(); }
    void open() {
        ASSERT_EQ(cmnlogOPEN(scratch.file("logs").c_str(), "prog", 0644), 0);
        ASSERT_GE(debugFD, 0);
    }
    std::string text() { return read_log(scratch.file("logs/prog/030407.log")); }
    std::string line(const std::string &message) { return "01:02:03.004 " + twtest::ids_stamp() + message + "\n"; }

    ScratchDir scratch;
    StoppedLogClock clock{2007, 3, 4, 1, 2, 3, 4};
};

int count_calls(void *datum, int, const char *, const char *) { return ++*static_cast<int *>(datum); }

TEST_F(CmnlogTest, NothingIsLoggedBeforeOpenEvenWithACallback) {
    int calls = 0;
    log_set_callback(count_calls, &calls, nullptr);
    calls = 0;
    EXPECT_EQ(cmnlogMSG(2, "dropped", "fn"), -1);
    char a[] = "a";
    char *strings[] = {a, nullptr};
    EXPECT_EQ(cmnlogPARAMS(strings), -1);
    EXPECT_EQ(calls, 0);
    log_set_callback(nullptr, nullptr, nullptr);
}

TEST_F(CmnlogTest, OpenCreatesTheDirectoryAndTurnsOnTheMoveAtDayChange) {
    EXPECT_EQ(Auto_Recycle_Logs, 0);
    open();
    EXPECT_EQ(Auto_Recycle_Logs, 1);
    EXPECT_EQ(cmnlogMSG(2, "hello", "fn"), 0);
    EXPECT_EQ(text(), line("<2> fn: hello"));
    clock.set(2007, 3, 5, 0, 0, 0, 0);
    EXPECT_EQ(cmnlogMSG(16, "next day", "fn"), 0);
    EXPECT_TRUE(fs::exists(scratch.file("logs/prog/030507.log")));

    EXPECT_EQ(cmnlogCLOSE(), 0);
    EXPECT_EQ(debugFD, -1);
    EXPECT_EQ(cmnlogMSG(2, "closed", "fn"), -1);
    EXPECT_EQ(cmnlogCLOSE(), 0);
}

TEST_F(CmnlogTest, AFailedOpenReturnsItsErrnoAndLeavesNoLog) {
    twtest::touch(scratch.file("file"));
    EXPECT_NE(cmnlogOPEN(scratch.file("file").c_str(), "prog", 0644), 0);
    EXPECT_EQ(debugFD, -1);
    EXPECT_EQ(cmnlogMSG(2, "x", "fn"), -1);
}

TEST_F(CmnlogTest, TheSeverityMaskKeepsSixBitsAndDropsWhatIsOff) {
    open();
    EXPECT_EQ(cmnlogSEVERITY, 63);
    EXPECT_EQ(cmnlogSeveritySET(64), 0);
    EXPECT_EQ(cmnlogSEVERITY, 0);
    for (int severity : {1, 2, 4, 8, 16, 32, 63}) EXPECT_EQ(cmnlogMSG(severity, "x", "fn"), -1);
    EXPECT_EQ(cmnlogSeveritySET(64 | 8 | 2), 10);
    EXPECT_EQ(cmnlogMSG(4, "off", "fn"), -1);
    EXPECT_EQ(cmnlogMSG(8, "on", "fn"), 0);
    EXPECT_EQ(cmnlogMSG(6, "any bit will do", "fn"), 0);
    EXPECT_EQ(text(), line("<8> fn: on") + line("<6> fn: any bit will do"));
}

TEST_F(CmnlogTest, TheLogSeverityOptionSetsTheMask) {
    char prog[] = "prog", other[] = "-x", option[] = "-logseverity", six[] = "6", seven[] = "7";
    char *argv[] = {prog, other, option, six, nullptr};
    cmnlogARGS(argv);
    EXPECT_EQ(cmnlogSEVERITY, 6);
    open();
    EXPECT_EQ(cmnlogMSG(8, "off", "fn"), -1);
    EXPECT_EQ(cmnlogMSG(2, "on", "fn"), 0);
    EXPECT_EQ(cmnlogMSG(4, "on", "fn"), 0);

    char upper[] = "-LOGSEVERITY", big[] = "127";
    char *masked[] = {upper, big, nullptr};
    cmnlogARGS(masked);
    EXPECT_EQ(cmnlogSEVERITY, 63);
    // Without a value, or with another option where the value belongs, or
    // no vector at all, the mask stays.
    char *no_value[] = {prog, upper, nullptr};
    char *option_next[] = {upper, other, seven, nullptr};
    char *absent[] = {prog, seven, nullptr};
    for (char **values : {no_value, option_next, absent, static_cast<char **>(nullptr)}) {
        cmnlogARGS(values);
        EXPECT_EQ(cmnlogSEVERITY, 63);
    }
}

TEST_F(CmnlogTest, ParamsJoinsWithBlanksAtSeverityFour) {
    open();
    char a[] = "a", b[] = "b c";
    char *strings[] = {a, b, nullptr};
    EXPECT_EQ(cmnlogPARAMS(strings), 0);
    char *empty[] = {nullptr};
    EXPECT_EQ(cmnlogPARAMS(empty), -1);
    EXPECT_EQ(cmnlogPARAMS(nullptr), -1);
    cmnlogSeveritySET(63 & ~4);
    EXPECT_EQ(cmnlogPARAMS(strings), -1);
    EXPECT_EQ(text(), line("<4> cmnlogPARAMS: a b c"));
}

TEST_F(CmnlogTest, ParamsReturnsMinusOneWhenMemoryRunsOut) {
    open();
    char a[] = "a", b[] = "b";
    char *strings[] = {a, b, nullptr};
    int result = 0;
    int failures = twtest::for_each_allocation_failure([&] { result = cmnlogPARAMS(strings); },
                                                       [&](bool failed) { EXPECT_EQ(result, failed ? -1 : 0); });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(text(), line("<4> cmnlogPARAMS: a b"));  // the last attempt, with memory to spare
}

}  // namespace
