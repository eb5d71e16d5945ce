// Command-line option lookup.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/alloc_hook.h"
#include "twcommon/containers.h"

namespace {

struct Argv {
    std::vector<std::string> texts;
    std::vector<char *> pointers;
    explicit Argv(std::vector<std::string> t) : texts(std::move(t)) {
        for (auto &s : texts) pointers.push_back(&s[0]);
        pointers.push_back(nullptr);
    }
    char **get() { return pointers.data(); }
};

std::vector<std::string> strings_of(char **array) {
    std::vector<std::string> out;
    for (char **p = array; p && *p; ++p) out.emplace_back(*p);
    return out;
}

TEST(Args, OptionsMatchWithoutRegardToCase) {
    Argv argv({"prog", "-v", "-Files", "a", "b", "-x", "c"});
    EXPECT_EQ(1, argEXISTS(argv.get(), "-V"));
    EXPECT_EQ(1, argEXISTS(argv.get(), "-files"));
    EXPECT_EQ(0, argEXISTS(argv.get(), "-y"));
    EXPECT_EQ(0, argEXISTS(argv.get(), "files"));  // no '-': never an option
    EXPECT_EQ(0, argEXISTS(argv.get(), "-"));
    EXPECT_EQ(0, argEXISTS(nullptr, "-v"));
    EXPECT_EQ(0, argEXISTS(argv.get(), nullptr));
}

TEST(Args, ValuesRunToTheNextOptionFromTheFirstOccurrence) {
    Argv argv({"-files", "a", "b", "-x", "c", "-FILES", "z"});
    char **values = argValuesGET(argv.get(), "-files");
    EXPECT_EQ((std::vector<std::string>{"a", "b"}), strings_of(values));
    cstraFREE(values);

    values = argValuesGET(argv.get(), "-x");
    EXPECT_EQ((std::vector<std::string>{"c"}), strings_of(values));
    cstraFREE(values);

    Argv last({"a", "-last"});
    values = argValuesGET(last.get(), "-last");
    ASSERT_NE(nullptr, values);  // present with no values: an empty array
    EXPECT_EQ(nullptr, values[0]);
    cstraFREE(values);

    EXPECT_EQ(nullptr, argValuesGET(argv.get(), "-absent"));
}

TEST(Args, ElementsLongerThan32CharactersAreNeverOptions) {
    const std::string long_option = "-" + std::string(32, 'q');  // 33 characters
    Argv argv({long_option, "value", "-" + std::string(31, 'q'), "v2"});
    EXPECT_EQ(0, argEXISTS(argv.get(), long_option.c_str()));
    EXPECT_EQ(nullptr, argValuesGET(argv.get(), long_option.c_str()));
    char **values = argValuesGET(argv.get(), ("-" + std::string(31, 'Q')).c_str());
    EXPECT_EQ((std::vector<std::string>{"v2"}), strings_of(values));
    cstraFREE(values);
}

TEST(Args, ValuesAreNullWhenMemoryRunsOut) {
    Argv argv({"-o", "a", "b", "c"});
    int failures = twtest::for_each_allocation_failure(
        [&] {
            char **values = argValuesGET(argv.get(), "-o");
            if (values) {
                EXPECT_EQ((std::vector<std::string>{"a", "b", "c"}), strings_of(values));
            }
            cstraFREE(values);
        },
        [](bool) {});
    EXPECT_EQ(4, failures);  // the array and each of the three copies
    twtest::FailAllocation fail(2);
    EXPECT_EQ(nullptr, argValuesGET(argv.get(), "-o"));  // a copy fails: nothing leaks
}

}  // namespace
