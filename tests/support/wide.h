// Wide text in tests: tw_wchar_t is wchar_t on Windows and char16_t elsewhere.
#ifndef TWTEST_WIDE_H
#define TWTEST_WIDE_H

#include <string>

#include "twcommon/base.h"

#if defined(_WIN32)
#  define TW_WIDE(s) L##s
#else
#  define TW_WIDE(s) u##s
#endif

namespace twtest {

using WideString = std::basic_string<tw_wchar_t>;

// The same ASCII text in either character width.
template <typename Char>
std::basic_string<Char> text(const char *ascii) {
    std::basic_string<Char> out;
    for (; *ascii; ++ascii) out.push_back(Char(static_cast<unsigned char>(*ascii)));
    return out;
}

}  // namespace twtest

#endif
