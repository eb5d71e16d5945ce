// Directory listings and directory paths, on real scratch directories.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "support/alloc_hook.h"
#include "support/scratch.h"
#include "support/wide.h"
#include "twcommon/containers.h"
#include "twcommon/diag.h"

namespace fs = std::filesystem;

namespace {

void touch(const std::string &path) {
    FILE *f = std::fopen(path.c_str(), "w");
    ASSERT_NE(f, nullptr) << path;
    std::fclose(f);
}

std::vector<std::string> take_list(char **list) {
    std::vector<std::string> names;
    for (char **p = list; p && *p; ++p) names.push_back(*p);
    EXPECT_EQ(free_dir_list(list), 0);
    return names;
}

// count names in a scrambled creation order, mixing case and digits so that
// byte order differs from any case-insensitive order.
std::vector<std::string> make_names(int count) {
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) {
        int k = (i * 37 + 11) % count;  // a permutation, as 37 is prime to every count used
        names.push_back((k % 3 == 0 ? "Z" : k % 3 == 1 ? "a" : "_") + std::to_string(k * 7919 % 1000) + "-" +
                        std::to_string(k));
    }
    return names;
}

// Collects what the library writes to the debug log while alive.
struct LogCapture {
    struct Line {
        int level;
        std::string text, function;
    };
    std::vector<Line> lines;
    LogCapture() {
        log_set_callback(
            [](void *datum, int level, const char *text, const char *function) {
                static_cast<LogCapture *>(datum)->lines.push_back({level, text ? text : "", function ? function : ""});
                return 0;
            },
            this, nullptr);
        lines.clear();  // the announcement of the switch
    }
    ~LogCapture() { log_set_callback(nullptr, nullptr, nullptr); }
};

dlist *chain(std::vector<dlist> &nodes) {
    for (size_t i = 0; i + 1 < nodes.size(); ++i) nodes[i].next = &nodes[i + 1];
    return nodes.empty() ? nullptr : &nodes[0];
}

}  // namespace

TEST(DirList, ListsVisibleNamesInByteOrderAroundTheSortSwitch) {
    for (int count : {1, 2, 30, 31, 32, 257}) {
        twtest::ScratchDir scratch;
        std::vector<std::string> names = make_names(count - 1);  // and one directory
        for (const auto &name : names) touch(scratch.file(name));
        fs::create_directory(scratch.file("subdir"));
        touch(scratch.file(".hidden"));
        fs::create_directory(scratch.file(".hiddendir"));
        names.push_back("subdir");
        std::sort(names.begin(), names.end());

        int err = -1;
        char **list = get_dir_list(scratch.path().c_str(), &err);
        EXPECT_EQ(err, 0);
        EXPECT_EQ(take_list(list), names) << count << " names";
    }
}

TEST(DirList, EmptyMissingAndPlainFile) {
    twtest::ScratchDir scratch;
    LogCapture log;
    touch(scratch.file(".only-hidden"));
    int err = -1;
    EXPECT_EQ(get_dir_list(scratch.path().c_str(), &err), nullptr);
    EXPECT_EQ(err, 0);

    EXPECT_EQ(get_dir_list(scratch.file("missing").c_str(), &err), nullptr);
    EXPECT_EQ(err, ENOENT);

    touch(scratch.file("plain"));
    EXPECT_EQ(get_dir_list(scratch.file("plain").c_str(), &err), nullptr);
    EXPECT_EQ(err, ENOTDIR);

    EXPECT_EQ(get_dir_list(scratch.file("missing").c_str(), nullptr), nullptr);
    EXPECT_TRUE(log.lines.empty());  // missing and not-a-directory are silent
}

TEST(DirList, NoMemoryGivesNullAndReleasesEverything) {
    twtest::ScratchDir scratch;
    std::vector<std::string> names = make_names(40);
    for (const auto &name : names) touch(scratch.file(name));
    std::sort(names.begin(), names.end());
    LogCapture log;
    int failures = twtest::for_each_allocation_failure(
        [&] {
            log.lines.clear();
            int err = -1;
            char **list = get_dir_list(scratch.path().c_str(), &err);
            if (list) {
                EXPECT_EQ(err, 0);
                EXPECT_EQ(take_list(list), names);
            } else {
                EXPECT_EQ(err, ENOMEM);
                ASSERT_EQ(log.lines.size(), 1u);
                const std::string &text = log.lines[0].text;
                EXPECT_EQ(log.lines[0].function, "get_dir_list");
                EXPECT_TRUE(text.rfind("create_dlist_entry() failed: ", 0) == 0 ||
                            text.rfind("malloc() contents failed: ", 0) == 0 ||
                            text.rfind("opendir() failed: ", 0) == 0)  // the stream itself, on Windows
                    << text;
                EXPECT_EQ(text.substr(text.size() - 5), " (12)") << text;
            }
        },
        [](bool failed) { (void)failed; });
    EXPECT_GE(failures, 40 * 2 + 1);  // a node and a name per entry, then the array
}

TEST(DirList, InsertionSortIsStableAndHandlesEdges) {
    EXPECT_EQ(insertion_sort_dlist(nullptr), nullptr);
    char b1[] = "b", a1[] = "a", b2[] = "b", c[] = "c", a2[] = "a";
    std::vector<dlist> nodes{{b1, nullptr}, {a1, nullptr}, {b2, nullptr}, {c, nullptr}, {a2, nullptr}};
    std::vector<char *> order;
    for (dlist *p = insertion_sort_dlist(chain(nodes)); p; p = p->next) order.push_back(p->name);
    EXPECT_EQ(order, (std::vector<char *>{a1, a2, b1, b2, c}));
}

TEST(DirList, FreeCharArray) {
    LogCapture log;
    EXPECT_EQ(free_char_array(nullptr), 0);
    EXPECT_EQ(free_dir_list(nullptr), 0);
    ASSERT_EQ(log.lines.size(), 2u);
    EXPECT_EQ(log.lines[0].level, 8);
    EXPECT_EQ(log.lines[0].text, "called to free NULL array");
    EXPECT_EQ(log.lines[0].function, "free_char_array");
    twtest::ScratchDir scratch;
    touch(scratch.file("x"));
    EXPECT_EQ(free_char_array(get_dir_list(scratch.path().c_str(), nullptr)), 0);
}

TEST(MkdirPath, CreatesMissingParentsAndAcceptsWhatExists) {
    twtest::ScratchDir scratch;
    std::string deep = scratch.file("a") + "/b\\c";  // both separators on Windows; "b\\c" is one name elsewhere
    int err = -1;
    EXPECT_EQ(mkdirpath(deep.c_str(), 0755, &err), 0);
    EXPECT_EQ(err, 0);
    EXPECT_TRUE(fs::is_directory(deep));
    EXPECT_EQ(mkdirpath(deep.c_str(), 0755, &err), 0);  // exists already

    std::string trailing = scratch.file("t1") + "/t2/";
    EXPECT_EQ(mkdirpath(trailing.c_str(), 0755, nullptr), 0);
    EXPECT_TRUE(fs::is_directory(scratch.file("t1") + "/t2"));
}

TEST(MkdirPath, PathThroughAFileFails) {
    twtest::ScratchDir scratch;
    touch(scratch.file("file"));
    int err = 0;
    EXPECT_EQ(mkdirpath((scratch.file("file") + "/sub/deeper").c_str(), 0755, &err), -1);
#if defined(_WIN32)
    EXPECT_EQ(err, ENOENT);  // NT finds no path through a file
#else
    EXPECT_EQ(err, ENOTDIR);
#endif
    EXPECT_EQ(mkdirpath(scratch.file("file").c_str(), 0755, &err), 0);  // an existing entry of any kind

    // 16,000 missing levels below the file: the walk up is as deep as the
    // path, and must not be as deep on the stack.
    std::string deep = scratch.file("file");
    for (int i = 0; i < 16000; ++i) deep += "/a";
    EXPECT_EQ(mkdirpath(deep.c_str(), 0755, &err), -1);
    EXPECT_NE(err, 0);
}

TEST(MkdirPath, WidePaths) {
    twtest::ScratchDir scratch;
    std::string deep = scratch.file("w1") + "/w2/w3";
    twtest::WideString wide = twtest::text<tw_wchar_t>(deep.c_str());
    int err = -1;
    EXPECT_EQ(_wmkdirpath(wide.c_str(), 0755, &err), 0);
    EXPECT_EQ(err, 0);
    EXPECT_TRUE(fs::is_directory(deep));
    EXPECT_EQ(_wmkdirpath(nullptr, 0755, &err), -1);
}

TEST(MkdirPath, NoMemoryIsError12) {
    twtest::ScratchDir scratch;
    for (int wide = 0; wide < 2; ++wide) {
        std::string deep = scratch.file(wide ? "wide" : "narrow") + "/x/y";
        twtest::WideString wide_path = twtest::text<tw_wchar_t>(deep.c_str());
        twtest::for_each_allocation_failure(
            [&] {
                int err = -1;
                int result = wide ? _wmkdirpath(wide_path.c_str(), 0755, &err) : mkdirpath(deep.c_str(), 0755, &err);
                if (result == 0)
                    EXPECT_TRUE(fs::is_directory(deep));
                else
                    EXPECT_EQ(err, ENOMEM);
            },
            [](bool) {});
        EXPECT_TRUE(fs::is_directory(deep));
    }
}
