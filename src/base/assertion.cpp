// The C runtime's assertion handler, reached from library code. It is
// declared here because <assert.h> hides it in builds with NDEBUG.
#include "base/assertion.h"

#include <stdio.h>
#include <stdlib.h>

#if defined(_WIN32)
extern "C" __declspec(dllimport) void __cdecl _assert(const char *message, const char *file, unsigned line);
#elif defined(__GLIBC__)
extern "C" void __assert_fail(const char *expression, const char *file, unsigned int line, const char *function) noexcept
    __attribute__((noreturn));
#endif

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
