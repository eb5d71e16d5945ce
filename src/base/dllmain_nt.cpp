// The DLL entry point: on process detach the library releases what it keeps
// for the life of the process.
#include <windows.h>

#include "config/release.h"
#include "twcommon/unixnt.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_DETACH) {
        FreeNTCmdArgsVectors();
        // A null reserved pointer means the library is being unloaded
        // (FreeLibrary) and the process goes on: release the path table and
        // the module identity. When the process ends they are left to the
        // system, as their texts are promised for the life of the process.
        if (!reserved) {
            tw::config::release_paths_table();
            tw::config::release_module_identity();
        }
    }
    return TRUE;
}
