/*
 * Where the library's event reports go: the OS event log, or, while the test
 * suite has installed a sink through twcommon_testhook_eventlog, that sink
 * (so that tests can read back type, category, event id and insertion
 * strings, which the event log itself may not give back).
 */
#ifndef TW_DIAG_EVENTLOG_H
#define TW_DIAG_EVENTLOG_H

#include <cstdint>

#include "platform/eventlog.h"

namespace tw::diag {

struct EventLog {
    os::EventSource source = nullptr;
    char name[128] = "";  // the source name, for the test sink
};

// Registers the source; false (and the log left closed) when the OS refuses.
bool open_event_log(EventLog &log, const char *source_name);
void close_event_log(EventLog &log);
bool report(const EventLog &log, os::EventType type, uint16_t category, uint32_t event_id, int count,
            const char *const *strings);

}  // namespace tw::diag

#endif
