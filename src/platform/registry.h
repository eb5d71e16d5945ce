/*
 * The registry: the NT registry on Windows; elsewhere an in-memory stand-in
 * that is empty ("key missing") unless the test suite fills it. Results are
 * NT error numbers on every platform, so callers report them alike.
 */
#ifndef TW_PLATFORM_REGISTRY_H
#define TW_PLATFORM_REGISTRY_H

#include <cstdint>

namespace tw::os {

enum class RegistryRoot { local_machine = 0, current_user = 1 };

// NT error numbers the callers distinguish.
constexpr uint32_t kRegistryOk = 0;
constexpr uint32_t kRegistryNotFound = 2;      // ERROR_FILE_NOT_FOUND
constexpr uint32_t kRegistryNoMemory = 8;      // ERROR_NOT_ENOUGH_MEMORY
constexpr uint32_t kRegistryOutOfMemory = 14;  // ERROR_OUTOFMEMORY
constexpr uint32_t kRegistryMoreData = 234;    // ERROR_MORE_DATA
constexpr uint32_t kRegistryNoMoreItems = 259; // ERROR_NO_MORE_ITEMS

// Value types.
constexpr uint32_t kRegistryString = 1;  // REG_SZ
constexpr uint32_t kRegistryDword = 4;   // REG_DWORD
// The in-memory stand-in only: a value that cannot be read. Its four data
// bytes are the NT error number that every read of it fails with, so that
// the test suite can show how readers handle a failed read.
constexpr uint32_t kRegistryUnreadable = 0xFFFFFFFF;

struct RegistryKey;  // opaque

// Opens an existing key for reading; null with *error set when it cannot.
RegistryKey *registry_open(RegistryRoot root, const char *subkey, uint32_t *error);
void registry_close(RegistryKey *key);

// The value at index, as RegEnumValueA gives it: *name_size is the name
// buffer's size in characters on entry and the name's length on success;
// data may be null to ask only for *data_size. type may be null.
uint32_t registry_enum_value(RegistryKey *key, uint32_t index, char *name, uint32_t *name_size, uint32_t *type,
                             uint8_t *data, uint32_t *data_size);
// A named value, as RegQueryValueExA gives it.
uint32_t registry_query_value(RegistryKey *key, const char *name, uint32_t *type, uint8_t *data,
                              uint32_t *data_size);

// Writing, for the test suite's fixture: creates the key as needed.
uint32_t registry_write_value(RegistryRoot root, const char *subkey, const char *name, uint32_t type,
                              const void *data, uint32_t size);
uint32_t registry_delete_value(RegistryRoot root, const char *subkey, const char *name);
// Deletes a key with its subkeys and values.
uint32_t registry_delete_key(RegistryRoot root, const char *subkey);

}  // namespace tw::os

#endif
