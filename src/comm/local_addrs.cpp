/*
 * The machine's own IPv4 addresses: the interface scan, cached for the life
 * of the process once it has found an address, and the bind test.
 *
 * The cache is process-wide and unlocked. It is filled only by a scan that
 * found at least one address, so a scan that fails or finds nothing is
 * repeated on the next call. Each scan is counted, and every step is traced
 * on local_addrs_debug_stream when the caller has set one.
 */
#include "comm/local_addrs.h"

#include <cstdio>
#include <cstring>

#include "base/alloc.h"
#include "platform/hostaddr.h"
#include "platform/socket.h"
#include "twcommon/text.h"

extern "C" {
TW_API FILE *local_addrs_debug_stream = nullptr;
}

namespace tw::comm {
namespace {

const char kTraceSource[] = "common/lib/local_addrs";

tw_in_addr_t *cached_addresses = nullptr;
int cached_count = -1;
int scan_calls = 0;

void write_trace(int line, const char *label, const char *value) {
    FILE *stream = local_addrs_debug_stream;
    if (!stream) return;
    char head[512];
    Q_snprintf(head, sizeof head, "%s.%d: %s = ", kTraceSource, line, label ? label : "");
    std::fputs(head, stream);
    std::fputs(value, stream);
    std::fputs("\n", stream);
    std::fflush(stream);
}

// Appends address to *array unless it is there already; false when the
// array could not grow.
bool add_one(tw_in_addr_t **array, int *count, tw_in_addr_t address) {
    for (int i = 0; i < *count; ++i)
        if ((*array)[i] == address) return true;
    void *grown = tw::mem_realloc(*array, sizeof(tw_in_addr_t) * size_t(*count + 1));
    if (!grown) return false;
    *array = static_cast<tw_in_addr_t *>(grown);
    (*array)[(*count)++] = address;
    return true;
}

tw_in_addr_t *copy_addresses(const tw_in_addr_t *source, int count) {
    auto copy = static_cast<tw_in_addr_t *>(tw::mem_alloc(sizeof(tw_in_addr_t) * size_t(count)));
    if (copy) std::memcpy(copy, source, sizeof(tw_in_addr_t) * size_t(count));
    return copy;
}

void drop_cache() {
    tw::mem_free(cached_addresses);
    cached_addresses = nullptr;
    cached_count = -1;
}

// Reads the interface list: the count, or -2 / -4 as get_local_addrs gives them.
int scan_interfaces(tw_in_addr_t *addresses, bool *loopback) {
    int sock = tw::os::open_datagram_socket();
    if (sock < 0) {
        trace_number(__LINE__, "Socket creation failed", tw::os::last_socket_error());
        return -2;
    }
    int found = tw::os::query_interfaces(sock, addresses, loopback, tw::os::kInterfaceListRoom);
    if (found < 0) {
        int error = tw::os::last_socket_error();
        trace_number(__LINE__, "WSAIoctl failed", error);
        tw::os::close_socket(sock);
        tw::os::set_last_socket_error(error);
        return -4;
    }
    if (tw::os::close_socket(sock) != 0) trace_number(__LINE__, "closesocket failed", tw::os::last_socket_error());
    trace_number(__LINE__, "WSAIoctl returned this many interfaces", found);
    return found;
}

}  // namespace

void trace_number(int line, const char *label, int value) {
    char text[64];
    Q_snprintf(text, sizeof text, "%d 0x%08x", value, unsigned(value));
    write_trace(line, label, text);
}

void trace_text(int line, const char *label, const char *text) {
    write_trace(line, label, text ? text : "");
}

DottedText dotted(tw_in_addr_t address) {
    unsigned char bytes[4];
    std::memcpy(bytes, &address, sizeof bytes);
    DottedText out;
    Q_snprintf(out.text, sizeof out.text, "%u.%u.%u.%u", bytes[0], bytes[1], bytes[2], bytes[3]);
    return out;
}

bool address_is_bindable(tw_in_addr_t address) {
    winsock_start();
    int sock = tw::os::open_stream_socket();
    if (sock < 0) return false;
    bool bound = tw::os::bind_socket(sock, address, 0) == 0;
    tw::os::close_socket(sock);
    return bound;
}

}  // namespace tw::comm

using namespace tw::comm;

extern "C" int get_local_addrs(tw_in_addr_t **array, int *count) {
    if (!array || !count) return -1;
    *array = nullptr;
    if (cached_count > 0) {
        *array = copy_addresses(cached_addresses, cached_count);
        *count = *array ? cached_count : 0;
        return *array ? 0 : -1;
    }
    *count = 0;
    trace_number(__LINE__, "get_local_addrs for NT, call is", ++scan_calls);
    winsock_start();

    tw_in_addr_t found[tw::os::kInterfaceListRoom];
    bool loopback[tw::os::kInterfaceListRoom];
    int interfaces = scan_interfaces(found, loopback);
    if (interfaces < 0) return interfaces;

    for (int i = 0; i < interfaces; ++i) {
        const char *kind = loopback[i] ? "LOOPBACK" : "Interface";
        char label[64];
        Q_snprintf(label, sizeof label, "%s IP Address %d(int)", kind, i);
        trace_number(__LINE__, label, int(found[i]));
        Q_snprintf(label, sizeof label, "%s IP Address %d(IP) ", kind, i);
        trace_text(__LINE__, label, dotted(found[i]).text);
        if (!add_one(array, count, found[i])) {
            trace_number(__LINE__, "add_one failed for *count", *count);
            tw::mem_free(*array);
            *array = nullptr;
            *count = 0;
            return -1;
        }
    }

    drop_cache();
    if (*count > 0) {
        cached_addresses = copy_addresses(*array, *count);
        if (cached_addresses) cached_count = *count;
    }
    trace_number(__LINE__, "got local address *count", *count);
    return 0;
}
