/*
 * Runtime locales held apart from the process's locale. The catalogue and
 * the locale-name mapping ask the runtime about a locale without switching
 * any category of the process: other threads go on classifying, converting
 * and formatting under the locale the program chose.
 */
#ifndef TW_PLATFORM_LOCALE_H
#define TW_PLATFORM_LOCALE_H

#include <cstddef>

namespace tw::os {

// The character set of a runtime locale (its character-type category).
struct CharacterSet;

// The character set of the runtime locale name; null when the runtime does
// not know the name (or cannot make the locale).
CharacterSet *character_set_open(const char *locale_name);
void character_set_close(CharacterSet *set);

// The byte length of the character at text (available bytes, at least 1)
// in set; 1 for a single byte and for an invalid or cut sequence. A null set
// stands for the calling thread's current locale.
size_t character_length(const CharacterSet *set, const char *text, size_t available);

// Whether the runtime accepts name for its time category, as setting it
// would, without setting it.
bool accepts_time_locale(const char *name);

}  // namespace tw::os

#endif
