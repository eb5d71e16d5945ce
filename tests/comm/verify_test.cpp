// verify_string: printable ASCII and well-formed UTF-8 within a length, and
// the DISABLE_BUFFER_CHECK file that turns the test off.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "../support/registry_fixture.h"
#include "../support/scratch.h"
#include "twcommon/comm.h"

namespace {

struct Row {
    const char *text;
    int maxlen;
    int result;
};

const Row kRows[] = {
    {"plain text ~!", 100, 0},
    {"", 5, 0},
    {"tab\there", 100, -1},
    {"line\n", 100, -1},
    {"\x7f", 5, -1},
    {"\x01", 0, 0},                    // no length: accepted
    {"\x01", -3, 0},
    {"abc\x01", 3, 0},                 // the control character lies past maxlen
    {"\xc3\xa9t\xc3\xa9", 100, 0},     // two-byte sequences
    {"\xe2\x82\xac", 3, 0},            // three bytes, ending exactly at maxlen
    {"\xe2\x82\xac", 2, -1},           // ...and one past it
    {"\xf0\x9f\x98\x80", 4, 0},
    {"\xf8\x88\x80\x80\x80", 5, 0},    // the old five- and six-byte forms
    {"\xfc\x84\x80\x80\x80\x80", 6, 0},
    {"\xc3", 5, -1},                   // cut short by the terminator
    {"\xe2\x82", 5, -1},
    {"\xc3\x41", 5, -1},               // a lead byte without its continuation
    {"\x80", 5, -1},                   // a stray continuation byte
    {"a\xbf", 5, -1},
    {"\xfe", 5, -1},
    {"\xff", 5, -1},
    {nullptr, 5, -1},
};

TEST(VerifyString, Table) {
    for (const auto &row : kRows)
        EXPECT_EQ(verify_string(row.text, row.maxlen), row.result) << (row.text ? row.text : "(null)") << " / "
                                                                   << row.maxlen;
}

TEST(VerifyString, DisableBufferCheckFileAcceptsEverything) {
    twtest::ScratchDir dir;
    twtest::RegistryFixture registry;
    registry.set_path("BP_DIR", dir.path());
    EXPECT_EQ(verify_string("\x01", 5), -1);
    std::string flag = dir.file("DISABLE_BUFFER_CHECK");
    std::FILE *file = std::fopen(flag.c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fclose(file);
    EXPECT_EQ(verify_string("\x01", 5), 0);
    EXPECT_EQ(verify_string("\xff", 5), 0);
    std::remove(flag.c_str());
    EXPECT_EQ(verify_string("\x01", 5), -1);
}

}  // namespace
