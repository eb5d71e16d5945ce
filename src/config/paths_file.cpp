/*
 * The paths file: the values of the registry's Paths key read one by one,
 * each a row of the path table (value name = symbolic name, data = template).
 * The data is cleaned of escapes on the way (see clean_registry_text). A value
 * that cannot be read is reported and handed back as two nulls, and the
 * cursor moves on past it whatever happened.
 */
#include <cstdint>

#include "base/alloc.h"
#include "config/paths_template.h"
#include "config/report.h"
#include "platform/registry.h"
#include "twcommon/config.h"
#include "twcommon/diag.h"

struct PathsFile {
    tw::os::RegistryKey *key;
    char *name;          // value-name buffer, grown while names do not fit
    uint32_t name_size;  // its size in bytes
    uint32_t index;      // of the next value
};

namespace {

constexpr uint32_t kNameStep = 1024;

bool no_memory(uint32_t status) {
    return status == tw::os::kRegistryNoMemory || status == tw::os::kRegistryOutOfMemory;
}

// Reads the value at the cursor's index whose name and data sizes are
// known, into new heap strings.
uint32_t read_value(PathsFile *file, uint32_t name_length, uint32_t data_size, char **name, char **value) {
    *name = static_cast<char *>(tw::mem_alloc(name_length + 1));
    *value = static_cast<char *>(tw::mem_alloc(size_t(data_size) + 1));
    if (!*name || !*value) return tw::os::kRegistryNoMemory;
    uint32_t name_room = name_length + 1;
    uint32_t status = tw::os::registry_enum_value(file->key, file->index, *name, &name_room, nullptr,
                                                  reinterpret_cast<uint8_t *>(*value), &data_size);
    if (status == tw::os::kRegistryOk) {
        (*value)[data_size] = '\0';  // the data may come without a terminator
        tw::paths::clean_registry_text(*value);
    }
    return status;
}

}  // namespace

extern "C" {

PathsFile *openPathsFile(void) {
    uint32_t error = 0;
    tw::os::RegistryKey *key = tw::os::registry_open(tw::os::RegistryRoot::local_machine, tw::config::kPathsKey, &error);
    if (!key) return nullptr;
    auto *file = static_cast<PathsFile *>(tw::mem_alloc(sizeof(PathsFile)));
    char *name = static_cast<char *>(tw::mem_alloc(kNameStep));
    if (!file || !name) {
        tw::mem_free(file);
        tw::mem_free(name);
        tw::os::registry_close(key);
        return nullptr;
    }
    *file = PathsFile{key, name, kNameStep, 0};
    return file;
}

int readPathsFile(PathsFile *file, char **name, char **value) {
    char *ignored_name, *ignored_value;
    if (!name) name = &ignored_name;
    if (!value) value = &ignored_value;
    *name = *value = nullptr;
    if (!file) return 0;

    uint32_t name_length, data_size, status;
    for (;;) {
        name_length = file->name_size;
        data_size = 0;
        status = tw::os::registry_enum_value(file->key, file->index, file->name, &name_length, nullptr, nullptr,
                                             &data_size);
        if (status != tw::os::kRegistryMoreData) break;
        auto *bigger = static_cast<char *>(tw::mem_realloc(file->name, file->name_size + kNameStep));
        if (!bigger) {
            status = tw::os::kRegistryNoMemory;
            break;
        }
        file->name = bigger;
        file->name_size += kNameStep;
    }
    if (status == tw::os::kRegistryNoMoreItems) return 0;
    if (status == tw::os::kRegistryOk) status = read_value(file, name_length, data_size, name, value);

    if (status != tw::os::kRegistryOk) {
        tw::mem_free(*name);
        tw::mem_free(*value);
        *name = *value = nullptr;
        if (no_memory(status)) {
            tw::config::report(12, LOG_ERR, "%s (%d) - Out of memory.", tw::config::kPathsKey, int(file->index));
        } else {
            char text[101];
            GetErrorMessageStr(status, text, sizeof text);
            tw::config::report(11, LOG_ERR, "%s (%d) - Registry read failed, %s.", tw::config::kPathsKey,
                               int(file->index), text);
        }
    }
    ++file->index;
    if (name == &ignored_name) tw::mem_free(*name);
    if (value == &ignored_value) tw::mem_free(*value);
    return 1;
}

void closePathsFile(PathsFile *file) {
    if (!file) return;
    tw::os::registry_close(file->key);
    tw::mem_free(file->name);
    tw::mem_free(file);
}

}  // extern "C"
