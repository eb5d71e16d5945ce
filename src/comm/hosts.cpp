/*
 * Host names and addresses: look-ups retried on transient errors, whether a
 * name or an address is this machine, whether two names denote one host,
 * and the registered cluster addresses.
 *
 * Everything is IPv4 (32-bit addresses in network order); names compare
 * without regard to case. The host entries of the look-ups belong to the
 * system and are overwritten by the next look-up on the thread, so what a
 * comparison keeps of a host (its canonical name, at most four addresses)
 * is copied out before it looks up anything else.
 */
#include <cstdarg>
#include <cstring>

#include "base/alloc.h"
#include "comm/local_addrs.h"
#include "platform/hostaddr.h"
#include "platform/clock.h"
#include "platform/socket.h"
#include "twcommon/comm.h"
#include "twcommon/diag.h"
#include "twcommon/text.h"

extern "C" {
TW_API int he_verbose = 0;
}

namespace {

using tw::comm::dotted;

// Errors after which a look-up is tried again.
const int kTransientErrors[4] = {tw::os::kSocketTryAgain, tw::os::kSocketInProgress, tw::os::kSocketInterrupted,
                                 tw::os::kSocketTryAgain};

constexpr int kAddressBufferSize = 16;
constexpr int kMaxKeptAddresses = 4;
constexpr int kCanonicalNameSize = 257;

// The cluster's addresses, zero-terminated.
tw_in_addr_t cluster_addresses[kMaxKeptAddresses + 1] = {};
// Addresses of the interfaces, for hosts_equal; -1 until its first call.
int local_address_count = -1;

bool is_transient(int error) {
    for (int transient : kTransientErrors)
        if (error == transient) return true;
    return false;
}

bool is_empty(const char *name) { return !name || !*name; }

bool same_text_ignoring_case(const char *a, const char *b) {
    for (;; ++a, ++b) {
        if (Q_tolower(static_cast<unsigned char>(*a)) != Q_tolower(static_cast<unsigned char>(*b))) return false;
        if (!*a) return true;
    }
}

// Records the error of a failed look-up: its text into errbuf and the
// trace; the socket error is cleared. Returns the error number.
int record_lookup_error(char *errbuf, int errbuf_size) {
    static const char *const kResolverNames[] = {"HOST_NOT_FOUND", "TRY_AGAIN", "NO_RECOVERY", "NO_ADDRESS"};
    int error = tw::os::last_socket_error();
    char system_text[512];
    bool has_system_text = tw::os::socket_error_text(error, system_text, sizeof system_text);
    bool resolver_error = error >= tw::os::kSocketHostNotFound && error <= tw::os::kSocketNoAddress;
    const char *text = has_system_text  ? system_text
                       : resolver_error ? kResolverNames[error - tw::os::kSocketHostNotFound]
                                        : "?undefined error?";
    tw::os::set_last_socket_error(0);
    if (errbuf && errbuf_size > 1)
        Q_strlcpy(errbuf, text, unsigned(errbuf_size));
    else if (errbuf && errbuf_size == 1)
        errbuf[0] = '\0';

    // The two fixed texts end in a line feed of their own, as they always have.
    char trace[640];
    if (has_system_text)
        Q_snprintf(trace, sizeof trace, "  Winsock error 0x0%x: %s", unsigned(error), system_text);
    else if (resolver_error)
        Q_snprintf(trace, sizeof trace, "  Winsock error 0x0%x: FormatMessage did not return a message for this error\n",
                   unsigned(error));
    else
        Q_snprintf(trace, sizeof trace, "  Winsock error 0x0%x: (No error message is defined)\n", unsigned(error));
    tw::comm::trace_text(__LINE__, "An error occurred getting the list of local interfaces", trace);
    return error;
}

// A look-up that fails without asking the system (no name or no address).
hostent *refuse_lookup(char *errbuf, int errbuf_size, int *error) {
    tw::os::set_last_socket_error(10014);
    *error = record_lookup_error(errbuf, errbuf_size);
    return nullptr;
}

// Runs lookup up to tries times while it fails with a transient error,
// sleeping sleep_ms between tries; *error gets the last error (0 when none).
template <typename Lookup>
hostent *retry(Lookup lookup, int tries, int sleep_ms, char *errbuf, int errbuf_size, int *error) {
    *error = 0;
    if (tries < 1 && errbuf && errbuf_size > 0) errbuf[0] = '\0';
    winsock_start();
    for (int attempt = 1; attempt <= tries; ++attempt) {
        if (hostent *entry = lookup()) return entry;
        *error = record_lookup_error(errbuf, errbuf_size);
        if (!is_transient(*error) || attempt == tries) break;
        tw::os::sleep_milliseconds(sleep_ms > 0 ? unsigned(sleep_ms) : 0u);
    }
    return nullptr;
}

hostent *lookup_name(const char *name, int tries, int sleep_ms, char *errbuf, int errbuf_size, int *error) {
    if (!name) return refuse_lookup(errbuf, errbuf_size, error);
    return retry([name] { return tw::os::host_by_name(name); }, tries, sleep_ms, errbuf, errbuf_size, error);
}

// The address is copied into a buffer of 16 bytes; at most 16 are passed. A
// length below 1 reads nothing of the caller's address.
hostent *lookup_address(const void *addr, int len, int type, int tries, int sleep_ms, char *errbuf, int errbuf_size,
                        int *error) {
    if (!addr) return refuse_lookup(errbuf, errbuf_size, error);
    unsigned char buffer[kAddressBufferSize] = {};
    if (len > 0) std::memcpy(buffer, addr, size_t(len < kAddressBufferSize ? len : kAddressBufferSize));
    int passed = len < kAddressBufferSize ? len : kAddressBufferSize;
    if (passed < 0) passed = 0;
    return retry([&] { return tw::os::host_by_address(buffer, passed, type); }, tries, sleep_ms, errbuf,
                 errbuf_size, error);
}

// The first four bytes of an address as "a.b.c.d" (missing bytes are 0).
tw::comm::DottedText dotted_prefix(const void *addr, int len) {
    tw_in_addr_t address = 0;
    if (len > 0) std::memcpy(&address, addr, size_t(len < 4 ? len : 4));
    return dotted(address);
}

// "a.b.c.d" with each part 0..255 in decimal.
bool parse_dotted(const char *name, tw_in_addr_t *address) {
    unsigned char bytes[4];
    const char *p = name;
    for (int part = 0; part < 4; ++part) {
        if (part > 0 && *p++ != '.') return false;
        int value = 0, digits = 0;
        while (*p >= '0' && *p <= '9' && digits < 4) {
            value = value * 10 + (*p++ - '0');
            ++digits;
        }
        if (digits == 0 || digits > 3 || value > 255) return false;
        bytes[part] = static_cast<unsigned char>(value);
    }
    if (*p) return false;
    std::memcpy(address, bytes, sizeof bytes);
    return true;
}

// The IPv4 addresses of an entry: none when its addresses are of another length.
int address_count(const hostent *entry) {
    if (!entry || tw::os::host_entry_address_length(entry) != 4) return 0;
    const char *const *list = tw::os::host_entry_addresses(entry);
    int n = 0;
    while (list && list[n]) ++n;
    return n;
}

tw_in_addr_t address_at(const hostent *entry, int i) {
    tw_in_addr_t address;
    std::memcpy(&address, tw::os::host_entry_addresses(entry)[i], sizeof address);
    return address;
}

// What a comparison keeps of a host.
struct KeptHost {
    char name[kCanonicalNameSize];
    tw_in_addr_t addresses[kMaxKeptAddresses + 1];  // zero-terminated
    int count;
    bool local;
};

void keep_host(const hostent *entry, KeptHost *host) {
    Q_strlcpy(host->name, tw::os::host_entry_name(entry), sizeof host->name);
    std::memset(host->addresses, 0, sizeof host->addresses);
    int n = address_count(entry);
    host->count = n < kMaxKeptAddresses ? n : kMaxKeptAddresses;
    for (int i = 0; i < host->count; ++i) host->addresses[i] = address_at(entry, i);
    host->local = false;
}

// The step messages of one comparison: each is formatted into last (which
// dns_hosts_equal hands to its caller) and logged at level 2 when he_verbose
// is set; failures are logged always.
class StepLog {
public:
    explicit StepLog(const char *function) : function_(function) {}

    void step(const char *format, ...) TW_PRINTF(2, 3) {
        va_list args;
        va_start(args, format);
        Q_vsnprintf(last_, sizeof last_, format, args);
        va_end(args);
        if (he_verbose) logmsg(2, last_, function_);
    }

    void failure(const char *format, ...) TW_PRINTF(2, 3) {
        va_list args;
        va_start(args, format);
        Q_vsnprintf(last_, sizeof last_, format, args);
        va_end(args);
        logmsg(2, last_, function_);
    }

    const char *last() const { return last_; }

private:
    const char *function_;
    char last_[1024] = "";
};

// The two comparisons differ in their messages, the local-address step and
// the cluster rule.
enum class Flavour { hosts, dns };

// Looks a name up (3 tries) and keeps the host: false when the look-up failed.
bool look_up_host(StepLog &log, Flavour flavour, const char *name, const char *which, KeptHost *host,
                  const hostent **entry) {
    char errbuf[256] = "";
    int error = 0;
    *entry = lookup_name(name, 3, 1, errbuf, sizeof errbuf, &error);
    if (!*entry) {
        log.failure("gethostbyname failed for %s: %s (%d)", name, errbuf, error);
        return false;
    }
    keep_host(*entry, host);
    if (flavour == Flavour::dns) {
        log.step("gethostbyname for <%s> got name <%s>", name, host->name);
        log.step("known ip addrs for <%s> are: ", name);
    }
    for (int i = 0; i < host->count; ++i) {
        tw_in_addr_t address = host->addresses[i];
        if (flavour == Flavour::dns) {
            log.step("   ---- <%s>", dotted(address).text);
            continue;
        }
        log.step("%s %s %s addr %s (0x%x)", which, name, host->name, dotted(address).text, unsigned(address));
        if (!host->local && local_address_count > 0) host->local = tw::comm::address_is_bindable(address);
    }
    if (flavour == Flavour::dns) log.step("Done for <%s>", name);
    return true;
}

// Whether name matches one of the aliases of entry.
bool matches_alias(StepLog &log, Flavour flavour, const char *name, const hostent *entry, const char *owner) {
    const char *const *aliases = tw::os::host_entry_aliases(entry);
    if (!aliases || !aliases[0]) {
        log.step("there were NO aliases for %s", owner);
        return false;
    }
    for (int i = 0; aliases[i]; ++i) {
        if (flavour == Flavour::dns)
            log.step("compare %s with alias %s of <%s>", name, aliases[i], owner);
        else
            log.step("compare %s with alias %s", name, aliases[i]);
        if (same_text_ignoring_case(name, aliases[i])) return true;
    }
    return false;
}

bool addresses_meet(StepLog &log, const KeptHost &host1, const KeptHost &host2) {
    for (int i = 0; i < host1.count; ++i) {
        for (int j = 0; j < host2.count; ++j) {
            tw_in_addr_t a = host1.addresses[i], b = host2.addresses[j];
            if (a == b) return true;
            log.step("addresses DO NOT match");
            log.step("%s=0x%x %s=0x%x", dotted(a).text, unsigned(a), dotted(b).text, unsigned(b));
        }
    }
    return false;
}

void fill_local_address_count() {
    if (local_address_count >= 0) return;
    tw_in_addr_t *addresses = nullptr;
    int count = 0;
    local_address_count = get_local_addrs(&addresses, &count) == 0 ? count : 0;
    tw::mem_free(addresses);
}

int compare_hosts(StepLog &log, Flavour flavour, const char *name1, const char *name2) {
    const bool dns = flavour == Flavour::dns;
    if (!dns) fill_local_address_count();
    if (is_empty(name1) && is_empty(name2)) {
        log.step(dns ? "Both are empty" : "Both names are empty");
        return 1;
    }
    if (is_empty(name1)) {
        log.step(dns ? "First name is  empty" : "The first name is empty");
        return 0;
    }
    if (is_empty(name2)) {
        log.step(dns ? "Second name is  empty" : "The second name is empty");
        return 0;
    }
    log.step("Comparing hosts <%s> and <%s>", name1, name2);
    if (same_text_ignoring_case(name1, name2)) {
        log.step("names are the same");
        return 1;
    }

    KeptHost host1, host2;
    const hostent *entry = nullptr;
    if (!look_up_host(log, flavour, name1, "host1", &host1, &entry)) return 0;
    if (!look_up_host(log, flavour, name2, "host2", &host2, &entry)) return 0;

    if (!dns && host1.local && host2.local) {
        log.step("hostnames DO compare (1)");
        return 1;
    }
    if (same_text_ignoring_case(host1.name, host2.name)) {
        log.step(dns ? "hostnames DO compare" : "hostnames DO compare (2)");
        return 1;
    }
    if (dns) {
        log.step("Check aliases");
    } else {
        log.step("hostnames DO NOT compare");
        log.step("name1=%s  name2=%s", name1, name2);
        log.step("hostbuf=%s  hostentry->h_name=%s", host1.name, host2.name);
    }

    // entry is still host2's: nothing was looked up since.
    if (matches_alias(log, flavour, host1.name, entry, dns ? name2 : host2.name)) return 1;
    char errbuf[256] = "";
    int error = 0;
    entry = lookup_name(name1, 1, 1, errbuf, sizeof errbuf, &error);
    if (!entry) {
        log.failure("cannot find host: %s (%d)", name1, error);
        return 0;
    }
    if (matches_alias(log, flavour, host2.name, entry, dns ? name1 : host1.name)) return 1;

    if (dns) {
        int c1 = is_equal_to_cluster_ips(host1.addresses);
        int c2 = is_equal_to_cluster_ips(host2.addresses);
        if (c1 && c2) {
            log.step("Both match to a cluster");
            return 1;
        }
        if (c1 || c2) {
            log.step("Only one a complete match");
            return 0;
        }
    }
    if (addresses_meet(log, host1, host2)) {
        if (dns) log.step("addresses DO match");
        return 1;
    }
    if (dns) log.step("addresses DO NOT match");
    return 0;
}

}  // namespace

extern "C" {

hostent *retry_gethostbyname(const char *name, int tries, int sleep_ms, char *errbuf, int errbuf_size) {
    int error = 0;
    return lookup_name(name, tries, sleep_ms, errbuf, errbuf_size, &error);
}

hostent *retry_gethostbyaddr(const void *addr, int len, int type, int tries, int sleep_ms, char *errbuf,
                             int errbuf_size) {
    int error = 0;
    return lookup_address(addr, len, type, tries, sleep_ms, errbuf, errbuf_size, &error);
}

// mode 0: reverse look-up; 1: reverse, then forward of the dotted address
// when it fails; 2: forward of the dotted address only. Other modes are 0.
hostent *retry_gethostbyaddr_rnl(const void *addr, int len, int type, int tries, int sleep_ms, char *errbuf,
                                 int errbuf_size, int mode) {
    int error = 0;
    if (!addr) return refuse_lookup(errbuf, errbuf_size, &error);
    if (mode != 2) {
        hostent *entry = lookup_address(addr, len, type, tries, sleep_ms, errbuf, errbuf_size, &error);
        if (entry || mode != 1) return entry;
    }
    return lookup_name(dotted_prefix(addr, len).text, tries, sleep_ms, errbuf, errbuf_size, &error);
}

int is_local_addr(const tw_in_addr_t *list, int count, tw_in_addr_t address) {
    if (list)
        for (int i = 0; i < count; ++i)
            if (list[i] == address) return 1;
    return tw::comm::address_is_bindable(address) ? 1 : 0;
}

int isLocalHost(const char *name) {
    if (is_empty(name)) return 0;
    tw_in_addr_t address = 0;
    if (parse_dotted(name, &address)) return tw::comm::address_is_bindable(address) ? 1 : 0;
    char errbuf[256];
    int error = 0;
    const hostent *entry = lookup_name(name, 5, 1, errbuf, sizeof errbuf, &error);
    int n = address_count(entry);
    for (int i = 0; i < n; ++i)
        if (tw::comm::address_is_bindable(address_at(entry, i))) return 1;
    return 0;
}

int is_local_host(const tw_in_addr_t *list, int count, const char *name) {
    if (is_empty(name)) return 0;
    char errbuf[256];
    int error = 0;
    const hostent *entry = lookup_name(name, 5, 1, errbuf, sizeof errbuf, &error);
    int n = address_count(entry);
    for (int i = 0; i < n; ++i)
        if (is_local_addr(list, count, address_at(entry, i))) return 1;
    return isLocalHost(name);
}

int hosts_equal(const char *name1, const char *name2) {
    StepLog log("hosts_equal");
    return compare_hosts(log, Flavour::hosts, name1, name2);
}

int dns_hosts_equal(const char *name1, const char *name2, char *msg, int msg_size) {
    StepLog log("dns_hosts_equal");
    int result = compare_hosts(log, Flavour::dns, name1, name2);
    if (msg && msg_size > 0) Q_strlcpy(msg, log.last(), unsigned(msg_size));
    return result;
}

void set_cluster_addr(const char *cluster_name) {
    if (is_empty(cluster_name)) return;
    StepLog log("set_cluster_addr");
    char errbuf[256] = "";
    int error = 0;
    const hostent *entry = lookup_name(cluster_name, 3, 1, errbuf, sizeof errbuf, &error);
    if (!entry) {
        log.failure("gethostbyname failed for %s: %s (%d)", cluster_name, errbuf, error);
        return;
    }
    std::memset(cluster_addresses, 0, sizeof cluster_addresses);
    int n = address_count(entry);
    for (int i = 0; i < n && i < kMaxKeptAddresses; ++i) {
        cluster_addresses[i] = address_at(entry, i);
        log.step("   ---- <%s>", dotted(cluster_addresses[i]).text);
    }
}

int is_equal_to_cluster_ips(const tw_in_addr_t *list) {
    StepLog log("is_equal_to_cluster_ips");
    if (!list || list[0] == 0) {
        log.step("Host Ip list is empty");
        return 0;
    }
    if (cluster_addresses[0] == 0) {
        log.step("Cluster Ip list is empty");
        return 0;
    }
    // The host list is read no further than its terminator.
    bool host_ended = false;
    for (int i = 0; i < kMaxKeptAddresses + 1; ++i) {
        tw_in_addr_t host = host_ended ? 0 : list[i];
        host_ended = host == 0;
        tw_in_addr_t cluster = cluster_addresses[i];
        if (host == 0 && cluster == 0) {
            log.step("No more IP's <%d>", i);
            break;
        }
        if (host != cluster) {
            log.step("subsets are different");
            return 0;
        }
    }
    log.step("subsets are same");
    return 1;
}

// For the test suite: registers a cluster of the given addresses (at most
// four are kept), as set_cluster_addr does for a name that resolves to them.
TW_API void twcommon_testhook_cluster_addrs(const tw_in_addr_t *list, int count) {
    std::memset(cluster_addresses, 0, sizeof cluster_addresses);
    for (int i = 0; list && i < count && i < kMaxKeptAddresses; ++i) cluster_addresses[i] = list[i];
}

}  // extern "C"
