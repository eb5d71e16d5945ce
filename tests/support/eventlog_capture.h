// Captures what the library reports to the event log, while alive.
#ifndef TWTEST_EVENTLOG_CAPTURE_H
#define TWTEST_EVENTLOG_CAPTURE_H

#include <cstdint>
#include <string>
#include <vector>

namespace twtest {

struct Event {
    enum Type { error = 0, warning = 1, information = 2 };
    std::string source;  // the event source name the log was opened with
    int type;
    unsigned category;
    uint32_t id;
    std::vector<std::string> strings;  // the insertion strings, in order
};

class EventLogCapture {
public:
    EventLogCapture();
    ~EventLogCapture();
    EventLogCapture(const EventLogCapture &) = delete;
    EventLogCapture &operator=(const EventLogCapture &) = delete;
    const std::vector<Event> &events() const { return events_; }
    void clear() { events_.clear(); }

private:
    static void sink(void *context, const char *source, int type, unsigned category, uint32_t id, int count,
                     const char *const *strings);
    std::vector<Event> events_;
};

}  // namespace twtest

#endif
