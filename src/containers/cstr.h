// Heap copies of byte strings for the string utilities, and the one static
// empty string handed out where a result must not be NULL.
#ifndef TW_CONTAINERS_CSTR_H
#define TW_CONTAINERS_CSTR_H

#include <cstddef>

namespace tw {

// New NUL-terminated copy of the first length bytes; null when memory runs out.
char *copy_bytes(const char *bytes, size_t length);
// New copy of a string; null for null or when memory runs out.
char *copy_cstr(const char *string);

extern char empty_cstr[1];

}  // namespace tw

#endif
