#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#if defined(_WIN32)
#  include <io.h>
#endif

#include "diag/log_test_support.h"
#include "support/alloc_hook.h"
#include "support/registry_fixture.h"
#include "support/scratch.h"
#include "twcommon/config.h"
#include "twcommon/diag.h"

namespace {

namespace fs = std::filesystem;
using twtest::names_in;
using twtest::read_log;
using twtest::ScratchDir;
using twtest::StoppedLogClock;
using twtest::touch;
using Names = std::vector<std::string>;

TEST(OpenLog, CreatesTheDirectoryWithItsParentsAndNamesTheFileByTheLocalDate) {
    ScratchDir scratch;
    StoppedLogClock clock(2007, 3, 4, 1, 2, 3, 4);
    const std::string dir = scratch.file("a/b/c");
    int err = -1;
    int fd = open_log(dir.c_str(), 0644, &err);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(err, 0);
    EXPECT_EQ(debugFD, -1);  // the caller decides what the descriptor is for
    twtest::close_descriptor(fd);
    EXPECT_EQ(names_in(dir), Names{"030407.log"});

    clock.set(1999, 12, 31, 0, 0, 0, 0);
    fd = open_log(dir.c_str(), 0644, &err);
    twtest::close_descriptor(fd);
    clock.set(2000, 1, 2, 0, 0, 0, 0);
    fd = open_log(dir.c_str(), 0644, &err);
    twtest::close_descriptor(fd);
    EXPECT_EQ(names_in(dir), (Names{"010200.log", "030407.log", "123199.log"}));

    EXPECT_EQ(open_log(nullptr, 0644, &err), -1);
    EXPECT_EQ(err, EINVAL);
    touch(scratch.file("plain"));
    EXPECT_EQ(open_log(scratch.file("plain/sub").c_str(), 0644, &err), -1);
    EXPECT_NE(err, 0);
}

TEST(OpenLog, TakesUtf8DirectoryNames) {
    ScratchDir scratch;
    StoppedLogClock clock(2007, 3, 4, 1, 2, 3, 4);
    const std::string dir = scratch.path() + "/journ\xc3\xa9\xe2\x82\xac";
    int err = -1;
    int fd = open_log(dir.c_str(), 0644, &err);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(logwithoutdate(fd, "x"), 0);
    twtest::close_descriptor(fd);
    EXPECT_TRUE(fs::exists(fs::u8path(dir) / "030407.log"));
}

// A file the open creates gets exactly the permission given, whatever the
// process umask, which is never changed (other threads would see it); an
// existing file keeps its own.
TEST(OpenLog, CreatesWithTheModeGivenAndLeavesTheUmaskAlone) {
#if defined(_WIN32)
    const int writable = _S_IREAD | _S_IWRITE, read_only = _S_IREAD, mask = _S_IWRITE, write_bit = _S_IWRITE;
    auto set_umask = [](int m) { return _umask(m); };
    auto mode_of = [](const std::string &path) {
        struct _stat info;
        return _stat(path.c_str(), &info) == 0 ? int(info.st_mode) & (_S_IREAD | _S_IWRITE) : -1;
    };
#else
    const int writable = 0644, read_only = 0444, mask = 077, write_bit = 0200;
    auto set_umask = [](int m) { return int(umask(mode_t(m))); };
    auto mode_of = [](const std::string &path) {
        struct stat info;
        return stat(path.c_str(), &info) == 0 ? int(info.st_mode & 0777) : -1;
    };
#endif
    struct Case {
        int mode;
        const char *dir;
    };
    for (const Case &c : {Case{writable, "writable"}, Case{read_only, "read-only"}}) {
        SCOPED_TRACE(c.dir);
        ScratchDir scratch;
        StoppedLogClock clock(2007, 3, 4, 1, 2, 3, 4);
        const std::string dir = scratch.file(c.dir), file = dir + "/030407.log";
        int err = 0;
        int before = set_umask(mask);
        int fd = open_log(dir.c_str(), c.mode, &err);
        int during = set_umask(before);
        EXPECT_EQ(during, mask);
        ASSERT_GE(fd, 0) << err;
        EXPECT_EQ(logwithoutdate(fd, "x"), 0);  // writable through this descriptor in any case
        twtest::close_descriptor(fd);
        EXPECT_EQ(mode_of(file), c.mode);

        // Opened again with the other mode, the file keeps the one it has.
        if (c.mode & write_bit) {
            fd = open_log(dir.c_str(), read_only, &err);
            ASSERT_GE(fd, 0) << err;
            twtest::close_descriptor(fd);
            EXPECT_EQ(mode_of(file), c.mode);
        }
#if defined(_WIN32)
        SetFileAttributesA(file.c_str(), FILE_ATTRIBUTE_NORMAL);  // so that the scratch can go
#endif
    }
}

TEST(OpenLoggingFile, OpensOnlyAnExistingDirectoryAsDebugFDAndCloseForgetsIt) {
    ScratchDir scratch;
    StoppedLogClock clock(2007, 3, 4, 1, 2, 3, 4);
    const std::string missing = scratch.file("missing");
    EXPECT_EQ(open_logging_file(missing.c_str()), nullptr);
    EXPECT_FALSE(fs::exists(missing));
    EXPECT_EQ(Auto_Recycle_Logs, 1);
    EXPECT_EQ(debugFD, -1);

    FILE *stream = open_logging_file(scratch.path().c_str());
    ASSERT_NE(stream, nullptr);
    EXPECT_GE(debugFD, 0);
    EXPECT_EQ(debuglog(debugFD, "through debugFD"), 0);
    EXPECT_EQ(close_logging_file(&stream), 0);
    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(debugFD, -1);
    EXPECT_EQ(close_logging_file(&stream), 0);
    EXPECT_EQ(close_logging_file(nullptr), 0);
    EXPECT_EQ(read_log(scratch.file("030407.log")), "01:02:03.004 " + twtest::ids_stamp() + "through debugFD\n");
}

TEST(DayChange, MovesDebugFDToTheNewDaysFileOnlyWhenAutoRecycleIsOn) {
    ScratchDir scratch;
    StoppedLogClock clock(2007, 3, 4, 23, 59, 59, 999);
    FILE *stream = open_logging_file(scratch.path().c_str());
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(logmsg(2, "late", "fn"), 0);
    clock.set(2007, 3, 5, 0, 0, 0, 0);
    EXPECT_EQ(logwithdate(debugFD, "undated writers never move"), 0);
    EXPECT_EQ(logmsg(2, "early", "fn"), 0);
    const std::string stamp = twtest::ids_stamp();
    EXPECT_EQ(read_log(scratch.file("030407.log")),
              "23:59:59.999 " + stamp + "<2> fn: late\n" + "2007/03/05 00:00:00.000 " + stamp +
                  "undated writers never move\n");
    EXPECT_EQ(read_log(scratch.file("030507.log")), "00:00:00.000 " + stamp + "<2> fn: early\n");

    Auto_Recycle_Logs = 0;
    clock.set(2007, 3, 6, 0, 0, 0, 0);
    EXPECT_EQ(logmsg(2, "stays", "fn"), 0);
    EXPECT_EQ(names_in(scratch.path()), (Names{"030407.log", "030507.log"}));
    twtest::close_descriptor(debugFD);
    debugFD = -1;
}

TEST(DayChange, AFailedReopenLeavesDebugFDNegativeAndReturnsTheErrno) {
    ScratchDir scratch;
    StoppedLogClock clock(2007, 3, 4, 23, 59, 59, 999);
    FILE *stream = open_logging_file(scratch.path().c_str());
    ASSERT_NE(stream, nullptr);
    fs::create_directory(scratch.file("030507.log"));  // the next day's name, taken by a directory
    clock.set(2007, 3, 5, 0, 0, 0, 0);
    int status = debuglog(debugFD, "lost");
    EXPECT_NE(status, 0);
    EXPECT_NE(status, -1);
    EXPECT_LT(debugFD, 0);
    EXPECT_EQ(debuglog(debugFD, "still lost"), -1);
    EXPECT_EQ(logmsg(2, "x", "fn"), -1);
    std::fclose(stream);
}

// Program logs under BP_LOGS, numbered files on 2007-03-04.
class RecycleTest : public ::testing::Test {
protected:
    void SetUp() override {
        registry.set_path("BP_LOGS", scratch.path());
        fs::create_directory(dir);
    }
    void TearDown() override {
        if (debugFD >= 0) twtest::close_descriptor(debugFD);
        debugFD = -1;
    }
    void open(unsigned max_files, unsigned max_kb, const char *program = "prog") {
        int err = -1;
        debugFD = open_debug_file2(program, 0644, 1, max_files, max_kb, &err);
        ASSERT_GE(debugFD, 0);
        ASSERT_EQ(err, 0);
    }
    uintmax_t size_of(const std::string &name) { return fs::file_size(dir + "/" + name); }

    twtest::RegistryFixture registry;
    ScratchDir scratch;
    const std::string dir = scratch.file("prog");
    StoppedLogClock clock{2007, 3, 4, 1, 2, 3, 4};
};

TEST_F(RecycleTest, ALineThatWouldPassTheSizeCapGoesToTheNextNumberedFile) {
    open(100, 1);
    // One line gives the line's length and what it takes in the file (text
    // mode adds a carriage return on Windows).
    const std::string text(60, 't');
    ASSERT_EQ(debuglog(debugFD, text.c_str()), 0);
    const size_t line = read_log(dir + "/030407_00001.log").size();
    const size_t stored = size_of("030407_00001.log");
    // Fill the file so that one more line ends exactly at 1024 bytes.
    ASSERT_EQ(logwithoutdate(debugFD, std::string(1024 - stored - line, 'p').c_str()), 0);
    ASSERT_EQ(debuglog(debugFD, text.c_str()), 0);
    EXPECT_EQ(size_of("030407_00001.log"), 1024 + stored - line);
    EXPECT_EQ(names_in(dir), Names{"030407_00001.log"});

    ASSERT_EQ(debuglog(debugFD, text.c_str()), 0);
    ASSERT_EQ(debuglog(debugFD, text.c_str()), 0);
    EXPECT_EQ(names_in(dir), (Names{"030407_00001.log", "030407_00002.log"}));
    EXPECT_EQ(size_of("030407_00002.log"), 2 * stored);

    // A new process, or a new open, carries on with the newest file of the day.
    twtest::close_descriptor(debugFD);
    open(100, 1);
    ASSERT_EQ(debuglog(debugFD, text.c_str()), 0);
    EXPECT_EQ(size_of("030407_00002.log"), 3 * stored);
    EXPECT_EQ(names_in(dir), (Names{"030407_00001.log", "030407_00002.log"}));
}

TEST_F(RecycleTest, TheCountCapDeletesTheOldestFiles) {
    touch(dir + "/log.010107");  // the older form sorts before every dated name
    touch(dir + "/030207_00001.log");
    touch(dir + "/notes.txt");  // not a log file: never counted or deleted
    open(3, 1);
    EXPECT_EQ(names_in(dir), (Names{"030207_00001.log", "030407_00001.log", "log.010107", "notes.txt"}));

    const std::string big(1100, 'b');
    ASSERT_EQ(debuglog(debugFD, "x"), 0);
    ASSERT_EQ(debuglog(debugFD, big.c_str()), 0);  // to _00002, cut to fit its line
    EXPECT_EQ(names_in(dir), (Names{"030207_00001.log", "030407_00001.log", "030407_00002.log", "notes.txt"}));
    ASSERT_EQ(debuglog(debugFD, big.c_str()), 0);  // to _00003
    EXPECT_EQ(names_in(dir), (Names{"030407_00001.log", "030407_00002.log", "030407_00003.log", "notes.txt"}));
}

TEST_F(RecycleTest, ANewDayStartsAgainAtSequenceOne) {
    open(100, 1);
    ASSERT_EQ(debuglog(debugFD, std::string(1000, 'a').c_str()), 0);
    ASSERT_EQ(debuglog(debugFD, "b"), 0);
    clock.set(2007, 3, 5, 0, 0, 0, 0);
    Auto_Recycle_Logs = 1;
    ASSERT_EQ(debuglog(debugFD, "c"), 0);
    EXPECT_EQ(names_in(dir), (Names{"030407_00001.log", "030407_00002.log", "030507_00001.log"}));
}

// Program names are UTF-8: the numbered file is found and opened in the
// program's own directory, also for names in no ANSI code page.
TEST_F(RecycleTest, ProgramNamesBeyondAsciiLogToo) {
    for (const char *program : {"pr\xc3\xb6g", "\xe6\x97\xa5\xe6\x9c\xac", "\xf0\x9f\x98\x80"}) {
        open(100, 1, program);
        ASSERT_EQ(debuglog(debugFD, "traced"), 0);
        twtest::close_descriptor(debugFD);
        debugFD = -1;
        std::error_code error;
        EXPECT_GT(fs::file_size(fs::u8path(scratch.path()) / fs::u8path(program) / "030407_00001.log", error), 0u)
            << error.message();
    }
}

TEST_F(RecycleTest, OpenDebugFileUsesTheDatedNameWithoutRecycling) {
    int err = -1;
    int fd = open_debug_file("other", 0644, &err);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(err, 0);
    twtest::close_descriptor(fd);
    EXPECT_EQ(names_in(scratch.file("other")), Names{"030407.log"});
}

class LogfileList : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char *name : {"030407_00010.log", "notes.txt", "030407_00002.log", "log.030407", "123106.log",
                                 "030307_00001.log", "log.txt", "030407.log", "010108.log", ".030407.log"})
            touch(scratch.file(name));
    }
    Names listed(const char *prefix, unsigned expected_count) {
        unsigned count = 99;
        int err = -1;
        char **list = rl_get_logfile_list(scratch.path().c_str(), prefix, &count, &err);
        EXPECT_EQ(err, 0);
        EXPECT_EQ(count, expected_count);
        Names names;
        for (char **p = list; p && *p; ++p) names.push_back(*p);
        EXPECT_EQ(rl_free_logfile_list(list), 0);
        return names;
    }
    ScratchDir scratch;
};

TEST_F(LogfileList, LogFilesComeFirstOldestFirstTheOthersAfterTheCount) {
    Names names = listed(nullptr, 7);
    ASSERT_EQ(names.size(), 9u);
    EXPECT_EQ(Names(names.begin(), names.begin() + 7),
              (Names{"log.030407", "123106.log", "030307_00001.log", "030407.log", "030407_00002.log",
                     "030407_00010.log", "010108.log"}));
    Names rest(names.begin() + 7, names.end());
    std::sort(rest.begin(), rest.end());
    EXPECT_EQ(rest, (Names{"log.txt", "notes.txt"}));
}

TEST_F(LogfileList, APrefixSelectsTheThreeFormsOfThatDate) {
    Names names = listed("030407", 4);
    EXPECT_EQ(Names(names.begin(), names.begin() + 4),
              (Names{"log.030407", "030407.log", "030407_00002.log", "030407_00010.log"}));
    EXPECT_TRUE(listed("010199", 0).empty());
}

TEST_F(LogfileList, NoListForANullMissingOrEmptyDirectory) {
    unsigned count = 5;
    int err = 0;
    EXPECT_EQ(rl_get_logfile_list(nullptr, nullptr, &count, &err), nullptr);
    EXPECT_EQ(err, 22);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(rl_get_logfile_list(scratch.file("missing").c_str(), nullptr, &count, &err), nullptr);
    EXPECT_EQ(err, 2);
    fs::create_directory(scratch.file("empty"));
    EXPECT_EQ(rl_get_logfile_list(scratch.file("empty").c_str(), nullptr, &count, &err), nullptr);
    EXPECT_EQ(err, 0);
    EXPECT_EQ(rl_free_logfile_list(nullptr), 0);
}

TEST_F(LogfileList, RunningOutOfMemoryGivesNoListAndLeaksNothing) {
    int failures = twtest::for_each_allocation_failure(
        [&] {
            unsigned count = 0;
            int err = 0;
            char **list = rl_get_logfile_list(scratch.path().c_str(), nullptr, &count, &err);
            if (list) {
                EXPECT_EQ(count, 7u);
            } else {
                EXPECT_EQ(err, ENOMEM);
                EXPECT_EQ(count, 0u);
            }
            rl_free_logfile_list(list);
        },
        [](bool) {});
    EXPECT_GT(failures, 0);
}

TEST(OpenLogMemory, ADirectoryThatCannotBeMadeForLackOfMemoryFailsWithENOMEM) {
    ScratchDir scratch;
    StoppedLogClock clock(2007, 3, 4, 1, 2, 3, 4);
    getOrrickString("_ps");  // the path table is loaded once, outside the test
    const std::string dir = scratch.file("x/y");
    int failures = twtest::for_each_allocation_failure(
        [&] {
            int err = 0;
            int fd = open_log(dir.c_str(), 0644, &err);
            if (fd >= 0)
                twtest::close_descriptor(fd);
            else
                EXPECT_EQ(err, ENOMEM);
        },
        [](bool) {});
    EXPECT_GT(failures, 0);
    EXPECT_TRUE(fs::exists(dir + "/030407.log"));
}

}  // namespace
