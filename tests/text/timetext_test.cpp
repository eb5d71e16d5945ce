// Thread-safe time texts and broken-down times.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "twcommon/text.h"

namespace {

// 1973-09-16 04:03:52 UTC, a Sunday, day 258 of the year.
constexpr time_t kSunday = 117000232;

TEST(TimeText, ShortBufferIsErangeWhateverThePointers) {
    char buf[32] = "untouched";
    time_t t = kSunday;
    struct tm tm {};
    errno = 0;
    EXPECT_EQ(nullptr, Q_ctime(nullptr, buf, 25));
    EXPECT_EQ(ERANGE, errno);
    errno = 0;
    EXPECT_EQ(nullptr, Q_ctime(&t, buf, 25));
    EXPECT_EQ(ERANGE, errno);
    errno = 0;
    EXPECT_EQ(nullptr, Q_asctime(&tm, nullptr, 0));
    EXPECT_EQ(ERANGE, errno);
    EXPECT_STREQ("untouched", buf);
}

TEST(TimeText, NullPointersWithRoomLeaveErrnoAlone) {
    char buf[26];
    time_t t = kSunday;
    errno = 1234;
    EXPECT_EQ(nullptr, Q_ctime(nullptr, buf, sizeof buf));
    EXPECT_EQ(nullptr, Q_ctime(&t, nullptr, 26));
    EXPECT_EQ(nullptr, Q_asctime(nullptr, buf, sizeof buf));
    EXPECT_EQ(1234, errno);
}

TEST(TimeText, AsctimeIsTheFixedFormatInAnExactlySizedBuffer) {
    struct tm tm {};
    time_t t = kSunday;
    ASSERT_EQ(&tm, Q_gmtime(&t, &tm));
    char buf[26];
    ASSERT_EQ(buf, Q_asctime(&tm, buf, sizeof buf));
    EXPECT_STREQ("Sun Sep 16 04:03:52 1973\n", buf);
}

TEST(TimeText, CtimeIsTheAsctimeOfTheLocalTime) {
    time_t t = kSunday;
    struct tm local {};
    ASSERT_NE(nullptr, Q_localtime(&t, &local));
    char expected[64], actual[64];
    ASSERT_NE(nullptr, Q_asctime(&local, expected, sizeof expected));
    ASSERT_EQ(actual, Q_ctime(&t, actual, sizeof actual));
    EXPECT_STREQ(expected, actual);
    EXPECT_EQ(25u, std::strlen(actual));
}

TEST(TimeText, GmtimeFillsAllNineFields) {
    time_t t = kSunday;
    struct tm tm;
    std::memset(&tm, 0x5a, sizeof tm);
    ASSERT_EQ(&tm, Q_gmtime(&t, &tm));
    EXPECT_EQ(52, tm.tm_sec);
    EXPECT_EQ(3, tm.tm_min);
    EXPECT_EQ(4, tm.tm_hour);
    EXPECT_EQ(16, tm.tm_mday);
    EXPECT_EQ(8, tm.tm_mon);
    EXPECT_EQ(73, tm.tm_year);
    EXPECT_EQ(0, tm.tm_wday);
    EXPECT_EQ(258, tm.tm_yday);
    EXPECT_EQ(0, tm.tm_isdst);
    EXPECT_EQ(nullptr, Q_gmtime(nullptr, &tm));
    EXPECT_EQ(nullptr, Q_gmtime(&t, nullptr));
    EXPECT_EQ(nullptr, Q_localtime(nullptr, &tm));
    EXPECT_EQ(nullptr, Q_localtime(&t, nullptr));
}

TEST(TimeText, EachThreadGetsItsOwnCopy) {
    // Threads converting different times at once must never see each other's text.
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i, &wrong] {
            time_t t = kSunday + i * 86400;
            struct tm tm {};
            char expected[32], buf[32];
            Q_gmtime(&t, &tm);
            Q_asctime(&tm, expected, sizeof expected);
            for (int n = 0; n < 2000; ++n) {
                struct tm again {};
                Q_gmtime(&t, &again);
                Q_asctime(&again, buf, sizeof buf);
                if (std::strcmp(buf, expected) != 0 || again.tm_mday != tm.tm_mday) ++wrong[i];
            }
        });
    }
    for (auto &th : threads) th.join();
    EXPECT_EQ(std::vector<int>(4, 0), wrong);
}

}  // namespace
