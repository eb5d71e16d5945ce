// UTF-8 and wide-character conversion.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "support/alloc_hook.h"
#include "support/wide.h"
#include "twcommon/text.h"

namespace {

using twtest::WideString;
using Wide32 = std::basic_string<tw_wchar32_t>;

std::string to_utf8(const WideString &w, size_t size = 64) {
    std::string out(size + 1, '\x7F');  // one guard byte past size
    size_t n = utf8_wcstombs(&out[0], w.c_str(), size);
    EXPECT_EQ(out[size], '\x7F') << "wrote past size";
    EXPECT_LE(n, size);
    if (n < size) {
        EXPECT_EQ(out[n], '\0') << "not terminated with room left";
    }
    return out.substr(0, n);
}

WideString to_wide(const std::string &s, size_t size = 64) {
    WideString out(size + 1, tw_wchar_t(0x7F));
    size_t n = utf8_mbstowcs(&out[0], s.c_str(), size);
    EXPECT_EQ(out[size], tw_wchar_t(0x7F)) << "wrote past size";
    EXPECT_LE(n, size);
    if (n < size) {
        EXPECT_EQ(out[n], 0) << "not terminated with room left";
    }
    return out.substr(0, n);
}

const WideString kEAcuteEuro = {0x00E9, 0x20AC};
const WideString kGrinning = {0xD83D, 0xDE00};

TEST(Utf8WideToUtf8, LengthsAndBytes) {
    EXPECT_EQ(utf8_wcstombs_len(kEAcuteEuro.c_str()), 5u);
    EXPECT_EQ(to_utf8(kEAcuteEuro), "\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(to_utf8(TW_WIDE("plain")), "plain");
    EXPECT_EQ(to_utf8(WideString{0x7F, 0x80, 0x7FF, 0x800, 0xFFFF}), "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
    EXPECT_EQ(utf8_wcstombs_len(nullptr), 0u);
    EXPECT_EQ(utf8_wcstombs(nullptr, kEAcuteEuro.c_str(), 10), 0u);
}

TEST(Utf8WideToUtf8, SurrogatePairsAndTheNarrowHighRange) {
    EXPECT_EQ(to_utf8(kGrinning), "\xF0\x9F\x98\x80");
    EXPECT_EQ(utf8_wcstombs_len(kGrinning.c_str()), 4u);
    // 0xD800 and 0xDBFF are not taken as high halves: two three-byte characters.
    EXPECT_EQ(to_utf8(WideString{0xD800, 0xDC00}), "\xED\xA0\x80\xED\xB0\x80");
    EXPECT_EQ(to_utf8(WideString{0xDBFF, 0xDFFF}), "\xED\xAF\xBF\xED\xBF\xBF");
    EXPECT_EQ(utf8_wcstombs_len(WideString{0xD800, 0xDC00}.c_str()), 6u);
    // Their neighbours are.
    EXPECT_EQ(to_utf8(WideString{0xD801, 0xDC00}), "\xF0\x90\x90\x80");
    EXPECT_EQ(to_utf8(WideString{0xDBFE, 0xDFFF}), "\xF4\x8F\xAF\xBF");
    // A high half without its low half stays alone.
    EXPECT_EQ(to_utf8(WideString{0xD83D, 'a'}), "\xED\xA0\xBD" "a");
}

TEST(Utf8WideToUtf8, StopsBeforeACharacterThatDoesNotFit) {
    EXPECT_EQ(to_utf8(kEAcuteEuro, 5), "\xC3\xA9\xE2\x82\xAC");  // exact fit, no terminator
    EXPECT_EQ(to_utf8(kEAcuteEuro, 4), "\xC3\xA9");
    EXPECT_EQ(to_utf8(kEAcuteEuro, 2), "\xC3\xA9");
    EXPECT_EQ(to_utf8(kEAcuteEuro, 1), "");
    EXPECT_EQ(to_utf8(kGrinning, 3), "");  // a pair is one character
    EXPECT_EQ(to_utf8(TW_WIDE("abc"), 2), "ab");
    EXPECT_EQ(to_utf8(TW_WIDE("abc"), 0), "");
}

TEST(Utf8Utf8ToWide, DecodesAndSplitsIntoPairs) {
    EXPECT_EQ(to_wide("\xC3\xA9\xE2\x82\xAC"), kEAcuteEuro);
    EXPECT_EQ(to_wide("\xF0\x9F\x98\x80"), kGrinning);
    EXPECT_EQ(utf8_mbstowcs_len("\xF0\x9F\x98\x80" "a"), 3u);
    EXPECT_EQ(utf8_mbstowcs_len("\xC3\xA9\xE2\x82\xAC"), 2u);
    // Continuation bytes are not checked: C3 41 decodes as one character.
    EXPECT_EQ(to_wide("\xC3\x41"), WideString{0x81});
    // Above 0x10FFFF (a four-byte and a five-byte form) gives U+FFFD.
    EXPECT_EQ(to_wide("\xF4\x90\x80\x80"), WideString{0xFFFD});
    EXPECT_EQ(to_wide("\xF8\x88\x80\x80\x80" "z"), (WideString{0xFFFD, 'z'}));
    EXPECT_EQ(utf8_mbstowcs_len("\xF4\x90\x80\x80"), 1u);
    EXPECT_EQ(to_wide("\xF4\x8F\xBF\xBF"), (WideString{0xDBFF, 0xDFFF}));
    // A sequence cut short by the end of the text ends it.
    EXPECT_EQ(to_wide("ab\xE2\x82"), TW_WIDE("ab"));
    EXPECT_EQ(utf8_mbstowcs_len("ab\xE2\x82"), 2u);
    EXPECT_EQ(utf8_mbstowcs_len(nullptr), 0u);
}

TEST(Utf8Utf8ToWide, RoomForPairsAndTerminator) {
    EXPECT_EQ(to_wide("a\xF0\x9F\x98\x80", 3), (WideString{'a', 0xD83D, 0xDE00}));  // exact fit
    EXPECT_EQ(to_wide("a\xF0\x9F\x98\x80", 2), TW_WIDE("a"));  // the pair ends it
    EXPECT_EQ(to_wide("\xF0\x9F\x98\x80" "b", 2), kGrinning);
    EXPECT_EQ(to_wide("abc", 2), TW_WIDE("ab"));
    EXPECT_EQ(to_wide("abc", 0), TW_WIDE(""));
}

TEST(Utf8Wide32, WholeValuesBothWays) {
    Wide32 text = {'a', 0xE9, 0x1F600, 0x10FFFF};
    char buf[32];
    size_t n = utf8_wcstombs32(buf, text.c_str(), sizeof buf);
    EXPECT_EQ(std::string(buf, n), "a\xC3\xA9\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF");
    EXPECT_EQ(utf8_wcstombs32_len(text.c_str()), n);
    tw_wchar32_t back[8];
    EXPECT_EQ(utf8_mbstowcs32(back, buf, 8), 4u);
    EXPECT_EQ(Wide32(back), text);
    // Long forms up to six bytes, and the two-byte count from 0x7FFFFFFF on.
    Wide32 large = {0x200000, 0x4000000, 0x7FFFFFFE};
    EXPECT_EQ(utf8_wcstombs32_len(large.c_str()), 5u + 6u + 6u);
    n = utf8_wcstombs32(buf, large.c_str(), sizeof buf);
    EXPECT_EQ(std::string(buf, n), "\xF8\x88\x80\x80\x80\xFC\x84\x80\x80\x80\x80\xFD\xBF\xBF\xBF\xBF\xBE");
    EXPECT_EQ(utf8_mbstowcs32(back, buf, 8), 3u);
    EXPECT_EQ(Wide32(back), large);
    EXPECT_EQ(utf8_wcstombs32_len(Wide32{0x7FFFFFFF, 0xFFFFFFFF}.c_str()), 4u);
    // Surrogate values are single characters in this form.
    EXPECT_EQ(utf8_wcstombs32_len(Wide32{0xD83D, 0xDE00}.c_str()), 6u);
    // Bounds: exact fit without terminator, one short stops before.
    EXPECT_EQ(utf8_wcstombs32(buf, Wide32{0x1F600}.c_str(), 4), 4u);
    EXPECT_EQ(utf8_wcstombs32(buf, Wide32{0x1F600}.c_str(), 3), 0u);
    EXPECT_EQ(buf[0], '\0');
    EXPECT_EQ(utf8_mbstowcs32(back, "abc", 2), 2u);
}

TEST(Utf8Filler, SpacesBecomeTheOverLongFormAndDecodeBack) {
    char buf[16];
    EXPECT_EQ(utf8_filler(buf, "a b", sizeof buf), 5u);
    EXPECT_STREQ(buf, "a\xE0\x80\xA0" "b");
    EXPECT_EQ(to_wide(buf), TW_WIDE("a b"));
    EXPECT_EQ(utf8_mbstowcs_len(buf), 3u);
    // Always terminated; a filler that does not fit whole is left out.
    EXPECT_EQ(utf8_filler(buf, "a b", 4), 1u);
    EXPECT_STREQ(buf, "a");
    EXPECT_EQ(utf8_filler(buf, "a b", 5), 4u);
    EXPECT_EQ(utf8_filler(buf, "abc", 3), 2u);
    EXPECT_STREQ(buf, "ab");
    EXPECT_EQ(utf8_filler(buf, nullptr, 3), 0u);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(utf8_filler(buf, "abc", 0), 0u);
}

TEST(Utf8Filler, WideToFillerForm) {
    char buf[16];
    EXPECT_EQ(utf8_wcstombs_ex(buf, TW_WIDE("\u00e9 x"), sizeof buf), 6u);
    EXPECT_STREQ(buf, "\xC3\xA9\xE0\x80\xA0x");
    EXPECT_EQ(utf8_wcstombs_ex(buf, TW_WIDE("\u00e9 x"), 4), 2u);
    EXPECT_STREQ(buf, "\xC3\xA9");
    // The temporary is size + 1, so a text that exactly fills size still fits.
    EXPECT_EQ(utf8_wcstombs_ex(buf, TW_WIDE("abc"), 4), 3u);
    EXPECT_STREQ(buf, "abc");
    twtest::FailAllocation fail(1);
    EXPECT_EQ(utf8_wcstombs_ex(buf, TW_WIDE("abc"), sizeof buf), 0u);
    EXPECT_STREQ(buf, "");
}

TEST(Utf8Allocating, FillerCopyAndWideCopy) {
    char *filled = utf8_char_to_utf8("  x ");
    ASSERT_NE(filled, nullptr);
    EXPECT_STREQ(filled, "\xE0\x80\xA0\xE0\x80\xA0x\xE0\x80\xA0");
    tw_wchar_t *wide = utf8_wchar_from_utf8(filled);
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(WideString(wide), TW_WIDE("  x "));
    std::free(wide);
    std::free(filled);

    wide = utf8_wchar_from_utf8("\xF0\x9F\x98\x80");
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(WideString(wide), kGrinning);
    std::free(wide);
    filled = utf8_char_to_utf8("");
    ASSERT_NE(filled, nullptr);
    EXPECT_STREQ(filled, "");
    std::free(filled);
    EXPECT_EQ(utf8_char_to_utf8(nullptr), nullptr);
    EXPECT_EQ(utf8_wchar_from_utf8(nullptr), nullptr);
}

TEST(Utf8Allocating, NullWhenMemoryRunsOut) {
    int failures = twtest::for_each_allocation_failure(
        [] {
            char *filled = utf8_char_to_utf8("a b");
            tw_wchar_t *wide = filled ? utf8_wchar_from_utf8(filled) : nullptr;
            if (filled && wide) {
                EXPECT_EQ(WideString(wide), TW_WIDE("a b"));
            }
            std::free(wide);
            std::free(filled);
        },
        [](bool) {});
    EXPECT_EQ(failures, 2);
    {
        twtest::FailAllocation fail(1);
        EXPECT_EQ(utf8_char_to_utf8("x"), nullptr);
    }
    twtest::FailAllocation fail(1);
    EXPECT_EQ(utf8_wchar_from_utf8("x"), nullptr);
}

TEST(QUnicodeToUTF, AllOrNothing) {
    char buf[8];
    EXPECT_EQ(Q_UnicodeToUTF(buf, TW_WIDE("hello"), 5), 1);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(Q_UnicodeToUTF(buf, TW_WIDE("hello"), 6), 0);
    EXPECT_STREQ(buf, "hello");
    // Failing in the middle of a character empties the buffer as well.
    EXPECT_EQ(Q_UnicodeToUTF(buf, kEAcuteEuro.c_str(), 5), 1);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(Q_UnicodeToUTF(buf, kEAcuteEuro.c_str(), 6), 0);
    EXPECT_STREQ(buf, "\xC3\xA9\xE2\x82\xAC");
    // Pairs are not combined: each half is three bytes.
    EXPECT_EQ(Q_UnicodeToUTF(buf, kGrinning.c_str(), 7), 0);
    EXPECT_STREQ(buf, "\xED\xA0\xBD\xED\xB8\x80");
    EXPECT_EQ(KRNameUnicode2UTF(buf, TW_WIDE("ab"), 3), 0);
    EXPECT_STREQ(buf, "ab");
    // No source or no size: empty and 0.
    EXPECT_EQ(Q_UnicodeToUTF(buf, nullptr, sizeof buf), 0);
    EXPECT_STREQ(buf, "");
    buf[0] = 'x';
    EXPECT_EQ(Q_UnicodeToUTF(buf, TW_WIDE("a"), 0), 0);
    EXPECT_EQ(buf[0], 'x');
    EXPECT_EQ(Q_UnicodeToUTF(nullptr, TW_WIDE("a"), 4), 1);
}

TEST(QUTFToUnicode, StrictWithAnsiFallBack) {
    tw_wchar_t buf[8];
    EXPECT_EQ(Q_UTFToUnicode(buf, "\xC3\xA9\xE2\x82\xAC", 8), 0);
    EXPECT_EQ(WideString(buf), kEAcuteEuro);
    EXPECT_EQ(Q_UTFToUnicode(buf, "abc", 4), 0);
    EXPECT_EQ(Q_UTFToUnicode(buf, "abcd", 4), 1);  // length must be below size
    EXPECT_EQ(WideString(buf), TW_WIDE(""));
    // Not valid UTF-8: the ANSI code page (Windows-1252) decides.
    EXPECT_EQ(Q_UTFToUnicode(buf, "\xE9", 8), 1);
    EXPECT_EQ(WideString(buf), WideString{0xE9});
    EXPECT_EQ(Q_UTFToUnicode(buf, "a\x80", 8), 1);
    EXPECT_EQ(WideString(buf), (WideString{'a', 0x20AC}));
    // Four-byte forms and bad continuations are not accepted strictly.
    EXPECT_EQ(Q_UTFToUnicode(buf, "\xF0\x9F\x98\x80", 8), 1);
    EXPECT_EQ(Q_UTFToUnicode(buf, "\xC3\x41", 8), 1);
    EXPECT_EQ(Q_UTFToUnicode(buf, "\xE2\x82", 8), 1);
    // The fall-back too leaves the buffer empty when it does not fit.
    EXPECT_EQ(Q_UTFToUnicode(buf, "\xE9\xE9\xE9\xE9", 3), 1);
    EXPECT_EQ(buf[0], 0);
    EXPECT_EQ(Q_UTFToUnicode(nullptr, "a", 4), 1);
    EXPECT_EQ(Q_UTFToUnicode(buf, nullptr, 4), 1);
    EXPECT_EQ(Q_UTF2Unicode(buf, "\xC3\xA9", 8), 0);
    EXPECT_EQ(WideString(buf), WideString{0xE9});
    EXPECT_EQ(Q_UTF2Unicode(buf, "\xE9", 8), 1);
    EXPECT_EQ(WideString(buf), WideString{0xE9});
}

TEST(Ucs1Names, EncodeAndDecode) {
    char buf[64];
    EXPECT_EQ(ucs1_to_utf8("a b", buf), 4u);
    EXPECT_STREQ(buf, "a\xC0\xA0" "b");
    EXPECT_EQ(ucs1_to_utf8_v2("a b", buf), 3u);
    EXPECT_STREQ(buf, "a b");
    ucs1_to_utf8("Az09+-./:\\_", buf);
    EXPECT_STREQ(buf, "Az09+-./:\\_");
    ucs1_to_utf8("!\xE9\xFF", buf);
    EXPECT_STREQ(buf, "\xC0\xA1\xC3\xA9\xC3\xBF");
    EXPECT_EQ(ucs1_to_utf8("", buf), 0u);
    EXPECT_STREQ(buf, "");
    ucs1_to_utf8(nullptr, buf);
    ucs1_to_utf8("x", nullptr);

    // Every byte survives the round trip.
    std::string all;
    for (int b = 1; b < 256; ++b) all += char(b);
    std::string encoded(all.size() * 2 + 1, '\0');
    ucs1_to_utf8(all.c_str(), &encoded[0]);
    std::string decoded(all.size() + 1, '\0');
    EXPECT_EQ(utf8_to_ucs1(encoded.c_str(), &decoded[0]), all.size());
    EXPECT_EQ(decoded.c_str(), all);

    // Three-byte forms keep their low eight bits; stray bytes are copied.
    EXPECT_EQ(utf8_to_ucs1("\xE2\x82\xAC" "\x80\xF5", buf), 3u);
    EXPECT_STREQ(buf, "\xAC\x80\xF5");
    EXPECT_EQ(utf8_to_ucs1("a\xC3", buf), 1u);
    EXPECT_STREQ(buf, "a");
}

}  // namespace
