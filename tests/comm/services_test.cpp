// Service and port lookup: the retry settings files, override and default
// port files written by the tests, and getsockbound's one-shot defaultPORT.
// The services database is the system's: "ftp" is 21/tcp in every one.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#ifndef _WIN32
#  include <netdb.h>
#endif

#include "comm/wire_support.h"
#include "support/registry_fixture.h"
#include "support/scratch.h"
#include "twcommon/comm.h"

namespace {

using twtest::RegistryFixture;
using twtest::ScratchDir;
using wiretest::LogCapture;
using wiretest::Socket;
using wiretest::Stopwatch;

void write_file(const std::string &path, const std::string &text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
}

// The port a socket is bound to.
int bound_port(int sock) {
    sockaddr_in sa{};
    socklen_t len = sizeof sa;
    if (::getsockname(sock, reinterpret_cast<sockaddr *>(&sa), &len) != 0) return -1;
    return ntohs(sa.sin_port);
}

// A port that was free a moment ago.
int free_port() {
    Socket s(wiretest::new_tcp_socket());
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    if (::bind(s.get(), reinterpret_cast<sockaddr *>(&sa), sizeof sa) != 0) return -1;
    return bound_port(s.get());
}

// Settings files for both lookups in a scratch directory. The named paths
// are read once per process, so a case sets them once and rewrites the files.
struct Settings {
    ScratchDir scratch;
    RegistryFixture registry;
    explicit Settings(const char *bp_first_line, const char *vm_first_line = nullptr) {
        winsock_start();
        registry.set_path("OVERRIDE_PATH", scratch.path());
        registry.set_path("GSBNTRIES_PATH", scratch.file("gsbn"));
        registry.set_path("VM_GSBNTRIES_PATH", scratch.file("vmgsbn"));
        set(bp_first_line, vm_first_line);
    }
    void set(const char *bp_first_line, const char *vm_first_line = nullptr) {
        if (bp_first_line) write_file(scratch.file("gsbn"), bp_first_line);
        if (vm_first_line) write_file(scratch.file("vmgsbn"), vm_first_line);
    }
};

TEST(ServiceLookup, HostAndNetworkOrderShareOneEntry) {
    Settings settings("0 0\n");
    servent *bp = bp_getservbyname("ftp", "tcp");
    ASSERT_NE(bp, nullptr);
    EXPECT_STREQ(bp->s_name, "ftp");
    EXPECT_STREQ(bp->s_proto, "tcp");
    EXPECT_EQ(uint16_t(bp->s_port), 21);
    servent *vm = vm_getservbyname("ftp", "tcp");
    EXPECT_EQ(vm, bp);
    EXPECT_EQ(uint16_t(vm->s_port), htons(21));
    // The copy is the library's: another lookup of the system's does not touch it.
    getservbyname("ssh", "tcp");
    EXPECT_STREQ(vm->s_name, "ftp");
}

TEST(ServiceLookup, RetriesAsTheSettingsFileSays) {
    const struct {
        const char *line;
        long min_ms, max_ms;
        const char *log;
    } cases[] = {
        {"0 0\n", 0, 900, "bp_getservbyname: getservbyname() failed after 0 attempts for tw-no-such-service/tcp"},
        {"1 1\n", 900, 4000, "bp_getservbyname: getservbyname() failed after 1 attempts for tw-no-such-service/tcp"},
    };
    Settings settings(nullptr);
    for (const auto &c : cases) {
        settings.set(c.line);
        LogCapture log;
        Stopwatch watch;
        EXPECT_EQ(bp_getservbyname("tw-no-such-service", "tcp"), nullptr);
        EXPECT_GE(watch.ms(), c.min_ms);
        EXPECT_LT(watch.ms(), c.max_ms);
        EXPECT_TRUE(log.has(c.log)) << log.all();
    }
}

TEST(ServiceLookup, BadFirstLineIsReportedAndDefaultsUsed) {
    const struct {
        const char *line;
        const char *log;
    } cases[] = {
        {"7\n", "bad format GSBNtries, 1 found"},
        {"many\n", "bad format GSBNtries, 0 found"},
    };
    Settings settings(nullptr);
    for (const auto &c : cases) {
        // Each lookup reads its own file: vm_ the VM one, bp_ the other.
        settings.set("0 0\n", c.line);
        LogCapture log;
        EXPECT_NE(bp_getservbyname("ftp", "tcp"), nullptr);
        EXPECT_FALSE(log.has_prefix("bp_getservbyname: bad format"));
        EXPECT_NE(vm_getservbyname("ftp", "tcp"), nullptr);
        EXPECT_TRUE(log.has(std::string("vm_getservbyname: ") + c.log)) << log.all();
    }
}

TEST(PortFiles, OverrideFileGivesThePortOrZero) {
    Settings settings(nullptr);
    write_file(settings.scratch.file("svc-good"), "4321\n");
    write_file(settings.scratch.file("svc-bad"), "port\n");
    const struct {
        const char *service;
        int port;
    } cases[] = {{"svc-good", 4321}, {"svc-bad", 0}, {"svc-missing", 0}};
    for (const auto &c : cases) EXPECT_EQ(getoverridePORT(c.service), c.port) << c.service;
}

TEST(PortFiles, DefaultPortFileGivesThePortOrMinusOne) {
    namespace fs = std::filesystem;
    const fs::path dir = "/usr/hollin/quillet/database/ports";
    const std::string service = "tw-test-" + std::to_string(std::hash<std::string>{}(ScratchDir().path()));
    std::error_code ec;
    bool made_root = !fs::exists("/usr/hollin", ec);
    fs::create_directories(dir, ec);
    write_file((dir / service).string(), "5150\n");
    if (!fs::exists(dir / service, ec)) GTEST_SKIP() << "cannot write " << dir.string();
    EXPECT_EQ(getdefaultPORT(service.c_str()), 5150);
    EXPECT_EQ(getdefaultPORT((service + "-missing").c_str()), -1);
    fs::remove(dir / service, ec);
    if (made_root) fs::remove_all("/usr/hollin", ec);
}

TEST(GetSockBound, DefaultPortIsUsedOnceThenTheOverrideFile) {
    Settings settings("0 0\n");
    int first = free_port(), second = free_port();
    ASSERT_GT(first, 0);
    write_file(settings.scratch.file("svc"), std::to_string(second) + "\n");
    defaultPORT = first;
    int err = -1;
    LogCapture log;
    Socket a(getsockbound("svc", "tcp", &err, -1));
    ASSERT_GE(a.get(), 0);
    EXPECT_EQ(err, 0);
    EXPECT_EQ(bound_port(a.get()), first);
    EXPECT_EQ(defaultPORT, 0);
    EXPECT_TRUE(log.has("getsockbound: service=svc protocol=tcp port=" + std::to_string(first))) << log.all();
    Socket b(getsockbound("svc", "tcp", &err, -1));
    ASSERT_GE(b.get(), 0);
    EXPECT_EQ(bound_port(b.get()), second);
    EXPECT_EQ(defaultPORT, 0);
}

TEST(GetSockBound, ServiceLookupThenFallback) {
    Settings settings("0 0\n");
    int err = -1;
    LogCapture log;
    // The system's entry: ftp is 21, which this process may not bind natively;
    // either way the port it tried is the service's.
    Socket a(getsockbound("ftp", "tcp", &err, -1));
    EXPECT_TRUE(log.has("getsockbound: service=ftp protocol=tcp port=21")) << log.all();
    Socket b(getsockbound("tw-no-such-service", "tcp", &err, 0));
    ASSERT_GE(b.get(), 0);
    EXPECT_GT(bound_port(b.get()), 0);  // fallback 0: any port
    EXPECT_TRUE(log.has("getsockbound: cannot find Internet service tw-no-such-service/tcp"));
    EXPECT_EQ(getsockbound("tw-no-such-service", "tcp", &err, -1), -1);
    EXPECT_EQ(err, 0);
}

#ifndef _WIN32
// On Windows SO_REUSEADDR lets a second socket bind a port in use, so only
// POSIX systems (and wine, which maps to them) can see this bind fail.
TEST(GetSockBound, BindFailureGivesTheSocketError) {
    Settings settings("0 0\n");
    Socket holder(wiretest::new_tcp_socket());
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    ASSERT_EQ(::bind(holder.get(), reinterpret_cast<sockaddr *>(&sa), sizeof sa), 0);
    ASSERT_EQ(::listen(holder.get(), 1), 0);
    defaultPORT = bound_port(holder.get());
    int err = 0;
    LogCapture log;
    EXPECT_EQ(getsockbound("svc", "tcp", &err, -1), -1);
    EXPECT_EQ(err, 10048);
    EXPECT_TRUE(log.has_prefix("getsockbound: bind() failed, ")) << log.all();
}
#endif

}  // namespace
