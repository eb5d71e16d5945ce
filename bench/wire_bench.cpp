// A string's round trip over a loopback TCP connection: put_string_ on one
// end, get_string_ into a caller's buffer on the other, against the same
// exchange (4-byte big-endian length, then the bytes) written with plain
// send and recv. Both ends are in this thread; every string fits in the
// socket buffers.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "twcommon/comm.h"

namespace {

struct Loopback {
    int writer = -1, reader = -1;
    Loopback() {
        int listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in sa{};
        sa.sin_family = AF_INET;
        sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof sa;
        bind(listener, reinterpret_cast<sockaddr *>(&sa), sizeof sa);
        listen(listener, 1);
        getsockname(listener, reinterpret_cast<sockaddr *>(&sa), &len);
        writer = socket(AF_INET, SOCK_STREAM, 0);
        connect(writer, reinterpret_cast<sockaddr *>(&sa), sizeof sa);
        reader = accept(listener, nullptr, nullptr);
        close(listener);
        int one = 1;
        setsockopt(writer, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    }
    ~Loopback() {
        close(writer);
        close(reader);
    }
};

std::string text_for(benchmark::State &state) {
    auto size = size_t(state.range(0));
    state.SetLabel(std::to_string(size) + " bytes");
    return std::string(size, 'x');
}

void BM_StringRoundTrip_twcommon(benchmark::State &state) {
    Loopback link;
    std::string text = text_for(state);
    std::vector<char> buf(text.size() + 1);
    int length = 0;
    for (auto _ : state) {
        if (put_string_(link.writer, text.c_str(), 5, 0, 0) != int(text.size()) ||
            !get_string_(link.reader, buf.data(), &length, int(buf.size()), 5, 0))
            state.SkipWithError("round trip failed");
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

bool send_all(int sock, const char *p, size_t n) {
    while (n > 0) {
        ssize_t sent = send(sock, p, n, MSG_NOSIGNAL);
        if (sent <= 0) return false;
        p += sent, n -= size_t(sent);
    }
    return true;
}

bool recv_all(int sock, char *p, size_t n) {
    while (n > 0) {
        ssize_t got = recv(sock, p, n, 0);
        if (got <= 0) return false;
        p += got, n -= size_t(got);
    }
    return true;
}

// The same exchange with the system's calls: the header and the first 4096
// bytes in one send, the rest in 4096-byte sends; the length, then the bytes.
void BM_StringRoundTrip_raw_socket(benchmark::State &state) {
    Loopback link;
    std::string text = text_for(state);
    std::vector<char> buf(text.size() + 1);
    std::vector<char> first(4 + 4096);
    for (auto _ : state) {
        uint32_t length = htonl(uint32_t(text.size()));
        std::memcpy(first.data(), &length, 4);
        size_t piece = text.size() < 4096 ? text.size() : 4096;
        std::memcpy(first.data() + 4, text.data(), piece);
        bool ok = send_all(link.writer, first.data(), 4 + piece);
        for (size_t done = piece; ok && done < text.size(); done += 4096)
            ok = send_all(link.writer, text.data() + done, text.size() - done < 4096 ? text.size() - done : 4096);
        uint32_t wire = 0;
        ok = ok && recv_all(link.reader, reinterpret_cast<char *>(&wire), 4);
        uint32_t n = ntohl(wire);
        ok = ok && n < buf.size() && recv_all(link.reader, buf.data(), n);
        if (!ok) {
            state.SkipWithError("round trip failed");
            break;
        }
        buf[n] = '\0';
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

BENCHMARK(BM_StringRoundTrip_twcommon)->Name("StringRoundTrip/twcommon")->Arg(16)->Arg(1000)->Arg(16000);
BENCHMARK(BM_StringRoundTrip_raw_socket)->Name("StringRoundTrip/raw_socket")->Arg(16)->Arg(1000)->Arg(16000);

}  // namespace
