/*
 * Host entries and the interface list on Windows. The list is
 * SIO_GET_INTERFACE_LIST on the caller's socket, with room for 128 entries.
 */
#include <winsock2.h>
#include <ws2tcpip.h>

#include "platform/hostaddr.h"

namespace tw::os {

const char *host_entry_name(const hostent *entry) { return entry->h_name ? entry->h_name : ""; }

const char *const *host_entry_aliases(const hostent *entry) { return entry->h_aliases; }

const char *const *host_entry_addresses(const hostent *entry) { return entry->h_addr_list; }

int host_entry_address_length(const hostent *entry) { return entry->h_length; }

int query_interfaces(int sock, uint32_t *addresses, bool *loopback, int max) {
    static_assert(sizeof(INTERFACE_INFO) == 76, "an interface entry is 76 bytes");
    INTERFACE_INFO list[kInterfaceListRoom];
    DWORD bytes = 0;
    SOCKET s = sock < 0 ? INVALID_SOCKET : SOCKET(unsigned(sock));
    if (WSAIoctl(s, SIO_GET_INTERFACE_LIST, nullptr, 0, list, sizeof list, &bytes, nullptr, nullptr) ==
        SOCKET_ERROR)
        return -1;
    int count = 0;
    for (DWORD i = 0; i < bytes / sizeof list[0] && count < max; ++i) {
        const sockaddr_in &sa = list[i].iiAddress.AddressIn;
        if (sa.sin_family != AF_INET) continue;
        addresses[count] = sa.sin_addr.s_addr;
        if (loopback) loopback[count] = (list[i].iiFlags & IFF_LOOPBACK) != 0;
        ++count;
    }
    return count;
}

}  // namespace tw::os
