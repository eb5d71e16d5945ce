// Access to the library's allocation-failure hook.
#ifndef TWTEST_ALLOC_HOOK_H
#define TWTEST_ALLOC_HOOK_H

#include <functional>

#include "twcommon/base.h"

extern "C" TW_API int twcommon_testhook_failalloc(int n);

namespace twtest {

// Fails the nth library allocation from now (1 = the next one) while alive.
class FailAllocation {
public:
    explicit FailAllocation(int nth) { twcommon_testhook_failalloc(nth); }
    ~FailAllocation() { twcommon_testhook_failalloc(0); }
    FailAllocation(const FailAllocation &) = delete;
    FailAllocation &operator=(const FailAllocation &) = delete;
    // Whether the armed allocation was reached (and so failed).
    bool fired() const;
};

// Runs op with the 1st, 2nd, ... allocation failing, until an attempt runs
// through without reaching the armed allocation. check(failed) is called after
// each attempt, failed telling whether an allocation was made to fail.
// Returns the number of attempts in which an allocation failed.
int for_each_allocation_failure(const std::function<void()> &op, const std::function<void(bool)> &check,
                                int limit = 10000);

}  // namespace twtest

#endif
