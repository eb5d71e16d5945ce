/*
 * Error texts on Windows: FormatMessage over the system table, LoadString
 * from the message library, and msvcrt's own errno texts.
 */
#include <windows.h>

#include <cstdlib>
#include <cstring>

#include "platform/errtext.h"

namespace tw::os {

bool system_message_text(uint32_t code, char *buf, unsigned size) {
    // FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_MAX_WIDTH_MASK. Inserts are
    // not ignored: a message that needs arguments fails and so falls back.
    constexpr DWORD kFlags = 0x10FF;
    if (!buf || size == 0) return false;
    return FormatMessageA(kFlags, nullptr, code, 0, buf, size, nullptr) != 0;
}

MessageLibrary load_message_library(const char *name) {
    // A resource-only library without an entry point: loading runs no code.
    return LoadLibraryA(name);
}

void unload_message_library(MessageLibrary library) {
    if (library) FreeLibrary(static_cast<HMODULE>(library));
}

bool message_library_text(MessageLibrary library, uint32_t id, char *buf, unsigned size) {
    // String resources have 16-bit identifiers and LoadString looks only at
    // the low 16 bits: a larger number would take another number's text.
    if (!library || !buf || size == 0 || size > 0x7FFFFFFF || id > 0xFFFF) return false;
    return LoadStringA(static_cast<HMODULE>(library), UINT(id), buf, int(size)) > 0;
}

const char *runtime_error_text(int error) {
    if (error < 0 || error > _sys_nerr) return nullptr;
    return std::strerror(error);
}

}  // namespace tw::os
