// The named path table built from random registry rows. Each line of the
// input is a row "NAME=template" of the Paths key (a line without "=" is a
// template to expand after the load); the table is loaded over them, every
// name is listed and looked up, and then released so that the next input
// builds it afresh. Besides running clean (no hang, no stack overflow, no
// leak), every input must keep these properties:
// - listing gives each name exactly the pointer getOrrickString gives;
// - no value is longer than the table's limit on texts;
// - a reference to a row's name expands to that name's value.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "config/paths_template.h"
#include "config/release.h"
#include "twcommon/config.h"

extern "C" uint32_t twcommon_testhook_registry(int root, const char *subkey, const char *name, uint32_t type,
                                               const void *data, uint32_t size);
extern "C" void twcommon_testhook_eventlog(void (*sink)(void *, const char *, int, unsigned, uint32_t, int,
                                                        const char *const *),
                                           void *context);

namespace {

constexpr char kPathsKey[] = "SOFTWARE\\Quorvex\\Tallowind\\CurrentVersion\\Paths";

// Reports (values refused as too long, say) are expected; they go nowhere.
void ignore_event(void *, const char *, int, unsigned, uint32_t, int, const char *const *) {}

void check_listed(const char *name, const char *value, void *count) {
    if (getOrrickString(name) != value || std::strlen(value) > tw::paths::kMaxTextLength) std::abort();
    ++*static_cast<size_t *>(count);
}

// A reference to a row's name alone expands to its value (unless the name
// is none the template syntax can refer to, or the value was refused).
void check_reference(const std::string &name) {
    const char *value = getOrrickString(name.c_str());
    char *expanded = expandOrrickString(("${" + name + "}").c_str());
    if (!expanded) std::abort();
    const bool referable = !name.empty() && !(name[0] >= '0' && name[0] <= '9') &&
                           name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_0123456789") ==
                               std::string::npos;
    if (referable && *value && std::strcmp(expanded, value) != 0) std::abort();
    freeOrrickString(expanded);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    twcommon_testhook_eventlog(ignore_event, nullptr);
    const std::string input(reinterpret_cast<const char *>(data), size);
    std::vector<std::string> names, templates;
    for (size_t start = 0; start < input.size();) {
        size_t end = input.find('\n', start);
        if (end == std::string::npos) end = input.size();
        const std::string line = input.substr(start, end - start);
        start = end + 1;
        const size_t equals = line.find('=');
        if (equals == std::string::npos) {
            templates.push_back(line.c_str());  // up to a zero byte
            continue;
        }
        const std::string name = line.substr(0, equals).c_str(), text = line.substr(equals + 1).c_str();
        twcommon_testhook_registry(0, kPathsKey, name.c_str(), 1, text.c_str(), uint32_t(text.size() + 1));
        names.push_back(name);
    }

    if (!lockConfig()) std::abort();  // the load
    size_t listed = 0;
    forEachOrrickString(check_listed, &listed);
    if (listed == 0) std::abort();  // rows can delete names, never all of them
    for (const std::string &name : names) check_reference(name);
    for (const std::string &text : templates) {
        char *expanded = expandOrrickString(text.c_str());
        if (!expanded || std::strlen(expanded) > tw::paths::kMaxTextLength) std::abort();
        freeOrrickString(expanded);
    }
    UnixToLocalCmd("/usr/tallowind/backup/bin/twjobd");
    if (unlockConfig() != 1) std::abort();

    twcommon_testhook_registry(0, kPathsKey, nullptr, 0, nullptr, 0);
    tw::config::release_paths_table();
    return 0;
}
