#include "platform/win32/widepath.h"

#include <windows.h>

#include <cerrno>
#include <cstring>
#include <cwchar>

#include "base/alloc.h"
#include "platform/platform.h"

namespace tw::os {
namespace {

// From this length on the plain form may fail: directory creation keeps
// room for an 8.3 name below MAX_PATH.
constexpr size_t kLongPathFrom = MAX_PATH - 12;

const wchar_t kDevicePrefix[] = L"\\\\?\\";   // \\?\C:\...
const wchar_t kUncPrefix[] = L"\\\\?\\UNC";   // \\?\UNC\server\share (the name keeps one "\")
constexpr size_t kPrefixRoom = sizeof kUncPrefix / sizeof(wchar_t);  // more than either needs

bool has_device_prefix(const wchar_t *path) {
    return (path[0] == L'\\' || path[0] == L'/') && (path[1] == L'\\' || path[1] == L'/') &&
           (path[2] == L'?' || path[2] == L'.') && (path[3] == L'\\' || path[3] == L'/');
}

// plain (owned) in the long form when it needs one; plain itself otherwise
// or when the system cannot make it absolute (the call then reports why).
wchar_t *long_form(wchar_t *plain) {
    if (std::wcslen(plain) < kLongPathFrom || has_device_prefix(plain)) return plain;
    DWORD needed = GetFullPathNameW(plain, 0, nullptr, nullptr);
    if (needed == 0) return plain;
    auto full = static_cast<wchar_t *>(mem_alloc((size_t(needed) + kPrefixRoom) * sizeof(wchar_t)));
    if (!full) {
        mem_free(plain);
        errno = ENOMEM;
        return nullptr;
    }
    wchar_t *absolute = full + kPrefixRoom;
    DWORD length = GetFullPathNameW(plain, needed, absolute, nullptr);
    wchar_t *start = nullptr;
    if (length > 0 && length < needed) {
        if (absolute[0] == L'\\' && absolute[1] == L'\\') {
            if (!has_device_prefix(absolute)) {  // \\server\share -> \\?\UNC\server\share
                start = absolute + 1 - (kPrefixRoom - 1);
                std::wmemcpy(start, kUncPrefix, kPrefixRoom - 1);
            }
        } else if (absolute[0] != L'\0' && absolute[1] == L':') {  // C:\dir -> \\?\C:\dir
            start = absolute - (sizeof kDevicePrefix / sizeof(wchar_t) - 1);
            std::wmemcpy(start, kDevicePrefix, sizeof kDevicePrefix / sizeof(wchar_t) - 1);
        }
    }
    if (!start) {
        mem_free(full);
        return plain;
    }
    std::wmemmove(full, start, std::wcslen(start) + 1);
    mem_free(plain);
    return full;
}

}  // namespace

wchar_t *wide_path(const char *path) {
    if (!path) {
        errno = EINVAL;
        return nullptr;
    }
    int units = multibyte_to_wide(CodePage::utf8, path, nullptr, 0);
    auto wide = units > 0 ? static_cast<wchar_t *>(mem_alloc(size_t(units) * sizeof(wchar_t))) : nullptr;
    if (!wide || multibyte_to_wide(CodePage::utf8, path, wide, units) == 0) {
        mem_free(wide);
        errno = wide || units <= 0 ? EINVAL : ENOMEM;
        return nullptr;
    }
    return long_form(wide);
}

wchar_t *wide_path(const wchar_t *path) {
    if (!path) {
        errno = EINVAL;
        return nullptr;
    }
    size_t size = (std::wcslen(path) + 1) * sizeof(wchar_t);
    auto copy = static_cast<wchar_t *>(mem_alloc(size));
    if (!copy) {
        errno = ENOMEM;
        return nullptr;
    }
    std::memcpy(copy, path, size);
    return long_form(copy);
}

}  // namespace tw::os
