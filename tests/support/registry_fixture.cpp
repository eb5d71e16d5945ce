#include "support/registry_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "twcommon/base.h"

extern "C" TW_API uint32_t twcommon_testhook_registry(int root, const char *subkey, const char *name,
                                                      uint32_t type, const void *data, uint32_t size);

namespace twtest {
namespace {

std::string full_key(const std::string &subkey) {
    return subkey.empty() ? RegistryFixture::kProductKey : std::string(RegistryFixture::kProductKey) + "\\" + subkey;
}

}  // namespace

RegistryFixture::~RegistryFixture() {
    // The deepest keys first, then the product key itself when written to.
    std::sort(written_keys_.begin(), written_keys_.end(),
              [](const auto &a, const auto &b) { return a.second.size() > b.second.size(); });
    for (const auto &[root, key] : written_keys_) twcommon_testhook_registry(root, key.c_str(), nullptr, 0, nullptr, 0);
}

void RegistryFixture::set_raw(const std::string &subkey, const std::string &name, uint32_t type, const void *data,
                              uint32_t size, Root root) {
    std::string key = full_key(subkey);
    static const char empty = 0;
    uint32_t status = twcommon_testhook_registry(root, key.c_str(), name.c_str(), type, data ? data : &empty, size);
    ASSERT_EQ(0u, status) << "writing " << key << "\\" << name;
    auto entry = std::make_pair(root, key);
    if (std::find(written_keys_.begin(), written_keys_.end(), entry) == written_keys_.end())
        written_keys_.push_back(entry);
}

void RegistryFixture::set_string(const std::string &subkey, const std::string &name, const std::string &value,
                                 Root root) {
    set_raw(subkey, name, 1 /* REG_SZ */, value.c_str(), uint32_t(value.size() + 1), root);
}

void RegistryFixture::set_dword(const std::string &subkey, const std::string &name, uint32_t value, Root root) {
    set_raw(subkey, name, 4 /* REG_DWORD */, &value, sizeof value, root);
}

void RegistryFixture::set_path(const std::string &name, const std::string &value) {
    std::string escaped;
    for (char c : value) {
        if (c == '\\' || c == '$') escaped += '\\';
        escaped += c;
    }
    set_path_template(name, escaped);
}

void RegistryFixture::set_path_template(const std::string &name, const std::string &template_text) {
    set_string("Paths", name, template_text);
}

void RegistryFixture::remove_value(const std::string &subkey, const std::string &name, Root root) {
    twcommon_testhook_registry(root, full_key(subkey).c_str(), name.c_str(), 0, nullptr, 0);
}

}  // namespace twtest
