// Error texts from the system table and from the product's message library.
// The test library (built with these tests) sits in a folder of its own that
// is added to the DLL search only in the cases that want it found; the other
// cases (errtext_test.cpp) see the text for an unreachable library.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "twcommon/diag.h"

namespace {

constexpr uint32_t kLibraryCode = 60001;  // in the test library's string table
constexpr uint32_t kLibraryLacks = 60002;
const char kLibraryText[] = "Tallowind test text for error sixty thousand and one";

void make_message_library_reachable() {
    char exe[MAX_PATH];
    DWORD n = GetModuleFileNameA(nullptr, exe, MAX_PATH);
    ASSERT_GT(n, 0u);
    std::string dir(exe, n);
    dir = dir.substr(0, dir.find_last_of("\\/")) + "\\twerrmsg";
    ASSERT_NE(GetFileAttributesA((dir + "\\twerrmsg.dll").c_str()), INVALID_FILE_ATTRIBUTES);
    ASSERT_TRUE(SetDllDirectoryA(dir.c_str()));
}

TEST(ErrorTextNT, SystemTextForAKnownNumber) {
    char expected[101];
    ASSERT_NE(FormatMessageA(0x10FF, nullptr, ERROR_FILE_NOT_FOUND, 0, expected, sizeof expected, nullptr), 0u);
    EXPECT_STREQ(GetErrorMessage(ERROR_FILE_NOT_FOUND), expected);
    char buf[200];
    EXPECT_STREQ(GetErrorMessageStr(ERROR_FILE_NOT_FOUND, buf, sizeof buf), expected);
}

TEST(ErrorTextNT, SystemTextThatDoesNotFitFallsBack) {
    // The system refuses to cut its text, so a small buffer takes the fallback.
    char buf[12];
    EXPECT_STREQ(GetErrorMessageStr(ERROR_FILE_NOT_FOUND, buf, sizeof buf), "Error: 2 (i");
}

TEST(ErrorTextNT, LibraryTextForANumberTheSystemLacks) {
    make_message_library_reachable();
    EXPECT_STREQ(GetErrorMessage(kLibraryCode), kLibraryText);
    char buf[200];
    EXPECT_STREQ(GetErrorMessageStr(kLibraryCode, buf, sizeof buf), kLibraryText);
    char formatted[200];
    FormatErrorMessageStr(kLibraryCode, formatted, sizeof formatted, "copy %s: %%s", "x");
    EXPECT_EQ(std::string(formatted), std::string("copy x: ") + kLibraryText);
    // The library is unloaded after each lookup.
    EXPECT_EQ(GetModuleHandleA("twerrmsg.dll"), nullptr);
    char small[9];
    EXPECT_STREQ(GetErrorMessageStr(kLibraryCode, small, sizeof small), "Tallowin");
}

TEST(ErrorTextNT, NumberTheLibraryLacksGivesTheShortFallback) {
    make_message_library_reachable();
    // 125537 is 60001 + 65536: string resources have 16-bit identifiers, so
    // a lookup that dropped the high bits would answer the library's text.
    for (uint32_t code : {kLibraryLacks, kLibraryCode + 0x10000}) {
        const std::string expected = "Error: " + std::to_string(code);
        EXPECT_EQ(GetErrorMessage(code), expected);
        char buf[100];
        EXPECT_EQ(GetErrorMessageStr(code, buf, sizeof buf), expected);
        FormatErrorMessageStr(code, buf, sizeof buf, "%%s");
        EXPECT_EQ(std::string(buf), expected);
    }
}

}  // namespace
