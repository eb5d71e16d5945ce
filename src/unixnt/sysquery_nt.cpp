/*
 * The small questions the product asks of NT: administrator membership,
 * an administration-console-only installation, the NT version and service
 * pack, the wizard dialog style, and whether named kernel objects need the
 * global name space. Each answers 0 when the system cannot be asked, except
 * IsWindowsNT, which then assumes NT.
 */
#include <windows.h>

#include <cstdio>
#include <cstring>

#include "base/alloc.h"
#include "twcommon/text.h"
#include "twcommon/unixnt.h"

namespace {

constexpr const char kProductKey[] = "SOFTWARE\\Quorvex\\Tallowind\\CurrentVersion";
constexpr const char kConsoleInstallType[] = "Tallowind Administration Console";
constexpr const char kWindowsKey[] = "System\\CurrentControlSet\\Control\\Windows";
// Common controls and shell 4.71, packed as GetDllVersion packs them.
constexpr unsigned long kWizardLibraryVersion = (4ul << 16) | 71;
constexpr int kGlobalNameLimit = 256;
constexpr int kRemoteSessionMetric = 0x1000;

// The version record as DllGetVersion fills it (20 bytes).
struct DllVersionInfo {
    DWORD size;
    DWORD major;
    DWORD minor;
    DWORD build;
    DWORD platform;
};
using DllGetVersionFunction = HRESULT(CALLBACK *)(DllVersionInfo *);

bool equal_ignoring_case(const char *a, const char *b) {
    for (; *a && *b; ++a, ++b) {
        char x = *a >= 'A' && *a <= 'Z' ? char(*a - 'A' + 'a') : *a;
        char y = *b >= 'A' && *b <= 'Z' ? char(*b - 'A' + 'a') : *b;
        if (x != y) return false;
    }
    return *a == *b;
}

// The service pack from the registry's CSDVersion word; from the version
// record's text only when the key cannot be opened.
int service_pack(const OSVERSIONINFOA &version) {
    HKEY key;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kWindowsKey, 0, KEY_READ, &key) == ERROR_SUCCESS) {
        DWORD value = 0, type = 0, size = sizeof value;
        LONG status = RegQueryValueExA(key, "CSDVersion", nullptr, &type, reinterpret_cast<BYTE *>(&value), &size);
        RegCloseKey(key);
        return status == ERROR_SUCCESS && type == REG_DWORD ? int((value >> 8) & 0xFF) : 0;
    }
    int pack = 0;
    if (std::strncmp(version.szCSDVersion, "Service Pack", 12) == 0 &&
        std::sscanf(version.szCSDVersion, "Service Pack %d", &pack) == 1)
        return pack;
    return 0;
}

}  // namespace

extern "C" {

int IsTokenAdmin(HANDLE token) {
    DWORD size = 0;
    if (GetTokenInformation(token, TokenGroups, nullptr, 0, &size)) return 1;  // answered without a buffer
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER || size == 0) return 0;
    auto groups = static_cast<TOKEN_GROUPS *>(tw::mem_alloc(size));
    if (!groups) return 0;
    SID_IDENTIFIER_AUTHORITY nt_authority = SECURITY_NT_AUTHORITY;
    PSID administrators = nullptr;
    int found = 0;
    if (GetTokenInformation(token, TokenGroups, groups, size, &size) &&
        AllocateAndInitializeSid(&nt_authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0,
                                 0, 0, 0, &administrators)) {
        // Attributes are not looked at: a deny-only membership counts too.
        for (DWORD i = 0; i < groups->GroupCount && !found; ++i)
            found = EqualSid(groups->Groups[i].Sid, administrators) ? 1 : 0;
        FreeSid(administrators);
    }
    tw::mem_free(groups);
    return found;
}

int IsAdmin(void) {
    HANDLE token;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_READ, &token)) return 0;
    int admin = IsTokenAdmin(token);
    CloseHandle(token);
    return admin;
}

int is_admin_console(void) {
    HKEY key;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kProductKey, 0, KEY_READ, &key) != ERROR_SUCCESS) return 0;
    char value[1025] = {};
    DWORD type = 0, size = 1024;
    LONG status = RegQueryValueExA(key, "Install Type", nullptr, &type, reinterpret_cast<BYTE *>(value), &size);
    RegCloseKey(key);
    return status == ERROR_SUCCESS && (type == REG_SZ || type == REG_EXPAND_SZ) &&
           equal_ignoring_case(value, kConsoleInstallType);
}

int GetNTVersion(int *major, int *minor, int *service_pack_out) {
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
    if (!GetVersionExA(&version) || version.dwPlatformId != VER_PLATFORM_WIN32_NT) return 0;
    if (major) *major = int(version.dwMajorVersion);
    if (minor) *minor = int(version.dwMinorVersion);
    if (service_pack_out) *service_pack_out = service_pack(version);
    return 1;
}

int IsWindowsNT(void) {
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
    if (!GetVersionExA(&version)) return 1;
    return version.dwPlatformId == VER_PLATFORM_WIN32_NT;
}

unsigned long GetDllVersion(const char *library) {
    HMODULE module = library ? LoadLibraryA(library) : nullptr;
    if (!module) return 0;
    unsigned long packed = 0;
    auto get_version =
        reinterpret_cast<DllGetVersionFunction>(reinterpret_cast<void *>(GetProcAddress(module, "DllGetVersion")));
    DllVersionInfo info{};
    info.size = sizeof info;
    if (get_version && SUCCEEDED(get_version(&info))) packed = ((info.major & 0xFFFF) << 16) | (info.minor & 0xFFFF);
    FreeLibrary(module);
    return packed;
}

int CanDoWizard97(void) {
    int major = 0, minor = 0, pack = 0;
    if (GetNTVersion(&major, &minor, &pack) && (major >= 5 || (major == 4 && (minor != 0 || pack >= 4)))) return 1;
    return GetDllVersion("comctl32.dll") >= kWizardLibraryVersion &&
           GetDllVersion("Shell32.dll") >= kWizardLibraryVersion;
}

int IsNewkey(char *name, int size) {
    OSVERSIONINFOEXA extended{};
    extended.dwOSVersionInfoSize = sizeof extended;
    OSVERSIONINFOA &version = reinterpret_cast<OSVERSIONINFOA &>(extended);
    if (!GetVersionExA(&version)) {
        version.dwOSVersionInfoSize = sizeof(OSVERSIONINFOA);
        if (!GetVersionExA(&version)) return 0;
    }
    if (version.dwPlatformId != VER_PLATFORM_WIN32_NT || version.dwMajorVersion < 4 ||
        GetSystemMetrics(kRemoteSessionMetric) != 1)
        return 0;
    if (name && size > 0) {
        char global[kGlobalNameLimit + 1];
        Q_snprintf(global, sizeof global, "Global\\%s", name);
        Q_strlcpy(name, global, unsigned(size));
    }
    return 1;
}

}  // extern "C"
