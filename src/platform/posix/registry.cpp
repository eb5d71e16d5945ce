/*
 * The registry off Windows: an in-memory stand-in, empty unless the test
 * suite writes to it, so that every lookup answers "key missing" in normal
 * use. Key and value names compare without regard to case, as on NT; values
 * enumerate in the order they were first written.
 */
#include <strings.h>

#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "base/alloc.h"
#include "platform/registry.h"
#include "twcommon/text.h"

namespace tw::os {
namespace {

struct NoCase {
    bool operator()(const std::string &a, const std::string &b) const {
        return strcasecmp(a.c_str(), b.c_str()) < 0;
    }
};

struct Value {
    std::string name;
    uint32_t type;
    std::vector<uint8_t> data;
};

// A key's values in the order first written, with an index by name so that
// writing many values stays linear.
struct Values {
    std::vector<Value> list;
    std::map<std::string, size_t, NoCase> index;
};

struct Store {
    std::mutex lock;
    std::map<std::string, Values, NoCase> keys;  // "root\\subkey" -> values
};

Store &store() {
    static Store *s = new Store;  // lives to the end of the process
    return *s;
}

std::string key_path(RegistryRoot root, const char *subkey) {
    return std::string(root == RegistryRoot::current_user ? "HKCU\\" : "HKLM\\") + (subkey ? subkey : "");
}

Value *find_value(Values &values, const char *name) {
    auto found = values.index.find(name ? name : "");
    return found == values.index.end() ? nullptr : &values.list[found->second];
}

// Copies data out as the NT registry does: size only when data is null,
// ERROR_MORE_DATA when it does not fit.
uint32_t copy_out(const Value &v, uint32_t *type, uint8_t *data, uint32_t *data_size) {
    if (v.type == kRegistryUnreadable && v.data.size() == sizeof(uint32_t)) {
        uint32_t error;
        std::memcpy(&error, v.data.data(), sizeof error);
        return error;
    }
    if (type) *type = v.type;
    if (!data_size) return kRegistryOk;
    uint32_t room = *data_size;
    *data_size = uint32_t(v.data.size());
    if (!data) return kRegistryOk;
    if (room < v.data.size()) return kRegistryMoreData;
    if (!v.data.empty()) std::memcpy(data, v.data.data(), v.data.size());  // an empty vector's data() may be null
    return kRegistryOk;
}

}  // namespace

struct RegistryKey {
    char path[1024];
};

RegistryKey *registry_open(RegistryRoot root, const char *subkey, uint32_t *error) try {
    std::string path = key_path(root, subkey);
    std::lock_guard<std::mutex> hold(store().lock);
    if (!store().keys.count(path)) {
        if (error) *error = kRegistryNotFound;
        return nullptr;
    }
    auto *key = static_cast<RegistryKey *>(tw::mem_alloc(sizeof(RegistryKey)));
    if (!key) {
        if (error) *error = kRegistryNoMemory;
        return nullptr;
    }
    Q_strlcpy(key->path, path.c_str(), sizeof key->path);
    return key;
} catch (...) {  // the store out of memory
    if (error) *error = kRegistryNoMemory;
    return nullptr;
}

void registry_close(RegistryKey *key) { tw::mem_free(key); }

uint32_t registry_enum_value(RegistryKey *key, uint32_t index, char *name, uint32_t *name_size, uint32_t *type,
                             uint8_t *data, uint32_t *data_size) try {
    std::lock_guard<std::mutex> hold(store().lock);
    auto found = store().keys.find(key->path);
    if (found == store().keys.end() || index >= found->second.list.size()) return kRegistryNoMoreItems;
    const Value &v = found->second.list[index];
    if (*name_size <= v.name.size()) return kRegistryMoreData;
    std::memcpy(name, v.name.c_str(), v.name.size() + 1);
    *name_size = uint32_t(v.name.size());
    return copy_out(v, type, data, data_size);
} catch (...) {  // the store out of memory
    return kRegistryNoMemory;
}

uint32_t registry_query_value(RegistryKey *key, const char *name, uint32_t *type, uint8_t *data,
                              uint32_t *data_size) try {
    std::lock_guard<std::mutex> hold(store().lock);
    auto found = store().keys.find(key->path);
    if (found == store().keys.end()) return kRegistryNotFound;
    Value *v = find_value(found->second, name);
    return v ? copy_out(*v, type, data, data_size) : kRegistryNotFound;
} catch (...) {  // the store out of memory
    return kRegistryNoMemory;
}

uint32_t registry_write_value(RegistryRoot root, const char *subkey, const char *name, uint32_t type,
                              const void *data, uint32_t size) try {
    std::lock_guard<std::mutex> hold(store().lock);
    auto &values = store().keys[key_path(root, subkey)];
    auto bytes = static_cast<const uint8_t *>(data);
    std::vector<uint8_t> copy(bytes, bytes + (bytes ? size : 0));
    if (Value *v = find_value(values, name)) {
        v->type = type;
        v->data = std::move(copy);
    } else {
        // Everything that may throw comes before the first change.
        Value value{name ? name : "", type, std::move(copy)};
        values.list.reserve(values.list.size() + 1);
        values.index.emplace(value.name, values.list.size());
        values.list.push_back(std::move(value));
    }
    return kRegistryOk;
} catch (...) {  // the store out of memory
    return kRegistryNoMemory;
}

uint32_t registry_delete_value(RegistryRoot root, const char *subkey, const char *name) try {
    std::lock_guard<std::mutex> hold(store().lock);
    auto found = store().keys.find(key_path(root, subkey));
    if (found == store().keys.end()) return kRegistryNotFound;
    Values &values = found->second;
    auto it = values.index.find(name ? name : "");
    if (it == values.index.end()) return kRegistryNotFound;
    const size_t position = it->second;
    values.list.erase(values.list.begin() + std::ptrdiff_t(position));
    values.index.erase(it);
    for (auto &entry : values.index)
        if (entry.second > position) --entry.second;
    return kRegistryOk;
} catch (...) {  // the store out of memory
    return kRegistryNoMemory;
}

uint32_t registry_delete_key(RegistryRoot root, const char *subkey) try {
    std::string path = key_path(root, subkey);
    std::lock_guard<std::mutex> hold(store().lock);
    bool any = false;
    for (auto it = store().keys.begin(); it != store().keys.end();) {
        bool inside = !strcasecmp(it->first.c_str(), path.c_str()) ||
                      (it->first.size() > path.size() && !strncasecmp(it->first.c_str(), path.c_str(), path.size()) &&
                       it->first[path.size()] == '\\');
        if (inside) {
            it = store().keys.erase(it);
            any = true;
        } else {
            ++it;
        }
    }
    return any ? kRegistryOk : kRegistryNotFound;
} catch (...) {  // the store out of memory
    return kRegistryNoMemory;
}

}  // namespace tw::os
