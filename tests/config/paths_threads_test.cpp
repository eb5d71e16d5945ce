// The named path table under many threads: first use (table load, module
// mutex creation) and first expansions race; every thread must see the same
// cached value for a name. The process may end while threads still look
// names up, and the module mutex needs nothing but the process itself.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <future>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "support/alloc_hook.h"
#include "support/registry_fixture.h"
#include "twcommon/config.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <spawn.h>
#include <sys/wait.h>
#endif

namespace {

#if !defined(_WIN32)
constexpr const char *kExitVariable = "TWTEST_PATHS_EXIT_WITH_THREADS";

// Helper role: threads look names up (first expansions among them) and
// use the values while the main thread ends the process.
const bool helper_role = [] {
    if (!std::getenv(kExitVariable)) return false;
    std::atomic<int> started{0};
    for (int t = 0; t < 4; ++t) {
        std::thread([&started, t] {
            started.fetch_add(1);
            for (unsigned round = 0;; ++round) {
                const char *name = round % 2 ? "BP_LOGS" : t % 2 ? "ADMINCMD_PATH" : "LOCALE_FILE";
                char *expanded = expandOrrickString("$BP_BIN$_ps$JOBD_NAME");
                volatile size_t used = std::strlen(getOrrickString(name)) + std::strlen(getModuleID()) +
                                       std::strlen(expanded);
                (void)used;
                freeOrrickString(expanded);
                if (round % 64 == 0 && lockConfig()) unlockConfig();
            }
        }).detach();
    }
    while (started.load() < 4) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    std::exit(0);
}();

TEST(PathsThreads, ProcessEndsCleanlyWhileThreadsLookUp) {
    // The table and the texts it handed out stay for the life of the
    // process: nothing is freed under the threads, which the address
    // checker would see.
    std::string variable = std::string(kExitVariable) + "=1", name = "helper";
    char *argv[] = {&name[0], nullptr};
    char *envp[] = {&variable[0], nullptr};
    for (int run = 0; run < 3; ++run) {
        pid_t pid;
        int status = -1;
        ASSERT_EQ(0, posix_spawn(&pid, "/proc/self/exe", nullptr, nullptr, argv, envp));
        ASSERT_EQ(pid, waitpid(pid, &status, 0));
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "run " << run << ", status " << status;
    }
}
#endif

std::vector<std::string> names_to_hammer() {
    std::vector<std::string> names = {"_ps", "BP_LOGS", "BP_BIN", "ADMINCMD_PATH", "DATABASE_PATH", "MSG_DIR",
                                      "LOCALE_FILE", "TW_HELP_DIR", "KR_DIR", "BP_DIR", "BP_NT_SERVICES",
                                      "EXTERNAL_ROBOTICS", "GSBNTRIES_PATH", "HC8MM_VALID_FILE", "OVERRIDE_PATH",
                                      "NO_SUCH_NAME", "_exe", "THREAD_ROW"};
    for (const char *program : {"JOBD", "SCHEDD", "REQUESTD", "DBMD", "CLIENTD", "MEDIAD", "NOTIFYD", "TAPED",
                                "BACKUP", "RESTORE", "LIST", "POLICY", "LABEL", "INVENTORY", "EXPIRE", "SYNC"})
        for (const char *suffix : {"_NAME", "_PATH", "_LOGS"}) names.push_back(std::string(program) + suffix);
    return names;
}

TEST(PathsThreads, EightThreadsAgreeOnEveryValueFromFirstUse) {
    twtest::RegistryFixture registry;
    registry.set_path_template("THREAD_ROW", "$BP_BIN${_ps}threads");
    const std::vector<std::string> names = names_to_hammer();
    constexpr int kThreads = 8, kRounds = 200;
    std::vector<std::vector<const char *>> seen(kThreads, std::vector<const char *>(names.size()));
    std::vector<std::string> commands(kThreads);
    std::atomic<int> ready{0};
    std::atomic<bool> mismatch{false};

    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            ready.fetch_add(1);
            while (ready.load() < kThreads) {
            }
            for (int round = 0; round < kRounds; ++round) {
                // Each thread walks the names from its own starting point.
                for (size_t i = 0; i < names.size(); ++i) {
                    size_t k = (i + size_t(t) * 7) % names.size();
                    const char *value = getOrrickString(names[k].c_str());
                    if (round == 0) seen[t][k] = value;
                    else if (seen[t][k] != value) mismatch = true;
                }
                if (round % 50 == t) {
                    const char *local = UnixToLocalCmd("/usr/tallowind/backup/bin/twjobd");
                    commands[t] = local ? local : "<none>";
                    char *expanded = expandOrrickString("$THREAD_ROW/$JOBD_NAME");
                    if (std::string(expanded) != "/usr/tallowind/backup/bin/threads/twjobd") mismatch = true;
                    freeOrrickString(expanded);
                }
            }
        });
    }
    for (auto &thread : threads) thread.join();

    EXPECT_FALSE(mismatch);
    for (size_t k = 0; k < names.size(); ++k) {
        const char *value = getOrrickString(names[k].c_str());
        for (int t = 0; t < kThreads; ++t) EXPECT_EQ(value, seen[t][k]) << names[k] << " in thread " << t;
    }
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ("/usr/tallowind/backup/bin/twjobd", commands[t]);
    EXPECT_STREQ("/usr/tallowind/backup/bin/threads", getOrrickString("THREAD_ROW"));
}

TEST(PathsThreads, ListingWhileOthersLookUp) {
    std::atomic<bool> stop{false};
    std::thread reader([&] {
        while (!stop) getOrrickString("LOCALE_FILE");
    });
    std::map<std::string, std::string> listed;
    forEachOrrickString(
        [](const char *name, const char *value, void *argument) {
            (*static_cast<std::map<std::string, std::string> *>(argument))[name] = value;
        },
        &listed);
    stop = true;
    reader.join();
    EXPECT_GT(listed.size(), 600u);
    EXPECT_EQ("/usr/tallowind/backup/logs", listed["BP_LOGS"]);
    for (const auto &[name, value] : listed) EXPECT_EQ(value, getOrrickString(name.c_str())) << name;
}

TEST(PathsThreads, ModuleMutexNeedsNoNamedObject) {
#if defined(_WIN32)
    // Another kernel object holding a name that a named mutex might use.
    HANDLE squatter = CreateEventA(nullptr, TRUE, FALSE, "myMutex");
    ASSERT_NE(nullptr, squatter);
#else
    // The module mutex cannot be made at the first try: the lookup waits
    // and tries again.
    twtest::FailAllocation fail(1);
#endif
    std::packaged_task<std::string()> lookup([] { return std::string(getOrrickString("_ps")); });
    std::future<std::string> value = lookup.get_future();
    std::thread(std::move(lookup)).detach();
    ASSERT_EQ(std::future_status::ready, value.wait_for(std::chrono::seconds(30)));
    EXPECT_EQ("/", value.get());
#if defined(_WIN32)
    CloseHandle(squatter);
#else
    EXPECT_TRUE(fail.fired());
#endif
}

}  // namespace
