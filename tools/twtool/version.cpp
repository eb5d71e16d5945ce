// twtool version: the library's version, from the DLL's VERSIONINFO resource
// on Windows (what was really loaded), from the build elsewhere.
#include <cstdio>

#include "commands.h"
#include "twcommon/text.h"

#if defined(_WIN32)
#include <windows.h>

#include <vector>

namespace {

// The loaded twcommon.dll, found through one of its exports.
bool library_path(char *path, DWORD size) {
    HMODULE module = nullptr;
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            reinterpret_cast<LPCSTR>(&Q_strlcpy), &module))
        return false;
    DWORD n = GetModuleFileNameA(module, path, size);
    return n > 0 && n < size;
}

}  // namespace

static int version_command(const twtool::Args &) {
    char path[MAX_PATH];
    if (!library_path(path, sizeof path)) {
        std::fprintf(stderr, "twtool: cannot find the loaded twcommon.dll (error %lu)\n", GetLastError());
        return 1;
    }
    DWORD ignored = 0;
    DWORD size = GetFileVersionInfoSizeA(path, &ignored);
    std::vector<char> info(size);
    VS_FIXEDFILEINFO *fixed = nullptr;
    UINT fixed_size = 0;
    char *description = nullptr;
    UINT description_size = 0;
    if (size == 0 || !GetFileVersionInfoA(path, 0, size, info.data()) ||
        !VerQueryValueA(info.data(), "\\", reinterpret_cast<void **>(&fixed), &fixed_size) || !fixed) {
        std::fprintf(stderr, "twtool: %s has no version resource (error %lu)\n", path, GetLastError());
        return 1;
    }
    VerQueryValueA(info.data(), "\\StringFileInfo\\040904B0\\FileDescription",
                   reinterpret_cast<void **>(&description), &description_size);
    std::printf("%s %u.%u.%u.%u\n%s\n", description ? description : "twcommon",
                unsigned(HIWORD(fixed->dwFileVersionMS)), unsigned(LOWORD(fixed->dwFileVersionMS)),
                unsigned(HIWORD(fixed->dwFileVersionLS)), unsigned(LOWORD(fixed->dwFileVersionLS)), path);
    return 0;
}

#else

static int version_command(const twtool::Args &) {
    std::printf("Tallowind common support library %s\n", TW_VERSION);
    return 0;
}

#endif

TWTOOL_COMMAND("version", "version              the library's version", version_command);
