/*
 * The debug log's files: opening today's file in a log directory, numbered
 * files with size and count caps when recycling is on, moving debugFD on to
 * a new file, and the ordered listing of a directory's log files.
 *
 * Files are MMDDYY.log, or MMDDYY_NNNNN.log when recycling (the first of a
 * day numbered 1); "log.MMDDYY" is an older form that is listed and cleaned
 * up but never created. The directory of the first successful open is kept
 * for reopening until close_logging_file forgets it.
 */
#include <cerrno>
#include <cstring>

#include "diag/logio.h"
#include "diag/lognames.h"
#include "diag/logstate.h"
#include "platform/filenames.h"
#include "platform/lowio.h"
#include "twcommon/config.h"
#include "twcommon/containers.h"
#include "twcommon/diag.h"
#include "twcommon/text.h"

namespace {

using tw::diag::kLogPathSize;
using tw::diag::log_state;

constexpr int kFilePathSize = kLogPathSize + 32;  // a directory and a file name

const char *separator() { return getOrrickString("_ps"); }

// Years 2000 on print as 00, 01, ...
int two_digit_year(int year) {
    int years = year - 1900;
    return years >= 100 ? years - 100 : years;
}

// Picks the numbered file to open today (date is MMDDYY) in path: the
// newest one of today, or the one after it when that is the file just
// closed for size. False with *err set when dir cannot be listed.
bool choose_numbered_file(const char *dir, const char *date, int day, char (&path)[kFilePathSize], int *err) {
    int found_sequence = 1;
    Q_snprintf(path, sizeof path, "%s%s%s_%05d.log", dir, separator(), date, 1);
    unsigned count = 0;
    char **names = rl_get_logfile_list(dir, date, &count, err);
    if (!names && *err != 0) return false;
    for (unsigned i = count; i-- > 0;) {
        int fields[2];
        if (tw::diag::scan_log_name(names[i], "%6d_%5d.log", nullptr, fields) == 2) {
            found_sequence = fields[1];
            Q_snprintf(path, sizeof path, "%s%s%s", dir, separator(), names[i]);
            break;
        }
    }
    rl_free_logfile_list(names);

    if (day != log_state.open_day) log_state.sequence = -1;
    if (log_state.directory[0] != '\0' && found_sequence == log_state.sequence && log_state.sequence >= 1) {
        ++log_state.sequence;
        Q_snprintf(path, sizeof path, "%s%s%s_%05d.log", dir, separator(), date, log_state.sequence);
    } else {
        log_state.sequence = found_sequence;
    }
    return true;
}

// Deletes the oldest log files of the log directory beyond the cap.
void remove_surplus_files() {
    unsigned count = 0;
    int err = 0;
    char **names = rl_get_logfile_list(log_state.directory, nullptr, &count, &err);
    if (!names) return;
    for (unsigned i = 0; count >= log_state.max_files && i < count - log_state.max_files; ++i) {
        char path[kFilePathSize];
        Q_snprintf(path, sizeof path, "%s%s%s", log_state.directory, separator(), names[i]);
        tw::os::remove_file(path);  // failures are ignored
    }
    rl_free_logfile_list(names);
}

bool reopen_debug_log(int *status) {
    tw::os::close_descriptor(debugFD);
    debugFD = -1;
    int err = 0;
    debugFD = open_log(log_state.directory, log_state.open_mode, &err);
    *status = err;
    return debugFD >= 0;
}

}  // namespace

namespace tw::diag {

bool keep_debug_log_current(int day, size_t line_length, int *status) {
    if (day != log_state.open_day && Auto_Recycle_Logs == 1) return reopen_debug_log(status);
    if (!log_state.recycle) return true;
    long long size = os::seek_to_end(debugFD);
    if (size >= 1 && size + (long long)line_length > (long long)log_state.max_kb * 1024)
        return reopen_debug_log(status);
    return true;
}

}  // namespace tw::diag

extern "C" {

int open_log(const char *dir, int mode, int *err) {
    int ignored = 0;
    if (!err) err = &ignored;
    *err = 0;
    if (!dir) {
        *err = EINVAL;
        return -1;
    }
    if (!tw::os::path_exists(dir) && mkdirpath(dir, 0755, err) != 0) return -1;

    tw::os::LocalClock now;
    tw::diag::read_log_clock(&now);
    char date[7];
    Q_snprintf(date, sizeof date, "%02d%02d%02d", now.month, now.day, two_digit_year(now.year));
    char path[kFilePathSize];
    if (!log_state.recycle)
        Q_snprintf(path, sizeof path, "%s%s%s.log", dir, separator(), date);
    else if (!choose_numbered_file(dir, date, now.day, path, err))
        return -1;

    int fd = tw::os::open_append_file(path, mode);
    if (fd >= 0) {
        if (log_state.directory[0] == '\0') Q_strlcpy(log_state.directory, dir, sizeof log_state.directory);
        log_state.open_mode = mode;
        log_state.open_day = now.day;
    } else {
        *err = errno;
    }
    if (log_state.recycle) remove_surplus_files();
    return fd;
}

int open_debug_file(const char *program, int mode, int *err) {
    char dir[kLogPathSize];
    Q_snprintf(dir, sizeof dir, "%s%s%s", getOrrickString("BP_LOGS"), separator(), program ? program : "");
    log_state.sequence = -1;
    return open_log(dir, mode, err);
}

int open_debug_file2(const char *program, int mode, int recycle, unsigned max_files, unsigned max_kb, int *err) {
    log_state.recycle = recycle;
    log_state.max_files = max_files;
    log_state.max_kb = max_kb;
    return open_debug_file(program, mode, err);
}

FILE *open_logging_file(const char *dir) {
    Auto_Recycle_Logs = 1;
    if (!dir || !tw::os::path_exists(dir)) return nullptr;  // never created here
    int err = 0;
    int fd = open_log(dir, 0755, &err);
    if (fd == -1) return nullptr;
    debugFD = fd;
    return tw::os::stream_on_descriptor(fd, "a");
}

int close_logging_file(FILE **stream) {
    if (!stream || !*stream) return 0;
    if (tw::os::descriptor_of_stream(*stream) == debugFD) {
        debugFD = -1;
        log_state.directory[0] = '\0';
    }
    int result = std::fclose(*stream);
    *stream = nullptr;
    return result;
}

char **rl_get_logfile_list(const char *dir, const char *prefix, unsigned *count, int *err) {
    unsigned ignored_count = 0;
    int ignored_err = 0;
    if (!count) count = &ignored_count;
    if (!err) err = &ignored_err;
    *count = 0;
    *err = 0;
    if (!dir) {
        *err = EINVAL;
        return nullptr;
    }
    char **names = get_dir_list(dir, err);
    if (!names) return nullptr;
    size_t total = 0;
    while (names[total]) ++total;
    size_t matched = tw::diag::partition_log_names(names, total, prefix);
    if (matched == 0) {
        free_dir_list(names);
        return nullptr;
    }
    tw::diag::sort_log_names(names, matched);
    *count = unsigned(matched);
    return names;
}

int rl_free_logfile_list(char **list) { return list ? free_dir_list(list) : 0; }

}  // extern "C"
