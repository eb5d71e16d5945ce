/*
 * The debug-log messages of the directory listings, all in one place.
 */
#include "containers/dirlist_trace.h"

#include "twcommon/diag.h"
#include "twcommon/text.h"

namespace tw {
namespace {

// Failures are errors in the trace; a null array is only worth a detail.
constexpr int kFailureLevel = 1;
constexpr int kNullArrayLevel = 8;

}  // namespace

void dirlist_trace_failure(DirlistFailure failure, int error) {
    char text[256];
    const char *error_text = sysErrorString(error);
    switch (failure) {
    case DirlistFailure::open:
        Q_snprintf(text, sizeof text, "opendir() failed: %s (%d)", error_text, error);
        break;
    case DirlistFailure::create_entry:
        Q_snprintf(text, sizeof text, "create_dlist_entry() failed: %s (%d)", error_text, error);
        break;
    case DirlistFailure::contents:
        Q_snprintf(text, sizeof text, "malloc() contents failed: %s (%d)", error_text, error);
        break;
    }
    logmsg(kFailureLevel, text, "get_dir_list");
}

void dirlist_trace_null_array() { logmsg(kNullArrayLevel, "called to free NULL array", "free_char_array"); }

}  // namespace tw
