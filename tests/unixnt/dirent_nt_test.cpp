// Unix directory reading and rename on NT.
#include <gtest/gtest.h>

#include <windows.h>

#include <direct.h>
#include <io.h>

#include <cerrno>
#include <cstdio>
#include <cwchar>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "support/scratch.h"
#include "twcommon/containers.h"
#include "twcommon/diag.h"
#include "twcommon/unixnt.h"

// After the library's header the runtime's <dirent.h> adds nothing, so the
// names below are the library's.
#include <dirent.h>

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


// The UTF-8 path as the wide API takes it whatever its length: absolute,
// with backslashes, under the "\\?\" prefix (checked independently of the
// library's own conversion).
std::wstring wide_api_path(const std::string &utf8) {
    std::wstring out(utf8.size() + 1, L'\0');
    out.resize(MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, &out[0], int(out.size())) - 1);
    for (wchar_t &c : out)
        if (c == L'/') c = L'\\';
    return L"\\\\?\\" + out;
}

DWORD wide_attributes(const std::string &utf8) { return GetFileAttributesW(wide_api_path(utf8).c_str()); }

std::string wide_read(const std::string &utf8) {
    std::string content;
    if (FILE *f = _wfopen(wide_api_path(utf8).c_str(), L"rb")) {
        for (int c; (c = std::fgetc(f)) != EOF;) content.push_back(char(c));
        std::fclose(f);
    }
    return content;
}

std::vector<std::string> take_list(char **list) {
    std::vector<std::string> names;
    for (char **p = list; p && *p; ++p) names.push_back(*p);
    free_dir_list(list);
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

// Names in no ANSI code page, made through the library and through the wide
// API, list as themselves and open again, in a short directory and under an
// absolute path of 400 characters and more.
TEST(Utf8Names, ListRenameAndOpenAgainAtAnyPathLength) {
    const std::string names[] = {"\xc3\xa9t\xc3\xa9", "\xe6\x97\xa5\xe6\x9c\xac.txt", "\xf0\x9f\x98\x80.txt"};
    twtest::ScratchDir scratch;
    std::string long_base = scratch.path();
    for (int i = 0; long_base.size() < 400; ++i) long_base += "\\segment-" + std::to_string(i) + std::string(30, 'x');
    int err = -1;
    ASSERT_EQ(mkdirpath(long_base.c_str(), 0755, &err), 0) << err;
    ASSERT_NE(wide_attributes(long_base) & FILE_ATTRIBUTE_DIRECTORY, 0u);

    for (const std::string &base : {scratch.path() + "\\short", long_base + "/long"}) {
        SCOPED_TRACE(base.size());
        ASSERT_EQ(mkdirpath(base.c_str(), 0755, &err), 0) << err;
        std::multiset<std::string> expected{".", ".."};
        for (const std::string &name : names) {
            const std::string made = base + "\\lib-" + name, wide_made = base + "\\w-" + name;
            ASSERT_EQ(mkdirpath(made.c_str(), 0755, &err), 0) << err;
            EXPECT_NE(wide_attributes(made) & FILE_ATTRIBUTE_DIRECTORY, 0u);
            ASSERT_EQ(_wmkdir(wide_api_path(wide_made).c_str()), 0);
            FILE *f = _wfopen(wide_api_path(base + "\\f-" + name).c_str(), L"wb");
            ASSERT_NE(f, nullptr);
            std::fputs(name.c_str(), f);
            std::fclose(f);
            expected.insert({"lib-" + name, "w-" + name, "f-" + name});

            // A log opens in the library's directory; the wide API's lists.
            int fd = open_log(made.c_str(), 0644, &err);
            ASSERT_GE(fd, 0) << err;
            EXPECT_EQ(logwithoutdate(fd, "logged\n"), 0);
            _close(fd);
            std::multiset<std::string> logs = read_all(made);
            ASSERT_EQ(logs.size(), 3u);
            std::string log = *logs.rbegin();
            EXPECT_EQ(log.substr(6), ".log");
            EXPECT_NE(wide_read(made + "\\" + log).find("logged"), std::string::npos);
            EXPECT_EQ(read_all(wide_made), (std::multiset<std::string>{".", ".."}));
        }
        EXPECT_EQ(read_all(base), expected);
        expected.erase(".");
        expected.erase("..");
        EXPECT_EQ(take_list(get_dir_list(base.c_str(), &err)), std::vector<std::string>(expected.begin(), expected.end()));

        for (const std::string &name : names) {
            const std::string from = base + "\\f-" + name, to = base + "\\renamed-" + name;
            EXPECT_EQ(NTrename(from.c_str(), to.c_str()), 0);
            EXPECT_EQ(wide_attributes(from), INVALID_FILE_ATTRIBUTES);
            EXPECT_EQ(wide_read(to), name);
        }
    }
}
