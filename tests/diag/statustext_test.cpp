// Status-code texts: the communication result names, the decorated
// messages, and the device-management error table.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "twcommon/diag.h"

namespace {

TEST(StatusText, CommunicationCodes) {
    const struct {
        int code;
        const char *text;
    } cases[] = {
        {0, "success"},
        {-1, "incoming data too large for buffer"},
        {-2, "connection timed out"},
        {-3, "network read error"},
        {-4, "network write error"},
        {-5, "connection dropped or not connected"},
        {-6, "pipe broken"},
        {-7, "interrupted"},
        {-8, "unexpected interrupt"},
        {-9, "premature end of file encountered"},
        {-10, "unknown error -10"},
        {-11, "unable to allocate memory"},
        {-12, "operation would block"},
        {-13, "unexpected message received"},
        {-14, "unknown error -14"},
        {5, "unknown error 5"},
        {-2147483647 - 1, "unknown error -2147483648"},
    };
    for (const auto &c : cases) EXPECT_STREQ(commerrstr(c.code), c.text) << c.code;
}

TEST(StatusText, DecoratedMessages) {
    EXPECT_STREQ(ERR_TWmsgstr(12, "file open failed"), "file open failed (TW:12)");
    EXPECT_STREQ(ERR_TWmsgstr(-3, ""), " (TW:-3)");
    EXPECT_EQ(std::string(ERR_SYSmsgstr(2)), std::string(std::strerror(2)) + " (SYS:2)");
    EXPECT_STREQ(ERR_SYSmsgstr(99999), "Unknown error:  (SYS:99999)");
    EXPECT_STREQ(ERR_SYSmsgstr(-1), "Unknown error:  (SYS:-1)");
    // Longer than the buffer: cut, never overrun.
    const std::string long_text(3000, 'x');
    EXPECT_EQ(std::strlen(ERR_TWmsgstr(1, long_text.c_str())), 1023u);
}

TEST(StatusText, DeviceErrorTable) {
    // Entries spread over the table: a text lost or added anywhere shifts
    // one of them.
    const struct {
        int index;
        const char *text;
    } cases[] = {
        {0, "Invalid Drive Type/Density"},
        {9, "IPC sequence error"},
        {34, "Request terminated because media is unavailable (in DOWN drive, misplaced, write protected or "
             "unmountable)"},
        {48, "Tape file path exceeds 255 character maximum"},
        {58, "No cleaning tape is defined in the device's robot or 0 cleanings remaining"},
        {71, "Merlow library call failed"},
        {83, "No Error on operation, sideband data only"},
    };
    for (const auto &c : cases) EXPECT_STREQ(ErrStrings[c.index], c.text) << c.index;
    for (int i = 0; i < 84; ++i) {
        ASSERT_NE(ErrStrings[i], nullptr) << i;
        EXPECT_GT(std::strlen(ErrStrings[i]), 0u) << i;
        for (int j = 0; j < i; ++j) EXPECT_STRNE(ErrStrings[i], ErrStrings[j]) << i << " " << j;
    }
}

}  // namespace
