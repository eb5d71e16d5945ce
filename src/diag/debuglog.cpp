/*
 * The debug log's line writers and the message front end.
 *
 * Each call formats one line into a stack buffer (cut to the buffer by
 * Q_snprintf) and writes it with logwithoutdate, which loops over partial
 * writes. Writes aimed at debugFD go to the logging callback instead when
 * one is installed; debuglog also moves debugFD to a new file when the day
 * changes (Auto_Recycle_Logs) or, with numbered files, when the line would
 * take the file past its size cap.
 */
#include <cerrno>
#include <cstring>

#include "base/alloc.h"
#include "diag/logio.h"
#include "diag/logstate.h"
#include "platform/clock.h"
#include "platform/lowio.h"
#include "twcommon/diag.h"
#include "twcommon/text.h"

extern "C" {
TW_API int debugFD = -1;
TW_API int Auto_Recycle_Logs = 0;
}

namespace tw::diag {
LogState log_state;
}

namespace {

using tw::diag::log_state;

constexpr int kDatedLineSize = 4096;  // debuglog and logwithdate
constexpr int kTimedLineSize = 2671;  // logwithtime
constexpr int kTimedIdLineSize = 2735;  // logwithtime_and_id
constexpr int kMessageSize = 1025;  // logmsg
constexpr size_t kLongMessage = 965;  // texts this long are cut with "..."
constexpr int kZeroWriteStatus = 27;

// The callback takes the place of the file for lines aimed at debugFD.
bool goes_to_callback(int fd) { return log_state.callback && fd == debugFD; }

int to_callback(int level, const char *text, const char *function) {
    return log_state.callback(log_state.callback_datum, level, text, function);
}

// The arguments, each followed by one blank, after head, in a new block
// (tw::mem_free it); null when memory runs out.
char *join_arguments(const char *head, int argc, char **argv) {
    size_t head_length = std::strlen(head);
    size_t size = head_length + 1;
    for (int i = 0; argv && i < argc; ++i) size += (argv[i] ? std::strlen(argv[i]) : 0) + 1;
    auto buffer = static_cast<char *>(tw::mem_alloc(size));
    if (!buffer) return nullptr;
    std::memcpy(buffer, head, head_length);
    char *end = buffer + head_length;
    for (int i = 0; argv && i < argc; ++i) {
        if (argv[i]) {
            size_t length = std::strlen(argv[i]);
            std::memcpy(end, argv[i], length);
            end += length;
        }
        *end++ = ' ';
    }
    *end = '\0';
    return buffer;
}

}  // namespace

extern "C" {

int logwithoutdate(int fd, const char *text) {
    if (fd < 0) return -1;
    if (!text) return 0;
    size_t left = std::strlen(text);
    while (left > 0) {
        unsigned chunk = left > 0x40000000u ? 0x40000000u : unsigned(left);
        int written = tw::diag::write_log_bytes(fd, text, chunk);
        if (written < 0) return errno;
        if (written == 0) {
            // A write that moves nothing is retried, but only a few times
            // in the whole life of the process.
            if (log_state.zero_write_budget < 1) return kZeroWriteStatus;
            --log_state.zero_write_budget;
            tw::os::sleep_milliseconds(1000);
            continue;
        }
        text += written;
        left -= size_t(written);
    }
    return 0;
}

int debuglog(int fd, const char *text) {
    if (goes_to_callback(fd)) return to_callback(1, text, "debuglog");
    if (fd < 0) return -1;
    tw::os::LocalClock now;
    tw::diag::read_log_clock(&now);
    char line[kDatedLineSize];
    Q_snprintf(line, sizeof line, "%02d:%02d:%02d.%03d [%d.%d] %-.4064s\n", now.hour, now.minute, now.second,
               now.millisecond, tw::os::current_process_id(), tw::os::current_thread_id(), text ? text : " ");
    if (fd == debugFD) {
        int status = 0;
        if (!tw::diag::keep_debug_log_current(now.day, std::strlen(line), &status)) return status;
        fd = debugFD;
    }
    return logwithoutdate(fd, line);
}

int logwithdate(int fd, const char *text) {
    if (goes_to_callback(fd)) return to_callback(1, text, "logwithdate");
    if (fd < 0) return -1;
    tw::os::LocalClock now;
    tw::diag::read_log_clock(&now);
    char line[kDatedLineSize];
    Q_snprintf(line, sizeof line, "%04d/%02d/%02d %02d:%02d:%02d.%03d [%d.%d] %-.4053s\n", now.year, now.month,
               now.day, now.hour, now.minute, now.second, now.millisecond, tw::os::current_process_id(),
               tw::os::current_thread_id(), text ? text : "");
    return logwithoutdate(fd, line);
}

int logwithtime(int fd, const char *text) {
    if (goes_to_callback(fd)) return to_callback(1, text, "logwithtime");
    if (fd < 0) return -1;
    tw::os::LocalClock now;
    tw::diag::read_log_clock(&now);
    char line[kTimedLineSize];
    Q_snprintf(line, sizeof line, "%-.02d:%-.02d:%-.02d %-.2660s\n", now.hour, now.minute, now.second,
               text ? text : "");
    return logwithoutdate(fd, line);
}

int logwithtime_and_id(int fd, const char *id, const char *text) {
    if (fd < 0) return -1;
    tw::os::LocalClock now;
    tw::diag::read_log_clock(&now);
    char line[kTimedIdLineSize];
    Q_snprintf(line, sizeof line, "%-.02d:%-.02d:%-.02d (%s) %-.2660s\n", now.hour, now.minute, now.second,
               id ? id : "", text ? text : "");
    return logwithoutdate(fd, line);
}

int logmsg(int level, const char *text, const char *function) {
    const char *shown_text = text ? text : "?";
    const char *shown_function = function ? function : "?";
    char line[kMessageSize];
    if (std::strlen(shown_text) >= kLongMessage)
        Q_snprintf(line, sizeof line, "<%d> %.31s: %.965s...", level, shown_function, shown_text);
    else
        Q_snprintf(line, sizeof line, "<%d> %s: %s", level, shown_function, shown_text);
    if (log_state.callback) return to_callback(level, text, function);
    if (debugFD == -1) return -1;
    return debuglog(debugFD, line);
}

int logparams(int argc, char **argv) {
    char *line = join_arguments("", argc, argv);
    if (!line) return -1;
    logmsg(2, line, "logparams");
    tw::mem_free(line);
    return 0;
}

int logparamswithdate(int argc, char **argv) {
    char *line = join_arguments("logparams: ", argc, argv);
    if (!line) return -1;
    logwithdate(debugFD, line);
    tw::mem_free(line);
    return 0;
}

int log_set_callback(log_callback_fn fn, void *datum, log_callback_record *saved) {
    if (saved) *saved = {log_state.callback, log_state.callback_datum};
    logmsg(2, "switching to a new logging callback", "log_set_callback");
    log_state.callback = fn;
    log_state.callback_datum = datum;
    return logmsg(2, "switched to a new logging callback", "log_set_callback");
}

}  // extern "C"
