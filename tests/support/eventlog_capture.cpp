#include "support/eventlog_capture.h"

#include "twcommon/base.h"

extern "C" {
typedef void (*TwEventSink)(void *context, const char *source, int type, unsigned category, uint32_t event_id,
                            int count, const char *const *strings);
TW_API void twcommon_testhook_eventlog(TwEventSink sink, void *context);
}

namespace twtest {

EventLogCapture::EventLogCapture() { twcommon_testhook_eventlog(&EventLogCapture::sink, this); }

EventLogCapture::~EventLogCapture() { twcommon_testhook_eventlog(nullptr, nullptr); }

void EventLogCapture::sink(void *context, const char *source, int type, unsigned category, uint32_t id, int count,
                           const char *const *strings) {
    Event e{source ? source : "", type, category, id, {}};
    for (int i = 0; i < count; ++i) e.strings.emplace_back(strings[i] ? strings[i] : "");
    static_cast<EventLogCapture *>(context)->events_.push_back(std::move(e));
}

}  // namespace twtest
