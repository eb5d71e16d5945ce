// Fuzzing of the path-name conversions: any path and any output size. Every
// output must be terminated within the size with nothing written beyond it,
// and NT drive and network paths must come back unchanged from the Unix
// form. Input: two bytes of size, then the path.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "twcommon/config.h"

namespace {

constexpr unsigned kMaxSize = 1200;
constexpr unsigned kGuard = 16;
constexpr char kGuardByte = '\x5A';

struct Output {
    char cells[kMaxSize + kGuard];
    Output() { std::memset(cells, kGuardByte, sizeof cells); }
    // The text written within size: terminated there, nothing after size.
    std::string checked(unsigned size, unsigned max_length) const {
        const void *end = std::memchr(cells, 0, size);
        if (!end) std::abort();
        size_t length = static_cast<const char *>(end) - cells;
        if (length > max_length) std::abort();
        for (unsigned i = size; i < sizeof cells; ++i)
            if (cells[i] != kGuardByte) std::abort();
        return std::string(cells, length);
    }
};

bool is_letter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// Paths whose Unix form converts back to themselves: a drive path "X:" or
// "X:\..." or a network path "\\...", with no "/" anywhere.
bool round_trips(const std::string &path) {
    if (path.find('/') != std::string::npos || path.size() > 1000) return false;
    bool drive = path.size() >= 2 && is_letter(path[0]) && path[1] == ':' && (path.size() == 2 || path[2] == '\\');
    bool network = path.size() >= 2 && path[0] == '\\' && path[1] == '\\';
    return drive || network;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2) return 0;
    unsigned out_size = 1 + (unsigned(data[0]) | unsigned(data[1]) << 8) % kMaxSize;
    std::string path(reinterpret_cast<const char *>(data + 2), size - 2);
    path = path.c_str();  // up to the first NUL

    Output unix_form, unix_form_mb, nt_form, other_form;
    name_dos2unix(unix_form.cells, path.c_str(), out_size);
    unix_form.checked(out_size, out_size - 1);
    name_dos2unixMB(unix_form_mb.cells, path.c_str(), out_size);
    unix_form_mb.checked(out_size, out_size >= 2 ? out_size - 2 : 0);
    name_unix2misc(nt_form.cells, path.c_str(), out_size, ":", "\\");
    nt_form.checked(out_size, out_size - 1);
    name_unix2misc(other_form.cells, path.c_str(), out_size, "=::", "<sep>");
    other_form.checked(out_size, out_size - 1);

    if (round_trips(path)) {
        Output there, back;
        name_dos2unix(there.cells, path.c_str(), kMaxSize);
        std::string unix_path = there.checked(kMaxSize, kMaxSize - 1);
        name_unix2misc(back.cells, unix_path.c_str(), kMaxSize, ":", "\\");
        if (back.checked(kMaxSize, kMaxSize - 1) != path) std::abort();
    }
    return 0;
}
