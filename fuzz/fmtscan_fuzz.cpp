// Fuzzing of the printf-format scanner: whatever the format, the nodes lie
// inside it in increasing order, each starts at a percent sign, their texts
// fit 63 characters, argument numbers are positive where an argument is
// taken and -1 where none is, the problem count is never negative (memory
// never runs out here), and scanning without a list counts the same. The
// system log's mode (C99 sizes taken) gives the first malformed
// conversion's offset at a percent sign, and counts it as a problem.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "locale/fmtscan.h"
#include "twcommon/locale.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string format(reinterpret_cast<const char *>(data), size);  // cut at the first zero by the scanner
    const int length = int(std::strlen(format.c_str()));

    ConvSpec *list = nullptr;
    const int problems = scanFmtString(format.c_str(), &list);
    if (problems < 0) std::abort();

    int previous_end = 0;
    for (const ConvSpec *n = list; n; n = n->next) {
        if (n->offset < previous_end || n->length < 2 || n->offset + n->length > length) std::abort();
        if (format[size_t(n->offset)] != '%') std::abort();
        if (std::strlen(n->text) > 63) std::abort();
        const bool takes_value = n->kind != CONVSPEC_ERRNO && n->kind != CONVSPEC_PERCENT;
        if (takes_value ? n->arg <= 0 : n->arg != -1) std::abort();
        if (n->width_arg == 0 || n->width_arg < -1 || n->precision_arg == 0 || n->precision_arg < -1) std::abort();
        if (n->kind < CONVSPEC_UNKNOWN || n->kind > CONVSPEC_COUNT) std::abort();
        if (n->kind == CONVSPEC_COUNT ? n->text[0] != '\0' : n->text[0] != '%') std::abort();
        previous_end = n->offset + n->length;
    }
    freeConvSpecList(list);

    if (scanFmtString(format.c_str(), nullptr) != problems) std::abort();

    int first_problem = 0;
    const int c99_problems = tw::locale::scan_format(format.c_str(), nullptr, tw::locale::ScanOptions{true}, &first_problem);
    if (c99_problems < 0 || (first_problem >= 0 && c99_problems == 0)) std::abort();
    if (first_problem >= 0 && (first_problem >= length || format[size_t(first_problem)] != '%')) std::abort();
    return 0;
}
