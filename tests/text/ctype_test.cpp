// Character classes and case tables, checked against the C locale's own
// classification of codes 0-127, and byte order.
#include <gtest/gtest.h>

#include <cctype>
#include <climits>

#include "twcommon/text.h"

namespace {

// The class byte each code must carry, from the C library's C locale.
unsigned char expected_class(int c) {
    if (c < 0 || c > 127) return Q_CT_NONASCII;
    unsigned char bits = 0;
    if (std::iscntrl(c)) bits |= Q_CT_CONTROL;
    if (std::isspace(c)) bits |= Q_CT_SPACE;
    if (std::isdigit(c)) bits |= Q_CT_DIGIT;
    if (std::isxdigit(c)) bits |= Q_CT_XDIGIT;
    if (std::isupper(c)) bits |= Q_CT_UPPER;
    if (std::islower(c)) bits |= Q_CT_LOWER;
    if (c == '_') bits |= Q_CT_UNDERSCORE;
    return bits;
}

TEST(Ctype, ClassTableHoldsTheDocumentedBits) {
    for (int c = -1; c <= 255; ++c) EXPECT_EQ(expected_class(c), _Q_Ctypes_[c + 1]) << "code " << c;
}

TEST(Ctype, CaseTablesFoldOnlyAsciiLetters) {
    EXPECT_EQ(-1, _QC_trans_upper_[0]);
    EXPECT_EQ(-1, _QC_trans_lower_[0]);
    for (int c = 0; c <= 255; ++c) {
        int upper = (c >= 'a' && c <= 'z') ? c - 32 : c;
        int lower = (c >= 'A' && c <= 'Z') ? c + 32 : c;
        EXPECT_EQ(upper, _QC_trans_upper_[c + 1]) << "code " << c;
        EXPECT_EQ(lower, _QC_trans_lower_[c + 1]) << "code " << c;
    }
    EXPECT_EQ(0, _QC_trans_upper_[257]);  // the zero word after the upper table
}

TEST(Ctype, ClassFunctionsMatchTheCLocaleOnSevenBitCodes) {
    for (int c = 0; c <= 127; ++c) {
        SCOPED_TRACE(c);
        EXPECT_EQ(!!std::isalpha(c), Q_isalpha(c));
        EXPECT_EQ(!!std::isupper(c), Q_isupper(c));
        EXPECT_EQ(!!std::islower(c), Q_islower(c));
        EXPECT_EQ(!!std::isdigit(c), Q_isdigit(c));
        EXPECT_EQ(!!std::isxdigit(c), Q_isxdigit(c));
        EXPECT_EQ(!!std::isalnum(c), Q_isalnum(c));
        EXPECT_EQ(!!std::isspace(c), Q_isspace(c));
        EXPECT_EQ(!!std::ispunct(c), Q_ispunct(c));
        EXPECT_EQ(!!std::isprint(c), Q_isprint(c));
        EXPECT_EQ(!!std::isgraph(c), Q_isgraph(c));
        EXPECT_EQ(!!std::iscntrl(c), Q_iscntrl(c));
        EXPECT_EQ(std::isalnum(c) || c == '_', Q_iscsym(c));
        EXPECT_EQ(std::isalpha(c) || c == '_', Q_iscsymf(c));
        EXPECT_EQ(1, Q_isascii(c));
        EXPECT_EQ(std::toupper(c), Q_toupper(c));
        EXPECT_EQ(std::tolower(c), Q_tolower(c));
    }
    EXPECT_EQ(1, Q_ispunct('_'));
    EXPECT_EQ(1, Q_isprint(' '));
    EXPECT_EQ(0, Q_isgraph(' '));
}

TEST(Ctype, CodesOutsideSevenBitsAreInNoClassAndNeverFolded) {
    int (*const classes[])(int) = {Q_isalpha, Q_isupper, Q_islower, Q_isdigit, Q_isxdigit,
                                   Q_isalnum, Q_isspace, Q_ispunct, Q_isprint, Q_isgraph,
                                   Q_iscntrl, Q_iscsym, Q_iscsymf, Q_isascii};
    for (int c : {-1, -2, 128, 0xE9, 0xFF, 256, 0x141, 0x161, INT_MIN, INT_MAX}) {
        SCOPED_TRACE(c);
        for (auto is : classes) EXPECT_EQ(0, is(c));
        EXPECT_EQ(c, Q_toupper(c));
        EXPECT_EQ(c, Q_tolower(c));
    }
}

TEST(ByteOrder, SwapsAllEightBytesBothWays) {
    EXPECT_EQ(0x0807060504030201ull, v_htonq(0x0102030405060708ull));
    EXPECT_EQ(0x0102030405060708ull, v_ntohq(0x0807060504030201ull));
    EXPECT_EQ(0xFFull << 56, v_htonq(0xFF));
    EXPECT_EQ(1, v_test_byte_order());
}

}  // namespace
