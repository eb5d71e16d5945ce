// Quote-aware tokenising: the delimiter-set tokenisers, the field splitter,
// and the one-byte separator tokeniser with its process-wide cursor.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/alloc_hook.h"
#include "twcommon/containers.h"

namespace {

using Items = std::vector<std::string>;

std::string take(char *s) {
    if (!s) return "<null>";
    std::string out = s;
    free(s);
    return out;
}

Items next_all(const char *text, const char *delimiters) {
    std::string buffer = text;
    char *cursor = &buffer[0];
    Items out;
    while (char *token = cstrTokenNEXT(&cursor, delimiters)) out.push_back(take(token));
    return out;
}

Items split(const char *text, const char *delimiters) {
    char **array = cstrTOcstra(text, delimiters);
    Items out;
    for (size_t i = 0; array && array[i]; ++i) out.push_back(array[i]);
    cstraFREE(array);
    return out;
}

Items strtok_all(const char *text, char c, char q) {
    std::string buffer = text;
    Items out;
    for (char *t = strtokwdelim(&buffer[0], c, q); t; t = strtokwdelim(nullptr, c, q)) out.push_back(t);
    return out;
}

TEST(LiteralSize, EndsAtFirstPlainQuote) {
    EXPECT_EQ(cstrLiteralSIZE("\"a\\\"b\""), 4);  // no quote escape
    EXPECT_EQ(cstrLiteralSIZE("\"\"x\""), 2);
    EXPECT_EQ(cstrLiteralSIZE("\"ab\" c"), 4);
    EXPECT_EQ(cstrLiteralSIZE("\"abc"), 4);  // unclosed: to the end
    EXPECT_EQ(cstrLiteralSIZE("\""), 1);
    EXPECT_EQ(cstrLiteralSIZE("a\"b\""), 0);
    EXPECT_EQ(cstrLiteralSIZE(""), 0);
    EXPECT_EQ(cstrLiteralSIZE(nullptr), 0);
    // Escapes pass their digits only: hex runs on, octal stops after four.
    EXPECT_EQ(cstrLiteralSIZE("\"\\x41fg\""), 8);
    EXPECT_EQ(cstrLiteralSIZE("\"\\1234\"\""), 7);
    EXPECT_EQ(cstrLiteralSIZE("\"\\12345\""), 8);
    EXPECT_EQ(cstrLiteralSIZE("\"\\"), 2);  // backslash at the very end
}

TEST(TokenNext, QuotedLiteralsAndDelimiterRuns) {
    EXPECT_EQ(next_all("  alpha \"b c\" d", " "), (Items{"alpha", "\"b c\"", "d"}));
    EXPECT_EQ(next_all(" ,a,, b ,", " ,"), (Items{"a", "b"}));
    EXPECT_EQ(next_all("x\"y z\"", " "), (Items{"x\"y", "z\""}));  // a quote mid-token is plain
    EXPECT_EQ(next_all("a \"open ended", " "), (Items{"a", "\"open ended"}));
    EXPECT_EQ(next_all("\"\"\"\"", " "), (Items{"\"\"", "\"\""}));
    EXPECT_EQ(next_all("   ", " "), Items{});
    EXPECT_EQ(next_all("abc", ""), (Items{"abc"}));

    char text[] = "one  two";
    char *cursor = text;
    EXPECT_EQ(take(cstrTokenNEXT(&cursor, " ")), "one");
    EXPECT_EQ(cursor, text + 3);  // just after the token
    EXPECT_EQ(take(cstrTokenNEXT(&cursor, " ")), "two");
    EXPECT_EQ(cstrTokenNEXT(&cursor, " "), nullptr);
    EXPECT_EQ(cstrTokenNEXT(&cursor, nullptr), nullptr);
    EXPECT_EQ(cstrTokenNEXT(nullptr, " "), nullptr);
    char *none = nullptr;
    EXPECT_EQ(cstrTokenNEXT(&none, " "), nullptr);
}

TEST(TokenNext, SplitMatchesRepeatedNext) {
    const char *texts[] = {"", "a", "  a  b ", "\"x y\"z w", "\t\"a\tb\" \"c", "\"\" \"\"", "a\\\"b \"c\\\"d e\""};
    for (const char *text : texts) {
        EXPECT_EQ(split(text, " \t"), next_all(text, " \t")) << text;
        char **array = cstrTOcstra(text, " \t");
        ASSERT_NE(array, nullptr);  // an empty array when there are no tokens
        cstraFREE(array);
    }
    EXPECT_EQ(cstrTOcstra(nullptr, " "), nullptr);
    EXPECT_EQ(cstrTOcstra("a", nullptr), nullptr);
    // Enough tokens to grow the array several times.
    std::string many;
    Items expected;
    for (int i = 0; i < 100; ++i) {
        many += " t" + std::to_string(i);
        expected.push_back("t" + std::to_string(i));
    }
    EXPECT_EQ(split(many.c_str(), " "), expected);
}

TEST(TokenGetFind, CountFromOneZeroIsLast) {
    EXPECT_EQ(take(cstrTokenGET("a b c", 0, " ")), "c");
    EXPECT_EQ(take(cstrTokenGET("a b c", 1, " ")), "a");
    EXPECT_EQ(take(cstrTokenGET("a b c", 3, " ")), "c");
    EXPECT_EQ(take(cstrTokenGET("a b c", 4, " ")), "<null>");
    EXPECT_EQ(take(cstrTokenGET("a \"b c\" d", 2, " ")), "\"b c\"");
    EXPECT_EQ(take(cstrTokenGET("a b c  ", 0, " ")), "c");
    EXPECT_EQ(take(cstrTokenGET("   ", 0, " ")), "<null>");
    EXPECT_EQ(take(cstrTokenGET("a", -1, " ")), "<null>");
    EXPECT_EQ(take(cstrTokenGET(nullptr, 1, " ")), "<null>");

    char text[] = "  one \"t w o\" three";
    char *cursor = text;
    EXPECT_EQ(cstrTokenFIND(&cursor, 2, " "), 7);
    EXPECT_EQ(cursor, text + 6);
    cursor = text;
    EXPECT_EQ(cstrTokenFIND(&cursor, 1, " "), 3);
    EXPECT_EQ(cursor, text + 2);
    char *before = cursor;
    EXPECT_EQ(cstrTokenFIND(&cursor, 4, " "), 0);
    EXPECT_EQ(cstrTokenFIND(&cursor, 0, " "), 0);
    EXPECT_EQ(cstrTokenFIND(&cursor, 1, nullptr), 0);
    EXPECT_EQ(cursor, before);
    EXPECT_EQ(cstrTokenFIND(nullptr, 1, " "), 0);
}

TEST(TokenObtain, WholeSeparatorFields) {
    EXPECT_EQ(take(cstrTokenOBTAIN("a::b", 2, ":")), "<null>");  // empty field
    EXPECT_EQ(take(cstrTokenOBTAIN("a::b", 3, ":")), "b");
    EXPECT_EQ(take(cstrTokenOBTAIN("a::b", 4, ":")), "<null>");
    EXPECT_EQ(take(cstrTokenOBTAIN("a::b", 2, "::")), "b");
    EXPECT_EQ(take(cstrTokenOBTAIN("a:: b", 1, "::")), "a");
    EXPECT_EQ(take(cstrTokenOBTAIN("\"x:y\":z", 2, ":")), "y\"");  // no quote handling
    EXPECT_EQ(take(cstrTokenOBTAIN("a:", 2, ":")), "<null>");
    EXPECT_EQ(take(cstrTokenOBTAIN("a", 0, ":")), "<null>");
    EXPECT_EQ(take(cstrTokenOBTAIN("a", 1, "")), "<null>");
    EXPECT_EQ(take(cstrTokenOBTAIN("a", 1, nullptr)), "<null>");
}

TEST(TokenFunctions, NullWhenMemoryRunsOut) {
    std::string text;
    for (int i = 0; i < 20; ++i) text += "w" + std::to_string(i) + "  ";
    Items whole = split(text.c_str(), " ");
    int failures = twtest::for_each_allocation_failure(
        [&] {
            char **array = cstrTOcstra(text.c_str(), " ");
            if (array) {
                Items got;
                for (size_t i = 0; array[i]; ++i) got.push_back(array[i]);
                EXPECT_EQ(got, whole);
            }
            cstraFREE(array);
            std::string get = take(cstrTokenGET(text.c_str(), 0, " "));
            EXPECT_TRUE(get == "<null>" || get == "w19");
            std::string obtain = take(cstrTokenOBTAIN("a:b", 2, ":"));
            EXPECT_TRUE(obtain == "<null>" || obtain == "b");
        },
        [](bool) {});
    EXPECT_GE(failures, 22);  // block, 20 strings, at least one growth

    // The cursor stays on the token that could not be copied.
    char buffer[] = " tok";
    char *cursor = buffer;
    {
        twtest::FailAllocation fail(1);
        EXPECT_EQ(cstrTokenNEXT(&cursor, " "), nullptr);
    }
    EXPECT_EQ(take(cstrTokenNEXT(&cursor, " ")), "tok");
}

TEST(StrchrWithQuotes, SkipsQuotedPairsOnly) {
    const char *s = "a\",\",b";
    EXPECT_EQ(strchrwdelim(s, ',', '"'), s + 4);
    const char *open = "a\",b";  // unclosed quote protects nothing
    EXPECT_EQ(strchrwdelim(open, ',', '"'), open + 2);
    const char *after = "a,\"b,\"";
    EXPECT_EQ(strchrwdelim(after, ',', '"'), after + 1);
    // Only the first pair ahead of the separator is looked at: a later pair
    // around it does not protect it.
    const char *pairs = "\"a\" \",\" ,";
    EXPECT_EQ(strchrwdelim(pairs, ',', '"'), pairs + 5);
    const char *twice = "\",\"\",\",";
    EXPECT_EQ(strchrwdelim(twice, ',', '"'), twice + 6);
    EXPECT_EQ(strchrwdelim("\",\"", ',', '"'), nullptr);
    EXPECT_EQ(strchrwdelim("abc", ',', '"'), nullptr);
    EXPECT_EQ(strchrwdelim(nullptr, ',', '"'), nullptr);
}

TEST(StrtokWithQuotes, TrailingSeparatorYieldsEmptyToken) {
    EXPECT_EQ(strtok_all("a,\"b,c\",d", ',', '"'), (Items{"a", "\"b,c\"", "d"}));
    EXPECT_EQ(strtok_all("a,", ',', '"'), (Items{"a", ""}));
    EXPECT_EQ(strtok_all(",,a,,b", ',', '"'), (Items{"a", "b"}));  // runs of separators skipped
    EXPECT_EQ(strtok_all("", ',', '"'), (Items{""}));
    EXPECT_EQ(strtok_all("a,\"b,c", ',', '"'), (Items{"a", "\"b", "c"}));  // unclosed quote
    EXPECT_EQ(strtok_all("'x y' z", ' ', '\''), (Items{"'x y'", "z"}));
    // Exhausted, and a NULL start with nothing saved, give NULL.
    EXPECT_EQ(strtokwdelim(nullptr, ',', '"'), nullptr);

    // Writes into the caller's text and returns pointers into it.
    char text[] = "k=v";
    EXPECT_EQ(strtokwdelim(text, '=', '"'), text);
    EXPECT_STREQ(text, "k");
    EXPECT_EQ(strtokwdelim(nullptr, '=', '"'), text + 2);
}

}  // namespace
