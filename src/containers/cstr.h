// Heap copies of whole strings for the string utilities (copy_text of
// base/alloc.h copies a part), and the one static
// empty string handed out where a result must not be NULL.
#ifndef TW_CONTAINERS_CSTR_H
#define TW_CONTAINERS_CSTR_H

#include <cstddef>

namespace tw {

// New copy of a string; null for null or when memory runs out.
char *copy_cstr(const char *string);

extern char empty_cstr[1];

}  // namespace tw

#endif
