// The NT system queries. What they answer depends on the system, so these
// check plausibility and agreement with the system's own answers; the
// comments say what wine 8 answers.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>
#include <string>

#include "support/registry_fixture.h"
#include "twcommon/unixnt.h"

TEST(SysQuery, VersionAgreesWithTheSystem) {
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
    ASSERT_TRUE(GetVersionExA(&version));
    int major = -1, minor = -1, pack = -1;
    EXPECT_EQ(GetNTVersion(&major, &minor, &pack), 1);
    EXPECT_EQ(major, int(version.dwMajorVersion));
    EXPECT_EQ(minor, int(version.dwMinorVersion));
    EXPECT_GE(pack, 0);
    EXPECT_LE(pack, 255);
    EXPECT_EQ(GetNTVersion(nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(IsWindowsNT(), 1);
    // Every NT that runs this program is 5 or later (wine: 6.2, no manifest).
    EXPECT_GE(major, 5);
    EXPECT_EQ(CanDoWizard97(), 1);
}

TEST(SysQuery, DllVersionIsPackedMajorMinor) {
    // The common controls report 4.71 or later on every NT 5+ (wine: 5.80 or 6.0).
    unsigned long controls = GetDllVersion("comctl32.dll");
    EXPECT_GE(controls, (4ul << 16) | 71) << std::hex << controls;
    EXPECT_LT(controls >> 16, 100ul);
    EXPECT_EQ(GetDllVersion("kernel32.dll"), 0ul);  // no DllGetVersion
    EXPECT_EQ(GetDllVersion("no-such-library-twtest.dll"), 0ul);
    EXPECT_EQ(GetDllVersion(nullptr), 0ul);
}

TEST(SysQuery, AdministratorMembership) {
    // An enabled membership, as the system checks it, must be found; ours
    // also counts deny-only memberships, so it may say 1 where this says 0.
    SID_IDENTIFIER_AUTHORITY nt_authority = SECURITY_NT_AUTHORITY;
    PSID administrators = nullptr;
    ASSERT_TRUE(AllocateAndInitializeSid(&nt_authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 0,
                                         0, 0, 0, 0, 0, &administrators));
    BOOL member = FALSE;
    ASSERT_TRUE(CheckTokenMembership(nullptr, administrators, &member));
    FreeSid(administrators);
    int admin = IsAdmin();
    if (member) {
        EXPECT_EQ(admin, 1);  // wine: the user is an administrator
    }

    HANDLE token;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_READ, &token));
    EXPECT_EQ(IsTokenAdmin(token), admin);
    CloseHandle(token);
    EXPECT_EQ(IsTokenAdmin(nullptr), 0);
}

TEST(SysQuery, AdministrationConsoleFromInstallType) {
    twtest::RegistryFixture registry;
    registry.set_string("", "Install Type", "tallowind ADMINISTRATION console");
    EXPECT_EQ(is_admin_console(), 1);
    registry.set_string("", "Install Type", "Tallowind Server");
    EXPECT_EQ(is_admin_console(), 0);
    registry.set_string("", "Install Type", "Tallowind Administration Console ");
    EXPECT_EQ(is_admin_console(), 0);
    registry.remove_value("", "Install Type");
    EXPECT_EQ(is_admin_console(), 0);
}

TEST(SysQuery, NewkeyOnlyInARemoteSession) {
    char name[64] = "TwQueue";
    int remote = GetSystemMetrics(SM_REMOTESESSION);  // wine: 0
    EXPECT_EQ(IsNewkey(name, sizeof name), remote ? 1 : 0);
    EXPECT_STREQ(name, remote ? "Global\\TwQueue" : "TwQueue");
    EXPECT_EQ(IsNewkey(nullptr, 0), remote ? 1 : 0);
}
