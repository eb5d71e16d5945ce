// The format scanner behind scanFmtString, with the options the system log
// needs to read a caller's arguments safely.
#ifndef TW_LOCALE_FMTSCAN_H
#define TW_LOCALE_FMTSCAN_H

#include "twcommon/locale.h"

namespace tw::locale {

struct ScanOptions {
    // Also take the C99 sizes "ll", "hh", "j", "z" and "t" (kept in the
    // node's text); scanFmtString counts them as malformed.
    bool c99_sizes = false;
};

// As scanFmtString; *first_problem (when given) is set to the offset of the
// first malformed conversion specification, or -1 when there is none.
int scan_format(const char *format, ConvSpec **list, ScanOptions options, int *first_problem);

}  // namespace tw::locale

#endif
