// Path-name conversions between the NT and the Unix form, and chmod.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>

#include "support/scratch.h"
#include "twcommon/config.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/stat.h>
#endif

namespace {

std::string dos2unix(const char *path, unsigned size = 256) {
    char out[1100];
    EXPECT_EQ(name_dos2unix(out, path, size), out);
    return out;
}

std::string dos2unixMB(const char *path, unsigned size = 256) {
    char out[1100];
    EXPECT_EQ(name_dos2unixMB(out, path, size), out);
    return out;
}

std::string unix2nt(const char *path, unsigned size = 256) {
    char out[1100];
    name_unix2misc(out, path, size, ":", "\\");
    return out;
}

TEST(NameDos2Unix, DriveNetworkDeviceAndRelativeForms) {
    for (auto convert : {dos2unix, dos2unixMB}) {
        EXPECT_EQ(convert("X:\\a\\b", 256), "/X/a/b");
        EXPECT_EQ(convert("X:", 256), "/X");
        EXPECT_EQ(convert("X:\\a/b", 256), "/X/a\\b");  // "/" turns the other way
        EXPECT_EQ(convert("X:a\\b", 256), "X:a/b");     // no drive: the colon is not followed by "\"
        EXPECT_EQ(convert("a\\b:", 256), "a/b:");       // no drive: a backslash comes first
        EXPECT_EQ(convert("a\\b", 256), "a/b");
        EXPECT_EQ(convert("\\\\host\\share\\f", 256), "/\\\\host/share/f");
        EXPECT_EQ(convert("\\\\.\\X:", 256), "/\\\\.\\X:");
        EXPECT_EQ(convert("\\\\.\\X:\\f", 256), "/\\\\./X:/f");  // only the bare device form is kept
        EXPECT_EQ(convert(nullptr, 256), "");
    }
}

TEST(NameDos2Unix, TruncatesWithinTheSize) {
    char out[8];
    std::memset(out, 'x', sizeof out);
    name_dos2unix(out, "X:\\abc\\def", 6);
    EXPECT_STREQ(out, "/X/ab");
    EXPECT_EQ(out[6], 'x');

    std::memset(out, 'x', sizeof out);  // the multibyte form keeps one byte more free
    name_dos2unixMB(out, "X:\\abc\\def", 6);
    EXPECT_STREQ(out, "/X/a");
    EXPECT_EQ(out[5], 'x');

    for (unsigned size : {1u, 2u}) {
        std::memset(out, 'x', sizeof out);
        name_dos2unixMB(out, "X:\\a", size);
        EXPECT_EQ(out[0], '\0');
        EXPECT_EQ(out[1], 'x');
    }
    std::memset(out, 'x', sizeof out);
    name_dos2unix(out, "X:\\a", 1);
    EXPECT_EQ(out[0], '\0');
    EXPECT_EQ(out[1], 'x');

    std::string longer(1500, 'a');  // the work text holds 1023 characters
    EXPECT_EQ(dos2unix(longer.c_str(), 1100).size(), 1023u);
}

TEST(NameUnix2Misc, DriveNetworkAndRelativeForms) {
    EXPECT_EQ(unix2nt("/X/a/b"), "X:\\a\\b");
    EXPECT_EQ(unix2nt("/X"), "X:");
    EXPECT_EQ(unix2nt("/=C=/a=b"), "C:\\a=b");  // "=" leaves the drive component only
    EXPECT_EQ(unix2nt("/\\\\host/share"), "\\\\host\\share");
    EXPECT_EQ(unix2nt("//host/x"), "\\\\host\\x");
    EXPECT_EQ(unix2nt("rel/a\\b"), "rel\\a\\b");
    EXPECT_EQ(unix2nt(nullptr), "");
    char out[64];
    name_unix2misc(out, "/vol/dir/f", sizeof out, "::", "->");
    EXPECT_STREQ(out, "vol::->dir->f");
}

TEST(NameUnix2Misc, PiecesThatDoNotFitEndTheOutput) {
    char out[16];
    std::memset(out, 'x', sizeof out);
    name_unix2misc(out, "/C/dir/f", 3, ":", "\\");
    EXPECT_STREQ(out, "C:");
    name_unix2misc(out, "/C/a/b", 5, ":", "<>>");  // no room for the whole separator
    EXPECT_STREQ(out, "C:");
    EXPECT_EQ(out[5], 'x');
    name_unix2misc(out, "/C/a", 1, ":", "\\");
    EXPECT_STREQ(out, "");
    EXPECT_EQ(out[1], ':');  // from before: nothing written past the size
}

TEST(NameConversions, NtPathsRoundTrip) {
    for (const char *path : {"C:\\", "C:", "d:\\x y\\z.txt", "Q:\\a:b\\c=d", "\\\\host\\share\\f", "\\\\.\\E:"})
        EXPECT_EQ(unix2nt(dos2unix(path).c_str()), path);
}

TEST(CreateDirList, GivesNoList) {
    char *marker = nullptr;
    char **list = &marker;
    EXPECT_EQ(create_dir_list(&marker, nullptr, &list), 2);
    EXPECT_EQ(list, nullptr);
}

bool read_only(const std::string &path) {
#if defined(_WIN32)
    DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY);
#else
    struct stat info;
    return stat(path.c_str(), &info) == 0 && (info.st_mode & S_IWUSR) == 0;
#endif
}

// Running as root, wine (like a Unix system) still lets a read-only file be
// opened for writing, so the attribute is checked rather than an open.
TEST(NTchmod, OwnerWriteBitDecidesReadOnly) {
    twtest::ScratchDir scratch;
    std::string file = scratch.file("f.txt");
    std::ofstream(file) << "x";
    EXPECT_EQ(NTchmod(file.c_str(), 0444), 0);
    EXPECT_TRUE(read_only(file));
    EXPECT_EQ(NTchmod(file.c_str(), 0644), 0);
    EXPECT_FALSE(read_only(file));
    EXPECT_EQ(NTchmod(file.c_str(), 0466), 0);  // group and other write do not count
    EXPECT_TRUE(read_only(file));
    EXPECT_EQ(NTchmod(scratch.file("none").c_str(), 0644), -1);
}

}  // namespace
