// Reads arbitrary bytes line by line with myfgetline through a memory
// stream. The lines must give back the input exactly: each ends at its first
// newline (kept), only the last may lack one, every reported length matches,
// and only the end of input gives null. A first input byte below 8 instead
// picks an allocation to fail while the first line is read: the result must
// then be null, and nothing may leak.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/alloc.h"
#include "twcommon/containers.h"

namespace {

// Reads the first line with the nth allocation failing: when it fails, the
// result must be null (and nothing leaks).
void read_with_failure(FILE *stream, int nth) {
    tw::alloc_failure_countdown.store(nth);
    char *line = myfgetline(stream, nullptr);
    bool failed = tw::alloc_failure_countdown.exchange(0) == 0;
    if (failed && line) std::abort();
    std::free(line);
}

// Reads every line; together they must be the input.
void read_all(FILE *stream, size_t size, const std::string &input) {
    std::string seen;
    for (;;) {
        int length = -1;
        long before = std::ftell(stream);
        char *line = myfgetline(stream, &length);
        if (!line) {
            if (before != long(size)) std::abort();  // null only at the end
            break;
        }
        if (length <= 0 || line[length] != '\0') std::abort();
        if (std::memchr(line, '\n', size_t(length) - 1)) std::abort();  // a newline only at the end
        if (line[length - 1] != '\n' && std::ftell(stream) != long(size)) std::abort();
        seen.append(line, size_t(length));
        std::free(line);
    }
    if (seen != input) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2) return 0;  // a memory stream needs at least one byte
    int fail_at = data[0] < 8 ? data[0] + 1 : 0;  // now and then, one allocation fails
    ++data, --size;
    std::string input(reinterpret_cast<const char *>(data), size);
    FILE *stream = fmemopen(input.data(), input.size(), "r");
    if (!stream) return 0;
    if (fail_at) {
        read_with_failure(stream, fail_at);
    } else {
        read_all(stream, size, input);
    }
    std::fclose(stream);
    return 0;
}
