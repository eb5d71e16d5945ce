// The event log off Windows: syslog(3), one line per event with the
// insertion strings joined by blanks. The source name is the syslog identity.
#include <syslog.h>

#include <string>

#include "platform/eventlog.h"

namespace tw::os {
namespace {

struct SyslogSource {
    std::string identity;  // must outlive openlog's use of it
};

}  // namespace

EventSource register_event_source(const char *source_name) {
    if (!source_name) return nullptr;
    auto *source = new (std::nothrow) SyslogSource{source_name};
    if (source) openlog(source->identity.c_str(), LOG_PID, LOG_USER);
    return source;
}

void deregister_event_source(EventSource source) {
    if (!source) return;
    closelog();
    delete static_cast<SyslogSource *>(source);
}

bool report_event(EventSource source, EventType type, uint16_t, uint32_t event_id, int count,
                  const char *const *strings) {
    if (!source) return false;
    std::string text;
    for (int i = 0; i < count; ++i) {
        if (i) text += ' ';
        text += strings[i] ? strings[i] : "";
    }
    int priority = type == EventType::error ? LOG_ERR : type == EventType::warning ? LOG_WARNING : LOG_INFO;
    syslog(priority, "[%u] %s", unsigned(event_id), text.c_str());
    return true;
}

}  // namespace tw::os
