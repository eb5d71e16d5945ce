/*
 * The mapping of common locale names to runtime names, for callers inside the
 * library that keep the answer in their own storage.
 */
#ifndef TW_LOCALE_LOCALENAME_H
#define TW_LOCALE_LOCALENAME_H

#include <cstddef>

namespace tw::locale {

// common2reallocale with the caller's buffer: common itself when the runtime
// accepts it for the time category (or there is no locale definition file),
// buf holding the first accepted platform name mapped to it, else "C".
// Platform names that do not fit in size bytes are passed over. Nothing of the
// process's locale is changed.
const char *common_to_real_locale(const char *common, char *buf, size_t size);

}  // namespace tw::locale

#endif
