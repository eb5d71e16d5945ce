#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "support/alloc_hook.h"
#include "support/eventlog_capture.h"
#include "support/registry_fixture.h"
#include "twcommon/config.h"
#include "twcommon/diag.h"

namespace {

using twtest::Event;
using twtest::EventLogCapture;

using Strings = std::vector<std::string>;

class SyslogTest : public ::testing::Test {
protected:
    void TearDown() override { Q_Closelog(); }
    EventLogCapture capture;
};

TEST_F(SyslogTest, IdentityChoosesTheSourceAndFirstIdentityWinsUntilClosed) {
    Q_Openlog("twjobd");
    Q_Openlog("twschedd");  // ignored: already open
    EXPECT_NE(NTsyslog(LOG_INFO, "hello %d", 5), 0);
    Q_Closelog();
    EXPECT_EQ(NTsyslog(LOG_INFO, "closed"), 0);
    Q_Closelog();  // closing twice is harmless
    Q_Openlog("twschedd");
    EXPECT_NE(NTsyslog(LOG_INFO, "again"), 0);

    const auto &events = capture.events();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].source, "Tallowind Job Manager");
    EXPECT_EQ(events[0].strings, Strings{"hello 5"});
    EXPECT_EQ(events[0].id, 0u);
    EXPECT_EQ(events[0].category, 0u);
    EXPECT_EQ(events[1].source, "Tallowind Scheduler");
}

TEST_F(SyslogTest, UnknownOrNullIdentityOpensTheDefaultSource) {
    Q_Openlog("TWJOBD");  // exact comparison: case matters
    NTsyslog(LOG_INFO, "x");
    Q_Closelog();
    Q_Openlog(nullptr);
    NTsyslog(LOG_INFO, "y");
    ASSERT_EQ(capture.events().size(), 2u);
    EXPECT_EQ(capture.events()[0].source, "Tallowind");
    EXPECT_EQ(capture.events()[1].source, "Tallowind");
}

TEST_F(SyslogTest, NothingIsReportedWhenClosedOrWithoutFormat) {
    EXPECT_EQ(NTsyslog(LOG_ERR, "not open"), 0);
    Q_Syslog(5, LOG_ERR, "not open %d", 1);
    Q_Openlog("twjobd");
    EXPECT_EQ(NTsyslog(LOG_ERR, nullptr), 0);
    EXPECT_TRUE(capture.events().empty());
}

TEST_F(SyslogTest, PriorityChoosesTheEventType) {
    Q_Openlog("twjobd");
    struct {
        int priority;
        int type;
    } cases[] = {{LOG_EMERG, Event::error},        {LOG_ALERT, Event::error},   {LOG_CRIT, Event::error},
                 {LOG_ERR, Event::error},          {LOG_WARNING, Event::warning}, {LOG_NOTICE, Event::information},
                 {LOG_INFO, Event::information},   {LOG_DEBUG, Event::information}, {-1, Event::error},
                 {8, Event::error},                {1000, Event::error}};
    for (const auto &c : cases) {
        capture.clear();
        NTsyslog(c.priority, "p");
        Q_Syslog(1, c.priority, "%s", "q");
        ASSERT_EQ(capture.events().size(), 2u);
        EXPECT_EQ(capture.events()[0].type, c.type) << c.priority;
        EXPECT_EQ(capture.events()[1].type, c.type) << c.priority;
    }
}

TEST_F(SyslogTest, PercentMIsTheErrnoTextUnlessItsPercentIsEscaped) {
    Q_Openlog("twjobd");
    const std::string enoent = std::strerror(ENOENT);
    errno = ENOENT;
    NTsyslog(LOG_ERR, "open failed: %m");
    errno = ENOENT;
    NTsyslog(LOG_ERR, "100%%m %d%%%m", 7);
    EXPECT_EQ(errno, ENOENT);
    ASSERT_EQ(capture.events().size(), 2u);
    EXPECT_EQ(capture.events()[0].type, Event::error);
    EXPECT_EQ(capture.events()[0].strings, Strings{"open failed: " + enoent});
    EXPECT_EQ(capture.events()[1].strings, Strings{"100%m 7%" + enoent});
}

TEST_F(SyslogTest, MessagesAreCutTo1024Characters) {
    Q_Openlog("twjobd");
    const std::string long_text(3000, 'a');
    NTsyslog(LOG_INFO, "%s", long_text.c_str());
    NTsyslog(LOG_INFO, long_text.c_str());  // the format itself stops at 1023
    Q_Syslog(9, LOG_INFO, "%s", long_text.c_str());
    ASSERT_EQ(capture.events().size(), 3u);
    EXPECT_EQ(capture.events()[0].strings[0], long_text.substr(0, 1024));
    EXPECT_EQ(capture.events()[1].strings[0], long_text.substr(0, 1023));
    EXPECT_EQ(capture.events()[2].strings[0], long_text.substr(0, 1024));
}

TEST_F(SyslogTest, QSyslogReportsOneInsertionStringPerConversion) {
    Q_Openlog("twmediad");
    int count = 0;
    Q_Syslog(1234, LOG_WARNING, "drive %s has %d tapes (100%%)%n", "D1", 12, &count);
    ASSERT_EQ(capture.events().size(), 1u);
    const Event &e = capture.events()[0];
    EXPECT_EQ(e.source, "Tallowind Media Manager");
    EXPECT_EQ(e.id, 1234u);
    EXPECT_EQ(e.type, Event::warning);
    EXPECT_EQ(e.category, 0u);
    EXPECT_EQ(e.strings, (Strings{"D1", "12"}));
    EXPECT_EQ(count, 0);  // %n is never written through
}

TEST_F(SyslogTest, QSyslogReadsEachArgumentByItsKind) {
    Q_Openlog("twjobd");
    int64_t big = -5000000000LL;
    Q_Syslog(1, LOG_INFO, "%d %f %I64d %s %.3e %c %I64x %5.1f|%p", 1, 2.5, big, "str", 1234.0, 'z',
             uint64_t(0x123456789abULL), -0.3, static_cast<void *>(nullptr));
    ASSERT_EQ(capture.events().size(), 1u);
    const Strings &s = capture.events()[0].strings;
    ASSERT_EQ(s.size(), 9u);
    EXPECT_EQ(s[0], "1");
    EXPECT_EQ(s[1], "2.500000");
    EXPECT_EQ(s[2], "-5000000000");
    EXPECT_EQ(s[3], "str");
    EXPECT_EQ(s[4].substr(0, 7), "1.234e+");  // msvcrt writes three exponent digits
    EXPECT_EQ(s[5], "z");
    EXPECT_EQ(s[6], "123456789ab");
    EXPECT_EQ(s[7], " -0.3");
}

TEST_F(SyslogTest, QSyslogTakesWidthAndPrecisionFromArguments) {
    Q_Openlog("twjobd");
    Q_Syslog(2, LOG_INFO, "[%*d] [%-*.*s] [%.*f]", 5, 42, 6, 2, "abcdef", 3, 3.14159);
    ASSERT_EQ(capture.events().size(), 1u);
    EXPECT_EQ(capture.events()[0].strings, (Strings{"   42", "ab    ", "3.142"}));
}

TEST_F(SyslogTest, QSyslogHonoursArgumentNumbers) {
    Q_Openlog("twjobd");
    Q_Syslog(3, LOG_INFO, "%3$f %2$s %1$d", 7, "x", 1.5);
    Q_Syslog(4, LOG_INFO, "%2$*1$d|%3$.*4$s", 6, 99, "abcdef", 2);
    ASSERT_EQ(capture.events().size(), 2u);
    EXPECT_EQ(capture.events()[0].strings, (Strings{"1.500000", "x", "7"}));
    EXPECT_EQ(capture.events()[1].strings, (Strings{"    99", "ab"}));
}

TEST_F(SyslogTest, QSyslogFormatsPercentMAndLeavesErrnoAlone) {
    Q_Openlog("twjobd");
    errno = EACCES;
    Q_Syslog(5, LOG_ERR, "%s: %m (%-3d)", "open", 4);
    EXPECT_EQ(errno, EACCES);
    ASSERT_EQ(capture.events().size(), 1u);
    EXPECT_EQ(capture.events()[0].strings, (Strings{"open", std::strerror(EACCES), "4  "}));
}

TEST_F(SyslogTest, QSyslogWithoutConversionsReportsNoStrings) {
    Q_Openlog("twjobd");
    Q_Syslog(6, LOG_INFO, "plain text, 100%%");
    Q_Syslog(7, LOG_INFO, nullptr);
    ASSERT_EQ(capture.events().size(), 2u);
    EXPECT_TRUE(capture.events()[0].strings.empty());
    EXPECT_TRUE(capture.events()[1].strings.empty());
}

TEST_F(SyslogTest, QSyslogReadsEachSizeAsTheCallerPassedIt) {
    Q_Openlog("twjobd");
    Q_Syslog(7, 3, "%lld %s", 5LL, "after");
    Q_Syslog(7, 3, "%zu %s", SIZE_MAX, "after");
    Q_Syslog(7, 3, "%hhd %hhu %hd %s", -1, 511, 70000, "after");
    Q_Syslog(7, 3, "%ld %lu %s", LONG_MIN, ULONG_MAX, "after");
    Q_Syslog(7, 3, "%jd %td %lx %s", INTMAX_MIN, ptrdiff_t(-3), -1L, "after");
    Q_Syslog(7, 3, "%.2Lf %s", 1.25L, "after");
    char long_hex[32];
    std::snprintf(long_hex, sizeof long_hex, "%lx", -1L);
    const Strings expected[] = {
        {"5", "after"},
        {std::to_string(SIZE_MAX), "after"},
        {"-1", "255", "4464", "after"},
        {std::to_string(LONG_MIN), std::to_string(ULONG_MAX), "after"},
        {std::to_string(INTMAX_MIN), "-3", long_hex, "after"},
        {"1.25", "after"},
    };
    ASSERT_EQ(capture.events().size(), std::size(expected));
    for (size_t i = 0; i < std::size(expected); ++i) EXPECT_EQ(capture.events()[i].strings, expected[i]) << i;
}

TEST_F(SyslogTest, QSyslogReadsNoArgumentFromAMalformedConversionOn) {
    // What a malformed conversion or an unnamed argument number would take is
    // unknown, so no argument at or after it is read: the later conversions
    // are reported as written.
    Q_Openlog("twjobd");
    Q_Syslog(8, LOG_INFO, "bad %y then %s", "ok");
    Q_Syslog(8, LOG_INFO, "%d %q %s %d", 1, "x", 2);
    Q_Syslog(8, LOG_INFO, "%s %llld %s", "a", 1LL, "b");
    Q_Syslog(8, LOG_INFO, "%2$s", 1, "x");
    Q_Syslog(8, LOG_INFO, "%1$d %3$s", 1, 2, "x");
    const Strings expected[] = {{"%s"}, {"1", "%s", "%d"}, {"a", "%s"}, {"%s"}, {"1", "%s"}};
    ASSERT_EQ(capture.events().size(), std::size(expected));
    for (size_t i = 0; i < std::size(expected); ++i) EXPECT_EQ(capture.events()[i].strings, expected[i]) << i;
}

TEST_F(SyslogTest, QSyslogRefusesAbsurdArgumentNumbers) {
    Q_Openlog("twjobd");
    errno = EINTR;
    Q_Syslog(9, LOG_INFO, "%999$d", 1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_TRUE(capture.events().empty());
}

TEST_F(SyslogTest, QSyslogEndsSilentlyWhenMemoryRunsOut) {
    Q_Openlog("twjobd");
    int failures = twtest::for_each_allocation_failure(
        [&] {
            capture.clear();
            errno = ERANGE;
            Q_Syslog(10, LOG_INFO, "%s=%d %f", "a", 1, 2.0);
            EXPECT_EQ(errno, ERANGE);
        },
        [&](bool failed) {
            if (failed)
                EXPECT_TRUE(capture.events().empty());
            else
                ASSERT_EQ(capture.events().size(), 1u);
        });
    EXPECT_GT(failures, 3);
}

TEST_F(SyslogTest, LibraryReportsLeaveTheProgramsLogOpen) {
    twtest::RegistryFixture registry;
    registry.set_path("x", "refused");  // a one-letter name: the table reports it
    Q_Openlog("twjobd");
    EXPECT_STREQ(getOrrickString("x"), "");
    EXPECT_NE(NTsyslog(LOG_ERR, "still open"), 0);
    const auto &events = capture.events();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].id, 5u);
    EXPECT_EQ(events[0].source, "Tallowind Job Manager");
    EXPECT_EQ(events[1].strings, Strings{"still open"});
    EXPECT_EQ(events[1].source, "Tallowind Job Manager");
}

}  // namespace
