// Error texts: the fallback texts for numbers nobody knows, the caller's
// buffer limits, errno texts and the two-pass formatter.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "twcommon/diag.h"

namespace {

// No system table describes this number, and no message library is
// reachable in these tests (natively there is none at all).
constexpr uint32_t kUnknownCode = 60077;
const std::string kLongFallback =
    "Error: 60077 (installing twerrmsg.dll may allow this error to be decoded)";

TEST(ErrorText, UnknownNumberWithoutLibraryNamesTheLibrary) {
    EXPECT_EQ(GetErrorMessage(kUnknownCode), kLongFallback);
    char buf[200];
    EXPECT_EQ(GetErrorMessageStr(kUnknownCode, buf, sizeof buf), buf);
    EXPECT_EQ(std::string(buf), kLongFallback);
}

#if !defined(_WIN32)
// Off Windows the socket layer's texts stand in for the system's. (On NT the
// system message table has them; wine's lacks several, so not tested there.)
TEST(ErrorText, SocketErrorsHaveTheirOwnText) {
    for (uint32_t code : {10054u, 10057u, 11001u}) {
        const std::string text = GetErrorMessage(code);
        EXPECT_EQ(text.find("Error: "), std::string::npos) << code << ": " << text;
        EXPECT_FALSE(text.empty()) << code;
    }
}
#endif

TEST(ErrorText, NumberIsPrintedSigned) {
    EXPECT_EQ(std::string(GetErrorMessage(0xFFFFFFFEu)).rfind("Error: -2 (installing", 0), 0u);
}

TEST(ErrorText, CallerBufferIsCutAndTerminated) {
    char buf[12];
    std::memset(buf, 'x', sizeof buf);
    EXPECT_EQ(GetErrorMessageStr(kUnknownCode, buf, 10), buf);
    EXPECT_STREQ(buf, "Error: 60");
    EXPECT_EQ(buf[10], 'x');  // nothing written beyond the size given
}

TEST(ErrorText, SizeOneGivesEmptyTextForAnyNumber) {
    for (uint32_t code : {0u, 2u, 5u, kUnknownCode}) {
        char buf[2] = {'x', 'x'};
        EXPECT_EQ(GetErrorMessageStr(code, buf, 1), buf);
        EXPECT_EQ(buf[0], '\0');
        EXPECT_EQ(buf[1], 'x');
    }
}

TEST(ErrorText, NoBufferOrNoSizeGivesNull) {
    char buf[8];
    EXPECT_EQ(GetErrorMessageStr(2, buf, 0), nullptr);
    EXPECT_EQ(FormatErrorMessageStr(2, nullptr, 8, "%%s"), nullptr);
}

TEST(FormatErrorText, EscapedPlaceholderTakesTheErrorText) {
    char buf[300];
    EXPECT_EQ(FormatErrorMessageStr(kUnknownCode, buf, sizeof buf, "open %s failed: %%s (%d)", "a.txt", 7), buf);
    EXPECT_EQ(std::string(buf), "open a.txt failed: " + kLongFallback + " (7)");
    // The shared buffer now holds the same error text.
    EXPECT_EQ(GetErrorMessage(kUnknownCode), kLongFallback);
}

TEST(FormatErrorText, PercentSignsMustSurviveBothPasses) {
    char buf[100];
    FormatErrorMessageStr(kUnknownCode, buf, sizeof buf, "%d%%%% done", 50);
    EXPECT_STREQ(buf, "50% done");
}

TEST(FormatErrorText, StrayConversionsInArgumentsPrintThemselves) {
    // An argument that brings conversions of its own must not make the second
    // pass read arguments that do not exist.
    char buf[200];
    FormatErrorMessageStr(kUnknownCode, buf, sizeof buf, "%s", "%d %s %s %*d %n");
    EXPECT_EQ(std::string(buf), "%d " + kLongFallback + " %s %*d %n");
}

TEST(ErrnoText, KnownValuesAreTheRuntimeTextCutTo80) {
    EXPECT_EQ(std::string(sysErrorString(ENOENT)), std::string(std::strerror(ENOENT)).substr(0, 80));
    EXPECT_EQ(std::string(sysErrorString(0)), std::string(std::strerror(0)).substr(0, 80));
    EXPECT_LE(std::strlen(sysErrorString(EACCES)), 80u);
}

TEST(ErrnoText, OutOfRangeValuesGiveTheBareFixedText) {
    EXPECT_STREQ(sysErrorString(-1), "Error number: ");
    EXPECT_STREQ(sysErrorString(100000), "Error number: ");
}

}  // namespace
