// The allocation-failure hook behind tw::mem_alloc and friends.
#include "base/alloc.h"

#include "twcommon/base.h"

namespace tw {

std::atomic<int> alloc_failure_countdown{0};

bool alloc_failure_due() {
    int left = alloc_failure_countdown.load(std::memory_order_relaxed);
    while (left > 0) {
        if (alloc_failure_countdown.compare_exchange_weak(left, left - 1, std::memory_order_relaxed))
            return left == 1;
    }
    return false;
}

}  // namespace tw

// Test hook: make the nth allocation from now fail (1 = the next one; 0
// disarms). Returns the countdown as it was, so arming 0 after an operation
// tells whether the failure was reached (0) or not (still positive).
extern "C" TW_API int twcommon_testhook_failalloc(int n) {
    return tw::alloc_failure_countdown.exchange(n < 0 ? 0 : n);
}
