// Bounded copy and append: both widths run through the same typed tests,
// since the wide family follows the 8-bit rules character for character.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/wide.h"
#include "twcommon/text.h"

namespace {

template <typename Char>
struct Family;

template <>
struct Family<char> {
    static inline const auto lcpy = Q_strlcpy;
    static inline const auto lcat = Q_strlcat;
    static inline const auto lncpy = Q_strlncpy;
    static inline const auto lncat = Q_strlncat;
    static inline const auto xncpy = Q_strXncpy;
    static inline const auto verify = Q_strverify;
};

template <>
struct Family<tw_wchar_t> {
    static inline const auto lcpy = Q_wcslcpy;
    static inline const auto lcat = Q_wcslcat;
    static inline const auto lncpy = Q_wcslncpy;
    static inline const auto lncat = Q_wcslncat;
    static inline const auto xncpy = Q_wstrXncpy;
    static inline const auto verify = Q_wstrverify;
};

// A destination pre-filled with a sentinel so that every write is visible.
template <typename Char>
struct Buffer {
    static constexpr Char kSentinel = Char('#');
    std::vector<Char> cells;
    // Without initial text the buffer holds sentinels only, no terminator.
    explicit Buffer(size_t n, const char *initial = nullptr) : cells(n, kSentinel) {
        if (!initial) return;
        auto s = twtest::text<Char>(initial);
        std::copy(s.begin(), s.end(), cells.begin());
        if (s.size() < n) cells[s.size()] = 0;
    }
    Char *data() { return cells.data(); }
    std::basic_string<Char> str() const { return std::basic_string<Char>(cells.data()); }
    // The cells as text, zeros shown as '0' and the sentinel as '#'.
    std::string dump() const {
        std::string out;
        for (Char c : cells) out.push_back(c == 0 ? '0' : char(c));
        return out;
    }
};

template <typename Char>
class BoundedStrings : public ::testing::Test {
protected:
    using F = Family<Char>;
    static std::basic_string<Char> T(const char *s) { return twtest::text<Char>(s); }
};

using Widths = ::testing::Types<char, tw_wchar_t>;
TYPED_TEST_SUITE(BoundedStrings, Widths);

TYPED_TEST(BoundedStrings, CopyStopsAtSizeMinusOneAndTerminates) {
    using F = typename TestFixture::F;
    Buffer<TypeParam> b(6);
    EXPECT_EQ(3, F::lcpy(b.data(), this->T("abcdef").c_str(), 4));
    EXPECT_EQ("abc0##", b.dump());
    EXPECT_EQ(0, F::lcpy(b.data(), this->T("abcdef").c_str(), 1));
    EXPECT_EQ("0bc0##", b.dump());
    EXPECT_EQ(2, F::lcpy(b.data(), this->T("xy").c_str(), 6));
    EXPECT_EQ("xy0", b.dump().substr(0, 3));
}

TYPED_TEST(BoundedStrings, CopyNeverReadsPastTheBoundOfAnUnterminatedSource) {
    using F = typename TestFixture::F;
    // Exactly size-1 characters and no terminator: the source's length is
    // never measured (AddressSanitizer would see a read past the array).
    std::vector<TypeParam> source(3, TypeParam('z'));
    Buffer<TypeParam> b(8);
    EXPECT_EQ(3, F::lcpy(b.data(), source.data(), 4));
    EXPECT_EQ(this->T("zzz"), b.str());
}

TYPED_TEST(BoundedStrings, NullPointersAndZeroSizesWriteNothing) {
    using F = typename TestFixture::F;
    Buffer<TypeParam> b(4, "ab");
    const std::string before = b.dump();
    auto src = this->T("xyz");
    EXPECT_EQ(0, F::lcpy(b.data(), src.c_str(), 0));
    EXPECT_EQ(0, F::lcpy(b.data(), nullptr, 4));
    EXPECT_EQ(0, F::lcpy(nullptr, src.c_str(), 4));
    EXPECT_EQ(0, F::lcat(b.data(), src.c_str(), 0));
    EXPECT_EQ(0, F::lcat(b.data(), nullptr, 4));
    EXPECT_EQ(0, F::lcat(nullptr, src.c_str(), 4));
    EXPECT_EQ(0, F::lncpy(b.data(), src.c_str(), 2, 0));
    EXPECT_EQ(0, F::lncpy(b.data(), nullptr, 2, 4));
    EXPECT_EQ(0, F::lncpy(nullptr, src.c_str(), 2, 4));
    EXPECT_EQ(0, F::lncat(b.data(), nullptr, 2, 4));
    EXPECT_EQ(0, F::lncat(nullptr, src.c_str(), 2, 4));
    EXPECT_EQ(0, F::xncpy(b.data(), src.c_str(), 0, 4));
    EXPECT_EQ(0, F::xncpy(b.data(), nullptr, 2, 4));
    EXPECT_EQ(0, F::xncpy(nullptr, src.c_str(), 2, 4));
    EXPECT_EQ(before, b.dump());
}

TYPED_TEST(BoundedStrings, AppendReturnsOnlyWhatWasAppended) {
    using F = typename TestFixture::F;
    Buffer<TypeParam> b(12, "abcdefgh");
    EXPECT_EQ(1, F::lcat(b.data(), this->T("XYZ").c_str(), 10));
    EXPECT_EQ("abcdefghX0##", b.dump());

    Buffer<TypeParam> full(12, "abcdefgh");
    EXPECT_EQ(0, F::lcat(full.data(), this->T("XYZ").c_str(), 9));  // room for the terminator only
    EXPECT_EQ("abcdefgh0###", full.dump());

    Buffer<TypeParam> roomy(12, "ab");
    EXPECT_EQ(3, F::lcat(roomy.data(), this->T("cde").c_str(), 12));
    EXPECT_EQ(this->T("abcde"), roomy.str());
}

TYPED_TEST(BoundedStrings, AppendToAnUnterminatedDestinationChangesNothing) {
    using F = typename TestFixture::F;
    Buffer<TypeParam> b(4, "abcd");  // no terminator within the 4 cells
    EXPECT_EQ(0, F::lcat(b.data(), this->T("x").c_str(), 4));
    EXPECT_EQ("abcd", b.dump());
}

TYPED_TEST(BoundedStrings, CountedCopyCountsTheZeroFill) {
    using F = typename TestFixture::F;
    Buffer<TypeParam> b(10);
    EXPECT_EQ(5, F::lncpy(b.data(), this->T("ab").c_str(), 5, 10));
    EXPECT_EQ("ab0000####", b.dump());  // three fill zeros, then the terminator at [5]

    Buffer<TypeParam> small(6);
    EXPECT_EQ(3, F::lncpy(small.data(), this->T("abcdefgh").c_str(), 20, 4));
    EXPECT_EQ("abc0##", small.dump());

    Buffer<TypeParam> cut(10);
    EXPECT_EQ(3, F::lncpy(cut.data(), this->T("abcdefgh").c_str(), 3, 10));
    EXPECT_EQ("abc0######", cut.dump());

    Buffer<TypeParam> none(4);
    EXPECT_EQ(0, F::lncpy(none.data(), this->T("abc").c_str(), 0, 4));
    EXPECT_EQ("0###", none.dump());
}

TYPED_TEST(BoundedStrings, CountedAppendTakesAtMostNCharacters) {
    using F = typename TestFixture::F;
    Buffer<TypeParam> b(16, "abc");
    EXPECT_EQ(2, F::lncat(b.data(), this->T("defgh").c_str(), 2, 16));
    EXPECT_EQ(this->T("abcde"), b.str());
    // The whole buffer bounds it too.
    EXPECT_EQ(2, F::lncat(b.data(), this->T("XYZ").c_str(), 10, 8));
    EXPECT_EQ(this->T("abcdeXY"), b.str());
    // n = 0 leaves room for the terminator only.
    EXPECT_EQ(0, F::lncat(b.data(), this->T("Q").c_str(), 0, 16));
    EXPECT_EQ(this->T("abcdeXY"), b.str());
}

TYPED_TEST(BoundedStrings, FieldCopyIsExactWidthAndNotNecessarilyTerminated) {
    using F = typename TestFixture::F;
    Buffer<TypeParam> b(10);
    EXPECT_EQ(4, F::xncpy(b.data(), this->T("abcdef").c_str(), 4, 10));
    EXPECT_EQ("abcd######", b.dump());

    Buffer<TypeParam> padded(10);
    EXPECT_EQ(6, F::xncpy(padded.data(), this->T("ab").c_str(), 6, 10));
    EXPECT_EQ("ab0000####", padded.dump());

    Buffer<TypeParam> bounded(10);
    EXPECT_EQ(3, F::xncpy(bounded.data(), this->T("abcdef").c_str(), 8, 3));
    EXPECT_EQ("abc#######", bounded.dump());

    Buffer<TypeParam> zero_size(4);
    EXPECT_EQ(0, F::xncpy(zero_size.data(), this->T("abc").c_str(), 3, 0));
    EXPECT_EQ("####", zero_size.dump());
}

TYPED_TEST(BoundedStrings, VerifyFindsTheTerminatorWithinSize) {
    using F = typename TestFixture::F;
    Buffer<TypeParam> b(6, "abc");
    unsigned length = 99;
    EXPECT_EQ(0, F::verify(b.data(), 6, &length));
    EXPECT_EQ(3u, length);
    EXPECT_EQ(0, F::verify(b.data(), 4, nullptr));
    length = 99;
    EXPECT_EQ(-1, F::verify(b.data(), 3, &length));
    EXPECT_EQ(0u, length);  // reset even when nothing is found
    length = 99;
    EXPECT_EQ(-1, F::verify(nullptr, 6, &length));
    EXPECT_EQ(0u, length);
    EXPECT_EQ(-1, F::verify(b.data(), 0, &length));
}

}  // namespace
