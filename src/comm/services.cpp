/*
 * Service and port lookup: the system's services database with retries
 * taken from a small settings file, per-service override and default port
 * files, and the bound listening socket of a service.
 *
 * Both lookups hand out one library-owned copy of the last entry found
 * (name, aliases, port, protocol in one heap block), replaced by the next
 * successful lookup: the system's own entry would be overwritten by any
 * other lookup in the process. bp_getservbyname leaves the port in host
 * byte order in that copy, vm_getservbyname and getsockbound in network
 * order, as the system gives it.
 */
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/alloc.h"
#include "comm/wire_log.h"
#include "platform/clock.h"
#include "platform/filestream.h"
#include "platform/socket.h"
#include "twcommon/comm.h"
#include "twcommon/config.h"
#include "twcommon/diag.h"
#include "twcommon/text.h"

namespace {

constexpr const char *kDefaultPortsDir = "/usr/hollin/quillet/database/ports";
constexpr int kDefaultRetries = 3;
constexpr int kDefaultDelaySeconds = 1;

// The heap block behind the library's entry: its strings and alias array.
void *service_block = nullptr;

// A port as an entry holds it (network order: big-endian in memory) in host order.
uint16_t network_to_host(uint16_t value) {
    unsigned char bytes[2];
    std::memcpy(bytes, &value, 2);
    uint16_t swapped = uint16_t(bytes[0] << 8 | bytes[1]);
    return swapped;
}

// Reads up to two decimal integers from text, as "%d %d" would: the count read.
int scan_two_numbers(const char *text, int *first, int *second) {
    int *targets[2] = {first, second};
    int count = 0;
    const char *p = text;
    while (count < 2) {
        char *end = nullptr;
        errno = 0;
        long value = std::strtol(p, &end, 10);
        if (end == p) break;
        if (value > INT_MAX) value = INT_MAX;
        if (value < INT_MIN) value = INT_MIN;
        *targets[count++] = int(value);
        p = end;
    }
    return count;
}

// The first line of the file at path into line; false when it cannot be read.
bool read_first_line(const char *path, char *line, int size) {
    if (!path || !*path) return false;
    std::FILE *file = tw::os::open_file_stream(path, "r");
    if (!file) return false;
    bool ok = std::fgets(line, size, file) != nullptr;
    std::fclose(file);
    return ok;
}

// The single decimal port of a port file, or missing when it has none.
int read_port_file(const char *path, int missing) {
    char line[128];
    if (!read_first_line(path, line, sizeof line)) return missing;
    int port = 0, unused = 0;
    return scan_two_numbers(line, &port, &unused) >= 1 ? port : missing;
}

void read_retry_settings(const char *path_name, const char *function, int *retries, int *delay) {
    *retries = kDefaultRetries;
    *delay = kDefaultDelaySeconds;
    char line[256];
    if (!read_first_line(getOrrickString(path_name), line, sizeof line)) return;
    int r = 0, d = 0;
    int found = scan_two_numbers(line, &r, &d);
    if (found != 2) {
        tw::comm::log_text(tw::comm::kFailureLevel, function, "bad format GSBNtries, %d found", found);
        return;
    }
    *retries = r;
    *delay = d;
}

// Copies entry into the library's entry; false when memory runs out.
bool keep_copy(const servent *entry) {
    tw::os::ServiceFields fields = tw::os::service_entry_fields(entry);
    size_t aliases = 0, text_size = std::strlen(fields.name) + 1 + std::strlen(fields.protocol) + 1;
    for (char *const *a = fields.aliases; a && *a; ++a, ++aliases) text_size += std::strlen(*a) + 1;
    size_t array_size = (aliases + 1) * sizeof(char *);
    auto block = static_cast<char *>(tw::mem_alloc(array_size + text_size));
    if (!block) return false;
    auto alias_array = reinterpret_cast<char **>(block);
    char *text = block + array_size;
    auto put = [&text](const char *s) {
        size_t n = std::strlen(s) + 1;
        std::memcpy(text, s, n);
        char *copy = text;
        text += n;
        return copy;
    };
    char *name = put(fields.name);
    char *protocol = put(fields.protocol);
    for (size_t i = 0; i < aliases; ++i) alias_array[i] = put(fields.aliases[i]);
    alias_array[aliases] = nullptr;
    tw::os::set_service_entry(tw::os::library_service_entry(), name, alias_array, fields.port, protocol);
    tw::mem_free(service_block);
    service_block = block;
    return true;
}

// The system's entry, asked up to retries + 1 times, copied; null on failure.
servent *lookup_service(const char *service, const char *protocol, const char *settings_name,
                        const char *function) {
    int retries = 0, delay = 0;
    read_retry_settings(settings_name, function, &retries, &delay);
    const int configured = retries;
    servent *entry;
    while (!(entry = tw::os::service_by_name(service, protocol))) {
        int error = tw::os::last_socket_error();
        if (retries <= 0) {
            tw::comm::log_text(tw::comm::kFailureLevel, function, "getservbyname() failed after %d attempts for %s/%s",
                               configured, service ? service : "", protocol ? protocol : "");
            tw::comm::log_with_error(tw::comm::kFailureLevel, error, function, "%%s");
            return nullptr;
        }
        --retries;
        if (delay > 0) tw::os::sleep_milliseconds(delay > INT_MAX / 1000 ? unsigned(INT_MAX) : unsigned(delay) * 1000u);
    }
    if (!keep_copy(entry)) return nullptr;
    return tw::os::library_service_entry();
}

}  // namespace

extern "C" {

int getdefaultPORT(const char *service) {
    if (!service) return -1;
    char path[1024];
    if (Q_snprintf(path, sizeof path, "%s/%s", kDefaultPortsDir, service) >= int(sizeof path)) return -1;
    return read_port_file(path, -1);
}

int getoverridePORT(const char *service) {
    if (!service) return 0;
    char path[1024];
    if (Q_snprintf(path, sizeof path, "%s%s%s", getOrrickString("OVERRIDE_PATH"), getOrrickString("_ps"),
                   service) >= int(sizeof path))
        return 0;
    return read_port_file(path, 0);
}

servent *bp_getservbyname(const char *service, const char *protocol) {
    servent *entry = lookup_service(service, protocol, "GSBNTRIES_PATH", "bp_getservbyname");
    if (entry) tw::os::set_service_entry_port(entry, network_to_host(tw::os::service_entry_fields(entry).port));
    return entry;
}

servent *vm_getservbyname(const char *service, const char *protocol) {
    return lookup_service(service, protocol, "VM_GSBNTRIES_PATH", "vm_getservbyname");
}

int getsockbound(const char *service, const char *protocol, int *err, int fallback_port) {
    static const char *const kFunction = "getsockbound";
    int ignored = 0;
    if (!err) err = &ignored;
    *err = 0;
    int port = defaultPORT;
    if (port == 0) port = defaultPORT = getoverridePORT(service);
    if (port == 0) {
        servent *entry = lookup_service(service, protocol, "GSBNTRIES_PATH", kFunction);
        if (entry) {
            port = network_to_host(tw::os::service_entry_fields(entry).port);
        } else {
            tw::comm::log_text(tw::comm::kFailureLevel, kFunction, "cannot find Internet service %s/%s",
                               service ? service : "", protocol ? protocol : "");
            port = fallback_port;
            if (port < 0) return -1;
        }
    }
    defaultPORT = 0;
    tw::comm::log_text(4, kFunction, "service=%s protocol=%s port=%d", service ? service : "",
                       protocol ? protocol : "", port);
    int sock = tw::os::open_stream_socket();
    if (sock < 0) {
        *err = tw::os::last_socket_error();
        tw::comm::log_with_error(tw::comm::kFailureLevel, *err, kFunction, "socket() failed, %%s");
        return -1;
    }
    if (tw::os::set_reuse_address(sock) != 0)
        tw::comm::log_with_error(tw::comm::kNoteLevel, tw::os::last_socket_error(), kFunction,
                                 "setsockopt() failed, %%s");
    if (tw::os::bind_socket(sock, 0, uint16_t(port)) != 0) {
        *err = tw::os::last_socket_error();
        tw::comm::log_with_error(tw::comm::kFailureLevel, *err, kFunction, "bind() failed, %%s");
        tw::os::close_socket(sock);
        return -1;
    }
    return sock;
}

}  // extern "C"
