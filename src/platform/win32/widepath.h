/*
 * UTF-8 path names in the wide form that the system's wide file calls take.
 * Every wide file call of the library gets its name from here, so that one
 * name means the same file in every facility.
 *
 * A path that is too long for the plain form is made absolute and normalised
 * by the system's own rules ("/" becomes "\\", "." and ".." are resolved,
 * trailing dots and blanks of a component dropped), then gets the "\\?\" or
 * "\\?\UNC\" prefix, under which the system takes the name literally and
 * lifts the MAX_PATH limit. Shorter paths are converted as they are, so
 * their meaning does not change.
 */
#ifndef TW_PLATFORM_WIN32_WIDEPATH_H
#define TW_PLATFORM_WIN32_WIDEPATH_H

namespace tw::os {

// The path as a new wide block (tw::mem_free it), or null with errno set:
// EINVAL for a null path, ENOMEM when memory runs out.
wchar_t *wide_path(const char *path);
// The same for a path that is wide already: a copy, in the long form when
// it needs it.
wchar_t *wide_path(const wchar_t *path);

}  // namespace tw::os

#endif
