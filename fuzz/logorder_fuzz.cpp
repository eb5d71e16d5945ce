// Log-file names: the partition of a listing into log files and the rest,
// and the oldest-first order of the log files. The input's lines are names;
// when the first byte is '#', the first line (after it) is the date prefix.
//
// Checks: the partition keeps every name and puts exactly the log files
// first; the comparison is a strict weak order (irreflexive, antisymmetric,
// transitive) that orders distinct names; the sort leaves the front in that
// order; and the name scanner counts fields as the C library's sscanf does.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "diag/lognames.h"

namespace {

using tw::diag::compare_log_names;

int sign(int v) { return (v > 0) - (v < 0); }

void check(bool condition, const char *what) {
    if (!condition) {
        std::fprintf(stderr, "log order check failed: %s\n", what);
        std::abort();
    }
}

// The scanner against sscanf on the formats without a prefix.
void check_scanner(const char *name) {
    struct Form {
        const char *ours, *runtime;
        int fields;
    } forms[] = {{"%2d%2d%2d_%5d.log", "%02d%02d%02d_%05d.log", 4},
                 {"%2d%2d%2d.log", "%02d%02d%02d.log", 3},
                 {"%6d_%5d.log", "%06d_%05d.log", 2},
                 {"log.%6d", "log.%06d", 1}};
    for (const Form &form : forms) {
        int ours[4] = {0, 0, 0, 0}, theirs[4] = {0, 0, 0, 0};
        int our_count = tw::diag::scan_log_name(name, form.ours, nullptr, ours);
        int their_count = std::sscanf(name, form.runtime, &theirs[0], &theirs[1], &theirs[2], &theirs[3]);
        if (their_count < 0) their_count = 0;
        check(our_count == their_count, "field count differs from sscanf");
        for (int i = 0; i < our_count; ++i) check(ours[i] == theirs[i], "field value differs from sscanf");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string input(reinterpret_cast<const char *>(data), size);
    std::vector<std::string> lines;
    size_t start = 0;
    while (start <= input.size() && lines.size() < 24) {
        size_t end = input.find('\n', start);
        if (end == std::string::npos) end = input.size();
        std::string line = input.substr(start, end - start);
        line.erase(std::remove(line.begin(), line.end(), '\0'), line.end());
        lines.push_back(line);
        start = end + 1;
    }
    std::string prefix;
    bool has_prefix = !lines.empty() && !lines[0].empty() && lines[0][0] == '#';
    if (has_prefix) {
        prefix = lines[0].substr(1);
        lines.erase(lines.begin());
    }
    const char *prefix_text = has_prefix ? prefix.c_str() : nullptr;

    std::vector<char *> names;
    for (std::string &line : lines) names.push_back(line.data());
    for (char *name : names) check_scanner(name);

    std::vector<std::string> before(lines);
    size_t count = tw::diag::partition_log_names(names.data(), names.size(), prefix_text);
    check(count <= names.size(), "count beyond the list");
    for (size_t i = 0; i < names.size(); ++i)
        check(tw::diag::is_log_file_name(names[i], prefix_text) == (i < count), "partition misplaced a name");
    std::vector<std::string> after(names.begin(), names.end());
    std::sort(before.begin(), before.end());
    std::sort(after.begin(), after.end());
    check(before == after, "partition lost or duplicated a name");

    for (char *a : names) {
        check(compare_log_names(a, a) == 0, "not irreflexive");
        for (char *b : names) {
            int ab = compare_log_names(a, b);
            check(sign(ab) == -sign(compare_log_names(b, a)), "not antisymmetric");
            check((ab == 0) == (std::strcmp(a, b) == 0), "distinct names compare equal");
            for (char *c : names)
                if (ab < 0 && compare_log_names(b, c) < 0) check(compare_log_names(a, c) < 0, "not transitive");
        }
    }

    tw::diag::sort_log_names(names.data(), count);
    for (size_t i = 1; i < count; ++i) check(compare_log_names(names[i - 1], names[i]) <= 0, "front not sorted");
    return 0;
}
