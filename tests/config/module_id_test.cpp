// Module identity: stored copies, and the name derived from the command line
// of a real child process (this test program, started again with a crafted
// command line in a helper role that writes its identity to a file).
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "support/alloc_hook.h"
#include "support/scratch.h"
#include "twcommon/config.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
extern char **environ;
#endif

namespace {

constexpr const char *kHelperVariable = "TWTEST_MODULE_ID_OUT";

// Helper role: before the tests run, write the derived identity and leave
// through exit, with the identity still kept.
const bool helper_role = [] {
    const char *out = std::getenv(kHelperVariable);
    if (!out) return false;
    FILE *file = std::fopen(out, "wb");
    if (!file) std::_Exit(3);
    std::fputs(getModuleID(), file);
    std::fclose(file);
    std::exit(0);
}();

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

#if defined(_WIN32)
// Starts this program with command_line as its whole command line.
std::string identity_of_child(const std::string &command_line) {
    twtest::ScratchDir scratch;
    std::string out = scratch.file("identity.txt");
    SetEnvironmentVariableA(kHelperVariable, out.c_str());
    char exe[MAX_PATH];
    GetModuleFileNameA(nullptr, exe, MAX_PATH);
    std::string line = command_line;
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    bool started = CreateProcessA(exe, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
    SetEnvironmentVariableA(kHelperVariable, nullptr);
    if (!started) return "<not started>";
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 1;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
    return code == 0 ? read_file(out) : "<exit " + std::to_string(code) + ">";
}
#else
// Starts this program with program_name as its argv[0]: the command line
// then reads program_name (quoted when it holds a blank) and "x".
std::string identity_of_child(const std::string &program_name) {
    twtest::ScratchDir scratch;
    std::string out = scratch.file("identity.txt");
    std::string variable = std::string(kHelperVariable) + "=" + out;
    std::string name = program_name, extra = "x";
    char *argv[] = {&name[0], &extra[0], nullptr};
    char *envp[] = {&variable[0], nullptr};
    pid_t pid;
    if (posix_spawn(&pid, "/proc/self/exe", nullptr, nullptr, argv, envp) != 0) return "<not started>";
    int status = 0;
    waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return "<failed>";
    return read_file(out);
}
#endif

TEST(ModuleIdentity, DerivedFromTheProgramNameOfTheCommandLine) {
#if defined(_WIN32)
    EXPECT_EQ(identity_of_child("\"C:\\Program Files\\Tallowind\\bin\\bpbackup.exe\" -s 1"), "bpbackup");
    EXPECT_EQ(identity_of_child("C:/tw/bin\\tool.v2.exe arg"), "tool");
    EXPECT_EQ(identity_of_child("D:prog.exe"), "prog");
    EXPECT_EQ(identity_of_child("\"C:\\dir\\noext\" a b"), "noext");
    EXPECT_EQ(identity_of_child("\"C:\\a b\\unterminated.exe -x"), "unterminated");
    EXPECT_EQ(identity_of_child("\"quoted.exe\" x"), "quoted");
    EXPECT_EQ(identity_of_child("plain"), "plain");
#else
    EXPECT_EQ(identity_of_child("/opt/Tallowind install/bin/bpbackup.exe"), "bpbackup");
    EXPECT_EQ(identity_of_child("C:/tw/bin\\tool.v2.exe"), "tool");
    EXPECT_EQ(identity_of_child("D:prog.exe"), "prog");
    EXPECT_EQ(identity_of_child("plain"), "plain");
#endif
}

TEST(ModuleIdentity, SetKeepsAPrivateCopyAndReplacesThePrevious) {
    char name[] = "first";
    EXPECT_EQ(setModuleID(name), 1);
    name[0] = 'F';
    EXPECT_STREQ(getModuleID(), "first");
    EXPECT_EQ(setModuleID("second"), 1);
    EXPECT_STREQ(getModuleID(), "second");
    EXPECT_EQ(setModuleID(""), 1);
    EXPECT_STREQ(getModuleID(), "");
}

TEST(ModuleIdentity, NullOrNoMemoryKeepsThePrevious) {
    ASSERT_EQ(setModuleID("kept"), 1);
    EXPECT_EQ(setModuleID(nullptr), 0);
    EXPECT_STREQ(getModuleID(), "kept");
    {
        twtest::FailAllocation fail(1);
        EXPECT_EQ(setModuleID("lost"), 0);
        EXPECT_TRUE(fail.fired());
    }
    EXPECT_STREQ(getModuleID(), "kept");
}

TEST(ModuleIdentity, DerivationWithoutMemoryIsRetriedLater) {
    // Each failed attempt keeps nothing, so the next attempt derives afresh.
    int failures = twtest::for_each_allocation_failure([] { (void)getModuleID(); }, [](bool) {});
    EXPECT_GE(failures, 2);  // the command line and the identity
    EXPECT_STRNE(getModuleID(), "");
}

}  // namespace
