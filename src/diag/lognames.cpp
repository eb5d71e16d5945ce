#include "diag/lognames.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "twcommon/text.h"

namespace tw::diag {
namespace {

bool is_scan_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

// One decimal field of at most width characters (sign included) at *text.
bool scan_number(const char *&text, int width, int *value) {
    while (is_scan_space(*text)) ++text;
    const char *p = text;
    bool negative = false;
    if ((*p == '+' || *p == '-') && width > 1) {
        negative = *p == '-';
        ++p;
        --width;
    }
    if (!is_digit(*p)) return false;
    int number = 0;
    for (; width > 0 && is_digit(*p); --width) number = number * 10 + (*p++ - '0');
    *value = negative ? -number : number;
    text = p;
    return true;
}

// The key "%02d%02d%02d%05d" (year, month, day, sequence) of a log name.
void order_key(const char *name, char (&key)[32]) {
    int fields[4] = {0, 0, 0, 0};
    if (scan_log_name(name, "%2d%2d%2d_%5d.log", nullptr, fields) < 4) {
        std::fill(fields, fields + 4, 0);
        scan_log_name(name, "%2d%2d%2d.log", nullptr, fields);
    }
    Q_snprintf(key, sizeof key, "%02d%02d%02d%05d", fields[2], fields[0], fields[1], fields[3]);
}

}  // namespace

int scan_log_name(const char *text, const char *format, const char *prefix, int *values) {
    int fields = 0;
    for (const char *f = format; *f; ++f) {
        if (f[0] == '%' && f[1] == 'p') {
            size_t length = prefix ? std::strlen(prefix) : 0;
            if (std::strncmp(text, prefix ? prefix : "", length) != 0) break;
            text += length;
            ++f;
        } else if (f[0] == '%' && is_digit(f[1]) && f[2] == 'd') {
            if (!scan_number(text, f[1] - '0', &values[fields])) break;
            ++fields;
            f += 2;
        } else if (*text == *f) {
            ++text;
        } else {
            break;
        }
    }
    return fields;
}

bool is_log_file_name(const char *name, const char *prefix) {
    int fields[2];
    if (!prefix)
        return scan_log_name(name, "%6d_%5d.log", nullptr, fields) == 2 ||
               scan_log_name(name, "%6d.log", nullptr, fields) == 1 ||
               scan_log_name(name, "log.%6d", nullptr, fields) == 1;
    size_t length = std::strlen(prefix);
    return scan_log_name(name, "%p_%5d.log", prefix, fields) == 1 ||
           (std::strncmp(name, prefix, length) == 0 && std::strcmp(name + length, ".log") == 0) ||
           (std::strncmp(name, "log.", 4) == 0 && std::strcmp(name + 4, prefix) == 0);
}

int compare_log_names(const char *a, const char *b) {
    char key_a[32], key_b[32];
    order_key(a, key_a);
    order_key(b, key_b);
    int by_key = std::strcmp(key_a, key_b);
    return by_key != 0 ? by_key : std::strcmp(a, b);
}

size_t partition_log_names(char **names, size_t count, const char *prefix) {
    size_t front = 0, back = count;
    while (front < back) {
        if (is_log_file_name(names[front], prefix))
            ++front;
        else
            std::swap(names[front], names[--back]);
    }
    return front;
}

void sort_log_names(char **names, size_t count) {
    std::sort(names, names + count, [](const char *a, const char *b) { return compare_log_names(a, b) < 0; });
}

}  // namespace tw::diag
