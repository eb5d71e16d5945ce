// The NT registry.
#include <windows.h>

#include "base/alloc.h"
#include "platform/registry.h"

namespace tw::os {
namespace {

HKEY root_key(RegistryRoot root) { return root == RegistryRoot::current_user ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE; }

}  // namespace

struct RegistryKey {
    HKEY handle;
};

RegistryKey *registry_open(RegistryRoot root, const char *subkey, uint32_t *error) {
    HKEY handle = nullptr;
    LONG status = RegOpenKeyExA(root_key(root), subkey, 0, KEY_READ, &handle);
    if (status != ERROR_SUCCESS) {
        if (error) *error = uint32_t(status);
        return nullptr;
    }
    auto *key = static_cast<RegistryKey *>(tw::mem_alloc(sizeof(RegistryKey)));
    if (key) {
        key->handle = handle;
    } else {
        RegCloseKey(handle);
        if (error) *error = kRegistryNoMemory;
    }
    return key;
}

void registry_close(RegistryKey *key) {
    if (!key) return;
    RegCloseKey(key->handle);
    tw::mem_free(key);
}

uint32_t registry_enum_value(RegistryKey *key, uint32_t index, char *name, uint32_t *name_size, uint32_t *type,
                             uint8_t *data, uint32_t *data_size) {
    DWORD name_chars = *name_size, data_bytes = data_size ? *data_size : 0, value_type = 0;
    LONG status = RegEnumValueA(key->handle, index, name, &name_chars, nullptr, &value_type, data,
                                data_size ? &data_bytes : nullptr);
    *name_size = name_chars;
    if (data_size) *data_size = data_bytes;
    if (type) *type = value_type;
    return uint32_t(status);
}

uint32_t registry_query_value(RegistryKey *key, const char *name, uint32_t *type, uint8_t *data,
                              uint32_t *data_size) {
    DWORD data_bytes = data_size ? *data_size : 0, value_type = 0;
    LONG status = RegQueryValueExA(key->handle, name, nullptr, &value_type, data, data_size ? &data_bytes : nullptr);
    if (data_size) *data_size = data_bytes;
    if (type) *type = value_type;
    return uint32_t(status);
}

uint32_t registry_write_value(RegistryRoot root, const char *subkey, const char *name, uint32_t type,
                              const void *data, uint32_t size) {
    HKEY handle = nullptr;
    LONG status = RegCreateKeyExA(root_key(root), subkey, 0, nullptr, 0, KEY_WRITE, nullptr, &handle, nullptr);
    if (status != ERROR_SUCCESS) return uint32_t(status);
    status = RegSetValueExA(handle, name, 0, type, static_cast<const BYTE *>(data), size);
    RegCloseKey(handle);
    return uint32_t(status);
}

uint32_t registry_delete_value(RegistryRoot root, const char *subkey, const char *name) {
    HKEY handle = nullptr;
    LONG status = RegOpenKeyExA(root_key(root), subkey, 0, KEY_SET_VALUE, &handle);
    if (status != ERROR_SUCCESS) return uint32_t(status);
    status = RegDeleteValueA(handle, name);
    RegCloseKey(handle);
    return uint32_t(status);
}

uint32_t registry_delete_key(RegistryRoot root, const char *subkey) {
    // With a subkey named, the key itself goes too.
    return uint32_t(RegDeleteTreeA(root_key(root), subkey));
}

}  // namespace tw::os
