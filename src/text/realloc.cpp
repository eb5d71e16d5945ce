// Q_dumb_realloc: reallocation whose failure releases the old block, so that
// callers need to test only for null.
#include "base/alloc.h"
#include "twcommon/text.h"

extern "C" void *Q_dumb_realloc(void **buffer, size_t size) {
    if (!buffer) return nullptr;
    void *grown = tw::mem_realloc(*buffer, size);
    if (!grown && *buffer && size != 0) tw::mem_free(*buffer);
    *buffer = grown;
    return grown;
}
