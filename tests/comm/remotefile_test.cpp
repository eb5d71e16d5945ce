// The block file transfer over a loopback connection: files moved intact,
// the block layout on the wire, and the failures of either side.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <string>
#include <thread>

#if defined(_WIN32)
#  include <io.h>
#else
#  include <unistd.h>
#endif

#include "comm/wire_support.h"
#include "support/scratch.h"
#include "twcommon/comm.h"

namespace {

using twtest::ScratchDir;
using wiretest::LogCapture;
using wiretest::Pair;

#if defined(_WIN32)
constexpr int kBinary = O_BINARY;
#else
constexpr int kBinary = 0;
#endif

// A runtime descriptor closed with the object.
struct Fd {
    int fd;
    Fd(const std::string &path, int flags) : fd(::open(path.c_str(), flags | kBinary, 0644)) {}
    ~Fd() {
        if (fd >= 0) ::close(fd);
    }
};

std::string file_bytes(const std::string &path) {
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    std::string bytes(size_t(in.tellg()), '\0');
    in.seekg(0);
    in.read(&bytes[0], std::streamsize(bytes.size()));
    return bytes;
}

void write_file(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

// Bytes that are not a repeating text, so that a misplaced block shows.
std::string pattern(size_t size) {
    std::string bytes(size, '\0');
    uint32_t x = 12345;
    for (auto &b : bytes) b = char((x = x * 1103515245u + 12345u) >> 24);
    return bytes;
}

TEST(RemoteFile, FilesOfEverySizeArriveIntact) {
    ScratchDir scratch;
    Pair pair;
    ASSERT_TRUE(wiretest::make_pair(pair));
    for (size_t size : {size_t(0), size_t(1), size_t(8192), size_t(8193), size_t(10) << 20}) {
        const std::string data = pattern(size), in = scratch.file("in"), out = scratch.file("out");
        write_file(in, data);
        Fd source(in, O_RDONLY), target(out, O_WRONLY | O_CREAT | O_TRUNC);
        ASSERT_GE(source.fd, 0);
        ASSERT_GE(target.fd, 0);
        int written = -2;
        std::thread sender([&] { written = write_remote_file(pair.writer.get(), source.fd, 5, "sender"); });
        int read = read_remote_file(pair.reader.get(), target.fd, 5, "receiver");
        sender.join();
        EXPECT_EQ(written, int(size));
        EXPECT_EQ(read, int(size));
        ::close(target.fd);
        target.fd = -1;
        EXPECT_TRUE(file_bytes(out) == data) << size;
    }
}

TEST(RemoteFile, BlocksOnTheWire) {
    ScratchDir scratch;
    const struct {
        size_t size;
        std::string headers;  // each block's 2-byte length, then the end mark
    } cases[] = {
        {0, std::string("\0\0", 2)},
        {8193, std::string("\x20\x00\x00\x01\x00\x00", 6)},
    };
    for (const auto &c : cases) {
        Pair pair;
        ASSERT_TRUE(wiretest::make_pair(pair));
        const std::string data = pattern(c.size);
        write_file(scratch.file("in"), data);
        Fd source(scratch.file("in"), O_RDONLY);
        EXPECT_EQ(write_remote_file(pair.writer.get(), source.fd, 5, "t"), int(c.size));
        pair.writer.reset();
        std::string wire = wiretest::read_all(pair.reader.get(), 5), headers;
        for (size_t at = 0; at + 2 <= wire.size();) {
            size_t n = size_t(uint8_t(wire[at])) << 8 | uint8_t(wire[at + 1]);
            headers += wire.substr(at, 2);
            at += 2 + n;
        }
        EXPECT_EQ(wire.size(), c.size + c.headers.size());
        EXPECT_EQ(headers, c.headers);
    }
}

TEST(RemoteFile, ReceiverFailures) {
    ScratchDir scratch;
    const struct {
        std::string wire;  // what the peer sends before it closes
        bool read_only;    // local file that cannot be written
        std::string log;
        int error;  // expected errno, 0 to leave unchecked
    } cases[] = {
        {std::string("\x00\x05", 2), false, "t: unexpected EOF reading remote file", 32},
        {std::string("\x00\x05" "abc", 5), false, "t: problem reading block length (", 0},
        {std::string("\x00", 1), false, "t: problem reading block length (", 0},
        {std::string("\x00\x02" "ab", 4), true, "t: problem writing to file (", 0},
    };
    write_file(scratch.file("ro"), "");
    for (const auto &c : cases) {
        Pair pair;
        ASSERT_TRUE(wiretest::make_pair(pair));
        ASSERT_TRUE(wiretest::send_all(pair.writer.get(), c.wire));
        pair.writer.reset();
        Fd target(scratch.file(c.read_only ? "ro" : "out"), c.read_only ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC);
        LogCapture log;
        errno = 0;
        EXPECT_EQ(read_remote_file(pair.reader.get(), target.fd, 5, "t"), -1);
        if (c.error) {
            EXPECT_EQ(errno, c.error);
        }
        EXPECT_TRUE(log.has_prefix(c.log)) << log.all();
    }
}

TEST(RemoteFile, SenderFailures) {
    ScratchDir scratch;
    write_file(scratch.file("in"), "data");
    Pair pair;
    ASSERT_TRUE(wiretest::make_pair(pair));
    LogCapture log;
    EXPECT_EQ(write_remote_file(pair.writer.get(), -1, 5, "t"), -1);
    EXPECT_TRUE(log.has_prefix("t: problem reading local file (")) << log.all();
    Fd source(scratch.file("in"), O_RDONLY);
    int closed = pair.writer.get();
    pair.writer.reset();
    EXPECT_EQ(write_remote_file(closed, source.fd, 1, "t"), -1);
    EXPECT_TRUE(log.has_prefix("t: protocol error - problem transmitting file (")) << log.all();
}

// Against the peer that is not ours: it checks every block it is sent and
// answers the byte count and digest of the data, and sends its own pattern
// (byte i is (i * 131 + 7) % 256) as blocks to be read.
TEST(RemoteFile, ForeignPeerTakesAndSendsFiles) {
    const struct {
        size_t size;
        const char *md5;
    } cases[] = {
        {0, "d41d8cd98f00b204e9800998ecf8427e"},
        {1, "89e74e640b8c46257a29de0616794d5d"},
        {8192, "cf4dacb6a28ad70e0d3ecd56b746e687"},
        {8193, "d31acac67f44bae20cebe3e963d97165"},
        {100000, "ebd2d6605dddd11db5eeadd734097ec9"},
    };
    ScratchDir scratch;
    for (const auto &c : cases) {
        std::string data(c.size, '\0');
        for (size_t i = 0; i < c.size; ++i) data[i] = char((i * 131 + 7) % 256);
        const std::string source_path = scratch.file("out" + std::to_string(c.size));
        write_file(source_path, data);
        {
            WIRE_SCENARIO(peer, "recvfile");
            Fd source(source_path, O_RDONLY);
            EXPECT_EQ(write_remote_file(peer.get(), source.fd, 5, "t"), int(c.size));
            EXPECT_EQ(wiretest::read_line(peer.get()), "OK " + std::to_string(c.size) + " " + c.md5);
        }
        {
            WIRE_SCENARIO(peer, "sendfile " + std::to_string(c.size));
            const std::string target_path = scratch.file("in" + std::to_string(c.size));
            {
                Fd target(target_path, O_WRONLY | O_CREAT | O_TRUNC);
                EXPECT_EQ(read_remote_file(peer.get(), target.fd, 5, "t"), int(c.size));
            }
            EXPECT_TRUE(file_bytes(target_path) == data) << c.size;
        }
    }
}

}  // namespace
