// Off Windows the process command line is the argument vector joined with
// NT quoting; a child started with awkward arguments must get exactly its
// vector back from ReparseCommandLine. The child is this test program in a
// helper role, writing its vector (NUL-separated) to TWTEST_ARGV_REPORT.
#if !defined(_WIN32)
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/scratch.h"
#include "twcommon/unixnt.h"

extern char **environ;

namespace {

using Args = std::vector<std::string>;

TEST(NativeChildRole, ReportArguments) {
    const char *file = std::getenv("TWTEST_ARGV_REPORT");
    if (!file) GTEST_SKIP() << "runs only as a child of the test below";
    char **argv = nullptr;
    int count = ReparseCommandLine(&argv);
    ASSERT_GT(count, 0);
    std::ofstream out(file, std::ios::binary);
    for (int i = 0; i < count; ++i) out << argv[i] << '\0';
    std::free(argv);
}

TEST(NativeCommandLine, ChildGetsItsVectorBack) {
    twtest::ScratchDir scratch;
    std::string report = scratch.file("report");
    Args args = {"/opt/some dir/prog\\name",  // a program name with a blank and a backslash
                 "--gtest_filter=NativeChildRole.ReportArguments",
                 "a b", "", "x\"y", "back\\", "back\\\\\" q", "tab\there", "\xC3\xBC", "\"\"", "  ", "end\\\\"};
    std::vector<char *> argv;
    for (std::string &arg : args) argv.push_back(&arg[0]);
    argv.push_back(nullptr);
    std::string variable = "TWTEST_ARGV_REPORT=" + report;
    std::vector<char *> env;
    for (char **e = environ; *e; ++e) env.push_back(*e);
    env.push_back(&variable[0]);
    env.push_back(nullptr);

    char self[4096];
    ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    ASSERT_GT(n, 0);
    self[n] = '\0';
    pid_t child;
    ASSERT_EQ(posix_spawn(&child, self, nullptr, nullptr, argv.data(), env.data()), 0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);

    std::ifstream in(report, std::ios::binary);
    std::string all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    Args got;
    for (size_t start = 0, end; (end = all.find('\0', start)) != std::string::npos; start = end + 1)
        got.push_back(all.substr(start, end - start));
    EXPECT_EQ(got, args);
}

}  // namespace
#endif
