// A 64 MiB file copied over a loopback connection: write_remote_file on one
// side and read_remote_file on the other, against a plain copy loop (read
// 8192 bytes, send them all; receive up to 8192 bytes, write them) moving the
// same file between the same kind of descriptors, without the block framing
// or the waits for readiness.
#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "twcommon/comm.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t kFileSize = size_t(64) << 20;
constexpr size_t kChunk = 8192;

struct Files {
    Files() : dir(fs::temp_directory_path() / ("twbench-transfer-" + std::to_string(getpid()))) {
        fs::create_directories(dir);
        std::vector<char> data(kFileSize);
        uint32_t x = 1;
        for (auto &b : data) b = char((x = x * 1103515245u + 12345u) >> 24);
        int fd = ::open(in().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ok = fd >= 0 && ::write(fd, data.data(), data.size()) == ssize_t(data.size());
        if (fd >= 0) ::close(fd);
    }
    ~Files() {
        std::error_code ignored;
        fs::remove_all(dir, ignored);
    }
    std::string in() const { return (dir / "in").string(); }
    std::string out() const { return (dir / "out").string(); }
    fs::path dir;
    bool ok = false;
};

// Two connected loopback sockets.
bool connected_pair(int *sender, int *receiver) {
    int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof sa;
    if (::bind(listener, reinterpret_cast<sockaddr *>(&sa), sizeof sa) != 0 || ::listen(listener, 1) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr *>(&sa), &len) != 0) {
        ::close(listener);
        return false;
    }
    *sender = ::socket(AF_INET, SOCK_STREAM, 0);
    bool ok = ::connect(*sender, reinterpret_cast<sockaddr *>(&sa), sizeof sa) == 0;
    *receiver = ok ? ::accept(listener, nullptr, nullptr) : -1;
    ::close(listener);
    return ok && *receiver >= 0;
}

long long peer_send(int sock, int fd) {
    char buf[kChunk];
    long long total = 0;
    ssize_t n;
    while ((n = ::read(fd, buf, sizeof buf)) > 0) {
        for (ssize_t off = 0; off < n;) {
            ssize_t m = ::send(sock, buf + off, size_t(n - off), MSG_NOSIGNAL);
            if (m <= 0) return -1;
            off += m;
        }
        total += n;
    }
    ::shutdown(sock, SHUT_WR);
    return total;
}

long long peer_receive(int sock, int fd) {
    char buf[kChunk];
    long long total = 0;
    ssize_t n;
    while ((n = ::recv(sock, buf, sizeof buf, 0)) > 0) {
        if (::write(fd, buf, size_t(n)) != n) return -1;
        total += n;
    }
    return n < 0 ? -1 : total;
}

template <typename Send, typename Receive>
void run_copy(benchmark::State &state, Send send_file, Receive receive_file) {
    Files files;
    if (!files.ok) {
        state.SkipWithError("cannot write the input file");
        return;
    }
    for (auto _ : state) {
        state.PauseTiming();
        int sender = -1, receiver = -1;
        if (!connected_pair(&sender, &receiver)) {
            state.SkipWithError("no loopback connection");
            return;
        }
        int in = ::open(files.in().c_str(), O_RDONLY);
        int out = ::open(files.out().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        state.ResumeTiming();
        long long sent = -1;
        std::thread t([&] { sent = send_file(sender, in); });
        long long received = receive_file(receiver, out);
        t.join();
        state.PauseTiming();
        ::close(in);
        ::close(out);
        ::close(sender);
        ::close(receiver);
        if (sent != static_cast<long long>(kFileSize) || received != static_cast<long long>(kFileSize)) {
            state.SkipWithError("short copy");
            return;
        }
        state.ResumeTiming();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kFileSize));
}

void BM_transfer_twcommon(benchmark::State &state) {
    run_copy(
        state, [](int sock, int fd) -> long long { return write_remote_file(sock, fd, 30, "bench"); },
        [](int sock, int fd) -> long long { return read_remote_file(sock, fd, 30, "bench"); });
}

void BM_transfer_sendrecv(benchmark::State &state) { run_copy(state, peer_send, peer_receive); }

}  // namespace

BENCHMARK(BM_transfer_twcommon)->Name("remote_file_64MiB/twcommon")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_transfer_sendrecv)->Name("remote_file_64MiB/sendrecv")->Unit(benchmark::kMillisecond)->UseRealTime();
