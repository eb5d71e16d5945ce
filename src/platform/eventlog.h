/*
 * The OS event log: the NT event log on Windows, syslog(3) elsewhere.
 */
#ifndef TW_PLATFORM_EVENTLOG_H
#define TW_PLATFORM_EVENTLOG_H

#include <cstdint>

namespace tw::os {

enum class EventType { error, warning, information };

// An opened event source, or null. Opaque.
using EventSource = void *;

// Registers the named event source on the local machine; null on failure.
EventSource register_event_source(const char *source_name);
void deregister_event_source(EventSource source);
// Reports one event with its insertion strings; false when the OS refused it.
bool report_event(EventSource source, EventType type, uint16_t category, uint32_t event_id, int count,
                  const char *const *strings);

}  // namespace tw::os

#endif
