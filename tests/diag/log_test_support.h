// Shared by the debug-log and common-log tests: the library's log hooks, a
// stopped clock for one test, the ids stamped on lines, and reading files
// back as the library's own lines (Windows text mode writes "\r\n").
#ifndef TWTEST_LOG_TEST_SUPPORT_H
#define TWTEST_LOG_TEST_SUPPORT_H

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#if defined(_WIN32)
#  include <io.h>
#  include <process.h>
#  include <windows.h>
#else
#  include <sys/syscall.h>
#  include <unistd.h>
#endif

#include "twcommon/base.h"

extern "C" {
TW_API void twcommon_testhook_logclock(const int *fields);
TW_API void twcommon_testhook_zerowrites(int n);
}

namespace twtest {

// Stops the log clock at a local time while alive.
class StoppedLogClock {
public:
    StoppedLogClock(int year, int month, int day, int hour, int minute, int second, int millisecond) {
        set(year, month, day, hour, minute, second, millisecond);
    }
    ~StoppedLogClock() { twcommon_testhook_logclock(nullptr); }
    StoppedLogClock(const StoppedLogClock &) = delete;
    StoppedLogClock &operator=(const StoppedLogClock &) = delete;
    void set(int year, int month, int day, int hour, int minute, int second, int millisecond) {
        const int fields[] = {year, month, day, hour, minute, second, millisecond};
        twcommon_testhook_logclock(fields);
    }
};

inline std::string ids_stamp() {
#if defined(_WIN32)
    return "[" + std::to_string(_getpid()) + "." + std::to_string(GetCurrentThreadId()) + "] ";
#else
    return "[" + std::to_string(getpid()) + "." + std::to_string(syscall(SYS_gettid)) + "] ";
#endif
}

inline void close_descriptor(int fd) {
#if defined(_WIN32)
    _close(fd);
#else
    close(fd);
#endif
}

// The file's text with the carriage returns of text mode removed.
inline std::string read_log(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    std::string s = text.str(), out;
    for (char c : s)
        if (c != '\r') out += c;
    return out;
}

inline std::vector<std::string> names_in(const std::string &dir) {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(dir)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

inline void touch(const std::string &path, const std::string &content = "") {
    std::ofstream(path, std::ios::binary) << content;
}

}  // namespace twtest

#endif
