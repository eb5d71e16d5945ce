// The built-in rows of the named path table (paths_rows.cpp holds the data).
#ifndef TW_CONFIG_PATHS_ROWS_H
#define TW_CONFIG_PATHS_ROWS_H

#include <cstddef>

namespace tw::paths {

struct BuiltinRow {
    const char *name;           // two or more of letters, digits and '_'
    const char *template_text;  // never empty
    const char *unix_path;      // the Unix command this row stands for, or null
};

extern const BuiltinRow kBuiltinRows[];
extern const size_t kBuiltinRowCount;

}  // namespace tw::paths

#endif
