// Test hook: lets the test suite write the registry the library reads (the
// real one on Windows, the in-memory stand-in elsewhere) through one call.
#include "platform/registry.h"
#include "twcommon/base.h"

// root: 0 HKEY_LOCAL_MACHINE, 1 HKEY_CURRENT_USER. With data, writes the
// value (creating the key); without data, deletes the named value, or with
// no name either, the whole key. Returns 0 or an NT error number.
extern "C" TW_API uint32_t twcommon_testhook_registry(int root, const char *subkey, const char *name, uint32_t type,
                                                      const void *data, uint32_t size) {
    auto where = root == 1 ? tw::os::RegistryRoot::current_user : tw::os::RegistryRoot::local_machine;
    if (data) return tw::os::registry_write_value(where, subkey, name, type, data, size);
    if (name) return tw::os::registry_delete_value(where, subkey, name);
    return tw::os::registry_delete_key(where, subkey);
}
