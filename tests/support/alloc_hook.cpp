#include "support/alloc_hook.h"

namespace twtest {

bool FailAllocation::fired() const {
    // Re-arming returns the countdown as it was; restore it before answering.
    int left = twcommon_testhook_failalloc(0);
    twcommon_testhook_failalloc(left);
    return left == 0;
}

int for_each_allocation_failure(const std::function<void()> &op, const std::function<void(bool)> &check,
                                int limit) {
    int failures = 0;
    for (int nth = 1; nth <= limit; ++nth) {
        bool fired;
        {
            FailAllocation fail(nth);
            op();
            fired = fail.fired();
        }
        check(fired);
        if (!fired) break;
        ++failures;
    }
    return failures;
}

}  // namespace twtest
