// Server-given names replaced by numbered files in the logs directory, and
// the removal of a help file's generated companions.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "support/registry_fixture.h"
#include "support/scratch.h"
#include "twcommon/config.h"

namespace fs = std::filesystem;

namespace {

void touch(const std::string &path) { std::ofstream(path) << "x"; }

std::set<std::string> names_in(const std::string &dir) {
    std::set<std::string> names;
    for (const auto &entry : fs::directory_iterator(dir)) names.insert(entry.path().filename().string());
    return names;
}

// BP_LOGS points at a scratch folder. The replacement names are formed with
// "\" on every system, so the stem folders are named that way here too (off
// Windows a folder whose name holds a backslash, beside "logs").
class ServerNames : public ::testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(logs);
        registry.set_path("BP_LOGS", logs);
    }
    std::string stem_dir(const std::string &stem) {
        std::string dir = logs + "\\" + stem;
        fs::create_directories(dir);
        return dir;
    }
    std::string replaced(std::string path, int kind, int mode = 0, unsigned size = 512) {
        char buf[600] = {};
        path.copy(buf, sizeof buf - 1);
        result = validName_Server2PC(buf, size, kind, mode);
        return buf;
    }

    twtest::ScratchDir scratch;
    std::string logs = scratch.file("logs");
    twtest::RegistryFixture registry;
    int result = -1;
};

const char kRenamed[] = "C:\\Tallowind\\db\\.rename.0042";

TEST_F(ServerNames, KindsTakeTheNextOrTheCurrentNumber) {
    std::string alt = stem_dir("ALTPATH");
    for (const char *name : {"ALTPATH.000", "ALTPATH.004", "altpath.007", "ALTPATH.log", "ALTPATH.12x", "ALTPATH",
                             "OTHER.020", "ALTPATH.1234567890"})
        touch((fs::path(alt) / name).string());
    std::string rest = stem_dir("BPREST");
    touch((fs::path(rest) / "BPREST.001").string());
    touch((fs::path(rest) / "BPREST.002").string());

    EXPECT_EQ(replaced("/srv/x", 1), logs + "\\ALTPATH\\ALTPATH.007");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(replaced(kRenamed, 0), logs + "\\ALTPATH\\ALTPATH.008");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(replaced("/srv/x", 2), logs + "\\BPREST\\BPREST.003");
    EXPECT_EQ(result, 1);
}

TEST_F(ServerNames, NoNumberedFilesYet) {
    EXPECT_EQ(replaced("/srv/x", 1), logs + "\\ALTPATH\\ALTPATH.000");  // the current file, none so far
    EXPECT_EQ(replaced("/srv/x", 2), logs + "\\BPREST\\BPREST.001");
    EXPECT_EQ(replaced(kRenamed, 0), logs + "\\ALTPATH\\ALTPATH.001");
}

TEST_F(ServerNames, KindZeroReplacesOnlyTheRenameArea) {
    EXPECT_EQ(replaced("/srv/not/renamed", 0), "/srv/not/renamed");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(replaced("/srv/x", 7), "/srv/x");  // no such kind
    EXPECT_EQ(result, 0);
}

TEST_F(ServerNames, UsableNamesStay) {
    std::string existing = scratch.file("existing.txt");
    touch(existing);
    EXPECT_EQ(replaced(existing, 1, 1), existing);
    EXPECT_EQ(result, 0);

    std::string created = scratch.file("created.txt");
    EXPECT_EQ(replaced(created, 1, 2), created);  // mode 2 creates it
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(fs::exists(created));

    std::string missing = scratch.file("missing.txt");
    EXPECT_EQ(replaced(missing, 1, 1), logs + "\\ALTPATH\\ALTPATH.000");  // mode 1 does not create
    EXPECT_EQ(result, 1);
    EXPECT_FALSE(fs::exists(missing));

    std::string no_folder = (fs::path(scratch.file("no-folder")) / "f").string();
    EXPECT_EQ(replaced(no_folder, 2, 2), logs + "\\BPREST\\BPREST.001");
}

TEST_F(ServerNames, ReplacementIsCutToTheBuffer) {
    std::string full = logs + "\\ALTPATH\\ALTPATH.000";
    EXPECT_EQ(replaced("/srv/x", 1, 0, 10), full.substr(0, 9));
    EXPECT_EQ(result, 1);
    EXPECT_EQ(validName_Server2PC(nullptr, 10, 1, 0), 0);
}

TEST(RemoveHelpFiles, DeletesGeneratedCompanionsOnly) {
    twtest::ScratchDir scratch;
    std::string help = scratch.file("help");
    fs::create_directories(help);
    twtest::RegistryFixture registry;
    registry.set_path("TW_HELP_DIR", help);
    for (const char *name : {"app.hlp", "app.CNT", "app.Pdf", "app", "app.gid", "APP.fts", "app.x.tmp", "other.gid",
                             "application.gid"})
        touch((fs::path(help) / name).string());

    RemoveHelpFiles("C:\\Program Files\\Tallowind\\help\\app.hlp");
    EXPECT_EQ(names_in(help), (std::set<std::string>{"app.hlp", "app.CNT", "app.Pdf", "app", "other.gid",
                                                     "application.gid"}));
    RemoveHelpFiles(nullptr);
}

TEST(RemoveHelpFiles, StemIsTheNameWithoutDirectoryAndExtension) {
    twtest::ScratchDir scratch;
    std::string help = scratch.file("help");
    fs::create_directories(help);
    twtest::RegistryFixture registry;
    registry.set_path("TW_HELP_DIR", help);
    for (const char *name : {"guide.v2.gid", "guide.gid", "guide.v2.hlp"}) touch((fs::path(help) / name).string());

    RemoveHelpFiles("/opt/docs/guide.v2.hlp");
    EXPECT_EQ(names_in(help), (std::set<std::string>{"guide.gid", "guide.v2.hlp"}));
}

}  // namespace
