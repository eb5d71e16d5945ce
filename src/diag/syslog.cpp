/*
 * The system log of Unix daemons, emulated on the event log.
 *
 * The program identity picks an event source from a fixed table (the first
 * identity opened wins until Q_Closelog), the logger priority picks the event
 * type, and the text travels as insertion strings: NTsyslog sends the whole
 * formatted message as one string; Q_Syslog sends each conversion of the
 * format as its own string under the caller's event identifier, so that the
 * event text can come from the source's message table.
 *
 * The handle and both buffers are process-wide and unguarded: callers log
 * from one thread at a time. Every report goes through diag/eventlog.h.
 */
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "base/alloc.h"
#include "diag/eventlog.h"
#include "twcommon/diag.h"
#include "twcommon/locale.h"
#include "twcommon/text.h"

namespace {

struct EventSourceRow {
    const char *identity;  // null in the last row, the default
    const char *source;
};

// The product's daemons and the event sources they report under.
constexpr EventSourceRow kEventSources[] = {
    {"twjobd", "Tallowind Job Manager"},
    {"twschedd", "Tallowind Scheduler"},
    {"twmediad", "Tallowind Media Manager"},
    {"twclientd", "Tallowind Client Agent"},
    {"twcatd", "Tallowind Catalog Server"},
    {"twvaultd", "Tallowind Vault Manager"},
    {"twtool", "Tallowind Tools"},
    {nullptr, "Tallowind"},
};

constexpr int kMessageSize = 1025;  // 1024 characters and the terminator
constexpr int kFormatSize = 1024;
// Highest argument number Q_Syslog reads; a format asking for more is refused.
constexpr int kMaxArguments = 128;

tw::diag::EventLog event_log;
char message_buffer[kMessageSize];
char format_buffer[kFormatSize];

bool log_is_open() { return event_log.source != nullptr; }

const char *source_for(const char *ident) {
    const EventSourceRow *row = kEventSources;
    while (row->identity && !(ident && std::strcmp(row->identity, ident) == 0)) ++row;
    return row->source;
}

tw::os::EventType event_type(int priority) {
    switch (priority) {
    case LOG_WARNING: return tw::os::EventType::warning;
    case LOG_NOTICE:
    case LOG_INFO:
    case LOG_DEBUG: return tw::os::EventType::information;
    default: return tw::os::EventType::error;
    }
}

// Copies format into format_buffer with each unescaped %m replaced by
// error_text; percent signs are read in pairs, so "%%m" stays as it is.
void expand_percent_m(const char *format, const char *error_text) {
    int out = 0;
    auto put = [&](char c) {
        if (out < kFormatSize - 1) format_buffer[out++] = c;
    };
    for (const char *p = format; *p && out < kFormatSize - 1; ++p) {
        if (p[0] == '%' && p[1] == '%') {
            put(*p++);
            put(*p);
        } else if (p[0] == '%' && p[1] == 'm') {
            for (const char *e = error_text; *e; ++e) put(*e);
            ++p;
        } else {
            put(*p);
        }
    }
    format_buffer[out] = '\0';
}

// ---- Q_Syslog's argument table ----

enum class ArgKind : unsigned char { unset, word, pointer, int64, floating };

struct Argument {
    ArgKind kind;
    int64_t integer;  // int and 64-bit values; pointers as numbers
    const void *pointer;
    double floating;
};

ArgKind arg_kind_of(int spec_kind) {
    switch (spec_kind) {
    case CONVSPEC_STRING:
    case CONVSPEC_COUNT: return ArgKind::pointer;
    case CONVSPEC_INT64: return ArgKind::int64;
    case CONVSPEC_DOUBLE: return ArgKind::floating;
    default: return ArgKind::word;
    }
}

void note_kind(Argument *args, int number, ArgKind kind) {
    if (number > 0 && args[number].kind == ArgKind::unset) args[number].kind = kind;
}

// Reads arguments 1..count by the kinds the conversion specifications gave them; a
// number no conversion specification names is read as a plain int.
void read_arguments(Argument *args, int count, va_list list) {
    for (int n = 1; n <= count; ++n) {
        Argument &a = args[n];
        switch (a.kind) {
        case ArgKind::pointer:
            a.pointer = va_arg(list, const void *);
            a.integer = int64_t(reinterpret_cast<intptr_t>(a.pointer));
            break;
        case ArgKind::int64: a.integer = va_arg(list, int64_t); break;
        case ArgKind::floating: a.floating = va_arg(list, double); break;
        default: a.integer = va_arg(list, int); break;
        }
    }
}

// The runtime formatter over a conversion specification built at run time.
int format_conversion(char *buf, const char *conversion, ...) {
    va_list list;
    va_start(list, conversion);
    int n = Q_vsnprintf(buf, kMessageSize, conversion, list);
    va_end(list);
    return n;
}

// Formats one conversion specification with its optional width and precision and value.
template <typename T>
void format_with(char *buf, const char *conversion, const ConvSpec &node, const Argument *args, T value) {
    const int width = node.width_arg > 0 ? int(args[node.width_arg].integer) : 0;
    const int precision = node.precision_arg > 0 ? int(args[node.precision_arg].integer) : 0;
    if (node.width_arg > 0 && node.precision_arg > 0)
        format_conversion(buf, conversion, width, precision, value);
    else if (node.width_arg > 0)
        format_conversion(buf, conversion, width, value);
    else if (node.precision_arg > 0)
        format_conversion(buf, conversion, precision, value);
    else
        format_conversion(buf, conversion, value);
}

// The conversion specification as the runtime formatter reads it. %m formats a narrow
// text whatever size letter it was given. msvcrt takes "I64" and reads "%Lf"
// as a double; elsewhere those are "ll" and a plain "%f".
void runtime_conversion(const ConvSpec &node, char (&out)[sizeof(ConvSpec::text) + 1]) {
    const bool errno_text = node.kind == CONVSPEC_ERRNO;
    int o = 0;
    for (const char *p = node.text; *p; ++p) {
        if (p[0] == 'I' && p[1] == '6' && p[2] == '4') {
            p += 2;
            if (errno_text) continue;
#if defined(_WIN32)
            const char *size64 = "I64";
#else
            const char *size64 = "ll";
#endif
            for (const char *q = size64; *q; ++q) out[o++] = *q;
            continue;
        }
        const bool size = *p == 'h' || *p == 'l' || *p == 'L';
        if (size && errno_text) continue;
#if !defined(_WIN32)
        if (*p == 'L' && node.kind == CONVSPEC_DOUBLE) continue;
#endif
        out[o++] = *p;
    }
    out[o] = '\0';
}

// A conversion specification cut to 63 characters has lost its conversion letter and
// cannot be formatted safely; it is passed on as written.
bool is_whole(const ConvSpec &node) {
    size_t n = std::strlen(node.text);
    return n > 0 && std::strchr("%CEGSXcdefginopsux", node.text[n - 1]) != nullptr;
}

void format_node(const ConvSpec &node, const Argument *args, const char *error_text) {
    char conversion[sizeof(ConvSpec::text) + 1];
    runtime_conversion(node, conversion);
    if (!is_whole(node)) {
        Q_strlcpy(message_buffer, node.text, kMessageSize);
        return;
    }
    const Argument &value = args[node.arg > 0 ? node.arg : 0];
    switch (node.kind) {
    case CONVSPEC_ERRNO: format_with(message_buffer, conversion, node, args, error_text); break;
    case CONVSPEC_STRING: format_with(message_buffer, conversion, node, args, value.pointer); break;
    case CONVSPEC_INT64: format_with(message_buffer, conversion, node, args, static_cast<long long>(value.integer)); break;
    case CONVSPEC_DOUBLE: format_with(message_buffer, conversion, node, args, value.floating); break;
    default:
#if !defined(_WIN32)
        if (std::strchr(conversion, 'l')) {  // long is wider than int here
            format_with(message_buffer, conversion, node, args, long(int(value.integer)));
            break;
        }
#endif
        format_with(message_buffer, conversion, node, args, int(value.integer));
        break;
    }
}

}  // namespace

extern "C" {

void Q_Openlog(const char *ident) {
    if (log_is_open()) return;
    tw::diag::open_event_log(event_log, source_for(ident));
}

void Q_Closelog(void) {
    if (log_is_open()) tw::diag::close_event_log(event_log);
}

int NTsyslog(int priority, const char *format, ...) {
    if (!log_is_open() || !format) return 0;
    const int saved_errno = errno;
    expand_percent_m(format, std::strerror(saved_errno));
    va_list list;
    va_start(list, format);
    Q_vsnprintf(message_buffer, kMessageSize, format_buffer, list);
    va_end(list);
    const char *strings[] = {message_buffer};
    const bool reported = tw::diag::report(event_log, event_type(priority), 0, 0, 1, strings);
    errno = saved_errno;
    return reported ? 1 : 0;
}

void Q_Syslog(uint32_t event_id, int priority, const char *format, ...) {
    if (!log_is_open()) return;
    const int saved_errno = errno;
    const char *error_text = std::strerror(saved_errno);

    ConvSpec *specs = nullptr;
    Argument *args = nullptr;
    char **strings = nullptr;
    int string_count = 0;
    int highest = 0;
    int node_count = 0;

    if (scanFmtString(format, &specs) < 0) goto done;
    for (const ConvSpec *n = specs; n; n = n->next) {
        for (int number : {n->arg, n->width_arg, n->precision_arg})
            if (number > highest) highest = number;
        ++node_count;
    }
    if (highest > kMaxArguments) goto done;

    args = static_cast<Argument *>(tw::mem_calloc(size_t(highest) + 1, sizeof(Argument)));
    strings = static_cast<char **>(tw::mem_calloc(size_t(node_count) + 1, sizeof(char *)));
    if (!args || !strings) goto done;
    for (const ConvSpec *n = specs; n; n = n->next) {
        note_kind(args, n->width_arg, ArgKind::word);
        note_kind(args, n->precision_arg, ArgKind::word);
        note_kind(args, n->arg, arg_kind_of(n->kind));
    }
    {
        va_list list;
        va_start(list, format);
        read_arguments(args, highest, list);
        va_end(list);
    }

    for (const ConvSpec *n = specs; n; n = n->next) {
        if (n->kind == CONVSPEC_PERCENT || n->kind == CONVSPEC_COUNT) continue;
        format_node(*n, args, error_text);
        char *copy = tw::copy_text(message_buffer, std::strlen(message_buffer));
        if (!copy) goto done;
        strings[string_count++] = copy;
    }
    tw::diag::report(event_log, event_type(priority), 0, event_id, string_count, strings);

done:
    for (int i = 0; i < string_count; ++i) tw::mem_free(strings[i]);
    tw::mem_free(strings);
    tw::mem_free(args);
    freeConvSpecList(specs);
    errno = saved_errno;
}

}  // extern "C"
