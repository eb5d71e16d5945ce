// 64-bit byte order. Network order is big-endian and every host the library
// runs on is little-endian, so the swap is unconditional.
#include "base/export.h"
#include "twcommon/text.h"

extern "C" {

uint64_t v_htonq(uint64_t value) { return __builtin_bswap64(value); }

int v_test_byte_order(void) { return 1; }

}  // extern "C"

TW_EXPORT_ALIAS(uint64_t, v_ntohq, v_htonq, (uint64_t value))
