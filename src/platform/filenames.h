/*
 * File-name services of the OS layer used by the name conversions: the
 * code page's lead bytes, chmod, an open test, a listing of the names in a
 * directory and file removal. Paths are UTF-8; on Windows they become wide
 * just before each call.
 */
#ifndef TW_PLATFORM_FILENAMES_H
#define TW_PLATFORM_FILENAMES_H

namespace tw::os {

// The separator that joins a directory and a name.
extern const char path_separator[];

// True when c begins a two-byte character of the ANSI code page (never off
// Windows, where Windows-1252 stands in for it).
bool is_lead_byte(unsigned char c);

// The C runtime's chmod with the mode as given, flag bits included (only
// the permission bits count off Windows); 0 or -1 with errno set.
int runtime_chmod(const char *path, int mode);

// Whether path opens for reading and writing in text mode (permissions 0660
// when create makes it); the file is closed again at once.
bool opens_for_read_write(const char *path, bool create);

// Calls visit with each name in directory dir ("." and ".." left out);
// false when dir cannot be listed.
bool list_directory_names(const char *dir, void (*visit)(const char *name, void *context), void *context);

// Deletes a file; false when it could not be deleted.
bool remove_file(const char *path);

}  // namespace tw::os

#endif
