// Splitting command lines into argument vectors, and the process's own
// command line.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/alloc_hook.h"
#include "twcommon/unixnt.h"

extern "C" TW_API int twcommon_testhook_split_command_line(const char *line, char ***argv);

namespace {

using Args = std::vector<std::string>;

// Splits line and checks the block's layout: count + 1 pointers, the last
// null, followed directly by the texts one after another.
Args split(const char *line) {
    char **argv = nullptr;
    int count = twcommon_testhook_split_command_line(line, &argv);
    EXPECT_GT(count, 0);
    if (!argv) return {};
    Args out;
    const char *expected_text = reinterpret_cast<const char *>(argv + count + 1);
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(argv[i], expected_text) << "argument " << i << " is not where the block puts it";
        out.emplace_back(argv[i]);
        expected_text = argv[i] + out.back().size() + 1;
    }
    EXPECT_EQ(argv[count], nullptr);
    std::free(argv);
    return out;
}

TEST(CommandLineSplit, QuotedArgumentKeepsItsBlank) {
    EXPECT_EQ(split("prog \"hello world\" next"), (Args{"prog", "hello world", "next"}));
    EXPECT_EQ(split("prog a\"b c\"d"), (Args{"prog", "ab cd"}));
}

TEST(CommandLineSplit, BackslashesBeforeQuotes) {
    // Even runs halve and the quote opens quoted mode.
    EXPECT_EQ(split(R"(p \\\\"a b")"), (Args{"p", R"(\\a b)"}));
    // Odd runs halve and the quote is literal.
    EXPECT_EQ(split(R"(p \\\"a b)"), (Args{"p", R"(\"a)", "b"}));
    EXPECT_EQ(split(R"(p \"x\")"), (Args{"p", R"("x")"}));
    // Backslashes not followed by a quote stay as they are, also at the end.
    EXPECT_EQ(split(R"(p a\\b\ c\\)"), (Args{"p", R"(a\\b\)", R"(c\\)"}));
    // Inside quotes too.
    EXPECT_EQ(split(R"(p "a\\\"b" "c\\")"), (Args{"p", R"(a\"b)", R"(c\)"}));
}

TEST(CommandLineSplit, DoubledQuotesInsideQuotes) {
    // One literal quote, and quoted mode ends with it.
    EXPECT_EQ(split(R"(p "a""b c")"), (Args{"p", R"(a"b)", "c"}));
    EXPECT_EQ(split(R"(p """")"), (Args{"p", R"(")"}));
    // Outside quotes two quotes open and close an empty text.
    EXPECT_EQ(split(R"(p "" x"")"), (Args{"p", "", "x"}));
}

TEST(CommandLineSplit, ProgramNameIsKeptAsTyped) {
    EXPECT_EQ(split(R"(C:\dir\\prog.exe a)"), (Args{R"(C:\dir\\prog.exe)", "a"}));
    EXPECT_EQ(split(R"("C:\Program Files\x\" a)"), (Args{R"(C:\Program Files\x\)", "a"}));
    // The closing quote ends the name even when text follows directly.
    EXPECT_EQ(split(R"("a b"c d)"), (Args{"a b", "c", "d"}));
    EXPECT_EQ(split(R"("unterminated name)"), (Args{"unterminated name"}));
    EXPECT_EQ(split(R"(a"b c)"), (Args{R"(a"b)", "c"}));
}

TEST(CommandLineSplit, BlanksTabsAndEnds) {
    EXPECT_EQ(split("p\ta \t b\t"), (Args{"p", "a", "b"}));
    EXPECT_EQ(split("p \"a\tb\" "), (Args{"p", "a\tb"}));
    EXPECT_EQ(split("prog   "), (Args{"prog"}));
    // An empty line (or none) still has a program name, the empty one.
    EXPECT_EQ(split(""), (Args{""}));
    EXPECT_EQ(split(nullptr), (Args{""}));
    EXPECT_EQ(split("  a"), (Args{"", "a"}));
    // An unterminated quote runs to the end.
    EXPECT_EQ(split("p \"a b  "), (Args{"p", "a b  "}));
}

TEST(CommandLineSplit, NoMemoryGivesZeroAndLeavesVector) {
    char **argv = reinterpret_cast<char **>(&argv);
    char **const untouched = argv;
    twtest::FailAllocation fail(1);
    EXPECT_EQ(twcommon_testhook_split_command_line("a b c", &argv), 0);
    EXPECT_EQ(argv, untouched);
}

// The process command line is made once and kept; only the split allocates
// afterwards, and its failure gives 0 and leaves the vector alone.
TEST(ProcessCommandLine, CachedLineAndSplitWithoutMemory) {
    const char *line = GetCommandLineV();
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(GetCommandLineV(), line);
    EXPECT_EQ(ReparseCommandLine(nullptr), 0);
    int failures = twtest::for_each_allocation_failure(
        [] {
            char **argv = nullptr;
            int count = ReparseCommandLine(&argv);
            if (count == 0) {
                EXPECT_EQ(argv, nullptr);
            }
            std::free(argv);
        },
        [](bool) {});
    EXPECT_EQ(failures, 1);
}

}  // namespace
