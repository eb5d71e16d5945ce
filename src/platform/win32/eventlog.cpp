// The NT event log.
#include <windows.h>

#include "platform/eventlog.h"

namespace tw::os {

EventSource register_event_source(const char *source_name) { return RegisterEventSourceA(nullptr, source_name); }

void deregister_event_source(EventSource source) {
    if (source) DeregisterEventSource(source);
}

bool report_event(EventSource source, EventType type, uint16_t category, uint32_t event_id, int count,
                  const char *const *strings) {
    WORD nt_type = type == EventType::error     ? EVENTLOG_ERROR_TYPE
                   : type == EventType::warning ? EVENTLOG_WARNING_TYPE
                                                : EVENTLOG_INFORMATION_TYPE;
    if (count < 0 || count > 0xFFFF) return false;  // the count travels as a 16-bit number
    return ReportEventA(source, nt_type, category, event_id, nullptr, WORD(count), 0,
                        const_cast<const char **>(strings), nullptr) != FALSE;
}

}  // namespace tw::os
