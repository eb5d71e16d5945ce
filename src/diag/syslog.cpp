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
#include "diag/syslog.h"
#include "locale/fmtscan.h"
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

// The type an argument was passed as, from its conversion letter and size.
enum class ArgKind : unsigned char { unset, int_, long_, long_long, size, pointer, floating, long_floating };

struct Argument {
    ArgKind kind;
    int64_t integer;  // integers, and pointers as numbers
    const void *pointer;
    long double floating;
};

// A conversion specification's text split at its size letters: [text, size) is the
// percent sign with flags, width and precision, [size, letter) the size.
struct SpecParts {
    const char *size;
    const char *letter;
};

SpecParts parts_of(const ConvSpec &node) {
    const size_t n = std::strlen(node.text);
    if (n < 2) return {node.text + n, node.text + n};
    const char *letter = node.text + n - 1;
    const char *size = letter;
    if (letter - node.text >= 4 && std::strncmp(letter - 3, "I64", 3) == 0)
        size = letter - 3;
    else
        while (size > node.text && std::strchr("hlLjzt", size[-1])) --size;
    return {size, letter};
}

bool size_is(const SpecParts &parts, const char *size) {
    const size_t n = std::strlen(size);
    return size_t(parts.letter - parts.size) == n && std::strncmp(parts.size, size, n) == 0;
}

bool is_integer_letter(char c) { return c && std::strchr("diouxX", c); }

ArgKind arg_kind_of(const ConvSpec &node) {
    const SpecParts parts = parts_of(node);
    switch (node.kind) {
    case CONVSPEC_STRING:
    case CONVSPEC_COUNT: return ArgKind::pointer;
    case CONVSPEC_DOUBLE: return size_is(parts, "L") ? ArgKind::long_floating : ArgKind::floating;
    case CONVSPEC_INT:
    case CONVSPEC_INT64: break;
    default: return ArgKind::unset;
    }
    if (!is_integer_letter(*parts.letter)) return ArgKind::int_;  // %c and %C take a promoted int
    if (size_is(parts, "l")) return ArgKind::long_;
    if (size_is(parts, "ll") || size_is(parts, "L") || size_is(parts, "I64") || size_is(parts, "j"))
        return ArgKind::long_long;
    if (size_is(parts, "z") || size_is(parts, "t")) return ArgKind::size;
    return ArgKind::int_;  // no size, "h" or "hh": promoted to int
}

// How many low bits of an integer argument its conversion prints.
int integer_bits(const ConvSpec &node, ArgKind kind) {
    const SpecParts parts = parts_of(node);
    switch (kind) {
    case ArgKind::long_: return int(sizeof(long) * 8);
    case ArgKind::long_long: return 64;
    case ArgKind::size: return int(sizeof(size_t) * 8);
    default: return size_is(parts, "hh") ? 8 : size_is(parts, "h") ? 16 : 32;
    }
}

void note_kind(Argument *args, int number, ArgKind kind) {
    if (number > 0 && args[number].kind == ArgKind::unset) args[number].kind = kind;
}

// Reads arguments 1..count, each as the type its conversion specification
// says the caller passed.
void read_arguments(Argument *args, int count, va_list list) {
    for (int n = 1; n <= count; ++n) {
        Argument &a = args[n];
        switch (a.kind) {
        case ArgKind::pointer:
            a.pointer = va_arg(list, const void *);
            a.integer = int64_t(reinterpret_cast<intptr_t>(a.pointer));
            break;
        case ArgKind::long_: a.integer = va_arg(list, long); break;
        case ArgKind::long_long: a.integer = va_arg(list, long long); break;
        case ArgKind::size: a.integer = int64_t(va_arg(list, size_t)); break;
        case ArgKind::floating: a.floating = va_arg(list, double); break;
        case ArgKind::long_floating: a.floating = va_arg(list, long double); break;
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

#if defined(_WIN32)
constexpr char kSize64[] = "I64";  // what msvcrt reads as a 64-bit integer
#else
constexpr char kSize64[] = "ll";
#endif

using ConversionText = char[sizeof(ConvSpec::text) + 4];

// The conversion with its size letters replaced by size ("" drops them).
void with_size(const ConvSpec &node, const char *size, ConversionText &out) {
    const SpecParts parts = parts_of(node);
    Q_snprintf(out, sizeof out, "%.*s%s%s", int(parts.size - node.text), node.text, size, parts.letter);
}

// A conversion specification cut to 63 characters has lost its conversion letter and
// cannot be formatted safely; it is passed on as written.
bool is_whole(const ConvSpec &node) {
    size_t n = std::strlen(node.text);
    return n > 0 && std::strchr("%CEGSXcdefginopsux", node.text[n - 1]) != nullptr;
}

// Every integer is printed as a 64-bit one, cut to the bits its own size
// names and extended by the signedness of its conversion letter.
void format_integer(const ConvSpec &node, const Argument *args, const Argument &value) {
    const int bits = integer_bits(node, value.kind);
    uint64_t number = uint64_t(value.integer);
    if (bits < 64) {
        const uint64_t mask = (uint64_t(1) << bits) - 1;
        const uint64_t sign = uint64_t(1) << (bits - 1);
        number &= mask;
        const char letter = *parts_of(node).letter;
        if ((letter == 'd' || letter == 'i') && (number & sign)) number |= ~mask;
    }
    ConversionText conversion;
    with_size(node, kSize64, conversion);
    format_with(message_buffer, conversion, node, args, static_cast<long long>(number));
}

void format_node(const ConvSpec &node, const Argument *args, const char *error_text) {
    if (!is_whole(node)) {
        Q_strlcpy(message_buffer, node.text, kMessageSize);
        return;
    }
    const Argument &value = args[node.arg > 0 ? node.arg : 0];
    ConversionText conversion;
    switch (node.kind) {
    case CONVSPEC_ERRNO:  // a narrow text, whatever size letter it was given
        with_size(node, "", conversion);
        format_with(message_buffer, conversion, node, args, error_text);
        break;
    case CONVSPEC_STRING: format_with(message_buffer, node.text, node, args, value.pointer); break;
    case CONVSPEC_DOUBLE:
#if defined(_WIN32)
        // msvcrt reads "%Lf" as a double
        with_size(node, "", conversion);
        format_with(message_buffer, conversion, node, args, double(value.floating));
#else
        if (value.kind == ArgKind::long_floating)
            format_with(message_buffer, node.text, node, args, value.floating);
        else
            format_with(message_buffer, node.text, node, args, double(value.floating));
#endif
        break;
    default:
        if (is_integer_letter(*parts_of(node).letter))
            format_integer(node, args, value);
        else
            format_with(message_buffer, node.text, node, args, int(value.integer));
        break;
    }
}

// The argument numbers a conversion specification reads.
bool reads_only_below(const ConvSpec &node, int limit) {
    for (int number : {node.arg, node.width_arg, node.precision_arg})
        if (number >= limit) return false;
    return true;
}

}  // namespace

bool tw::diag::system_log_is_open() { return log_is_open(); }

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
    int first_problem = -1;
    int readable = 0;  // arguments 1..readable-1 are read

    // Arguments are read only up to the first malformed conversion specification:
    // what it would have taken is unknown, so no later one may read either.
    if (tw::locale::scan_format(format, &specs, tw::locale::ScanOptions{true}, &first_problem) < 0) goto done;
    for (const ConvSpec *n = specs; n; n = n->next) {
        if (first_problem < 0 || n->offset < first_problem)
            for (int number : {n->arg, n->width_arg, n->precision_arg})
                if (number > highest) highest = number;
        ++node_count;
    }
    if (highest > kMaxArguments) goto done;

    args = static_cast<Argument *>(tw::mem_calloc(size_t(highest) + 1, sizeof(Argument)));
    strings = static_cast<char **>(tw::mem_calloc(size_t(node_count) + 1, sizeof(char *)));
    if (!args || !strings) goto done;
    for (const ConvSpec *n = specs; n && (first_problem < 0 || n->offset < first_problem); n = n->next) {
        note_kind(args, n->width_arg, ArgKind::int_);
        note_kind(args, n->precision_arg, ArgKind::int_);
        note_kind(args, n->arg, arg_kind_of(*n));
    }
    // An argument no conversion specification names has no known type: reading
    // stops before it.
    for (readable = 1; readable <= highest && args[readable].kind != ArgKind::unset; ++readable) {
    }
    {
        va_list list;
        va_start(list, format);
        read_arguments(args, readable - 1, list);
        va_end(list);
    }

    for (const ConvSpec *n = specs; n; n = n->next) {
        if (n->kind == CONVSPEC_PERCENT || n->kind == CONVSPEC_COUNT) continue;
        const bool has_values = (first_problem < 0 || n->offset < first_problem) && reads_only_below(*n, readable);
        if (has_values)
            format_node(*n, args, error_text);
        else
            Q_strlcpy(message_buffer, n->text, kMessageSize);
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
