// Unix directory reading and rename on NT.
#include <gtest/gtest.h>

#include <windows.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "support/scratch.h"
#include "twcommon/unixnt.h"

namespace {

void write_file(const std::string &path, const std::string &content) {
    std::ofstream(path, std::ios::binary) << content;
}

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// Every name of the directory, read to the end; the end must set errno 2.
std::multiset<std::string> read_all(const std::string &path) {
    std::multiset<std::string> names;
    DIR *dir = opendir(path.c_str());
    EXPECT_NE(dir, nullptr) << path << " errno " << errno;
    if (!dir) return names;
    EXPECT_EQ(dir->entry.d_name, nullptr);
    errno = 0;
    while (struct dirent *entry = readdir(dir)) names.insert(entry->d_name);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(closedir(dir), 0);
    return names;
}

}  // namespace

TEST(Dirent, ReadsEveryEntryOnceThenStops) {
    twtest::ScratchDir scratch;
    write_file(scratch.file("b.txt"), "b");
    write_file(scratch.file(".hidden"), "h");
    CreateDirectoryA(scratch.file("sub").c_str(), nullptr);
    std::multiset<std::string> expected{".", "..", ".hidden", "b.txt", "sub"};
    EXPECT_EQ(read_all(scratch.path()), expected);

    // The pattern gets only "*.*" after a trailing separator.
    EXPECT_EQ(read_all(scratch.path() + "\\"), expected);
    EXPECT_EQ(read_all(scratch.path() + "/"), expected);

    DIR *dir = opendir(scratch.path().c_str());
    ASSERT_NE(dir, nullptr);
    while (readdir(dir)) {
    }
    EXPECT_EQ(dir->search, INVALID_HANDLE_VALUE);
    errno = 12345;
    EXPECT_EQ(readdir(dir), nullptr);  // exhausted: errno untouched
    EXPECT_EQ(errno, 12345);
    EXPECT_EQ(closedir(dir), 0);
}

TEST(Dirent, BareDriveGetsOnlyThePattern) {
    // "C:" with "*.*" lists the current directory of drive C.
    char cwd[MAX_PATH];
    ASSERT_GT(GetCurrentDirectoryA(sizeof cwd, cwd), 0u);
    twtest::ScratchDir scratch;
    write_file(scratch.file("marker-in-cwd"), "");
    ASSERT_TRUE(SetCurrentDirectoryA(scratch.path().c_str()));
    std::string drive = scratch.path().substr(0, 2);
    ASSERT_EQ(drive[1], ':');
    std::multiset<std::string> names = read_all(drive);
    SetCurrentDirectoryA(cwd);
    EXPECT_EQ(names.count("marker-in-cwd"), 1u);
}

TEST(Dirent, OpenFailuresSetErrno) {
    twtest::ScratchDir scratch;
    errno = 0;
    EXPECT_EQ(opendir(scratch.file("missing").c_str()), nullptr);
    EXPECT_EQ(errno, ENOENT);
    errno = 0;
    EXPECT_EQ(opendir((scratch.file("missing") + "\\deeper").c_str()), nullptr);
    EXPECT_EQ(errno, ENOENT);

    // Windows answers a search inside a file with "not a directory"; wine with
    // "invalid name", which the path's attributes turn into the same errno.
    write_file(scratch.file("plain"), "x");
    errno = 0;
    EXPECT_EQ(opendir(scratch.file("plain").c_str()), nullptr);
    EXPECT_EQ(errno, ENOTDIR);

    errno = 0;
    EXPECT_EQ(opendir(nullptr), nullptr);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(readdir(nullptr), nullptr);
    EXPECT_EQ(closedir(nullptr), 0);
}

TEST(NTrename, ReplacesAnExistingTarget) {
    twtest::ScratchDir scratch;
    write_file(scratch.file("old"), "new content");
    write_file(scratch.file("target"), "old content");
    errno = 99;
    EXPECT_EQ(NTrename(scratch.file("old").c_str(), scratch.file("target").c_str()), 0);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(read_file(scratch.file("target")), "new content");
    EXPECT_EQ(GetFileAttributesA(scratch.file("old").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST(NTrename, FailuresReturnTheNtNumber) {
    twtest::ScratchDir scratch;
    EXPECT_EQ(NTrename(scratch.file("missing").c_str(), scratch.file("target").c_str()), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(errno, ENOENT);
    write_file(scratch.file("src"), "x");
    EXPECT_EQ(NTrename(scratch.file("src").c_str(), (scratch.file("no-dir") + "\\target").c_str()),
              ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(NTrename(nullptr, scratch.file("target").c_str()), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errno, EINVAL);
}
