#include "diag/logio.h"

#include <atomic>

#include "platform/lowio.h"
#include "twcommon/base.h"

namespace {

std::atomic<bool> clock_stopped{false};
tw::os::LocalClock stopped_at{};
std::atomic<int> zero_writes_pending{0};

}  // namespace

namespace tw::diag {

void read_log_clock(os::LocalClock *out) {
    if (clock_stopped.load())
        *out = stopped_at;
    else
        os::read_local_clock(out);
}

int write_log_bytes(int fd, const char *data, unsigned size) {
    int pending = zero_writes_pending.load();
    while (pending > 0 && !zero_writes_pending.compare_exchange_weak(pending, pending - 1)) {
    }
    if (pending > 0) return 0;
    return os::write_descriptor(fd, data, size);
}

}  // namespace tw::diag

// Test hook: with fields (year, month, day, hour, minute, second,
// millisecond) the log clock stays at that local time; null restarts it.
extern "C" TW_API void twcommon_testhook_logclock(const int *fields) {
    if (fields) stopped_at = {fields[0], fields[1], fields[2], fields[3], fields[4], fields[5], fields[6]};
    clock_stopped.store(fields != nullptr);
}

// Test hook: the next n low-level log writes write 0 bytes (0 cancels).
extern "C" TW_API void twcommon_testhook_zerowrites(int n) { zero_writes_pending.store(n > 0 ? n : 0); }
