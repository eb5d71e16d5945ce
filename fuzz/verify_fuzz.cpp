// verify_string on arbitrary bytes, held in a buffer of exactly the length
// given (no terminator after it), compared with a plain decoding of the same
// rule: printable ASCII, or a lead byte with its count of continuation bytes
// all before the length or a NUL.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "twcommon/comm.h"

namespace {

int expected(const unsigned char *p, size_t n) {
    size_t i = 0;
    while (i < n && p[i]) {
        unsigned c = p[i];
        size_t more = c >= 252 && c <= 253 ? 5 : c >= 248 && c <= 251 ? 4 : c >= 240 && c <= 247 ? 3
                    : c >= 224 && c <= 239 ? 2 : c >= 192 && c <= 223 ? 1 : 0;
        if (c >= 32 && c <= 126) {
            ++i;
            continue;
        }
        if (more == 0 || i + more >= n) return -1;
        for (size_t k = 1; k <= more; ++k)
            if ((p[i + k] & 0xC0) != 0x80) return -1;
        i += more + 1;
    }
    return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0 || size > 4096) return 0;
    auto *copy = static_cast<unsigned char *>(std::malloc(size));
    std::memcpy(copy, data, size);
    if (verify_string(reinterpret_cast<const char *>(copy), int(size)) != expected(copy, size)) std::abort();
    std::free(copy);
    return 0;
}
