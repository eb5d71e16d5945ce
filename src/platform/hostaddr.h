/*
 * What the host-name functions need of the OS beyond the sockets: the
 * fields of the system's host entries, and the interface list for the
 * local-address scan (read through a datagram socket that the caller opened
 * and closes, so that the scan can report each of its steps on its own).
 */
#ifndef TW_PLATFORM_HOSTADDR_H
#define TW_PLATFORM_HOSTADDR_H

#include <cstdint>

struct hostent;

namespace tw::os {

// The fields of a system host entry (entry not null): the canonical name
// ("" when it has none), the null-terminated aliases and addresses (either
// may be null), and the length of one address.
const char *host_entry_name(const hostent *entry);
const char *const *host_entry_aliases(const hostent *entry);
const char *const *host_entry_addresses(const hostent *entry);
int host_entry_address_length(const hostent *entry);

// The most interfaces one query reports.
constexpr int kInterfaceListRoom = 128;

// The IPv4 addresses of the interfaces (network order), at most max of them,
// with loopback[i] true for a loopback interface: the count, or -1 with
// last_socket_error set.
int query_interfaces(int sock, uint32_t *addresses, bool *loopback, int max);

}  // namespace tw::os

#endif
