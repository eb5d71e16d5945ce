/*
 * The common log: a severity mask in front of the debug log.
 *
 * Messages carry one severity bit as their level; those whose bit is off in
 * cmnlogSEVERITY, or that come while no log is open (debugFD -1), are
 * dropped before anything is formatted. The file is the debug log's, opened
 * in dir/name with a move to a new file at each change of day.
 */
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "base/alloc.h"
#include "diag/logstate.h"
#include "platform/lowio.h"
#include "twcommon/config.h"
#include "twcommon/containers.h"
#include "twcommon/diag.h"
#include "twcommon/text.h"

extern "C" {
TW_API int cmnlogSEVERITY = 63;
}

namespace {

constexpr int kSeverityBits = 63;
constexpr int kParamsSeverity = 4;

char log_path[tw::diag::kLogPathSize];

// Whether element is the option wanted: options begin with '-', are at
// most 32 characters long and compare without regard to case.
bool is_option(const char *element, const char *wanted) {
    if (element[0] != '-' || std::strlen(element) > 32) return false;
    for (; *element && *wanted; ++element, ++wanted)
        if (std::toupper(static_cast<unsigned char>(*element)) != *wanted) return false;
    return *element == *wanted;
}

// The first value after the first occurrence of option in an argument
// vector: the next element unless it is another option; null when none.
const char *first_option_value(char **values, const char *option) {
    for (char **p = values; *p; ++p)
        if (is_option(*p, option)) return p[1] && p[1][0] != '-' ? p[1] : nullptr;
    return nullptr;
}

bool is_enabled(int severity) { return debugFD != -1 && (cmnlogSEVERITY & severity) != 0; }

}  // namespace

extern "C" {

int cmnlogOPEN(const char *dir, const char *name, int mode) {
    Auto_Recycle_Logs = 1;
    Q_strlcpy(log_path, dir ? dir : "", sizeof log_path);
    Q_strlcat(log_path, getOrrickString("_ps"), sizeof log_path);
    Q_strlcat(log_path, name ? name : "", sizeof log_path);
    int err = 0;
    debugFD = open_log(log_path, mode, &err);
    return err;
}

int cmnlogCLOSE(void) {
    if (debugFD != -1) {
        tw::os::close_descriptor(debugFD);
        debugFD = -1;
    }
    return 0;
}

int cmnlogMSG(int severity, const char *text, const char *function) {
    if (!is_enabled(severity)) return -1;
    return logmsg(severity, text, function);
}

int cmnlogPARAMS(char **strings) {
    char *joined = cstraTOcstr(strings, " ");
    if (!joined) return -1;
    int result = is_enabled(kParamsSeverity) ? logmsg(kParamsSeverity, joined, "cmnlogPARAMS") : -1;
    tw::mem_free(joined);
    return result;
}

int cmnlogSeveritySET(int mask) { return cmnlogSEVERITY = mask & kSeverityBits; }

void cmnlogARGS(char **values) {
    if (!values) return;
    if (const char *value = first_option_value(values, "-LOGSEVERITY"))
        cmnlogSEVERITY = int(std::strtol(value, nullptr, 10)) & kSeverityBits;
}

}  // extern "C"
