// twtool send, receive, port and status: the block file transfer between two
// machines (the receiver listens on a port and takes one connection), where
// a service's port comes from, and the name of a communication result code.
// Failures of the library are written to stderr through its log callback.
#ifdef _WIN32
#  include <winsock2.h>
#  include <ws2tcpip.h>
#  include <windows.h>
#  include <io.h>
#else
#  include <arpa/inet.h>
#  include <netdb.h>
#  include <netinet/in.h>
#  include <sys/socket.h>
#  include <unistd.h>
#endif

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "commands.h"
#include "twcommon/comm.h"
#include "twcommon/diag.h"

namespace {

constexpr int kTransferSeconds = 60;

int to_stderr(void *, int level, const char *text, const char *function) {
    std::fprintf(stderr, "<%d> %s: %s\n", level, function ? function : "?", text ? text : "");
    return 0;
}

bool parse_int(const std::string &text, long low, long high, int *value) {
    if (text.empty()) return false;
    char *end = nullptr;
    errno = 0;
    long number = std::strtol(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || number < low || number > high) return false;
    *value = int(number);
    return true;
}

void close_sock(int s) {
#ifdef _WIN32
    closesocket(SOCKET(s));
#else
    ::close(s);
#endif
}

// Opens a UTF-8 file name in binary mode: the descriptor, or -1.
int open_file(const std::string &name, bool for_write) {
    int flags = for_write ? (O_WRONLY | O_CREAT | O_TRUNC) : O_RDONLY;
#ifdef _WIN32
    int n = MultiByteToWideChar(CP_UTF8, 0, name.c_str(), -1, nullptr, 0);
    if (n <= 0) return -1;
    std::wstring wide(size_t(n), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, name.c_str(), -1, &wide[0], n);
    return _wopen(wide.c_str(), flags | _O_BINARY, _S_IREAD | _S_IWRITE);
#else
    return ::open(name.c_str(), flags, 0644);
#endif
}

void close_file(int fd) {
#ifdef _WIN32
    _close(fd);
#else
    ::close(fd);
#endif
}

int connect_to(const std::string &host, int port) {
    addrinfo hints{}, *found = nullptr;
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0 || !found) return -1;
    int s = int(::socket(AF_INET, SOCK_STREAM, 0));
    if (s >= 0 && ::connect(s, found->ai_addr, int(found->ai_addrlen)) != 0) {
        close_sock(s);
        s = -1;
    }
    freeaddrinfo(found);
    return s;
}

// Listens on port (all addresses) and accepts one connection; -1 on failure.
int accept_one(int port) {
    int listener = int(::socket(AF_INET, SOCK_STREAM, 0));
    if (listener < 0) return -1;
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_port = htons(uint16_t(port));
    int s = -1;
    if (::bind(listener, reinterpret_cast<sockaddr *>(&sa), sizeof sa) == 0 && ::listen(listener, 1) == 0)
        s = int(::accept(listener, nullptr, nullptr));
    close_sock(listener);
    return s;
}

int send_command(const twtool::Args &args) {
    int port = 0;
    if (args.size() != 3 || !parse_int(args[2], 1, 65535, &port)) return twtool::usage_error("send");
    log_set_callback(to_stderr, nullptr, nullptr);
    winsock_start();
    int fd = open_file(args[0], false);
    if (fd < 0) {
        std::fprintf(stderr, "twtool send: cannot open %s: %s\n", args[0].c_str(), std::strerror(errno));
        return 1;
    }
    int s = connect_to(args[1], port);
    if (s < 0) {
        std::fprintf(stderr, "twtool send: cannot connect to %s port %d\n", args[1].c_str(), port);
        close_file(fd);
        return 1;
    }
    int sent = write_remote_file(s, fd, kTransferSeconds, "twtool send");
    close_sock(s);
    close_file(fd);
    if (sent < 0) return 1;
    std::printf("sent %d bytes\n", sent);
    return 0;
}

int receive_command(const twtool::Args &args) {
    int port = 0;
    if (args.size() != 2 || !parse_int(args[0], 1, 65535, &port)) return twtool::usage_error("receive");
    log_set_callback(to_stderr, nullptr, nullptr);
    winsock_start();
    int s = accept_one(port);
    if (s < 0) {
        std::fprintf(stderr, "twtool receive: cannot take a connection on port %d\n", port);
        return 1;
    }
    int fd = open_file(args[1], true);
    if (fd < 0) {
        std::fprintf(stderr, "twtool receive: cannot create %s: %s\n", args[1].c_str(), std::strerror(errno));
        close_sock(s);
        return 1;
    }
    int received = read_remote_file(s, fd, kTransferSeconds, "twtool receive");
    close_sock(s);
    close_file(fd);
    if (received < 0) return 1;
    std::printf("received %d bytes\n", received);
    return 0;
}

// The chain a server goes through for its port, first answer wins.
int port_command(const twtool::Args &args) {
    if (args.size() != 1) return twtool::usage_error("port");
    const char *service = args[0].c_str();
    winsock_start();
    int port = defaultPORT;
    const char *source = "defaultPORT";
    if (port == 0) {
        port = getoverridePORT(service);
        source = "override file";
    }
    if (port == 0) {
        if (servent *entry = bp_getservbyname(service, "tcp")) {
            port = uint16_t(entry->s_port);
            source = "services database";
        }
    }
    if (port == 0) {
        port = getdefaultPORT(service);
        source = "default port file";
    }
    if (port <= 0) {
        std::printf("%s: no port found\n", service);
        return 1;
    }
    std::printf("%s %d (%s)\n", service, port, source);
    return 0;
}

int status_command(const twtool::Args &args) {
    int code = 0;
    if (args.size() != 1 || !parse_int(args[0], -2147483647L - 1, 2147483647L, &code))
        return twtool::usage_error("status");
    std::printf("%s\n", commerrstr(code));
    return 0;
}

}  // namespace

TWTOOL_COMMAND("send", "send FILE HOST PORT   send a file to a twtool receive in length-prefixed blocks",
               send_command);
TWTOOL_COMMAND("receive", "receive PORT FILE   take one connection on PORT and write the file it sends",
               receive_command);
TWTOOL_COMMAND("port", "port SERVICE   the port of a service and where it came from", port_command);
TWTOOL_COMMAND("status", "status CODE   the name of a communication result code", status_command);
