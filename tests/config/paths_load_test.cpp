// Memory running out while the table is loaded with a registry row. The
// table loads once per process, so each attempt is a child process (this
// program again, in a helper role chosen by the environment) that writes the
// row, makes the nth allocation of the load fail and writes what it saw.
// Natively the child's leak check also proves that a failed row is released.
// On Windows, also the table's release when the library is unloaded.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "support/alloc_hook.h"
#include "support/eventlog_capture.h"
#include "support/registry_fixture.h"
#include "support/scratch.h"
#include "twcommon/config.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <spawn.h>
#include <sys/wait.h>
#endif

namespace {

constexpr const char *kFailAtVariable = "TWTEST_PATHS_FAIL_AT";
constexpr const char *kOutVariable = "TWTEST_PATHS_OUT";
constexpr int kCounting = 1000000;  // armed so far off that it only counts

// Helper role: load the table with one registry row while the allocation
// given by the environment fails (0: none, just count them), then write
// the number of allocations (or what was left of the countdown), the row's
// value and every event, one per line.
const bool helper_role = [] {
    const char *fail_at = std::getenv(kFailAtVariable), *out = std::getenv(kOutVariable);
    if (!fail_at || !out) return false;
    std::ostringstream seen;
    {
        twtest::RegistryFixture registry;
        registry.set_path("NEW_ROW", "new");
        twtest::EventLogCapture capture;
        const int n = std::atoi(fail_at);
        twcommon_testhook_failalloc(n > 0 ? n : kCounting);
        lockConfig();
        const int left = twcommon_testhook_failalloc(0);
        seen << (n > 0 ? left : kCounting - left) << "\n" << getOrrickString("NEW_ROW") << "\n";
        for (const twtest::Event &e : capture.events()) {
            seen << e.id;
            for (const std::string &s : e.strings) seen << " " << s;
            seen << "\n";
        }
    }
    std::ofstream(out, std::ios::binary) << seen.str();
    std::exit(0);
}();

// Runs the helper; its report, or "<failed>" when it did not end cleanly.
std::string run_helper(int fail_at) {
    twtest::ScratchDir scratch;
    const std::string out = scratch.file("seen.txt"), n = std::to_string(fail_at);
    int code = -1;
#if defined(_WIN32)
    SetEnvironmentVariableA(kFailAtVariable, n.c_str());
    SetEnvironmentVariableA(kOutVariable, out.c_str());
    char exe[MAX_PATH];
    GetModuleFileNameA(nullptr, exe, MAX_PATH);
    std::string line = "helper";
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (CreateProcessA(exe, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
        WaitForSingleObject(process.hProcess, INFINITE);
        DWORD exit_code = 1;
        GetExitCodeProcess(process.hProcess, &exit_code);
        code = int(exit_code);
        CloseHandle(process.hProcess);
        CloseHandle(process.hThread);
    }
    SetEnvironmentVariableA(kFailAtVariable, nullptr);
    SetEnvironmentVariableA(kOutVariable, nullptr);
#else
    std::string fail_variable = std::string(kFailAtVariable) + "=" + n, out_variable = std::string(kOutVariable) + "=" + out;
    std::string name = "helper";
    char *argv[] = {&name[0], nullptr};
    char *envp[] = {&fail_variable[0], &out_variable[0], nullptr};
    pid_t pid;
    int status = 0;
    if (posix_spawn(&pid, "/proc/self/exe", nullptr, nullptr, argv, envp) == 0 && waitpid(pid, &status, 0) == pid)
        code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
    if (code != 0) return "<failed>";
    std::ifstream in(out, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

TEST(PathsLoadOutOfMemory, RegistryRowThatCannotBeHeldIsReportedAndSkipped) {
    const std::string counted = run_helper(0);
    ASSERT_NE("<failed>", counted);
    EXPECT_NE(std::string::npos, counted.find("\nnew\n")) << counted;
    const int allocations = std::atoi(counted.c_str());
    ASSERT_GT(allocations, 8);

    // The last allocation is the lookup index, which the table can do
    // without; the ones before it hold the row, last read first.
    EXPECT_EQ("0\nnew\n", run_helper(allocations));
    bool stored = false, read = false;
    for (int back = 1; back <= 7; ++back) {
        const std::string seen = run_helper(allocations - back);
        if (seen == "0\n\n5 NEW_ROW\n") stored = true;
        else if (seen == "0\n\n12 SOFTWARE\\Quorvex\\Tallowind\\CurrentVersion\\Paths 0\n") read = true;
        else ADD_FAILURE() << "allocation " << allocations - back << ": " << seen;
    }
    EXPECT_TRUE(stored);
    EXPECT_TRUE(read);
}

#if defined(_WIN32)
// A library unloaded with FreeLibrary releases its table; loaded again, it
// builds a new one. A copy of the DLL under another name is loaded, so that
// the unload is real while this program keeps its own.
TEST(PathsLoad, UnloadedLibraryReleasesItsTableAndLoadsAgain) {
    twtest::ScratchDir scratch;
    char dll[MAX_PATH];
    ASSERT_NE(0u, GetModuleFileNameA(GetModuleHandleA("twcommon.dll"), dll, MAX_PATH));
    const std::string copy = scratch.file("twcommon_unload.dll");
    ASSERT_TRUE(CopyFileA(dll, copy.c_str(), FALSE));
    for (int load = 0; load < 2; ++load) {
        HMODULE library = LoadLibraryA(copy.c_str());
        ASSERT_NE(nullptr, library);
        // Through a generic function pointer, as GetProcAddress's own type is another.
        auto lookup = reinterpret_cast<const char *(*)(const char *)>(
            reinterpret_cast<void (*)()>(GetProcAddress(library, "getOrrickString")));
        auto identity = reinterpret_cast<const char *(*)()>(
            reinterpret_cast<void (*)()>(GetProcAddress(library, "getModuleID")));
        ASSERT_TRUE(lookup && identity);
        EXPECT_STREQ("/usr/tallowind/backup/logs", lookup("BP_LOGS")) << "load " << load;
        EXPECT_STRNE("", identity());
        EXPECT_TRUE(FreeLibrary(library));
    }
}
#endif

}  // namespace
