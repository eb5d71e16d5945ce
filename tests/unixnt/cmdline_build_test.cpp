// Building NT command lines from a command path or an argument vector.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/registry_fixture.h"
#include "twcommon/unixnt.h"

namespace {

// Takes a builder's block, releasing it.
std::string take(char *block) {
    EXPECT_NE(block, nullptr);
    std::string text = block ? block : "";
    FreeNTCmdLine(block);
    return text;
}

TEST(NewNTCmdLine, RootWithoutBlankGivesPlainCopy) {
    twtest::RegistryFixture registry;
    registry.set_path("KR_DIR", "C:\\Tallowind");
    EXPECT_EQ(take(newNTCmdLine("C:\\Tallowind\\bin\\x.exe -a b")), "C:\\Tallowind\\bin\\x.exe -a b");
    EXPECT_EQ(take(newNTCmdLine("")), "");
    EXPECT_EQ(newNTCmdLine(nullptr), nullptr);
}

TEST(NewNTCmdLine, RootWithBlankQuotesOnlyTheProgramPath) {
    twtest::RegistryFixture registry;
    registry.set_path("KR_DIR", "C:\\Program Files\\Tallowind");
    EXPECT_EQ(take(newNTCmdLine("C:\\Program Files\\Tallowind\\bin\\x.exe -a \"b c\"")),
              "\"C:\\Program Files\\Tallowind\\bin\\x.exe\" -a \"b c\"");
    // No blank after the root: the whole text is the program path.
    EXPECT_EQ(take(newNTCmdLine("C:\\Program Files\\Tallowind\\bin\\x.exe")),
              "\"C:\\Program Files\\Tallowind\\bin\\x.exe\"");
    // Quotes already in the path are replaced by the one pair.
    EXPECT_EQ(take(newNTCmdLine("C:\\Program Files\\Tallowind\\\"bin\"\\x.exe z")),
              "\"C:\\Program Files\\Tallowind\\bin\\x.exe\" z");
    // A command elsewhere is left alone, also one that merely starts alike.
    EXPECT_EQ(take(newNTCmdLine("C:\\Program Files\\Other\\y.exe a")), "C:\\Program Files\\Other\\y.exe a");
    EXPECT_EQ(take(newNTCmdLine("c:\\program files\\tallowind\\x.exe")), "c:\\program files\\tallowind\\x.exe");
}

TEST(AppendNTCmdLine, TrailingBlanksGiveWayToTheTail) {
    EXPECT_EQ(take(appendNTCmdLine("prog -a   ", " -b")), "prog -a -b");
    EXPECT_EQ(take(appendNTCmdLine("prog \t", "-b")), "prog-b");
    EXPECT_EQ(take(appendNTCmdLine("prog", "")), "prog");
    EXPECT_EQ(take(appendNTCmdLine("   ", " x")), " x");
    EXPECT_EQ(take(appendNTCmdLine(nullptr, nullptr)), "");
    FreeNTCmdLine(nullptr);
}

TEST(FixNTargv, QuotesTheProgramOnce) {
    char program[] = "C:\\dir\\p.exe";
    char arg[] = "a";
    char *argv[] = {program, arg, nullptr};
    FixNTargv(argv);
    EXPECT_STREQ(argv[0], "\"C:\\dir\\p.exe\"");
    EXPECT_EQ(argv[1], arg);
    char *first = argv[0];
    FixNTargv(argv);
    EXPECT_EQ(argv[0], first) << "already quoted";
    // Each call makes a new block and keeps only the last; release this one.
    EXPECT_EQ(FreeNTCmdArgsVectors(), 1);
    // An element that merely begins with a quote is quoted again.
    char half[] = "\"C:\\dir\\p.exe";
    char *argv2[] = {half, nullptr};
    FixNTargv(argv2);
    EXPECT_STREQ(argv2[0], "\"\"C:\\dir\\p.exe\"");
    FixNTargv(nullptr);
    EXPECT_EQ(FreeNTCmdArgsVectors(), 1);
    EXPECT_EQ(FreeNTCmdArgsVectors(), 1);
}

TEST(GetNTCommandLineFromArgs, QuotesProgramAndJoinsArguments) {
    char program[] = "C:\\Program Files\\p.exe";
    char a[] = "-x", b[] = "two words", c[] = "";
    char *argv[] = {program, a, b, c, nullptr};
    EXPECT_EQ(take(GetNTCommandLineFromArgs(argv)), "\"C:\\Program Files\\p.exe\" -x two words ");
    EXPECT_STREQ(argv[0], "\"C:\\Program Files\\p.exe\"");
    FreeNTCmdArgsVectors();
    char *alone[] = {program, nullptr};
    EXPECT_EQ(take(GetNTCommandLineFromArgs(alone)), "\"C:\\Program Files\\p.exe\"");
    EXPECT_EQ(GetNTCommandLineFromArgs(nullptr), nullptr);
    FreeNTCmdArgsVectors();
}

// The block holds the program's length + 257 bytes, so after the two quotes
// and the terminator 254 bytes remain for the arguments and their blanks.
TEST(GetNTCommandLineFromArgs, CutsLongArgumentsSilently) {
    std::string word(126, 'w');  // two of them with their blanks: 254 bytes
    std::vector<char> w1(word.begin(), word.end()), w2(word.begin(), word.end());
    w1.push_back('\0');
    w2.push_back('\0');
    char program[] = "p";
    char *argv[] = {program, w1.data(), w2.data(), nullptr};
    EXPECT_EQ(take(GetNTCommandLineFromArgs(argv)), "\"p\" " + word + " " + word);
    FreeNTCmdArgsVectors();

    std::string longer = word + "x";  // one byte too many
    std::vector<char> w3(longer.begin(), longer.end());
    w3.push_back('\0');
    char *argv2[] = {program, w1.data(), w3.data(), nullptr};
    EXPECT_EQ(take(GetNTCommandLineFromArgs(argv2)), "\"p\" " + word + " " + word);
    FreeNTCmdArgsVectors();
}

}  // namespace
