// Heap duplicates between wide text and the ANSI code page or UTF-8.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "support/alloc_hook.h"
#include "support/wide.h"
#include "twcommon/text.h"

namespace {

using twtest::WideString;

struct Freed {
    void operator()(void *p) const { std::free(p); }
};
template <typename T>
using Owned = std::unique_ptr<T, Freed>;

// The tests assume the Windows-1252 ANSI code page, which is what the library
// uses off Windows and what an English Windows (and wine's default) has.
TEST(CodePage, AnsiRoundTrip) {
    const WideString wide = TW_WIDE("caf\u00e9 \u20ac5");
    Owned<char> ansi(Q_StrDupWideToACP(wide.c_str()));
    ASSERT_NE(nullptr, ansi);
    EXPECT_STREQ("caf\xe9 \x80" "5", ansi.get());
    Owned<tw_wchar_t> back(Q_StrDupACPToWide(ansi.get()));
    ASSERT_NE(nullptr, back);
    EXPECT_EQ(wide, WideString(back.get()));
}

TEST(CodePage, Utf8RoundTripIncludingSurrogatePairs) {
    const WideString wide = TW_WIDE("a\u00e9\u20ac\U0001F600");
    Owned<char> utf8(Q_StrDupWideToUTF8(wide.c_str()));
    ASSERT_NE(nullptr, utf8);
    EXPECT_STREQ("a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80", utf8.get());
    Owned<tw_wchar_t> back(Q_StrDupUTF8ToWide(utf8.get()));
    ASSERT_NE(nullptr, back);
    EXPECT_EQ(wide, WideString(back.get()));
}

TEST(CodePage, EmptyTextsStayEmpty) {
    Owned<char> a(Q_StrDupWideToACP(TW_WIDE("")));
    Owned<char> u(Q_StrDupWideToUTF8(TW_WIDE("")));
    Owned<tw_wchar_t> w1(Q_StrDupACPToWide(""));
    Owned<tw_wchar_t> w2(Q_StrDupUTF8ToWide(""));
    ASSERT_TRUE(a && u && w1 && w2);
    EXPECT_STREQ("", a.get());
    EXPECT_STREQ("", u.get());
    EXPECT_EQ(0, w1.get()[0]);
    EXPECT_EQ(0, w2.get()[0]);
}

TEST(CodePage, OnlyWideToUtf8ReportsAFailedConversion) {
    // A null source is a conversion the OS refuses.
    Owned<char> a(Q_StrDupWideToACP(nullptr));
    Owned<tw_wchar_t> w1(Q_StrDupACPToWide(nullptr));
    Owned<tw_wchar_t> w2(Q_StrDupUTF8ToWide(nullptr));
    ASSERT_TRUE(a && w1 && w2);
    EXPECT_STREQ("", a.get());
    EXPECT_EQ(0, w1.get()[0]);
    EXPECT_EQ(0, w2.get()[0]);
    EXPECT_EQ(nullptr, Q_StrDupWideToUTF8(nullptr));
}

TEST(CodePage, EveryDuplicateIsNullWhenMemoryRunsOut) {
    for (int attempt = 0; attempt < 4; ++attempt) {
        twtest::FailAllocation fail(1);
        void *result = nullptr;
        switch (attempt) {
            case 0: result = Q_StrDupWideToACP(TW_WIDE("abc")); break;
            case 1: result = Q_StrDupACPToWide("abc"); break;
            case 2: result = Q_StrDupWideToUTF8(TW_WIDE("abc")); break;
            case 3: result = Q_StrDupUTF8ToWide("abc"); break;
        }
        EXPECT_TRUE(fail.fired()) << attempt;
        EXPECT_EQ(nullptr, result) << attempt;
        std::free(result);
    }
}

TEST(DumbRealloc, GrowsAndKeepsTheContents) {
    void *block = nullptr;
    ASSERT_NE(nullptr, Q_dumb_realloc(&block, 4));
    std::memcpy(block, "abc", 4);
    void *grown = Q_dumb_realloc(&block, 1 << 20);
    ASSERT_NE(nullptr, grown);
    EXPECT_EQ(grown, block);
    EXPECT_STREQ("abc", static_cast<char *>(block));
    std::free(block);
    EXPECT_EQ(nullptr, Q_dumb_realloc(nullptr, 16));
}

TEST(DumbRealloc, FailedGrowthReleasesTheOldBlockAndClearsThePointer) {
    void *block = std::malloc(8);
    void *result;
    {
        twtest::FailAllocation fail(1);
        result = Q_dumb_realloc(&block, 64);
        EXPECT_TRUE(fail.fired());
    }
    EXPECT_EQ(nullptr, result);
    EXPECT_EQ(nullptr, block);  // the old block is gone; the leak checker sees it freed
}

}  // namespace
