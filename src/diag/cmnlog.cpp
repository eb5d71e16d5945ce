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
    char **severity = argValuesGET(values, "-LOGSEVERITY");
    if (severity && severity[0]) cmnlogSEVERITY = int(std::strtol(severity[0], nullptr, 10)) & kSeverityBits;
    cstraFREE(severity);
}

}  // extern "C"
