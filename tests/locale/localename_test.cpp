// common2reallocale over locale definition files written by the test.
#include <gtest/gtest.h>

#include <clocale>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/registry_fixture.h"
#include "support/scratch.h"
#include "twcommon/locale.h"

namespace {


// A runtime locale name other than "C" that this runtime accepts, or "".
std::string other_runtime_name() {
    std::string saved = std::setlocale(LC_TIME, nullptr);
    std::string found;
    for (const char *name : {"POSIX", "C.UTF-8", "English_United States.1252", "English", "French"}) {
        if (std::setlocale(LC_TIME, name)) {
            found = name;
            break;
        }
    }
    std::setlocale(LC_TIME, saved.c_str());
    return found;
}

TEST(Common2RealLocale, NamesTheRuntimeAcceptsComeBackAsTheyAre) {
    const char *c = "C";
    EXPECT_EQ(common2reallocale(c), c);
    EXPECT_STREQ(common2reallocale(nullptr), "C");
}

TEST(Common2RealLocale, WithoutALocaleFileTheArgumentComesBack) {
    twtest::ScratchDir scratch;
    twtest::RegistryFixture registry;
    registry.set_path("LOCALE_FILE", scratch.file("missing.def"));
    const char *name = "tallowind-common-name";
    EXPECT_EQ(common2reallocale(name), name);
}

// The file's name is not ASCII: names are UTF-8 and reach the wide calls.
TEST(Common2RealLocale, TmLinesMapCommonNamesToAcceptedRuntimeNames) {
    const std::string runtime = other_runtime_name();
    if (runtime.empty()) GTEST_SKIP() << "no runtime locale other than C";
    twtest::ScratchDir scratch;
    twtest::RegistryFixture registry;
    const std::string file = scratch.file("locales-\xc3\xa9\xe2\x82\xac.def");
    {
        std::ofstream out(std::filesystem::u8path(file));
        const std::string n = std::to_string(runtime.size());
        out << "# comment\n"
            << "TL 1 C\n"
            << "TM 12 not-accepted 5 first\n"          // rejected by the runtime: try the next
            << "TM " << n << " " << runtime << " 5 first\n"
            << "TM " << runtime.size() - 1 << " " << runtime << " 6 second\n"  // n does not fit the name
            << "TM 1 C 7 second\n"                    // m does not fit the name
            << "OR " << n << " " << runtime << " 5 third\n"
            << "TM  " << n << "  " << runtime << "\t 8 \ttab name\n";  // blanks inside a name
        // A line over 99 characters: its rest must not be read as a line of its own.
        std::string long_line = "TM 1 C 4 long";
        long_line += std::string(99 - long_line.size(), ' ');
        out << long_line << "TM " << n << " " << runtime << " 4 tail\n";
    }
    registry.set_path("LOCALE_FILE", file);
    const std::string time_before = std::setlocale(LC_TIME, nullptr);

    EXPECT_EQ(std::string(common2reallocale("first")), runtime);
    EXPECT_STREQ(common2reallocale("second"), "C");  // no usable line: the default
    EXPECT_STREQ(common2reallocale("third"), "C");   // only TM lines count
    EXPECT_EQ(std::string(common2reallocale("tab name")), runtime);
    EXPECT_STREQ(common2reallocale("tail"), "C");
    EXPECT_STREQ(common2reallocale("nothing"), "C");
    EXPECT_EQ(std::setlocale(LC_TIME, nullptr), time_before);
}

}  // namespace
