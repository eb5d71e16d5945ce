// The multibyte conversion under a double-byte code page: a trail byte that
// equals "\" belongs to its character and is not turned into "/". Runs only
// where the ANSI code page is a double-byte one (e.g. 932).
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "twcommon/config.h"

namespace {

TEST(NameDos2UnixMB, TrailBytesAreNotSeparators) {
    if (!IsDBCSLeadByte(0x95)) GTEST_SKIP() << "the ANSI code page " << GetACP() << " has no lead byte 0x95";
    // 0x95 0x5C is one character of code page 932 whose trail byte is "\".
    char out[64];
    name_dos2unixMB(out, "X:\\\x95\x5C\\b", sizeof out);
    EXPECT_EQ(std::string(out), "/X/\x95\x5C/b");
    name_dos2unix(out, "X:\\\x95\x5C\\b", sizeof out);  // byte by byte, for contrast
    EXPECT_EQ(std::string(out), "/X/\x95//b");
    // A character that does not fit whole is left out.
    name_dos2unixMB(out, "ab\x95\x5C", 5);
    EXPECT_EQ(std::string(out), "ab");
}

}  // namespace
