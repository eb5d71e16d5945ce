#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/alloc_hook.h"
#include "twcommon/locale.h"

namespace {

struct Node {
    std::string text;
    int kind, width_arg, precision_arg, arg, offset, length;
};

struct Scan {
    int problems;
    std::vector<Node> nodes;
};

Scan scan(const char *format) {
    ConvSpec *list = reinterpret_cast<ConvSpec *>(1);
    Scan result{scanFmtString(format, &list), {}};
    for (ConvSpec *n = list; n; n = n->next)
        result.nodes.push_back({n->text, n->kind, n->width_arg, n->precision_arg, n->arg, n->offset, n->length});
    freeConvSpecList(list);
    return result;
}

TEST(ScanFmtString, PlainConversionsNumberTheirArgumentsInOrder) {
    Scan s = scan("%d %s");
    EXPECT_EQ(s.problems, 0);
    ASSERT_EQ(s.nodes.size(), 2u);
    EXPECT_EQ(s.nodes[0].text, "%d");
    EXPECT_EQ(s.nodes[0].kind, CONVSPEC_INT);
    EXPECT_EQ(s.nodes[0].arg, 1);
    EXPECT_EQ(s.nodes[0].offset, 0);
    EXPECT_EQ(s.nodes[0].length, 2);
    EXPECT_EQ(s.nodes[1].text, "%s");
    EXPECT_EQ(s.nodes[1].kind, CONVSPEC_STRING);
    EXPECT_EQ(s.nodes[1].arg, 2);
    EXPECT_EQ(s.nodes[1].offset, 3);
    EXPECT_EQ(s.nodes[0].width_arg, -1);
    EXPECT_EQ(s.nodes[0].precision_arg, -1);
}

TEST(ScanFmtString, EveryConversionLetterHasItsKind) {
    struct {
        const char *format;
        int kind;
    } cases[] = {
        {"%S", CONVSPEC_STRING},  {"%p", CONVSPEC_STRING}, {"%s", CONVSPEC_STRING}, {"%C", CONVSPEC_INT},
        {"%c", CONVSPEC_INT},     {"%X", CONVSPEC_INT},    {"%d", CONVSPEC_INT},    {"%i", CONVSPEC_INT},
        {"%o", CONVSPEC_INT},     {"%u", CONVSPEC_INT},    {"%x", CONVSPEC_INT},    {"%E", CONVSPEC_DOUBLE},
        {"%G", CONVSPEC_DOUBLE},  {"%e", CONVSPEC_DOUBLE}, {"%f", CONVSPEC_DOUBLE}, {"%g", CONVSPEC_DOUBLE},
        {"%I64d", CONVSPEC_INT64}, {"%I64x", CONVSPEC_INT64}, {"%m", CONVSPEC_ERRNO}, {"%%", CONVSPEC_PERCENT},
        {"%n", CONVSPEC_COUNT},
    };
    for (const auto &c : cases) {
        Scan s = scan(c.format);
        EXPECT_EQ(s.problems, 0) << c.format;
        ASSERT_EQ(s.nodes.size(), 1u) << c.format;
        EXPECT_EQ(s.nodes[0].kind, c.kind) << c.format;
        EXPECT_EQ(s.nodes[0].length, int(std::string(c.format).size())) << c.format;
    }
}

TEST(ScanFmtString, SpecTextRewritesMAndWAndEmptiesN) {
    Scan s = scan("%-20m|%ws|%n|%I64u|%5.2Lf|%hd|%%");
    EXPECT_EQ(s.problems, 0);
    ASSERT_EQ(s.nodes.size(), 7u);
    EXPECT_EQ(s.nodes[0].text, "%-20s");
    EXPECT_EQ(s.nodes[1].text, "%ls");
    EXPECT_EQ(s.nodes[2].text, "");
    EXPECT_EQ(s.nodes[3].text, "%I64u");
    EXPECT_EQ(s.nodes[4].text, "%5.2Lf");
    EXPECT_EQ(s.nodes[5].text, "%hd");
    EXPECT_EQ(s.nodes[6].text, "%%");
}

TEST(ScanFmtString, ErrnoAndPercentTakeNoArgument) {
    Scan s = scan("%m %d %% %s %n %x");
    EXPECT_EQ(s.problems, 0);
    ASSERT_EQ(s.nodes.size(), 6u);
    EXPECT_EQ(s.nodes[0].kind, CONVSPEC_ERRNO);
    EXPECT_EQ(s.nodes[0].arg, -1);
    EXPECT_EQ(s.nodes[1].arg, 1);
    EXPECT_EQ(s.nodes[2].arg, -1);
    EXPECT_EQ(s.nodes[3].arg, 2);
    EXPECT_EQ(s.nodes[4].arg, 3);  // %n takes its pointer
    EXPECT_EQ(s.nodes[5].arg, 4);
}

TEST(ScanFmtString, StarsTakeArgumentsBeforeTheValue) {
    Scan s = scan("%*d");
    ASSERT_EQ(s.nodes.size(), 1u);
    EXPECT_EQ(s.nodes[0].width_arg, 1);
    EXPECT_EQ(s.nodes[0].arg, 2);
    EXPECT_EQ(s.nodes[0].text, "%*d");

    s = scan("%-*.*s %.*f %d");
    EXPECT_EQ(s.problems, 0);
    ASSERT_EQ(s.nodes.size(), 3u);
    EXPECT_EQ(s.nodes[0].width_arg, 1);
    EXPECT_EQ(s.nodes[0].precision_arg, 2);
    EXPECT_EQ(s.nodes[0].arg, 3);
    EXPECT_EQ(s.nodes[1].width_arg, -1);
    EXPECT_EQ(s.nodes[1].precision_arg, 4);
    EXPECT_EQ(s.nodes[1].arg, 5);
    EXPECT_EQ(s.nodes[2].arg, 6);
}

TEST(ScanFmtString, PositionalFormsDropTheirNumbersFromTheSpecText) {
    Scan s = scan("%2$s %1$d");
    EXPECT_EQ(s.problems, 0);
    ASSERT_EQ(s.nodes.size(), 2u);
    EXPECT_EQ(s.nodes[0].arg, 2);
    EXPECT_EQ(s.nodes[0].text, "%s");
    EXPECT_EQ(s.nodes[0].length, 4);
    EXPECT_EQ(s.nodes[1].arg, 1);
    EXPECT_EQ(s.nodes[1].text, "%d");

    s = scan("%3$-*1$.*2$f|%12$05x");
    EXPECT_EQ(s.problems, 0);
    ASSERT_EQ(s.nodes.size(), 2u);
    EXPECT_EQ(s.nodes[0].text, "%-*.*f");
    EXPECT_EQ(s.nodes[0].width_arg, 1);
    EXPECT_EQ(s.nodes[0].precision_arg, 2);
    EXPECT_EQ(s.nodes[0].arg, 3);
    EXPECT_EQ(s.nodes[0].length, 12);
    EXPECT_EQ(s.nodes[1].text, "%05x");
    EXPECT_EQ(s.nodes[1].arg, 12);
    EXPECT_EQ(s.nodes[1].offset, 13);
}

TEST(ScanFmtString, WidthDigitsWithoutDollarStayAWidth) {
    Scan s = scan("%10d%010.3f%+ #5x%-08.3e");
    EXPECT_EQ(s.problems, 0);
    ASSERT_EQ(s.nodes.size(), 4u);
    EXPECT_EQ(s.nodes[0].text, "%10d");
    EXPECT_EQ(s.nodes[1].text, "%010.3f");
    EXPECT_EQ(s.nodes[2].text, "%+ #5x");
    EXPECT_EQ(s.nodes[3].text, "%-08.3e");
    for (int i = 0; i < 4; ++i) EXPECT_EQ(s.nodes[size_t(i)].arg, i + 1);
}

TEST(ScanFmtString, MalformedSpecificationsAreCountedAndScanningResumes) {
    Scan s = scan("%lld");
    EXPECT_EQ(s.problems, 1);
    EXPECT_TRUE(s.nodes.empty());

    // Each bad one adds a problem and no node; the good ones around it still count.
    s = scan("%d %y %$d %5*d %s %");
    EXPECT_EQ(s.problems, 4);
    ASSERT_EQ(s.nodes.size(), 2u);
    EXPECT_EQ(s.nodes[0].arg, 1);
    EXPECT_EQ(s.nodes[1].text, "%s");
    EXPECT_EQ(s.nodes[1].arg, 2);  // malformed ones do not consume numbers

    // "*5" must be followed by '$'; the offending character is consumed.
    s = scan("%*5d%d");
    EXPECT_EQ(s.problems, 1);
    ASSERT_EQ(s.nodes.size(), 1u);
    EXPECT_EQ(s.nodes[0].offset, 4);

    // I alone, or with another width, is no size.
    s = scan("%I32d %Id %hI64d");
    EXPECT_EQ(s.problems, 3);
    EXPECT_TRUE(s.nodes.empty());
}

TEST(ScanFmtString, PercentEndsASpecificationAnywhereASizeMayEnd) {
    Scan s = scan("%5%|%-%");
    EXPECT_EQ(s.problems, 0);
    ASSERT_EQ(s.nodes.size(), 2u);
    EXPECT_EQ(s.nodes[0].kind, CONVSPEC_PERCENT);
    EXPECT_EQ(s.nodes[0].text, "%5%");
    EXPECT_EQ(s.nodes[1].kind, CONVSPEC_PERCENT);
}

TEST(ScanFmtString, OverlongSpecificationIsCutAndCounted) {
    std::string format = "%" + std::string(80, '-') + "d%s";
    Scan s = scan(format.c_str());
    EXPECT_EQ(s.problems, 1);
    ASSERT_EQ(s.nodes.size(), 2u);
    EXPECT_EQ(s.nodes[0].text.size(), 63u);
    EXPECT_EQ(s.nodes[0].length, 82);
    EXPECT_EQ(s.nodes[1].arg, 2);

    format = "%" + std::string(61, '-') + "d";  // exactly 63 characters fit
    s = scan(format.c_str());
    EXPECT_EQ(s.problems, 0);
    ASSERT_EQ(s.nodes.size(), 1u);
    EXPECT_EQ(s.nodes[0].text, format);
}

TEST(ScanFmtString, HugeArgumentNumbersDoNotWrap) {
    Scan s = scan("%99999999999999999999$d");
    EXPECT_EQ(s.problems, 0);
    ASSERT_EQ(s.nodes.size(), 1u);
    EXPECT_GT(s.nodes[0].arg, 0);
}

TEST(ScanFmtString, NullAndEmptyFormats) {
    EXPECT_EQ(scan(nullptr).problems, 0);
    EXPECT_TRUE(scan("").nodes.empty());
    EXPECT_TRUE(scan("no conversions at all").nodes.empty());
    EXPECT_EQ(scanFmtString("%d %q", nullptr), 1);  // counts without a list
}

TEST(ScanFmtString, NoMemoryGivesMinusOneAndAnEmptyList) {
    int failures = twtest::for_each_allocation_failure(
        [] {
            ConvSpec *list = reinterpret_cast<ConvSpec *>(1);
            int result = scanFmtString("%d %s %f %m %x", &list);
            if (result < 0) {
                EXPECT_EQ(result, -1);
                EXPECT_EQ(list, nullptr);
            } else {
                EXPECT_EQ(result, 0);
                freeConvSpecList(list);
            }
        },
        [](bool) {});
    EXPECT_EQ(failures, 5);
}

}  // namespace
