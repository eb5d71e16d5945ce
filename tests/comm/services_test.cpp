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
    const struct { const char *line; long min_ms, max_ms; const char *log; } cases[] = {
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
    const struct { const char *line, *log; } cases[] = {
        {"7\n", "bad format GSBNtries, 1 found"}, {"many\n", "bad format GSBNtries, 0 found"}};
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
    const struct { const char *service; int port; } cases[] = {{"svc-good", 4321}, {"svc-bad", 0}, {"svc-missing", 0}};
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

TEST(GetSockBound, DefaultPortOnceThenOverrideFileThenServiceThenFallback) {
    Settings settings("0 0\n");
    const int first = free_port(), second = free_port();
    ASSERT_GT(first, 0);
    write_file(settings.scratch.file("svc"), std::to_string(second) + "\n");
#ifndef _WIN32
    // On Windows SO_REUSEADDR lets a second socket bind a port in use, so only
    // POSIX systems (and wine, which maps to them) can see this bind fail.
    Socket holder(wiretest::new_tcp_socket());
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    ASSERT_EQ(::bind(holder.get(), reinterpret_cast<sockaddr *>(&sa), sizeof sa), 0);
    ASSERT_EQ(::listen(holder.get(), 1), 0);
#endif
    constexpr int kAny = -2;  // a port or error not checked
    // port: bound to (-1 no socket, 0 any); log: a line logged (its beginning when it ends in a space).
    const struct { const char *service; int fallback, default_port, port, err; std::string log; } cases[] = {
        {"svc", -1, first, first, 0, "getsockbound: service=svc protocol=tcp port=" + std::to_string(first)},
        {"svc", -1, 0, second, kAny, ""},
        // ftp is 21, which this process may not bind natively; either way the
        // port it tried is the service's.
        {"ftp", -1, 0, kAny, kAny, "getsockbound: service=ftp protocol=tcp port=21"},
        {"tw-no-such-service", 0, 0, 0, kAny, "getsockbound: cannot find Internet service tw-no-such-service/tcp"},
        {"tw-no-such-service", -1, 0, -1, 0, ""},
#ifndef _WIN32
        {"svc", -1, bound_port(holder.get()), -1, 10048, "getsockbound: bind() failed, "},
#endif
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.service << " fallback " << c.fallback << " default " << c.default_port);
        defaultPORT = c.default_port;
        int err = -1;
        LogCapture log;
        Socket s(getsockbound(c.service, "tcp", &err, c.fallback));
        if (c.port == -1) {
            EXPECT_EQ(s.get(), -1);
        } else if (c.port != kAny) {
            ASSERT_GE(s.get(), 0);
            EXPECT_TRUE(c.port == 0 ? bound_port(s.get()) > 0 : bound_port(s.get()) == c.port) << bound_port(s.get());
        }
        EXPECT_TRUE(c.err == kAny || err == c.err) << err;
        EXPECT_EQ(defaultPORT, 0);  // used once
        EXPECT_TRUE(c.log.empty() || (c.log.back() == ' ' ? log.has_prefix(c.log) : log.has(c.log))) << log.all();
    }
}

}  // namespace
