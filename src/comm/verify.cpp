/*
 * A sanity test for received text: printable ASCII and well-formed UTF-8
 * sequences (lead bytes of the old six-byte form included) within a length.
 * A file named DISABLE_BUFFER_CHECK in the product directory turns the test
 * off on a machine where it gets in the way.
 */
#include "platform/lowio.h"
#include "twcommon/comm.h"
#include "twcommon/config.h"
#include "twcommon/text.h"

namespace {

constexpr unsigned kPathSize = 4096;

bool check_disabled() {
    char path[kPathSize];
    int length = Q_snprintf(path, sizeof path, "%s%sDISABLE_BUFFER_CHECK", getOrrickString("BP_DIR"),
                            getOrrickString("_ps"));
    if (length < 0 || unsigned(length) >= sizeof path - 1) return false;  // cut short: no such file
    return tw::os::path_exists(path);
}

// The number of continuation bytes a lead byte announces; -1 when c cannot
// start a sequence.
int continuation_count(unsigned char c) {
    if (c >= 192 && c <= 223) return 1;
    if (c >= 224 && c <= 239) return 2;
    if (c >= 240 && c <= 247) return 3;
    if (c >= 248 && c <= 251) return 4;
    if (c >= 252 && c <= 253) return 5;
    return -1;
}

}  // namespace

extern "C" int verify_string(const char *text, int maxlen) {
    if (check_disabled()) return 0;
    if (maxlen < 1) return 0;
    if (!text) return -1;
    const auto *p = reinterpret_cast<const unsigned char *>(text);
    int i = 0;
    while (i < maxlen && p[i] != 0) {
        if (p[i] >= 32 && p[i] <= 126) {
            ++i;
            continue;
        }
        int more = continuation_count(p[i]);
        if (more < 0 || more >= maxlen - i) return -1;
        // A terminator is not a continuation byte, so this stops at the end
        // of the text.
        for (int k = 1; k <= more; ++k)
            if (p[i + k] < 128 || p[i + k] > 191) return -1;
        i += more + 1;
    }
    return 0;
}
