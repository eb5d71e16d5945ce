// Failures of the named path table: what is reported to the system log
// (event, type, insertion strings) and what callers get when memory runs out.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/alloc_hook.h"
#include "support/eventlog_capture.h"
#include "support/registry_fixture.h"
#include "twcommon/config.h"
#include "twcommon/diag.h"

namespace {

using twtest::Event;
using twtest::EventLogCapture;
using twtest::FailAllocation;
using twtest::RegistryFixture;

const char kPathsKey[] = "SOFTWARE\\Quorvex\\Tallowind\\CurrentVersion\\Paths";

// The events with this id.
std::vector<Event> with_id(const EventLogCapture &capture, uint32_t id) {
    std::vector<Event> found;
    for (const Event &e : capture.events())
        if (e.id == id) found.push_back(e);
    return found;
}

void expect_one(const EventLogCapture &capture, uint32_t id, int type, const std::vector<std::string> &strings) {
    auto found = with_id(capture, id);
    ASSERT_EQ(1u, found.size()) << "event " << id;
    EXPECT_EQ(type, found[0].type) << "event " << id;
    EXPECT_EQ(0u, found[0].category) << "event " << id;
    EXPECT_EQ(strings, found[0].strings) << "event " << id;
}

TEST(PathsReports, MissingPathsKeyIsAWarningAndTheBuiltInTableStays) {
    EventLogCapture capture;
    EXPECT_STREQ("/usr/tallowind/backup/logs", getOrrickString("BP_LOGS"));
    expect_one(capture, 7, Event::warning, {kPathsKey});
    EXPECT_EQ(1u, capture.events().size());
}

TEST(PathsReports, OneCharacterNameIsRefusedAsOutOfMemory) {
    RegistryFixture registry;
    registry.set_path("x", "value");
    registry.set_path("y", "");  // empty for an unknown name: nothing at all
    registry.set_path("OK_ROW", "fine");
    EventLogCapture capture;
    EXPECT_STREQ("", getOrrickString("x"));
    EXPECT_STREQ("fine", getOrrickString("OK_ROW"));
    expect_one(capture, 5, Event::error, {"x"});
    EXPECT_EQ(1u, capture.events().size());
}

TEST(PathsReports, ExpandingAnEmptyTemplateGivesANewEmptyString) {
    ASSERT_NE(0, lockConfig());
    EventLogCapture capture;
    char *value = expandOrrickString("");
    ASSERT_NE(nullptr, value);
    EXPECT_STREQ("", value);
    freeOrrickString(value);
    expect_one(capture, 10, Event::error, {""});
    value = expandOrrickString(nullptr);  // none is no failure
    ASSERT_NE(nullptr, value);
    EXPECT_STREQ("", value);
    freeOrrickString(value);
    EXPECT_EQ(1u, capture.events().size());
}

TEST(PathsOutOfMemory, LookupGivesEmptyThenRecovers) {
    ASSERT_NE(0, lockConfig());
    EventLogCapture capture;
    int failures = twtest::for_each_allocation_failure(
        [] {
            std::string value = getOrrickString("ADMINCMD_PATH");
            // Never a value with a piece missing.
            EXPECT_TRUE(value.empty() || value == "/usr/tallowind/backup/bin/admincmd") << value;
        },
        [](bool) {});
    EXPECT_GT(failures, 0);
    EXPECT_STREQ("/usr/tallowind/backup/bin/admincmd", getOrrickString("ADMINCMD_PATH"));
    EXPECT_STREQ("/usr/tallowind/backup/bin", getOrrickString("BP_BIN"));
    auto reports = with_id(capture, 9);
    ASSERT_EQ(size_t(failures), reports.size());
    for (const Event &e : reports) EXPECT_EQ(std::vector<std::string>{"ADMINCMD_PATH"}, e.strings);
}

TEST(PathsOutOfMemory, ExpandGivesANewEmptyString) {
    ASSERT_NE(0, lockConfig());
    const char *text = "$BP_BIN-${ _ps }x\\$";
    EventLogCapture capture;
    int empty_results = 0;
    int failures = twtest::for_each_allocation_failure(
        [&] {
            char *value = expandOrrickString(text);
            // Null only if the empty string itself could not be had, which
            // one failing allocation cannot cause.
            ASSERT_NE(nullptr, value);
            std::string copy = value;
            freeOrrickString(value);
            if (copy.empty()) ++empty_results;
            else EXPECT_EQ("/usr/tallowind/backup/bin-/x$", copy);
        },
        [](bool) {});
    EXPECT_GT(failures, 0);
    EXPECT_EQ(failures, empty_results);
    auto reports = with_id(capture, 10);
    ASSERT_EQ(size_t(failures), reports.size());
    for (const Event &e : reports) EXPECT_EQ(std::vector<std::string>{text}, e.strings);
}

TEST(PathsOutOfMemory, UnixToLocalGivesNoneThenRecovers) {
    ASSERT_NE(0, lockConfig());
    const char *command = "/usr/tallowind/backup/bin/admincmd/twlabel";
    EventLogCapture capture;
    int nones = 0;
    int failures = twtest::for_each_allocation_failure(
        [&] {
            const char *value = UnixToLocalCmd(command);
            if (!value) ++nones;
            else EXPECT_STREQ(command, value);
        },
        [](bool) {});
    EXPECT_GT(failures, 0);
    EXPECT_EQ(failures, nones);
    EXPECT_STREQ(command, UnixToLocalCmd(command));
    EXPECT_STREQ("/usr/tallowind/backup/bin/twjobd", UnixToLocalCmd("/usr/tallowind/backup/bin/twjobd"));
    auto reports = with_id(capture, 8);
    ASSERT_EQ(size_t(failures), reports.size());
    for (const Event &e : reports) EXPECT_EQ(std::vector<std::string>{command}, e.strings);
}

TEST(PathsOutOfMemory, TableThatCannotBeMadeIsTriedAgain) {
    unlockConfig();  // makes the module mutex, not the table
    {
        FailAllocation fail(1);
        EXPECT_EQ(0, lockConfig());
        EXPECT_TRUE(fail.fired());
    }
    EXPECT_EQ(0, unlockConfig());
    EXPECT_NE(0, lockConfig());
    EXPECT_EQ(1, unlockConfig());
    EXPECT_STREQ("/usr/tallowind/backup/logs", getOrrickString("BP_LOGS"));
}

TEST(PathsOutOfMemory, BuiltInRowThatCannotBeAddedIsReported) {
    unlockConfig();
    EventLogCapture capture;
    {
        // The table, then the first row's entry and its tree node.
        FailAllocation fail(3);
        EXPECT_NE(0, lockConfig());
        EXPECT_TRUE(fail.fired());
    }
    auto reports = with_id(capture, 4);
    ASSERT_EQ(1u, reports.size());
    EXPECT_EQ(Event::error, reports[0].type);
    ASSERT_EQ(1u, reports[0].strings.size());
    const std::string lost = reports[0].strings[0];
    EXPECT_STREQ("", getOrrickString(lost.c_str()));
    EXPECT_STREQ("/usr/tallowind/backup/logs", getOrrickString("BP_LOGS"));
}

TEST(PathsOutOfMemory, QuotingGivesNone) {
    FailAllocation fail(1);
    EXPECT_EQ(nullptr, createNTOrrickString("a b"));
    EXPECT_TRUE(fail.fired());
    char text[16] = "x\"y\"";
    FailAllocation again(1);
    EXPECT_STREQ("x\"y\"", changeToNTOrrickString(text, sizeof text));
}

TEST(PathsOutOfMemory, PathsFileSkipsAValueItCannotHold) {
    RegistryFixture registry;
    registry.set_path("ROW_ONE", "one");
    registry.set_path("ROW_TWO", "two");
    int nones = 0;
    twtest::for_each_allocation_failure(
        [&] {
            PathsFile *file = openPathsFile();
            if (!file) ++nones;
            closePathsFile(file);
        },
        [](bool) {});
    EXPECT_GT(nones, 0);

    PathsFile *file = openPathsFile();
    ASSERT_NE(nullptr, file);
    EventLogCapture capture;
    char *name = nullptr, *value = nullptr;
    {
        FailAllocation fail(1);
        EXPECT_EQ(1, readPathsFile(file, &name, &value));
        EXPECT_TRUE(fail.fired());
    }
    EXPECT_EQ(nullptr, name);
    EXPECT_EQ(nullptr, value);
    expect_one(capture, 12, Event::error, {kPathsKey, "0"});
    ASSERT_EQ(1, readPathsFile(file, &name, &value));  // on with the other value
    ASSERT_TRUE(name && value);
    EXPECT_EQ(std::string(name) == "ROW_ONE" ? "one" : "two", std::string(value)) << name;
    std::free(name);
    std::free(value);
    EXPECT_EQ(0, readPathsFile(file, &name, &value));
    closePathsFile(file);
}

// Rows X00 .. X40, each naming the one before twice: values double at each
// row, and there are 2^40 paths from X40 down to X00. The registry
// enumerates them in the order written or by name; X40 comes last in both.
void write_doubling_rows(RegistryFixture &registry, const std::string &first) {
    auto name = [](int k) { return std::string(k < 10 ? "X0" : "X") + std::to_string(k); };
    registry.set_path_template(name(0), first);
    for (int k = 1; k <= 40; ++k) registry.set_path_template(name(k), "$" + name(k - 1) + "$" + name(k - 1));
}

TEST(PathsLimits, ManyPathsToANameLoadAtOnceAndValuesStopAtOneMebibyte) {
    RegistryFixture registry;
    write_doubling_rows(registry, "ab");
    EventLogCapture capture;
    EXPECT_STREQ("/", getOrrickString("_ps"));
    EXPECT_STREQ("ab", getOrrickString("X00"));
    std::string x10;
    for (int i = 0; i < 1024; ++i) x10 += "ab";
    EXPECT_EQ(x10, getOrrickString("X10"));
    EXPECT_EQ(size_t(1) << 20, std::strlen(getOrrickString("X19")));
    EXPECT_STREQ("", getOrrickString("X40"));  // 2 TiB: refused as no memory
    expect_one(capture, 9, Event::error, {"X40"});
    char *expanded = expandOrrickString("$X19$X19");
    EXPECT_STREQ("", expanded);
    freeOrrickString(expanded);
    expect_one(capture, 10, Event::error, {"$X19$X19"});
}

// X40's row finds its reference leading back to it and would inline X00's
// template 2^39 times (with or without text of its own): it is refused.
class PathsRowLimit : public testing::TestWithParam<const char *> {};

TEST_P(PathsRowLimit, RowThatWouldInlineWithoutEndIsRefused) {
    RegistryFixture registry;
    write_doubling_rows(registry, GetParam());
    EventLogCapture capture;
    EXPECT_STREQ("", getOrrickString("X40"));
    expect_one(capture, 5, Event::error, {"X40"});
    const std::string x0 = getOrrickString("X00");
    EXPECT_EQ(x0 + x0, getOrrickString("X01"));
}

INSTANTIATE_TEST_SUITE_P(Templates, PathsRowLimit, testing::Values("$X40 more", "$X40"));

#ifndef _WIN32
// The in-memory registry can hold a value whose every read fails with a
// given NT error number (type 0xFFFFFFFF, the number as its data).
void set_unreadable_path(RegistryFixture &registry, const std::string &name, uint32_t error) {
    registry.set_raw("Paths", name, 0xFFFFFFFFu, &error, sizeof error);
}

TEST(PathsReports, ValueThatCannotBeReadIsReportedAndSkipped) {
    RegistryFixture registry;
    registry.set_path("ROW_BEFORE", "before");
    set_unreadable_path(registry, "ROW_DENIED", 5);  // ERROR_ACCESS_DENIED
    registry.set_path("ROW_AFTER", "after");
    EventLogCapture capture;
    EXPECT_STREQ("before", getOrrickString("ROW_BEFORE"));
    EXPECT_STREQ("after", getOrrickString("ROW_AFTER"));
    EXPECT_STREQ("", getOrrickString("ROW_DENIED"));
    char text[101];
    GetErrorMessageStr(5, text, sizeof text);
    expect_one(capture, 11, Event::error, {kPathsKey, "1", text});
    EXPECT_EQ(1u, capture.events().size());
}

TEST(PathsReports, RegistryOutOfMemoryIsNotAReadFailure) {
    RegistryFixture registry;
    set_unreadable_path(registry, "ROW_NOT_ENOUGH", 8);  // ERROR_NOT_ENOUGH_MEMORY
    set_unreadable_path(registry, "ROW_OUT_OF", 14);     // ERROR_OUTOFMEMORY
    registry.set_path("ROW_FINE", "fine");
    PathsFile *file = openPathsFile();
    ASSERT_NE(nullptr, file);
    EventLogCapture capture;
    char *name, *value;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(1, readPathsFile(file, &name, &value));
        EXPECT_EQ(nullptr, name);
        EXPECT_EQ(nullptr, value);
    }
    ASSERT_EQ(1, readPathsFile(file, &name, &value));
    EXPECT_STREQ("ROW_FINE", name);
    std::free(name);
    std::free(value);
    EXPECT_EQ(0, readPathsFile(file, &name, &value));
    closePathsFile(file);
    auto reports = with_id(capture, 12);
    ASSERT_EQ(2u, reports.size());
    EXPECT_EQ((std::vector<std::string>{kPathsKey, "0"}), reports[0].strings);
    EXPECT_EQ((std::vector<std::string>{kPathsKey, "1"}), reports[1].strings);
    EXPECT_EQ(2u, capture.events().size());
}
#endif

extern "C" TW_API void twcommon_testhook_builtin_path_row(const char *name, const char *template_text);
extern "C" TW_API void twcommon_testhook_eventlog(void (*sink)(void *, const char *, int, unsigned, uint32_t, int,
                                                                const char *const *),
                                                   void *context);

// Prints each report, so that the parent of a death test can see them.
void print_event(void *, const char *, int type, unsigned, uint32_t id, int count, const char *const *strings) {
    std::fprintf(stderr, "event %u type %d:", unsigned(id), type);
    for (int i = 0; i < count; ++i) std::fprintf(stderr, " [%s]", strings[i]);
    std::fprintf(stderr, "\n");
    std::fflush(stderr);
}

void load_with_a_duplicate_builtin_row() {
    twcommon_testhook_eventlog(print_event, nullptr);
    twcommon_testhook_builtin_path_row("BP_LOGS", "/elsewhere");
    getOrrickString("BP_LOGS");
}

TEST(PathsReportsDeathTest, DuplicateBuiltInNameIsReportedThenAsserted) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(load_with_a_duplicate_builtin_row(), "event 20 type 0: \\[BP_LOGS\\]");
    EXPECT_DEATH(load_with_a_duplicate_builtin_row(), "1 == 2");
}

}  // namespace
