// The process command line seen from child processes: a command line made
// here is split by ReparseCommandLine in a child (this test program, re-run
// in a helper role), and CreateProcessV starts a child from a UTF-8 path with
// non-ASCII names and arguments. The child writes what it received to the
// file named by TWTEST_CMDLINE_REPORT: its module path, current directory,
// startup title, command line and arguments, each ended by a NUL.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/alloc_hook.h"
#include "support/scratch.h"
#include "twcommon/text.h"
#include "twcommon/unixnt.h"

namespace {

using Args = std::vector<std::string>;
const char kReportVariable[] = "TWTEST_CMDLINE_REPORT";
const char kChildFilter[] = "--gtest_filter=ChildRole.ReportCommandLine";

std::string utf8(const wchar_t *text) {
    std::string out(utf8_wcstombs_len(text) + 1, '\0');
    out.resize(utf8_wcstombs(&out[0], text, out.size()));
    return out;
}

std::wstring wide(const std::string &text) {
    std::wstring out(text.size() + 1, L'\0');
    out.resize(utf8_mbstowcs(&out[0], text.c_str(), out.size()));
    return out;
}

std::string own_path() {
    wchar_t path[MAX_PATH];
    DWORD n = GetModuleFileNameW(nullptr, path, MAX_PATH);
    return n > 0 && n < MAX_PATH ? utf8(path) : std::string();
}

struct Report {
    std::string module, directory, title, line;
    Args args;  // from argv[2] on: after the program and the filter
};

Report read_report(const std::string &file) {
    std::ifstream in(file, std::ios::binary);
    std::string all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::vector<std::string> fields;
    for (size_t start = 0; start < all.size();) {
        size_t end = all.find('\0', start);
        if (end == std::string::npos) break;
        fields.push_back(all.substr(start, end - start));
        start = end + 1;
    }
    Report r;
    if (fields.size() < 4) return r;
    r.module = fields[0];
    r.directory = fields[1];
    r.title = fields[2];
    r.line = fields[3];
    r.args.assign(fields.begin() + 4, fields.end());
    return r;
}

// Waits for a started child and returns its exit code.
DWORD finish(PROCESS_INFORMATION &process) {
    EXPECT_EQ(WaitForSingleObject(process.hProcess, 60000), WAIT_OBJECT_0);
    DWORD code = 1;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

// The helper role: skipped unless a parent asked for a report.
TEST(ChildRole, ReportCommandLine) {
    const char *file = std::getenv(kReportVariable);
    if (!file) GTEST_SKIP() << "runs only as a child of the tests below";
    char **argv = nullptr;
    int count = ReparseCommandLine(&argv);
    ASSERT_GT(count, 0);
    wchar_t directory[MAX_PATH] = L"";
    GetCurrentDirectoryW(MAX_PATH, directory);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    GetStartupInfoW(&startup);
    std::ofstream out(file, std::ios::binary);
    for (const std::string &field : {own_path(), utf8(directory),
                                     startup.lpTitle ? utf8(startup.lpTitle) : std::string(),
                                     std::string(GetCommandLineV())})
        out << field << '\0';
    for (int i = 2; i < count; ++i) out << argv[i] << '\0';
    std::free(argv);
}

// Runs this program as a child with the wide command line given and returns its report.
Report run_with_command_line(const std::wstring &line, const twtest::ScratchDir &scratch) {
    std::string file = scratch.file("report");
    SetEnvironmentVariableA(kReportVariable, file.c_str());
    std::vector<wchar_t> writable(line.begin(), line.end());
    writable.push_back(L'\0');
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    BOOL started = CreateProcessW(nullptr, writable.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                                  &process);
    SetEnvironmentVariableA(kReportVariable, nullptr);
    EXPECT_TRUE(started) << GetLastError();
    if (!started) return {};
    EXPECT_EQ(finish(process), 0u);
    return read_report(file);
}

TEST(ChildCommandLine, SplitsByTheQuotingRules) {
    twtest::ScratchDir scratch;
    std::string program = own_path();
    // Backslash runs before quotes, a doubled quote inside quotes that also
    // leaves quoted mode (so the next quote opens it again), blanks and tabs.
    std::string tail = "\xC3\xBCn\xC3\xAF \"\xE2\x82\xAC sign\" \"a b\" c\\\\\\\\\"d e\" x\\\\\\\"y w\\\\z\\ "
                       "\"p\"\"q\" tail\t last";
    Args expected = {"\xC3\xBCn\xC3\xAF", "\xE2\x82\xAC sign", "a b", "c\\\\d e", "x\\\"y", "w\\\\z\\",
                     "p\"q tail\t last"};

    std::string line = "\"" + program + "\" " + kChildFilter + " " + tail;
    Report quoted = run_with_command_line(wide(line), scratch);
    EXPECT_EQ(quoted.line, line);
    EXPECT_EQ(quoted.args, expected);

    // The program name is kept as typed, backslashes and all, unquoted too
    // (possible only where the program's path holds no blank).
    if (program.find(' ') != std::string::npos) GTEST_SKIP() << "the program's path holds a blank";
    line = program + "  \t" + kChildFilter + " " + tail;
    Report plain = run_with_command_line(wide(line), scratch);
    EXPECT_EQ(plain.line, line);
    EXPECT_EQ(plain.args, expected);
}

// A copy of this program and the library in a directory whose name has
// blanks and non-ASCII letters, started through its UTF-8 path.
struct ForeignCopy {
    std::string directory, program;
    explicit ForeignCopy(const twtest::ScratchDir &scratch) {
        directory = scratch.path() + "\\T\xC3\xABst \xC3\xBCn\xC3\xAF \xE2\x82\xAC";
        program = directory + "\\tw\xC3\xA9st.exe";
        std::string own = own_path();
        std::string library = own.substr(0, own.rfind('\\')) + "\\twcommon.dll";
        EXPECT_TRUE(CreateDirectoryW(wide(directory).c_str(), nullptr));
        EXPECT_TRUE(CopyFileW(wide(own).c_str(), wide(program).c_str(), FALSE));
        EXPECT_TRUE(CopyFileW(wide(library).c_str(), wide(directory + "\\twcommon.dll").c_str(), FALSE));
    }
};

TEST(CreateProcessV, StartsAProgramFromAUtf8Path) {
    twtest::ScratchDir scratch;
    ForeignCopy copy(scratch);
    std::string file = scratch.file("report");
    SetEnvironmentVariableA(kReportVariable, file.c_str());
    std::string line = "\"" + copy.program + "\" " + kChildFilter + " \xC3\xA4rg \"zwei w\xC3\xB6rter\"";
    std::vector<char> writable(line.begin(), line.end());
    writable.push_back('\0');
    char title[] = "T\xC3\xAFtle";
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.lpTitle = title;
    PROCESS_INFORMATION process{};
    BOOL started = CreateProcessV(copy.program.c_str(), writable.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                  copy.directory.c_str(), &startup, &process);
    SetEnvironmentVariableA(kReportVariable, nullptr);
    ASSERT_TRUE(started) << GetLastError();
    EXPECT_EQ(finish(process), 0u);

    Report report = read_report(file);
    EXPECT_EQ(report.module, copy.program);
    EXPECT_EQ(report.directory, copy.directory);
    EXPECT_EQ(report.line, line);
    EXPECT_EQ(report.args, (Args{"\xC3\xA4rg", "zwei w\xC3\xB6rter"}));
    EXPECT_EQ(report.title, title);
}

TEST(CreateProcessV, NoApplicationNameAndNoStartupInformation) {
    twtest::ScratchDir scratch;
    ForeignCopy copy(scratch);
    std::string file = scratch.file("report");
    SetEnvironmentVariableA(kReportVariable, file.c_str());
    std::string line = "\"" + copy.program + "\" " + kChildFilter + " \xE2\x82\xAC";
    std::vector<char> writable(line.begin(), line.end());
    writable.push_back('\0');
    PROCESS_INFORMATION process{};
    BOOL started = CreateProcessV(nullptr, writable.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, nullptr,
                                  &process);
    SetEnvironmentVariableA(kReportVariable, nullptr);
    ASSERT_TRUE(started) << GetLastError();
    EXPECT_EQ(finish(process), 0u);
    Report report = read_report(file);
    EXPECT_EQ(report.module, copy.program);
    EXPECT_EQ(report.args, Args{"\xE2\x82\xAC"});
}

TEST(CreateProcessV, FailuresGiveZero) {
    char line[] = "nothing-here.exe";
    PROCESS_INFORMATION process{};
    EXPECT_FALSE(CreateProcessV("C:\\n\xC3\xB6where\\nothing-here.exe", line, nullptr, nullptr, FALSE, 0, nullptr,
                                nullptr, nullptr, &process));
    EXPECT_NE(GetLastError(), 0u);

    // Nothing to start: refused as the system refuses it.
    SetLastError(0);
    EXPECT_FALSE(CreateProcessV(nullptr, nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, nullptr, &process));
    EXPECT_EQ(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));

    // Each of the six work buffers failing gives 0 before anything is started.
    int failures = twtest::for_each_allocation_failure(
        [&] {
            SetLastError(0);
            BOOL result = CreateProcessV("C:\\nothing-here.exe", line, nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                         nullptr, &process);
            EXPECT_FALSE(result);
        },
        [](bool failed) {
            if (failed) {
                EXPECT_EQ(GetLastError(), DWORD(ERROR_NOT_ENOUGH_MEMORY));
            }
        });
    EXPECT_EQ(failures, 6);
}

}  // namespace
