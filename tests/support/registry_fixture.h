// Writes the product's registry values for one test case and removes them
// afterwards. On Windows this is the real registry of the wine prefix (so
// tests that use it must not run concurrently with others reading the same
// keys); natively it is the library's in-memory stand-in of this process.
#ifndef TWTEST_REGISTRY_FIXTURE_H
#define TWTEST_REGISTRY_FIXTURE_H

#include <cstdint>
#include <string>
#include <vector>

namespace twtest {

class RegistryFixture {
public:
    // The product's key under HKEY_LOCAL_MACHINE (and HKEY_CURRENT_USER).
    static constexpr const char *kProductKey = "SOFTWARE\\Quorvex\\Tallowind\\CurrentVersion";
    enum Root { local_machine = 0, current_user = 1 };

    RegistryFixture() = default;
    ~RegistryFixture();  // deletes every key this fixture wrote into
    RegistryFixture(const RegistryFixture &) = delete;
    RegistryFixture &operator=(const RegistryFixture &) = delete;

    // A row of the Paths key whose value is exactly this text (a directory,
    // say): backslashes and dollars are escaped as the rows are written, so
    // getOrrickString(name) gives value back.
    void set_path(const std::string &name, const std::string &value);
    // A row of the Paths key written as it stands: a template with its
    // references and escapes (REG_SZ).
    void set_path_template(const std::string &name, const std::string &template_text);
    // A value under the product key; subkey is relative to it ("" for the key itself).
    void set_string(const std::string &subkey, const std::string &name, const std::string &value,
                    Root root = local_machine);
    void set_dword(const std::string &subkey, const std::string &name, uint32_t value, Root root = local_machine);
    // A value with raw bytes and any type.
    void set_raw(const std::string &subkey, const std::string &name, uint32_t type, const void *data, uint32_t size,
                 Root root = local_machine);
    void remove_value(const std::string &subkey, const std::string &name, Root root = local_machine);

private:
    std::vector<std::pair<Root, std::string>> written_keys_;
};

}  // namespace twtest

#endif
