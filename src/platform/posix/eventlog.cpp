// The event log off Windows: syslog(3), one line per event with the
// insertion strings joined by blanks. The source name is the syslog identity.
#include <syslog.h>

#include <string>

#include "base/alloc.h"
#include "platform/eventlog.h"
#include "twcommon/text.h"

namespace tw::os {
namespace {

struct SyslogSource {
    char identity[128];  // must outlive openlog's use of it
};

}  // namespace

EventSource register_event_source(const char *source_name) {
    if (!source_name) return nullptr;
    auto *source = static_cast<SyslogSource *>(tw::mem_alloc(sizeof(SyslogSource)));
    if (!source) return nullptr;
    Q_strlcpy(source->identity, source_name, sizeof source->identity);
    openlog(source->identity, LOG_PID, LOG_USER);
    return source;
}

void deregister_event_source(EventSource source) {
    if (!source) return;
    closelog();
    tw::mem_free(source);
}

bool report_event(EventSource source, EventType type, uint16_t, uint32_t event_id, int count,
                  const char *const *strings) try {
    if (!source) return false;
    std::string text;
    for (int i = 0; i < count; ++i) {
        if (i) text += ' ';
        text += strings[i] ? strings[i] : "";
    }
    int priority = type == EventType::error ? LOG_ERR : type == EventType::warning ? LOG_WARNING : LOG_INFO;
    syslog(priority, "[%u] %s", unsigned(event_id), text.c_str());
    return true;
} catch (...) {  // std::string out of memory
    return false;
}

}  // namespace tw::os
