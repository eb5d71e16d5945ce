/*
 * Sources of error texts in the OS layer: the system message table for NT
 * error numbers, string resources of a message library, and the C runtime's
 * texts for errno values.
 */
#ifndef TW_PLATFORM_ERRTEXT_H
#define TW_PLATFORM_ERRTEXT_H

#include <cstdint>

namespace tw::os {

// Writes the system's text for an NT error number into buf (system messages
// only, default language, line breaks suppressed); false when the system has
// no text or it does not fit in size bytes.
bool system_message_text(uint32_t code, char *buf, unsigned size);

// A loaded message library (a resource-only library of string tables), or
// null when it cannot be loaded. Opaque.
using MessageLibrary = void *;
MessageLibrary load_message_library(const char *name);
void unload_message_library(MessageLibrary library);
// Writes the string resource numbered id into buf (cut to size); false when
// the library has no such string (always for ids above 65535).
bool message_library_text(MessageLibrary library, uint32_t id, char *buf, unsigned size);

// The C runtime's text for an errno value, or null when the value lies
// outside 0 to the runtime's error count (inclusive).
const char *runtime_error_text(int error);

}  // namespace tw::os

#endif
