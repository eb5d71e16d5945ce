// Bounded formatting: the result counts what was stored; size-1 means full.
#include <gtest/gtest.h>

#include <string>

#include "twcommon/text.h"

namespace {

int format_through_va_list(char *buf, unsigned size, const char *format, ...) {
    va_list args;
    va_start(args, format);
    int result = Q_vsnprintf(buf, size, format, args);
    va_end(args);
    return result;
}

TEST(Format, ResultCountsStoredCharacters) {
    char buf[16];
    EXPECT_EQ(9, Q_snprintf(buf, sizeof buf, "%s-%03d", "hello", 7));
    EXPECT_STREQ("hello-007", buf);
    EXPECT_EQ(0, Q_snprintf(buf, sizeof buf, "%s", ""));
    EXPECT_STREQ("", buf);
}

TEST(Format, TruncationAndExactFitBothGiveSizeMinusOne) {
    char buf[8] = "#######";
    EXPECT_EQ(3, Q_snprintf(buf, 4, "%s", "hello"));
    EXPECT_STREQ("hel", buf);
    EXPECT_EQ('#', buf[4]);  // nothing beyond the bound
    // Five characters in five cells: no room for the terminator.
    EXPECT_EQ(4, Q_snprintf(buf, 5, "%s", "hello"));
    EXPECT_STREQ("hell", buf);
    EXPECT_EQ(4, Q_snprintf(buf, 5, "%s", "hell"));
    EXPECT_STREQ("hell", buf);
    EXPECT_EQ(0, Q_snprintf(buf, 1, "%d", 12345));
    EXPECT_STREQ("", buf);
}

TEST(Format, NullBufferOrZeroSizeIsRefusedWithoutWriting) {
    char buf[4] = "abc";
    EXPECT_EQ(-1, Q_snprintf(nullptr, 4, "%d", 1));
    EXPECT_EQ(-1, Q_snprintf(buf, 0, "%d", 1));
    EXPECT_STREQ("abc", buf);
}

TEST(Format, NullFormatGivesAnEmptyText) {
    char buf[4] = "abc";
    EXPECT_EQ(0, format_through_va_list(buf, sizeof buf, nullptr));
    EXPECT_STREQ("", buf);
}

TEST(Format, LongTextsAreCutAtTheBound) {
    std::string big(5000, 'x');
    char buf[4096];
    EXPECT_EQ(4095, Q_snprintf(buf, sizeof buf, "%s", big.c_str()));
    EXPECT_EQ(std::string(4095, 'x'), buf);
}

TEST(CatFormat, AppendsToTheExistingText) {
    char buf[16] = "ab";
    EXPECT_EQ(3, Q_cat_snprintf(buf, sizeof buf, "%d", 123));
    EXPECT_STREQ("ab123", buf);
    // Truncated: the count of appended characters is size-L-1.
    EXPECT_EQ(10, Q_cat_snprintf(buf, sizeof buf, "%s", "0123456789ABCDEF"));
    EXPECT_STREQ("ab1230123456789", buf);
    // Full already: only the terminator's cell is left.
    EXPECT_EQ(0, Q_cat_snprintf(buf, sizeof buf, "%s", "more"));
    EXPECT_STREQ("ab1230123456789", buf);
}

TEST(CatFormat, RefusesATextWithNoTerminatorWithinSize) {
    char buf[6] = {'a', 'b', 'c', 'd', 'e', 'f'};
    EXPECT_EQ(-1, Q_cat_snprintf(buf, 4, "%s", "x"));
    EXPECT_EQ(0, std::string(buf, 6).compare("abcdef"));
    EXPECT_EQ(-1, Q_cat_snprintf(nullptr, 4, "%s", "x"));
    EXPECT_EQ(-1, Q_cat_snprintf(buf, 0, "%s", "x"));
}

#if defined(_WIN32)
TEST(WideFormat, FollowsTheNarrowRules) {
    wchar_t buf[8];
    EXPECT_EQ(5, Q_snwprintf(buf, 8, L"%d-%d", 12, 34));
    EXPECT_STREQ(L"12-34", buf);
    EXPECT_EQ(3, Q_snwprintf(buf, 4, L"%ls", L"hello"));
    EXPECT_STREQ(L"hel", buf);
    EXPECT_EQ(4, Q_snwprintf(buf, 5, L"%ls", L"hello"));
    EXPECT_STREQ(L"hell", buf);
    EXPECT_EQ(-1, Q_snwprintf(nullptr, 8, L"x"));
    EXPECT_EQ(-1, Q_snwprintf(buf, 0, L"x"));
}

TEST(WideFormat, CatAppendsAndRefusesUnterminatedText) {
    wchar_t buf[8] = L"ab";
    EXPECT_EQ(2, Q_cat_snwprintf(buf, 8, L"%d", 12));
    EXPECT_STREQ(L"ab12", buf);
    EXPECT_EQ(3, Q_cat_snwprintf(buf, 8, L"%ls", L"xyzzy"));
    EXPECT_STREQ(L"ab12xyz", buf);
    wchar_t raw[3] = {L'a', L'b', L'c'};
    EXPECT_EQ(-1, Q_cat_snwprintf(raw, 3, L"x"));
    EXPECT_EQ(L'c', raw[2]);
}
#endif

}  // namespace
