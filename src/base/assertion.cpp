// The C runtime's assertion handler, reached from library code.
#include "base/assertion.h"

#include <assert.h>
#include <stdio.h>
#include <stdlib.h>

namespace tw {

void assertion_failed(const char *expression, const char *source, unsigned line) {
#if defined(_WIN32)
    _assert(expression, source, line);
#elif defined(__GLIBC__)
    __assert_fail(expression, source, line, "");
#else
    fprintf(stderr, "Assertion failed: %s, file %s, line %u\n", expression, source, line);
    abort();
#endif
}

}  // namespace tw
