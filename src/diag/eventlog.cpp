#include "diag/eventlog.h"

#include <atomic>

#include "twcommon/text.h"

extern "C" {
typedef void (*TwEventSink)(void *context, const char *source, int type, unsigned category, uint32_t event_id,
                            int count, const char *const *strings);
}

namespace {

std::atomic<TwEventSink> test_sink{nullptr};
std::atomic<void *> test_context{nullptr};

}  // namespace

namespace tw::diag {

bool open_event_log(EventLog &log, const char *source_name) {
    log.source = os::register_event_source(source_name);
    Q_strlcpy(log.name, source_name, sizeof log.name);
    return log.source != nullptr;
}

void close_event_log(EventLog &log) {
    os::deregister_event_source(log.source);
    log.source = nullptr;
    log.name[0] = '\0';
}

bool report(const EventLog &log, os::EventType type, uint16_t category, uint32_t event_id, int count,
            const char *const *strings) {
    if (TwEventSink sink = test_sink.load()) {
        sink(test_context.load(), log.name, int(type), category, event_id, count, strings);
        return true;
    }
    return os::report_event(log.source, type, category, event_id, count, strings);
}

}  // namespace tw::diag

// Test hook: while sink is set, event reports go to it instead of the OS
// (type: 0 error, 1 warning, 2 information). A null sink restores the OS.
extern "C" TW_API void twcommon_testhook_eventlog(TwEventSink sink, void *context) {
    test_context.store(context);
    test_sink.store(sink);
}
