// The DLL entry point: on process detach the library releases what it keeps
// for the life of the process.
#include <windows.h>

#include "twcommon/unixnt.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_DETACH) FreeNTCmdArgsVectors();
    return TRUE;
}
