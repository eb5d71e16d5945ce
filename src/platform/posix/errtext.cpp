/*
 * Error texts off Windows. There is no system table for NT error numbers and
 * no message library: the socket layer's texts stand in for the Windows
 * Sockets numbers it reports, and every other NT number takes the library's
 * fallback text.
 * errno texts come from the C library; its error count is the highest
 * number it describes.
 */
#include <cstring>

#include "platform/errtext.h"
#include "platform/socket.h"

namespace tw::os {
namespace {

int runtime_error_count() {
    static const int count = [] {
        int highest = 0;
        for (int e = 0; e < 4096; ++e)
            if (strerrordesc_np(e)) highest = e;
        return highest;
    }();
    return count;
}

}  // namespace

bool system_message_text(uint32_t code, char *buf, unsigned size) {
    return code <= 0x7FFFFFFF && socket_error_text(int(code), buf, size);
}

MessageLibrary load_message_library(const char *) { return nullptr; }

void unload_message_library(MessageLibrary) {}

bool message_library_text(MessageLibrary, uint32_t, char *, unsigned) { return false; }

const char *runtime_error_text(int error) {
    if (error < 0 || error > runtime_error_count()) return nullptr;
    return std::strerror(error);
}

}  // namespace tw::os
