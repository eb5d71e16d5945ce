// twtool host-equal and host-local: whether two names denote one machine, and
// whether a name denotes this one. With -v the steps of the comparison and
// the interface scan are written to stderr. The exit code is 0 for "yes",
// 1 for "no".
#include <cstdio>
#include <cstdlib>

#include "commands.h"
#include "twcommon/comm.h"
#include "twcommon/diag.h"

namespace {

int to_stderr(void *, int level, const char *text, const char *function) {
    std::fprintf(stderr, "<%d> %s: %s\n", level, function ? function : "?", text ? text : "");
    return 0;
}

// Takes a leading -v off args; true when it was there and the names remain.
bool take_verbose(twtool::Args &args) {
    if (args.empty() || args[0] != "-v") return false;
    args.erase(args.begin());
    he_verbose = 1;
    local_addrs_debug_stream = stderr;
    log_set_callback(to_stderr, nullptr, nullptr);
    return true;
}

int host_equal_command(const twtool::Args &given) {
    twtool::Args args = given;
    take_verbose(args);
    if (args.size() != 2) return twtool::usage_error("host-equal");
    int same = hosts_equal(args[0].c_str(), args[1].c_str());
    char msg[512] = "";
    int dns_same = dns_hosts_equal(args[0].c_str(), args[1].c_str(), msg, sizeof msg);
    std::printf("hosts_equal: %d\ndns_hosts_equal: %d (%s)\n", same, dns_same, msg);
    return same ? 0 : 1;
}

int host_local_command(const twtool::Args &given) {
    twtool::Args args = given;
    take_verbose(args);
    if (args.size() != 1) return twtool::usage_error("host-local");
    tw_in_addr_t *addresses = nullptr;
    int count = 0;
    int scan = get_local_addrs(&addresses, &count);
    std::printf("local addresses:");
    for (int i = 0; i < count; ++i) {
        const unsigned char *b = reinterpret_cast<const unsigned char *>(&addresses[i]);
        std::printf(" %u.%u.%u.%u", b[0], b[1], b[2], b[3]);
    }
    if (scan != 0) std::printf(" (scan failed: %d)", scan);
    int local = is_local_host(addresses, count, args[0].c_str());
    std::printf("\nisLocalHost: %d\nis_local_host: %d\n", isLocalHost(args[0].c_str()), local);
    std::free(addresses);
    return local ? 0 : 1;
}

}  // namespace

TWTOOL_COMMAND("host-equal", "host-equal [-v] NAME NAME   whether two host names denote the same machine",
               host_equal_command);
TWTOOL_COMMAND("host-local", "host-local [-v] NAME   whether a host name or address denotes this machine",
               host_local_command);
