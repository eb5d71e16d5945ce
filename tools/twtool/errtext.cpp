// twtool errtext: the library's text for an NT error number (decimal or 0x
// hex, negative numbers taken as their 32-bit pattern), or with -e for an
// errno value.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "commands.h"
#include "twcommon/diag.h"

namespace {

bool parse_number(const std::string &text, long long low, long long high, long long *value) {
    if (text.empty()) return false;
    char *end = nullptr;
    errno = 0;
    long long number = std::strtoll(text.c_str(), &end, 0);
    if (errno != 0 || *end != '\0' || number < low || number > high) return false;
    *value = number;
    return true;
}

int errtext_command(const twtool::Args &args) {
    long long number = 0;
    if (args.size() == 2 && args[0] == "-e") {
        if (!parse_number(args[1], INT32_MIN, INT32_MAX, &number)) return twtool::usage_error("errtext");
        std::printf("%s\n", sysErrorString(int(number)));
        return 0;
    }
    if (args.size() != 1 || !parse_number(args[0], INT32_MIN, UINT32_MAX, &number))
        return twtool::usage_error("errtext");
    std::printf("%s\n", GetErrorMessage(uint32_t(number)));
    return 0;
}

}  // namespace

TWTOOL_COMMAND("errtext", "errtext NUMBER | -e ERRNO   the text of an NT error number or an errno value",
               errtext_command);
