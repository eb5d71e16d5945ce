// Line reading, colon conversion, label and number checks, NT path tests.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/alloc_hook.h"
#include "support/scratch.h"
#include "twcommon/containers.h"

namespace {

// A stream over content in a scratch file, positioned at its start.
FILE *stream_over(const twtest::ScratchDir &scratch, const std::string &content) {
    FILE *f = std::fopen(scratch.file("lines").c_str(), "wb+");
    EXPECT_NE(f, nullptr);
    if (!f) return nullptr;
    std::fwrite(content.data(), 1, content.size(), f);
    std::rewind(f);
    return f;
}

std::string take_line(char *line) {
    std::string text = line ? line : "<null>";
    std::free(line);
    return text;
}

}  // namespace

TEST(MyFgetline, LinesOfAnyLengthAroundTheBufferSteps) {
    twtest::ScratchDir scratch;
    std::string content;
    std::vector<std::string> lines;
    for (size_t length : {0u, 1u, 1022u, 1023u, 1024u, 1025u, 2047u, 2048u, 5000u}) {
        lines.push_back(std::string(length, char('a' + length % 26)) + "\n");
        content += lines.back();
    }
    lines.push_back("no newline at the end");
    content += lines.back();
    FILE *f = stream_over(scratch, content);
    ASSERT_NE(f, nullptr);
    for (const auto &expected : lines) {
        int length = -1;
        EXPECT_EQ(take_line(myfgetline(f, &length)), expected);
        EXPECT_EQ(length, int(expected.size()));
    }
    int length = -7;
    EXPECT_EQ(myfgetline(f, &length), nullptr);
    EXPECT_EQ(length, -7);
    std::fclose(f);
    EXPECT_EQ(myfgetline(nullptr, nullptr), nullptr);
}

TEST(MyFgetline, NoMemoryGivesNull) {
    twtest::ScratchDir scratch;
    std::string line(3000, 'x');
    line += "\n";
    FILE *f = stream_over(scratch, line);
    ASSERT_NE(f, nullptr);
    int failures = twtest::for_each_allocation_failure(
        [&] {
            std::rewind(f);
            char *got = myfgetline(f, nullptr);
            if (got) {
                EXPECT_EQ(take_line(got), line);
            }
        },
        [](bool) {});
    EXPECT_EQ(failures, 3);  // the first buffer and two enlargements
    std::fclose(f);
}

TEST(Colonize, RoundTripsAndLimit) {
    char out[65];
    EXPECT_STREQ(colonize_by_mode("a b  c ", out, 1), "a:b::c:");
    EXPECT_STREQ(decolonize_by_mode(out, out, 1), "a b  c ");
    std::string long_text(100, ' ');
    EXPECT_EQ(std::string(colonize_by_mode(long_text.c_str(), nullptr, 3)), std::string(64, ':'));
    EXPECT_STREQ(colonize_by_mode("", out, 1), "");
    EXPECT_STREQ(colonize_by_mode(nullptr, nullptr, 2), "");
}

TEST(Colonize, StaticBuffersAreKeptPerMode) {
    for (auto convert : {colonize_by_mode, decolonize_by_mode}) {
        char *one = convert("one 1:", nullptr, 1);
        char *two = convert("two 2:", nullptr, 2);
        char *other = convert("other 0:", nullptr, 0);
        EXPECT_NE(one, two);
        EXPECT_NE(two, other);
        EXPECT_NE(one, other);
        EXPECT_EQ(convert("seven", nullptr, 7), other);  // every other mode shares one buffer
        EXPECT_EQ(convert("minus", nullptr, -1), other);
        EXPECT_EQ(std::string(one).substr(0, 3), "one");
        EXPECT_EQ(std::string(two).substr(0, 3), "two");
        EXPECT_STREQ(other, "minus");
        EXPECT_EQ(convert("again", nullptr, 1), one);
    }
    // The two functions do not share buffers.
    EXPECT_NE(colonize_by_mode("x", nullptr, 1), decolonize_by_mode("x", nullptr, 1));
}

TEST(IsValidLabel, AlphabetLengthAndLeadingDash) {
    EXPECT_TRUE(IsValidLabel("A00001", 6));
    EXPECT_FALSE(IsValidLabel("A00001", 5));
    EXPECT_TRUE(IsValidLabel("az+-._09", 8));
    EXPECT_FALSE(IsValidLabel("-A0001", 6));
    EXPECT_FALSE(IsValidLabel("A 0001", 6));
    EXPECT_FALSE(IsValidLabel("A/0001", 6));
    EXPECT_FALSE(IsValidLabel("A\xC3\xA9", 6));
    EXPECT_TRUE(IsValidLabel("", 0));
    EXPECT_FALSE(IsValidLabel("", -1));
    EXPECT_FALSE(IsValidLabel(nullptr, 6));
}

TEST(VAtoi, DigitsOnly) {
    EXPECT_EQ(v_atoi(""), 0);
    EXPECT_EQ(v_atoi("0"), 0);
    EXPECT_EQ(v_atoi("0042"), 42);
    EXPECT_EQ(v_atoi("2147483647"), 2147483647);
    EXPECT_EQ(v_atoi("12x"), -1);
    EXPECT_EQ(v_atoi("x12"), -1);
    EXPECT_EQ(v_atoi("-5"), -1);
    EXPECT_EQ(v_atoi(" 5"), -1);
    EXPECT_EQ(v_atoi("5 "), -1);
    EXPECT_EQ(v_atoi("4294967297"), 1);  // no overflow test: the value wraps
    EXPECT_EQ(v_atoi(nullptr), 0);
}

TEST(QRand, IsTheRuntimeGenerator) {
    Q_srand(1234);
    int first = Q_rand(), second = Q_rand();
    std::srand(1234);
    EXPECT_EQ(std::rand(), first);
    EXPECT_EQ(std::rand(), second);
}

TEST(NtPaths, IsAbsolute) {
    EXPECT_TRUE(IsAbsoluteNtPath("C:\\"));
    EXPECT_TRUE(IsAbsoluteNtPath("c:/dir"));
    EXPECT_TRUE(IsAbsoluteNtPath("\\\\server\\share"));
    EXPECT_TRUE(IsAbsoluteNtPath("\\\\x"));
    EXPECT_FALSE(IsAbsoluteNtPath("\\\\"));  // shorter than 3
    EXPECT_FALSE(IsAbsoluteNtPath("C:"));
    EXPECT_FALSE(IsAbsoluteNtPath("C:dir"));
    EXPECT_FALSE(IsAbsoluteNtPath("\\dir"));
    EXPECT_FALSE(IsAbsoluteNtPath("dir\\x"));
    EXPECT_FALSE(IsAbsoluteNtPath(nullptr));
}

TEST(NtPaths, TrimKeepsRoots) {
    auto trim = [](std::string path) {
        int length = TrimAbsolutePath(&path[0]);
        std::string trimmed = path.c_str();
        EXPECT_EQ(length, int(trimmed.size()));
        return trimmed;
    };
    EXPECT_EQ(trim("C:\\dir\\\\"), "C:\\dir");
    EXPECT_EQ(trim("C:\\dir/\\/"), "C:\\dir");
    EXPECT_EQ(trim("C:\\"), "C:\\");
    EXPECT_EQ(trim("C:\\\\\\"), "C:\\");
    EXPECT_EQ(trim("C:"), "C:");
    EXPECT_EQ(trim("/"), "/");
    EXPECT_EQ(trim("///"), "/");
    EXPECT_EQ(trim("ab//"), "ab");
    EXPECT_EQ(trim(""), "");
    EXPECT_EQ(TrimAbsolutePath(nullptr), 0);
}
