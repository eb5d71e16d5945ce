// Notify scripts run as real command files; each proves it ran by writing a
// file named on its command line.
#include <windows.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "support/alloc_hook.h"
#include "support/registry_fixture.h"
#include "support/scratch.h"
#include "twcommon/config.h"
#include "twcommon/diag.h"

namespace fs = std::filesystem;

namespace {

std::string write_script(const fs::path &path, const std::string &body) {
    fs::create_directories(path.parent_path());
    std::ofstream(path) << "@echo off\r\n" << body;
    return path.string();
}

std::string read_file(const std::string &path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

bool appears_within(const std::string &path, std::chrono::seconds limit) {
    auto deadline = std::chrono::steady_clock::now() + limit;
    while (!fs::exists(path)) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // let the writer finish
    return true;
}

const char kWriteMark[] = "echo ran>%1\r\n";

TEST(NotifyScript, ExitCodeOfTheScriptIsNotReported) {
    twtest::ScratchDir scratch;
    std::string out = scratch.file("out.txt");
    std::string script = write_script(scratch.file("three.cmd"), std::string(kWriteMark) + "exit /b 3\r\n");
    EXPECT_EQ(runNotifyScript((script + " " + out).c_str()), 0);
    EXPECT_EQ(read_file(out).substr(0, 3), "ran");  // waited for the end
}

TEST(NotifyScript, ScriptThatCannotStartGivesMinusOne) {
    twtest::ScratchDir scratch;
    EXPECT_EQ(runNotifyScript(scratch.file("missing.cmd").c_str()), -1);
    EXPECT_EQ(runNotifyScript(("\"" + scratch.file("missing dir") + "\\missing.cmd\" x").c_str()), -1);
    EXPECT_EQ(runNotifyScriptNoWait(scratch.file("missing.cmd").c_str()), -1);
    EXPECT_EQ(runNotifyScript(nullptr), -1);
    EXPECT_EQ(runNotifyScriptNoWait(nullptr), -1);
}

TEST(NotifyScript, QuotedPathWithBlankComponentsStarts) {
    twtest::ScratchDir scratch;
    std::string out = scratch.file("out.txt");
    std::string script = write_script(fs::path(scratch.file("notify dir")) / "a b" / "notify.cmd", kWriteMark);
    EXPECT_EQ(runNotifyScript(("\"" + script + "\" " + out).c_str()), 0);
    EXPECT_EQ(read_file(out).substr(0, 3), "ran");
}

TEST(NotifyScript, WithoutMemoryForTheSplitTheQuotedLineRunsAsItIs) {
    twtest::ScratchDir scratch;
    std::string out = scratch.file("out.txt");
    std::string script = write_script(fs::path(scratch.file("notify dir")) / "notify.cmd", kWriteMark);
    std::string command = "\"" + script + "\" " + out;
    (void)getOrrickString("KR_DIR");  // the path table is loaded before counting allocations
    int result = 0, ran_despite_failure = 0;
    twtest::for_each_allocation_failure(
        [&] {
            fs::remove(out);
            result = runNotifyScript(command.c_str());
        },
        [&](bool failed) {
            // A failed start is the only other answer.
            EXPECT_TRUE(result == 0 || result == -1);
            EXPECT_EQ(result == 0, fs::exists(out));
            if (failed && result == 0) ++ran_despite_failure;
        });
    EXPECT_GE(ran_despite_failure, 2);  // the application name and the rebuilt line
}

TEST(NotifyScript, ProgramUnderAnInstallRootWithABlankIsQuotedFirst) {
    twtest::ScratchDir scratch;
    std::string root = scratch.file("install root");
    twtest::RegistryFixture registry;
    registry.set_path("KR_DIR", root);
    std::string out = scratch.file("out.txt");
    std::string script = write_script(fs::path(root) / "bin" / "notify.cmd", kWriteMark);
    EXPECT_EQ(runNotifyScript((script + " " + out).c_str()), 0);  // unquoted as the caller gives it
    EXPECT_EQ(read_file(out).substr(0, 3), "ran");
}

TEST(NotifyScript, NoWaitReturnsWhileTheScriptRuns) {
    twtest::ScratchDir scratch;
    std::string go = scratch.file("go.txt"), done = scratch.file("done.txt");
    std::string script =
        write_script(scratch.file("waits.cmd"), ":wait\r\nif not exist %1 goto wait\r\necho done>%2\r\n");
    EXPECT_EQ(runNotifyScriptNoWait((script + " " + go + " " + done).c_str()), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_FALSE(fs::exists(done));  // still waiting for its signal
    std::ofstream(go) << "go";
    EXPECT_TRUE(appears_within(done, std::chrono::seconds(30)));
}

}  // namespace
