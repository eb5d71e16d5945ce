// String arrays and the byte-string utilities.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/alloc_hook.h"
#include "twcommon/containers.h"

namespace {

// A heap cstra built the way callers build them (malloc'd block and strings).
char **make(const std::vector<std::string> &items) {
    char **array = static_cast<char **>(calloc(items.size() + 1, sizeof(char *)));
    for (size_t i = 0; i < items.size(); ++i) {
        array[i] = static_cast<char *>(malloc(items[i].size() + 1));
        memcpy(array[i], items[i].c_str(), items[i].size() + 1);
    }
    return array;
}

std::vector<std::string> items(char **array) {
    std::vector<std::string> out;
    for (size_t i = 0; array && array[i]; ++i) out.push_back(array[i]);
    return out;
}

// Takes over a heap string result.
std::string take(char *s) {
    if (!s) return "<null>";
    std::string out = s;
    free(s);
    return out;
}

using Items = std::vector<std::string>;

TEST(Cstra, JoinWithSeparators) {
    char **a = make({"a", "b"});
    EXPECT_EQ(take(cstraTOcstr(a, ", ")), "a, b");
    EXPECT_EQ(take(cstraTOcstr(a, nullptr)), "ab");
    cstraFREE(a);

    char **one = make({"only"});
    EXPECT_EQ(take(cstraTOcstr(one, "--")), "only");  // nothing after the last
    cstraFREE(one);

    // Empty strings still get separators between them.
    char **blanks = make({"", "", ""});
    EXPECT_EQ(take(cstraTOcstr(blanks, "|")), "||");
    EXPECT_EQ(take(cstraTOcstr(blanks, "")), "<null>");  // joined length 0
    cstraFREE(blanks);

    char **empty = make({});
    EXPECT_EQ(take(cstraTOcstr(empty, ",")), "<null>");
    EXPECT_EQ(take(cstraTOcstr(nullptr, ",")), "<null>");
    cstraFREE(empty);
}

TEST(Cstra, CountMatchDup) {
    char **a = make({"x", "y", "x"});
    EXPECT_EQ(cstraCOUNT(a), 3);
    EXPECT_EQ(cstraCOUNT(nullptr), 0);
    EXPECT_EQ(cstraMATCH(a, "x"), 0);
    EXPECT_EQ(cstraMATCH(a, "y"), 1);
    EXPECT_EQ(cstraMATCH(a, "X"), -1);
    EXPECT_EQ(cstraMATCH(a, nullptr), -1);
    EXPECT_EQ(cstraMATCH(nullptr, "x"), -1);

    char **copy = cstraDUP(a);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(items(copy), (Items{"x", "y", "x"}));
    EXPECT_NE(copy[0], a[0]);  // deep copy
    EXPECT_EQ(cstraDUP(nullptr), nullptr);

    cstraItemsFREE(copy);
    EXPECT_EQ(copy[0], nullptr);
    EXPECT_EQ(copy[2], nullptr);
    free(copy);
    cstraFREE(a);
    cstraFREE(nullptr);
}

TEST(Cstra, AppendMovesStrings) {
    char **a = make({"1", "2"});
    char **b = make({"3"});
    char *three = b[0];
    char **joined = cstraAPPEND(a, b);
    EXPECT_EQ(items(joined), (Items{"1", "2", "3"}));
    EXPECT_EQ(joined[2], three);  // taken over, not copied
    cstraFREE(joined);

    char **c = make({"c"});
    EXPECT_EQ(cstraAPPEND(nullptr, c), c);
    EXPECT_EQ(cstraAPPEND(c, nullptr), c);
    cstraFREE(c);
}

TEST(Cstra, DiffKeepsOrderOfFirst) {
    char **a = make({"a", "b", "c", "b"});
    char **b = make({"c", "z"});
    char **d = cstraDIFF(a, b);
    EXPECT_EQ(items(d), (Items{"a", "b", "b"}));
    cstraFREE(d);
    char **all = cstraDIFF(a, nullptr);
    EXPECT_EQ(items(all), items(a));
    cstraFREE(all);
    EXPECT_EQ(cstraDIFF(b, b), nullptr);
    EXPECT_EQ(cstraDIFF(nullptr, b), nullptr);
    cstraFREE(a);
    cstraFREE(b);
}

TEST(Cstra, NullWhenMemoryRunsOut) {
    char **a = make({"alpha", "beta", "gamma"});
    char **b = make({"beta"});
    EXPECT_EQ(twtest::for_each_allocation_failure(
                  [&] {
                      std::string joined = take(cstraTOcstr(a, "+"));
                      EXPECT_TRUE(joined == "<null>" || joined == "alpha+beta+gamma") << joined;
                  },
                  [](bool) {}),
              1);
    int failures = twtest::for_each_allocation_failure(
        [&] {
            char **copy = cstraDUP(a);
            char **diff = cstraDIFF(a, b);
            if (copy) { EXPECT_EQ(items(copy), items(a)); }
            if (diff) { EXPECT_EQ(items(diff), (Items{"alpha", "gamma"})); }
            cstraFREE(copy);
            cstraFREE(diff);
        },
        [](bool) {});
    EXPECT_GE(failures, 7);  // 4 for the copy, 3 for the difference

    // A failed append leaves both arrays whole and owned by the caller.
    {
        twtest::FailAllocation fail(1);
        char **c = make({"c"});  // the test's own malloc is not counted
        EXPECT_EQ(cstraAPPEND(a, c), nullptr);
        EXPECT_TRUE(fail.fired());
        EXPECT_EQ(items(a), (Items{"alpha", "beta", "gamma"}));
        EXPECT_EQ(items(c), (Items{"c"}));
        cstraFREE(c);
    }
    cstraFREE(a);
    cstraFREE(b);
}

TEST(Cstr, TestsAndCounts) {
    EXPECT_TRUE(cstrEMPTY(nullptr));
    EXPECT_TRUE(cstrEMPTY(""));
    EXPECT_FALSE(cstrEMPTY(" "));
    EXPECT_EQ(cstrLAST("abc"), 'c');
    EXPECT_EQ(cstrLAST(""), 0);
    EXPECT_EQ(cstrLAST(nullptr), 0);
    EXPECT_TRUE(cstrMATCH(nullptr, ""));
    EXPECT_TRUE(cstrMATCH(nullptr, nullptr));
    EXPECT_TRUE(cstrMATCH("ab", "ab"));
    EXPECT_FALSE(cstrMATCH("ab", "aB"));
    EXPECT_FALSE(cstrMATCH("a", nullptr));
    EXPECT_EQ(cstrCOUNTchar("a,b,,c", ','), 3);
    EXPECT_EQ(cstrCOUNTchar("abc", '\0'), 0);
    EXPECT_EQ(cstrCOUNTchar(nullptr, 'a'), 0);
    EXPECT_EQ(cstrCOUNTchars("a, b;c", ",; "), 3);
    EXPECT_EQ(cstrCOUNTchars("abc", ""), 0);
    EXPECT_EQ(cstrCOUNTchars("abc", nullptr), 0);
    EXPECT_EQ(cstrCOUNTchars(nullptr, "a"), 0);

    char text[] = "MiXeD 1";
    cstrLOWER(text);
    EXPECT_STREQ(text, "mixed 1");
    cstrUPPER(text);
    EXPECT_STREQ(text, "MIXED 1");
    cstrUPPER(nullptr);
}

TEST(Cstr, TrimModes) {
    EXPECT_EQ(take(cstrTRIM("  x  ", 3, " ")), "x");
    EXPECT_EQ(take(cstrTRIM("a b c", 2, " ")), "abc");
    EXPECT_EQ(take(cstrTRIM("-+x+-", 0, "+-")), "x+-");
    EXPECT_EQ(take(cstrTRIM("-+x+-", 1, "+-")), "-+x");
    EXPECT_EQ(take(cstrTRIM("----", 3, "-")), "");
    EXPECT_EQ(take(cstrTRIM("----", 1, "-")), "");
    EXPECT_EQ(take(cstrTRIM("007", 4, "")), "7");
    EXPECT_EQ(take(cstrTRIM("000", 4, "x")), "0");
    EXPECT_EQ(take(cstrTRIM("00a", 4, "")), "0a");
    EXPECT_EQ(take(cstrTRIM("0", 4, "")), "0");
    EXPECT_EQ(take(cstrTRIM("120", 4, "")), "120");
    EXPECT_EQ(take(cstrTRIM("  x", 0, "")), "  x");  // empty set: a copy
    EXPECT_EQ(take(cstrTRIM("  x", 0, nullptr)), "  x");
    EXPECT_EQ(take(cstrTRIM("007", 4, nullptr)), "007");
    EXPECT_EQ(take(cstrTRIM("", 9, " ")), "");
    EXPECT_EQ(take(cstrTRIM("x", 5, " ")), "<null>");
    EXPECT_EQ(take(cstrTRIM(nullptr, 0, " ")), "<null>");

    EXPECT_EQ(take(cstrTRIMcstr("abab", 1, "ab")), "ab");
    EXPECT_EQ(take(cstrTRIMcstr("ab", 1, "ab")), "ab");
    EXPECT_EQ(take(cstrTRIMcstr("x.txt.txt", 1, ".txt")), "x");
    EXPECT_EQ(take(cstrTRIMcstr("x.txt", 0, ".txt")), "<null>");
    EXPECT_EQ(take(cstrTRIMcstr("x.txt", 0, "")), "x.txt");
    EXPECT_EQ(take(cstrTRIMcstr(nullptr, 1, "a")), "<null>");
}

TEST(Cstr, DoubleQuotes) {
    EXPECT_EQ(take(cstrDQuotesSTRIP("\"a b\"")), "a b");
    EXPECT_EQ(take(cstrDQuotesSTRIP("\"\"")), "");
    EXPECT_EQ(take(cstrDQuotesSTRIP("\"")), "<null>");
    EXPECT_EQ(take(cstrDQuotesSTRIP("\"ab")), "<null>");
    EXPECT_EQ(take(cstrDQuotesUNCHECK("\"ab\"")), "ab");
    EXPECT_EQ(take(cstrDQuotesUNCHECK("ab\"")), "ab\"");
    EXPECT_EQ(take(cstrDQuotesENCLOSE("my file")), "\"my file\"");
    EXPECT_EQ(take(cstrDQuotesENCLOSE("file")), "<null>");
    EXPECT_EQ(take(cstrDQuotesENCLOSE("\"my file")), "<null>");
    EXPECT_EQ(take(cstrDQuotesCHECK("my file")), "\"my file\"");
    EXPECT_EQ(take(cstrDQuotesCHECK("file")), "file");
    EXPECT_EQ(take(cstrDQuotesCHECK("\"my file\"")), "\"my file\"");
    EXPECT_EQ(take(cstrDQuotesCHECK(nullptr)), "<null>");

    char quoted[] = "\"abc\"";
    EXPECT_EQ(stripdelims(quoted, '"'), quoted);
    EXPECT_STREQ(quoted, "abc");
    char open[] = "\"abc";
    EXPECT_STREQ(stripdelims(open, '"'), "\"abc");
    char one[] = "\"", two[] = "\"\"";
    EXPECT_STREQ(stripdelims(one, '"'), "");
    EXPECT_STREQ(stripdelims(two, '"'), "");
    EXPECT_EQ(stripdelims(nullptr, '"'), nullptr);
}

TEST(Cstr, NullWhenMemoryRunsOut) {
    // Every builder either succeeds with the full result or returns null.
    twtest::for_each_allocation_failure(
        [] {
            char *results[] = {cstrTRIM(" a ", 3, " "), cstrTRIM("a b", 2, " "), cstrTRIM("007", 4, ""),
                               cstrTRIMcstr("ab.x", 1, ".x"), cstrDQuotesSTRIP("\"q\""),
                               cstrDQuotesUNCHECK("u"), cstrDQuotesENCLOSE("e e"), cstrDQuotesCHECK("c c")};
            const char *expected[] = {"a", "ab", "7", "ab", "q", "u", "\"e e\"", "\"c c\""};
            for (size_t i = 0; i < 8; ++i) {
                if (results[i]) { EXPECT_STREQ(results[i], expected[i]); }
                free(results[i]);
            }
        },
        [](bool) {});
}

}  // namespace
