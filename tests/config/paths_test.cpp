// The named path table: built-in layout, template syntax, the registry
// overlay, the reverse lookup of Unix commands, NT quoting and lock counting.
// The table loads once per process, so every case writes its registry rows
// before its first library call.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/registry_fixture.h"
#include "support/scratch.h"
#include "twcommon/config.h"

namespace {

using twtest::RegistryFixture;

std::string expand(const char *text) {
    char *value = expandOrrickString(text);
    std::string copy = value ? value : "<null>";
    freeOrrickString(value);
    return copy;
}

TEST(PathsTable, BuiltInLayoutBuildsDirectoriesOnEachOther) {
    EXPECT_STREQ("/", getOrrickString("_ps"));
    EXPECT_STREQ("/usr/tallowind", getOrrickString("KR_DIR"));
    EXPECT_STREQ("/usr/tallowind/backup/bin", getOrrickString("BP_BIN"));
    EXPECT_STREQ("/usr/tallowind/backup/logs", getOrrickString("BP_LOGS"));
    EXPECT_STREQ("/usr/tallowind/backup/bin/admincmd", getOrrickString("ADMINCMD_PATH"));
    EXPECT_STREQ("/usr/tallowind/backup/db", getOrrickString("DATABASE_PATH"));
    EXPECT_STREQ("/usr/tallowind/msg/.conf", getOrrickString("LOCALE_FILE"));
    EXPECT_STREQ("/usr/tallowind/Help", getOrrickString("TW_HELP_DIR"));
    EXPECT_STREQ("/dev/null", getOrrickString("_dev_null"));
    EXPECT_STREQ("/usr/tallowind/backup/bin/twjobd", getOrrickString("JOBD_PATH"));
    EXPECT_STREQ("/usr/tallowind/backup/logs/twjobd", getOrrickString("JOBD_LOGS"));
    for (const char *name : {"EXTERNAL_ROBOTICS", "EXTERNAL_DRIVETYPES", "EXTERNAL_MEDIATYPES", "EXTERNAL_DENSITIES",
                             "GSBNTRIES_PATH", "HC8MM_VALID_FILE", "OVERRIDE_PATH", "VM_GSBNTRIES_PATH"})
        EXPECT_EQ(0, std::strncmp("/usr/tallowind/volmgr/", getOrrickString(name), 22)) << name;
}

TEST(PathsTable, NtServicesAreTheRoleListsInOrder) {
    std::string joined;
    for (const char *list : {"BP_CLIENT_SERVICES", "BP_NOTIFY_SERVICES", "BP_MEDIADB_SERVICES", "BP_MEDIAMGR_SERVICES",
                             "BP_MASTER_SERVICES"}) {
        std::string services = getOrrickString(list);
        ASSERT_FALSE(services.empty()) << list;
        EXPECT_EQ('\n', services.back()) << list;
        joined += services;
    }
    EXPECT_EQ(joined, getOrrickString("BP_NT_SERVICES"));
}

TEST(PathsTable, UnknownNamesAreEmptyAndValuesAreCached) {
    for (const char *name : {"NO_SUCH_NAME", "_exe", "_cmd", "x", "", static_cast<const char *>(nullptr)}) {
        EXPECT_STREQ("", getOrrickString(name));
        EXPECT_EQ(0ul, getOrrickInt(name));
    }
    const char *first = getOrrickString("BP_LOGS");
    EXPECT_EQ(first, getOrrickString("BP_LOGS"));
    EXPECT_EQ(13720ul, getOrrickInt("JOBD_PORT"));
}

TEST(PathsTemplate, ReferencesPlainAndBraced) {
    EXPECT_EQ("/usr/tallowind/backup/bin/x", expand("$BP_BIN/x"));
    EXPECT_EQ("/usr/tallowind/backup/bin/x", expand("${ BP_BIN\t}/x"));
    EXPECT_EQ("/usr/tallowind/backup/binx", expand("${BP_BIN}x"));
    EXPECT_EQ("", expand("$BP_BINx"));  // the name runs on: unknown
    EXPECT_EQ("a--b", expand("a-$_exe-b"));
}

TEST(PathsTemplate, DollarsThatNameNothingStayWithABackslash) {
    EXPECT_EQ("\\${BP_BIN/x", expand("${BP_BIN/x"));
    EXPECT_EQ("\\${ 9}", expand("${ 9}"));
    EXPECT_EQ("cost \\$5", expand("cost $5"));
    EXPECT_EQ("a\\$", expand("a$"));
}

TEST(PathsTemplate, EscapesAreRemoved) {
    EXPECT_EQ("$BP_BIN", expand("\\$BP_BIN"));
    EXPECT_EQ("a\\b", expand("a\\\\b"));
    EXPECT_EQ("ab", expand("a\\b"));
    EXPECT_EQ("ab", expand("ab\\"));
}

TEST(PathsTemplate, ExpandAlwaysGivesANewString) {
    char *a = expandOrrickString("plain");
    char *b = expandOrrickString("plain");
    ASSERT_TRUE(a && b);
    EXPECT_NE(a, b);
    EXPECT_STREQ("plain", a);
    freeOrrickString(a);
    EXPECT_EQ(1, freeOrrickString(b));
    EXPECT_EQ("", expand(nullptr));
    EXPECT_EQ("", expand(""));
}

TEST(PathsOverlay, RegistryRowOverridesAndDependentsFollow) {
    twtest::ScratchDir scratch;
    RegistryFixture registry;
    registry.set_path("BP_LOGS", scratch.path());
    registry.set_path("MSG_DIR", scratch.path() + "$msg");
    EXPECT_EQ(scratch.path(), getOrrickString("BP_LOGS"));
    EXPECT_EQ(scratch.path() + "/twjobd", getOrrickString("JOBD_LOGS"));
    EXPECT_EQ(scratch.path() + "$msg", getOrrickString("MSG_DIR"));
    EXPECT_EQ(scratch.path() + "$msg/.conf", getOrrickString("LOCALE_FILE"));
}

TEST(PathsOverlay, SelfReferenceExtendsTheBuiltInValue) {
    RegistryFixture registry;
    registry.set_path_template("BP_BIN", "$BP_BIN${_ps}extra");
    registry.set_path_template("NEW_ROW", "${NEW_ROW}tail");  // no old value: the reference goes
    EXPECT_STREQ("/usr/tallowind/backup/bin/extra", getOrrickString("BP_BIN"));
    EXPECT_STREQ("/usr/tallowind/backup/bin/extra/admincmd", getOrrickString("ADMINCMD_PATH"));
    EXPECT_STREQ("tail", getOrrickString("NEW_ROW"));
}

TEST(PathsOverlay, CyclesThroughOtherRowsAreBroken) {
    RegistryFixture registry;
    registry.set_path_template("LOOP_A", "a$LOOP_B");
    registry.set_path_template("LOOP_B", "b$LOOP_A");
    registry.set_path_template("KR_DIR", "$BP_DIR-top");  // BP_DIR is built on KR_DIR
    // The row read second finds the first leading back to it and takes its
    // template in place of the reference; the registry chooses the order.
    const std::string a = getOrrickString("LOOP_A"), b = getOrrickString("LOOP_B");
    EXPECT_TRUE((a == "aba" && b == "ba") || (a == "ab" && b == "bab")) << a << " " << b;
    EXPECT_STREQ("/usr/tallowind/backup-top", getOrrickString("KR_DIR"));
    EXPECT_STREQ("/usr/tallowind/backup-top/backup", getOrrickString("BP_DIR"));
}

// Chains of 20,000 rows, each naming the next; the names sort in the order
// written, so that the registry enumerates them in that order either way.
struct Chain {
    const char *prefix;
    const char *last_template;  // of the last row
    const char *value;          // of every row
};

void PrintTo(const Chain &chain, std::ostream *out) { *out << chain.prefix; }

class PathsChain : public testing::TestWithParam<Chain> {};

TEST_P(PathsChain, AsLongAsTheOverlay) {
    constexpr int kRows = 20000;
    const Chain chain = GetParam();
    auto name = [&](int k) {
        char text[16];
        std::snprintf(text, sizeof text, "%s%05d", chain.prefix, k);
        return std::string(text);
    };
    RegistryFixture registry;
    for (int k = 1; k < kRows; ++k) registry.set_path_template(name(k), "$" + name(k + 1));
    registry.set_path_template(name(kRows), chain.last_template);
    EXPECT_STREQ(chain.value, getOrrickString(name(1).c_str()));
    EXPECT_STREQ(chain.value, getOrrickString(name(kRows / 2).c_str()));
    EXPECT_STREQ(chain.value, getOrrickString(name(kRows).c_str()));
    EXPECT_EQ(std::string(chain.value) + chain.value, expand(("$" + name(1) + "$" + name(2)).c_str()));
}

INSTANTIATE_TEST_SUITE_P(Rows, PathsChain,
                         testing::Values(Chain{"R", "end", "end"},
                                         // The last row leads back to itself through all the others,
                                         // which are inlined in its place.
                                         Chain{"C", "$C00001-tail", "-tail"}),
                         [](const testing::TestParamInfo<Chain> &info) { return std::string(info.param.prefix); });

TEST(PathsOverlay, EmptyValueDeletesAndNewNamesAreAdded) {
    RegistryFixture registry;
    registry.set_path("BP_LOGS", "");
    registry.set_path("NOT_THERE", "");
    registry.set_raw("Paths", "DATABASE_PATH", 1 /* text */, nullptr, 0);  // no data at all, not even a terminator
    registry.set_path_template("TW_EXTRA_DIR", "$BP_DIR${_ps}extra");
    registry.set_path("_exe", ".exe");
    EXPECT_STREQ("", getOrrickString("BP_LOGS"));
    EXPECT_STREQ("/twjobd", getOrrickString("JOBD_LOGS"));
    EXPECT_STREQ("", getOrrickString("NOT_THERE"));
    EXPECT_STREQ("", getOrrickString("DATABASE_PATH"));
    EXPECT_STREQ("/usr/tallowind/backup/extra", getOrrickString("TW_EXTRA_DIR"));
    EXPECT_STREQ("/usr/tallowind/backup/bin/twjobd.exe", getOrrickString("JOBD_PATH"));
}

TEST(PathsOverlay, RegistryTextIsCleanedOfEscapes) {
    RegistryFixture registry;
    registry.set_path_template("OCTAL_ROW", "\\101\\1012\\0x\\000y\\400");
    registry.set_path_template("CONTROL_ROW", "  a\\tb\\nc\\qd  \t ");
    registry.set_path_template("DOLLAR_ROW", "\\$BP_BIN and \\044BP_BIN");
    registry.set_path_template("SLASH_ROW", "C:\\\\dir\\\\");
    registry.set_path_template("END_ROW", "end\\");
    EXPECT_STREQ("AA20x0y400", getOrrickString("OCTAL_ROW"));
    EXPECT_STREQ("a\tb\ncqd", getOrrickString("CONTROL_ROW"));
    EXPECT_STREQ("$BP_BIN and $BP_BIN", getOrrickString("DOLLAR_ROW"));
    EXPECT_STREQ("C:\\dir\\", getOrrickString("SLASH_ROW"));
    EXPECT_STREQ("end", getOrrickString("END_ROW"));
}

TEST(PathsOverlay, NtPlatformRowsGiveTheNtLayout) {
    RegistryFixture registry;
    registry.set_path("_ps", "\\");
    registry.set_path("_kr_fs", "C:\\Program Files\\Quorvex");
    registry.set_path("_exe", ".exe");
    registry.set_path("_cmd", ".cmd");
    EXPECT_STREQ("C:\\Program Files\\Quorvex\\tallowind\\backup\\bin\\admincmd\\twpolicy.exe",
                 getOrrickString("POLICY_PATH"));
    EXPECT_STREQ("C:\\Program Files\\Quorvex\\tallowind\\backup\\bin\\goodies\\backup_notify.cmd",
                 getOrrickString("BACKUP_NOTIFY_PATH"));
    EXPECT_STREQ("C:\\Program Files\\Quorvex\\tallowind\\backup\\bin\\twjobd.exe",
                 UnixToLocalCmd("/usr/tallowind/backup/bin/twjobd"));
}

TEST(PathsOverlay, LongNamesGrowTheNameBuffer) {
    const std::string long_name = "LONG_" + std::string(2500, 'N');
    RegistryFixture registry;
    registry.set_path_template(long_name, "$KR_DIR${_ps}long");
    registry.set_path("SHORT_AFTER", "short");
    EXPECT_STREQ("/usr/tallowind/long", getOrrickString(long_name.c_str()));
    EXPECT_STREQ("short", getOrrickString("SHORT_AFTER"));
}

TEST(PathsOverlay, NumbersReadWithTheirBase) {
    RegistryFixture registry;
    registry.set_path("HEX_ROW", "0x1F");
    registry.set_path("OCT_ROW", "017");
    registry.set_path("WORD_ROW", "many");
    EXPECT_EQ(31ul, getOrrickInt("HEX_ROW"));
    EXPECT_EQ(15ul, getOrrickInt("OCT_ROW"));
    EXPECT_EQ(0ul, getOrrickInt("WORD_ROW"));
}

TEST(PathsUnixToLocal, FindsTheRowOfACommand) {
    EXPECT_STREQ("/usr/tallowind/backup/bin/admincmd/twpolicy", UnixToLocalCmd("/usr/tallowind/backup/bin/admincmd/twpolicy"));
    EXPECT_EQ(getOrrickString("JOBD_PATH"), UnixToLocalCmd("/usr/tallowind/backup/bin/twjobd"));
    EXPECT_EQ(nullptr, UnixToLocalCmd("/usr/tallowind/backup/bin/nothing"));
    EXPECT_EQ(nullptr, UnixToLocalCmd("/usr/tallowind/backup/bin/twjobd/"));
    EXPECT_EQ(nullptr, UnixToLocalCmd(""));
    EXPECT_EQ(nullptr, UnixToLocalCmd(nullptr));
}

TEST(PathsUnixToLocal, DeletedCommandRowsAreNotFound) {
    RegistryFixture registry;
    registry.set_path("JOBD_PATH", "");
    EXPECT_EQ(nullptr, UnixToLocalCmd("/usr/tallowind/backup/bin/twjobd"));
    EXPECT_NE(nullptr, UnixToLocalCmd("/usr/tallowind/backup/bin/twschedd"));
}

TEST(PathsQuoting, CreateWrapsInOnePairOfQuotes) {
    auto quoted = [](const char *text) {
        char *q = createNTOrrickString(text);
        std::string copy = q ? q : "<null>";
        std::free(q);
        return copy;
    };
    EXPECT_EQ("\"a b\"", quoted("a b"));
    EXPECT_EQ("\"xy z\"", quoted("x\"y z\""));
    EXPECT_EQ("\"\"", quoted("\"\""));
    EXPECT_EQ("<null>", quoted("a\"b"));
    EXPECT_EQ("<null>", quoted("\"a\"\"b"));
    EXPECT_EQ("<null>", quoted(""));
    EXPECT_EQ("<null>", quoted(nullptr));
}

TEST(PathsQuoting, ChangeRewritesOnlyTextsWithQuotes) {
    char plain[16] = "a b";
    EXPECT_EQ(plain, changeToNTOrrickString(plain, sizeof plain));
    EXPECT_STREQ("a b", plain);
    char whole[16] = "\"a b\"";
    EXPECT_STREQ("\"a b\"", changeToNTOrrickString(whole, sizeof whole));
    char split[16] = "x\"y\"";
    EXPECT_STREQ("\"xy\"", changeToNTOrrickString(split, sizeof split));
    char unbalanced[16] = "x\"y";
    EXPECT_STREQ("x\"y", changeToNTOrrickString(unbalanced, sizeof unbalanced));
    char tight[5] = {'a', '"', 'b', '"', '\0'};
    EXPECT_STREQ("\"ab", changeToNTOrrickString(tight, 4));
    EXPECT_EQ(nullptr, changeToNTOrrickString(nullptr, 4));
}

TEST(PathsLock, CountsUsersAndTellsWhenTheLastLetGo) {
    EXPECT_EQ(0, unlockConfig());
    EXPECT_NE(0, lockConfig());
    EXPECT_NE(0, lockConfig());
    EXPECT_EQ(0, unlockConfig());
    EXPECT_EQ(1, unlockConfig());
    EXPECT_EQ(0, unlockConfig());
    EXPECT_NE(0, lockConfig());
    EXPECT_EQ(1, unlockConfig());
}

TEST(PathsFile, ReadsEveryRowCleanedThenEnds) {
    EXPECT_EQ(nullptr, openPathsFile());  // no Paths key yet
    RegistryFixture registry;
    registry.set_path_template("ROW_ONE", "  one\\t ");
    registry.set_path_template("ROW_TWO", "$BP_BIN");
    PathsFile *file = openPathsFile();
    ASSERT_NE(nullptr, file);
    std::string seen;
    char *name, *value;
    while (readPathsFile(file, &name, &value)) {
        ASSERT_TRUE(name && value);
        seen += std::string(name) + "=" + value + ";";
        std::free(name);
        std::free(value);
    }
    EXPECT_EQ(0, readPathsFile(file, &name, &value));
    closePathsFile(file);
    closePathsFile(nullptr);
    EXPECT_EQ(0, readPathsFile(nullptr, &name, &value));
    EXPECT_NE(std::string::npos, seen.find("ROW_ONE=one;"));
    EXPECT_NE(std::string::npos, seen.find("ROW_TWO=$BP_BIN;"));
}

}  // namespace
