/*
 * Host entries and the interface list off Windows. The list is SIOCGIFCONF
 * on the caller's socket, with room for as many entries as the NT query is
 * given, and SIOCGIFFLAGS for the loopback flag.
 */
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "platform/hostaddr.h"
#include "platform/socket.h"

namespace tw::os {
namespace {

// The Windows Sockets numbers of what an interface query can meet.
int query_error(int e) {
    switch (e) {
    case EBADF:
    case ENOTSOCK: return 10038;
    case EFAULT: return 10014;
    case EINVAL: return 10022;
    case ENOMEM:
    case ENOBUFS: return 10055;
    default: return e;
    }
}

}  // namespace

const char *host_entry_name(const hostent *entry) { return entry->h_name ? entry->h_name : ""; }

const char *const *host_entry_aliases(const hostent *entry) { return entry->h_aliases; }

const char *const *host_entry_addresses(const hostent *entry) { return entry->h_addr_list; }

int host_entry_address_length(const hostent *entry) { return entry->h_length; }

int query_interfaces(int sock, uint32_t *addresses, bool *loopback, int max) {
    ifreq requests[kInterfaceListRoom];
    ifconf conf{};
    conf.ifc_len = int(sizeof requests);
    conf.ifc_req = requests;
    if (::ioctl(sock, SIOCGIFCONF, &conf) != 0) {
        set_last_socket_error(query_error(errno));
        return -1;
    }
    int entries = conf.ifc_len / int(sizeof(ifreq));
    int count = 0;
    for (int i = 0; i < entries && count < max; ++i) {
        const ifreq &entry = requests[i];
        if (entry.ifr_addr.sa_family != AF_INET) continue;
        sockaddr_in sa;
        std::memcpy(&sa, &entry.ifr_addr, sizeof sa);
        ifreq flags = entry;
        bool is_loopback = ::ioctl(sock, SIOCGIFFLAGS, &flags) == 0 && (flags.ifr_flags & IFF_LOOPBACK) != 0;
        addresses[count] = sa.sin_addr.s_addr;
        if (loopback) loopback[count] = is_loopback;
        ++count;
    }
    return count;
}

}  // namespace tw::os
