#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#ifndef _WIN32
#  include <netdb.h>
#endif

#include "comm/wire_support.h"
#include "support/alloc_hook.h"
#include "support/scratch.h"
#include "twcommon/comm.h"
#include "twcommon/diag.h"

extern "C" TW_API void twcommon_testhook_cluster_addrs(const tw_in_addr_t *list, int count);

namespace {

using namespace std::string_literals;

// Under the reserved .invalid domain: no resolver knows it, none waits for it.
const char kMissingHost[] = "nosuch-host.invalid";
// A documentation address without a reverse entry. Wine (and this machine)
// may use such ranges for the machine itself, so it is checked where it matters.
const char kForeignAddress[] = "203.0.113.77";
const char kLookupErrorLabel[] = "An error occurred getting the list of local interfaces";

tw_in_addr_t ip(const char *dotted) { return inet_addr(dotted); }

std::string own_host_name() {
    winsock_start();
    char name[256] = "";
    EXPECT_EQ(gethostname(name, sizeof name), 0);
    return name;
}

std::vector<tw_in_addr_t> local_addresses() {
    tw_in_addr_t *array = nullptr;
    int count = 0;
    EXPECT_EQ(get_local_addrs(&array, &count), 0);
    std::vector<tw_in_addr_t> out(array, array + count);
    std::free(array);
    return out;
}

// local_addrs_debug_stream pointed at a scratch file while alive.
class TraceFile {
public:
    TraceFile() : path_(dir_.file("trace.txt")) { local_addrs_debug_stream = stream_ = std::fopen(path_.c_str(), "w"); }
    ~TraceFile() { close(); }
    std::vector<std::string> lines() {
        close();
        std::ifstream in(path_);
        std::vector<std::string> out;
        for (std::string line; std::getline(in, line);) out.push_back(line);
        return out;
    }
    long count_containing(const std::string &text) {
        auto all = lines();
        return std::count_if(all.begin(), all.end(), [&](auto &l) { return l.find(text) != std::string::npos; });
    }

private:
    void close() {
        local_addrs_debug_stream = nullptr;
        if (stream_) std::fclose(stream_);
        stream_ = nullptr;
    }
    twtest::ScratchDir dir_;
    std::string path_;
    FILE *stream_ = nullptr;
};

// The messages the library logs while alive (without their function), with
// he_verbose on.
struct VerboseLog : wiretest::LogCapture {
    VerboseLog() { he_verbose = 1; }
    ~VerboseLog() { he_verbose = 0; }
    std::string text(const std::string &line) const { return line.substr(line.find(": ") + 2); }
    std::string last() const { return lines.empty() ? "" : text(lines.back()); }
    bool has(const std::string &message) const {
        return std::any_of(lines.begin(), lines.end(), [&](auto &line) { return text(line) == message; });
    }
};

TEST(HostCompare, NamesAddressesAndClusters) {
    const std::vector<tw_in_addr_t> local = local_addresses();
    ASSERT_FALSE(local.empty());
    in_addr a;
    a.s_addr = local.back();
    const std::string own_address = inet_ntoa(a), own_name = own_host_name(), huge(10000, 'h'), huge_x = huge + "x";
    const char *own = own_name.c_str(), *own_ip = own_address.c_str(), *failed = "gethostbyname failed for ";
    // hosts_equal takes two local hosts as one whatever their names;
    // dns_hosts_equal needs a shared address (kAny: not asserted, as the own
    // name may resolve to any of the machine's addresses).
    constexpr int kAny = -1;
    const struct {
        const char *cluster;  // null: none registered
        const char *name1, *name2;
        int hosts, dns;
        const char *message;  // dns_hosts_equal's (its beginning when it ends in a space); null: any
        bool no_lookup;       // decided without looking a name up
    } cases[] = {
        {nullptr, "", "", 1, 1, "Both are empty", true},
        {nullptr, nullptr, "", 1, 1, "Both are empty", true},
        {nullptr, "somehost", "", 0, 0, "Second name is  empty", true},
        {nullptr, nullptr, "somehost", 0, 0, "First name is  empty", true},
        {nullptr, "NoSuch-Host.INVALID", kMissingHost, 1, 1, "names are the same", true},
        {nullptr, kMissingHost, "localhost", 0, 0, failed, false},
        {nullptr, "localhost", kMissingHost, 0, 0, failed, false},
        {nullptr, huge.c_str(), "localhost", 0, 0, failed, false},
        {nullptr, huge.c_str(), huge_x.c_str(), 0, 0, failed, false},
        {nullptr, "localhost", "127.0.0.1", 1, 1, nullptr, false},
        {nullptr, "127.0.0.1", "LOCALHOST", 1, 1, nullptr, false},
        {nullptr, "127.0.0.1", "127.0.0.2", 1, 0, "addresses DO NOT match", false},
        {nullptr, own, "localhost", 1, kAny, nullptr, false},
        {nullptr, own_ip, "localhost", 1, kAny, nullptr, false},
        {nullptr, own_ip, own, 1, kAny, nullptr, false},
        // A cluster match of one host only is no match.
        {nullptr, "127.0.0.1", "localhost", 1, 1, "addresses DO match", false},
        {"127.0.0.1", "127.0.0.1", "localhost", kAny, 1, "Both match to a cluster", false},
        {"127.0.0.1", "127.0.0.1", "127.0.0.2", kAny, 0, "Only one a complete match", false},
        {"127.0.0.1", "127.0.0.2", "127.0.0.1", kAny, 0, "Only one a complete match", false},
        {"127.0.0.3", "127.0.0.1", "localhost", kAny, 1, "addresses DO match", false},
    };
    for (const auto &c : cases) {
        const std::string name1 = c.name1 ? c.name1 : "(null)";
        SCOPED_TRACE((c.cluster ? c.cluster : "(none)") + (": " + name1.substr(0, 40)) + " / " +
                     std::string(c.name2).substr(0, 40));
        twcommon_testhook_cluster_addrs(nullptr, 0);
        set_cluster_addr(c.cluster);
        TraceFile trace;
        if (c.hosts != kAny) {
            EXPECT_EQ(hosts_equal(c.name1, c.name2), c.hosts);
        }
        char msg[128] = "unchanged";
        const int dns = dns_hosts_equal(c.name1, c.name2, msg, sizeof msg);
        EXPECT_TRUE(c.dns == kAny || dns == c.dns) << dns << " " << msg;
        const std::string got = msg, want = c.message ? c.message : "";
        EXPECT_TRUE(!c.message || (want.back() == ' ' ? got.rfind(want, 0) == 0 : got == want)) << got;
        EXPECT_TRUE(!c.no_lookup || trace.count_containing(kLookupErrorLabel) == 0);
    }
}

TEST(HostCompare, VerboseStepsAndLastMessage) {
    VerboseLog log;
    EXPECT_EQ(hosts_equal("127.0.0.1", "127.0.0.2"), 1);
    EXPECT_TRUE(log.has("host1 127.0.0.1 127.0.0.1 addr 127.0.0.1 (0x100007f)"));
    EXPECT_EQ(log.last(), "hostnames DO compare (1)");

    char msg[128] = "";
    EXPECT_EQ(dns_hosts_equal("127.0.0.1", "127.0.0.2", msg, sizeof msg), 0);
    EXPECT_TRUE(log.has("   ---- <127.0.0.2>"));
    EXPECT_TRUE(log.has("127.0.0.1=0x100007f 127.0.0.2=0x200007f"));
    EXPECT_STREQ(msg, "addresses DO NOT match");
    EXPECT_EQ(log.last(), msg);

    // The message is cut to its buffer; size 1 empties it, 0 leaves it.
    for (const auto &[size, after] : {std::pair<int, const char *>{8, "address"}, {1, ""}, {0, "x"}}) {
        char buf[8] = "x";
        dns_hosts_equal("127.0.0.1", "127.0.0.2", buf, size);
        EXPECT_STREQ(buf, after) << size;
    }
}

TEST(HostCluster, ListsMatchPositionByPosition) {
    const tw_in_addr_t A = ip("10.1.1.1"), B = ip("10.1.1.2"), C = ip("10.1.1.3");
    // host is zero-terminated below.
    const struct { std::vector<tw_in_addr_t> cluster, host; int expected; const char *message; } cases[] = {
        {{A, B}, {A, B}, 1, "subsets are same"},
        {{A, B}, {B, A}, 0, "subsets are different"},
        {{A, B}, {A}, 0, "subsets are different"},
        {{A, B}, {A, B, C}, 0, "subsets are different"},
        {{A, B, C, A}, {A, B, C, A}, 1, "subsets are same"},
        {{A, B, C, A}, {A, B, C, A, B}, 0, "subsets are different"},
        {{A, B}, {}, 0, "Host Ip list is empty"},
        {{}, {A}, 0, "Cluster Ip list is empty"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "cluster of " << c.cluster.size() << ", host of " << c.host.size());
        twcommon_testhook_cluster_addrs(c.cluster.data(), int(c.cluster.size()));
        std::vector<tw_in_addr_t> host = c.host;
        host.push_back(0);
        VerboseLog log;
        EXPECT_EQ(is_equal_to_cluster_ips(host.data()), c.expected);
        EXPECT_EQ(log.last(), c.message);
    }
    EXPECT_EQ(is_equal_to_cluster_ips(nullptr), 0);

    // A name that cannot be looked up, or none, keeps the list.
    const tw_in_addr_t loopback[] = {ip("127.0.0.1"), 0};
    set_cluster_addr("127.0.0.1");
    for (const char *ignored : {(const char *)nullptr, "", kMissingHost}) set_cluster_addr(ignored);
    EXPECT_EQ(is_equal_to_cluster_ips(loopback), 1);
    set_cluster_addr("127.0.0.2");
    EXPECT_EQ(is_equal_to_cluster_ips(loopback), 0);
}

TEST(HostLookup, MissingNameIsLookedUpOnce) {
    TraceFile trace;
    char errbuf[256] = "";
    auto start = std::chrono::steady_clock::now();
    // A retry would sleep a second first.
    EXPECT_EQ(retry_gethostbyname(kMissingHost, 3, 1000, errbuf, sizeof errbuf), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
    EXPECT_STRNE(errbuf, "");
    const std::vector<std::string> lines = trace.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(std::regex_match(lines[0], std::regex("common/lib/local_addrs\\.[0-9]+: "s + kLookupErrorLabel +
                                                      " =   Winsock error 0x02af9: .+")))  // 11001
        << lines[0];

    // errbuf: size 1 empties it, 0 or less leaves it, else the text is cut.
    const int sizes[] = {1, 0, -5, 4};
    const char *after[] = {"", "xyz", "xyz", nullptr};
    for (int i = 0; i < 4; ++i) {
        char buf[8] = "xyz";
        EXPECT_EQ(retry_gethostbyname(kMissingHost, 1, 0, buf, sizes[i]), nullptr);
        EXPECT_EQ(after[i] ? std::string(after[i]) : std::string(errbuf, 3), buf) << sizes[i];
    }
    EXPECT_EQ(retry_gethostbyname(nullptr, 3, 0, nullptr, 0), nullptr);
    EXPECT_EQ(retry_gethostbyname("localhost", 0, 0, nullptr, 0), nullptr);  // no tries
}

TEST(HostLookup, ReverseModes) {
    const tw_in_addr_t loopback = ip("127.0.0.1"), foreign = ip("203.0.113.5");
    // name: the canonical name ("" any, null no entry); error_lines: failed look-ups traced.
    const struct { tw_in_addr_t address; int mode; const char *name; int error_lines; } cases[] = {
        {loopback, 0, "", 0},           {loopback, 2, "127.0.0.1", 0},   {foreign, 0, nullptr, 1},
        {foreign, 1, "203.0.113.5", 1}, {foreign, 2, "203.0.113.5", 0}, {foreign, 7, nullptr, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.address << " mode " << c.mode);
        TraceFile trace;
        char errbuf[256] = "";
        hostent *entry = retry_gethostbyaddr_rnl(&c.address, 4, AF_INET, 1, 0, errbuf, sizeof errbuf, c.mode);
        ASSERT_EQ(entry != nullptr, c.name != nullptr) << errbuf;
        if (c.name && *c.name) {
            EXPECT_STREQ(entry->h_name, c.name);
        }
        EXPECT_EQ(trace.count_containing(kLookupErrorLabel), c.error_lines);
    }

    // Odd lengths and no address: no crash; bytes beyond the length are 0.
    unsigned char wide[16] = {127, 0, 0, 1};
    for (int length : {100, 0, -3}) retry_gethostbyaddr(wide, length, AF_INET, 1, 0, nullptr, 0);
    EXPECT_EQ(retry_gethostbyaddr(nullptr, 4, AF_INET, 1, 0, nullptr, 0), nullptr);
    EXPECT_EQ(retry_gethostbyaddr_rnl(nullptr, 4, AF_INET, 1, 0, nullptr, 0, 2), nullptr);
    hostent *entry = retry_gethostbyaddr_rnl(wide, 2, AF_INET, 1, 0, nullptr, 0, 2);
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(entry->h_name, "127.0.0.0");
}

TEST(HostLocal, TraceOfTheInterfaceScanAndItsCache) {
    TraceFile trace;
    const std::vector<tw_in_addr_t> first = local_addresses();
    EXPECT_EQ(local_addresses(), first);  // from the cache, without a trace
    EXPECT_NE(std::find(first.begin(), first.end(), ip("127.0.0.1")), first.end());

    const std::vector<std::string> lines = trace.lines();
    ASSERT_GE(lines.size(), 3u);
    const std::regex number("common/lib/local_addrs\\.[0-9]+: ([^=]+) = (-?[0-9]+) 0x([0-9a-f]{8})");
    const std::regex text("common/lib/local_addrs\\.[0-9]+: (LOOPBACK|Interface) IP Address [0-9]+\\(IP\\)  = "
                          "([0-9.]+)");
    std::smatch m;
    ASSERT_TRUE(std::regex_match(lines.front(), m, number)) << lines.front();
    EXPECT_EQ(m[1].str() + "=" + m[2].str(), "get_local_addrs for NT, call is=1");
    ASSERT_TRUE(std::regex_match(lines.back(), m, number)) << lines.back();
    EXPECT_EQ(m[1].str() + "=" + m[2].str(), "got local address *count=" + std::to_string(first.size()));
    bool loopback_seen = false;
    for (const std::string &line : lines) {
        if (std::regex_match(line, m, text)) {
            loopback_seen |= m[1] == "LOOPBACK" && m[2] == "127.0.0.1";
            continue;
        }
        ASSERT_TRUE(std::regex_match(line, m, number)) << line;
        EXPECT_EQ(std::stoul(m[3], nullptr, 16), static_cast<unsigned>(std::stol(m[2]))) << line;
    }
    EXPECT_TRUE(loopback_seen);
}

TEST(HostLocal, FailedAllocationsLeaveNothingAndRescan) {
    TraceFile trace;
    int count = -1;
    // The first allocation is the first address of the scan, then the copy of the cache.
    for (int attempt = 1; attempt <= 2; ++attempt) {
        tw_in_addr_t *array = reinterpret_cast<tw_in_addr_t *>(&trace);
        {
            twtest::FailAllocation fail(1);
            EXPECT_EQ(get_local_addrs(&array, &count), -1) << attempt;
        }
        EXPECT_EQ(array, nullptr);
        EXPECT_EQ(count, 0);
        EXPECT_FALSE(local_addresses().empty());  // a second scan, then from the cache
    }
    EXPECT_EQ(trace.count_containing("add_one failed for *count = 0 0x00000000"), 1);
    EXPECT_EQ(trace.count_containing("get_local_addrs for NT, call is = 2 0x00000002"), 1);
    EXPECT_EQ(get_local_addrs(nullptr, &count), -1);
}

TEST(HostLocal, NamesAndAddressesOfThisMachine) {
    const tw_in_addr_t foreign = ip(kForeignAddress);
    const std::vector<tw_in_addr_t> local = local_addresses();
    const bool foreign_is_ours = std::find(local.begin(), local.end(), foreign) != local.end();
    const std::string own_name = own_host_name(), huge(10000, 'h');
    const std::pair<const char *, int> cases[] = {
        {"127.0.0.1", 1}, {"localhost", 1}, {own_name.c_str(), 1}, {kMissingHost, 0},
        {"", 0},          {nullptr, 0},     {huge.c_str(), 0},    {kForeignAddress, 0}};
    for (const auto &[name, expected] : cases) {
        if (name == kForeignAddress && foreign_is_ours) continue;
        SCOPED_TRACE(name ? std::string(name).substr(0, 40) : "(null)");
        EXPECT_EQ(isLocalHost(name), expected);
        EXPECT_EQ(is_local_host(nullptr, 0, name), expected);
    }
    // A listed address counts as local without the bind test.
    const tw_in_addr_t list[] = {foreign};
    EXPECT_EQ(is_local_host(list, 1, kForeignAddress), 1);
    EXPECT_EQ(is_local_addr(list, 1, foreign), 1);
    EXPECT_EQ(is_local_addr(list, 0, foreign), foreign_is_ours ? 1 : 0);
    EXPECT_EQ(is_local_addr(nullptr, 5, ip("127.0.0.1")), 1);
}

}  // namespace
