// Differential fuzzing of the bounded copy, append and format functions
// against a model written from their rules with std::basic_string. The input
// picks the operation, the size and count, the destination's prior content
// (possibly unterminated within size) and the source text. Every call must
// match the model's result and cells, and write nothing past size.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "twcommon/text.h"

namespace {

template <typename Char>
using Str = std::basic_string<Char>;

template <typename Char>
struct Case {
    unsigned op, size, n;
    std::vector<Char> dst;  // size cells, then guard cells ending in a zero
    Str<Char> src;
};

template <typename Char>
size_t first_zero(const std::vector<Char> &v, size_t limit) {
    for (size_t i = 0; i < limit; ++i)
        if (v[i] == 0) return i;
    return limit;
}

// The model. Returns the expected result and updates the expected cells.
template <typename Char>
int model_copy(std::vector<Char> &d, size_t at, const Str<Char> &s, unsigned size) {
    if (size == 0) return 0;
    size_t k = std::min<size_t>(s.size(), size - 1);
    std::copy(s.begin(), s.begin() + k, d.begin() + at);
    d[at + k] = 0;
    return int(k);
}

template <typename Char>
int model_append(std::vector<Char> &d, const Str<Char> &s, unsigned size) {
    if (size == 0) return 0;
    size_t length = first_zero(d, size);
    if (size - length < 2) return 0;
    return model_copy(d, length, s, unsigned(size - length));
}

template <typename Char>
void model_field(std::vector<Char> &d, const Str<Char> &s, unsigned m) {
    for (unsigned i = 0; i < m; ++i) d[i] = i < s.size() ? s[i] : Char(0);
}

template <typename Char>
int model(const Case<Char> &c, std::vector<Char> &d) {
    const unsigned size = c.size, n = c.n;
    switch (c.op) {
        case 0: return model_copy(d, 0, c.src, size);
        case 1: return model_append(d, c.src, size);
        case 2: {
            if (size == 0) return 0;
            unsigned m = std::min(n, size);
            model_field(d, c.src, m);
            if (m == size) { d[size - 1] = 0; return int(size - 1); }
            d[m] = 0;
            return int(m);
        }
        case 3: {
            size_t length = first_zero(d, d.size());
            return model_append(d, c.src, unsigned(std::min<size_t>(length + n + 1, size)));
        }
        case 4: {
            if (n == 0) return 0;
            unsigned m = std::min(n, size);
            model_field(d, c.src, m);
            return int(m);
        }
        case 5: return first_zero(d, size) < size ? 0 : -1;
        case 6:
        case 7: {  // "%s" of the source, plain or appended
            size_t at = 0;
            unsigned room = size;
            if (c.op == 7) {
                at = first_zero(d, size);
                if (at == size) return -1;
                room = unsigned(size - at);
            }
            if (room == 0) return -1;
            if (c.src.size() < room) {
                std::copy(c.src.begin(), c.src.end(), d.begin() + at);
                d[at + c.src.size()] = 0;
                return int(c.src.size());
            }
            std::copy(c.src.begin(), c.src.begin() + room - 1, d.begin() + at);
            d[at + room - 1] = 0;
            return int(room - 1);
        }
    }
    return 0;
}

int actual(const Case<char> &c, char *d) {
    switch (c.op) {
        case 0: return Q_strlcpy(d, c.src.c_str(), c.size);
        case 1: return Q_strlcat(d, c.src.c_str(), c.size);
        case 2: return Q_strlncpy(d, c.src.c_str(), c.n, c.size);
        case 3: return Q_strlncat(d, c.src.c_str(), c.n, c.size);
        case 4: return Q_strXncpy(d, c.src.c_str(), c.n, c.size);
        case 5: return Q_strverify(d, c.size, nullptr);
        case 6: return Q_snprintf(d, c.size, "%s", c.src.c_str());
        case 7: return Q_cat_snprintf(d, c.size, "%s", c.src.c_str());
    }
    return 0;
}

int actual(const Case<tw_wchar_t> &c, tw_wchar_t *d) {
    switch (c.op) {
        case 0: return Q_wcslcpy(d, c.src.c_str(), c.size);
        case 1: return Q_wcslcat(d, c.src.c_str(), c.size);
        case 2: return Q_wcslncpy(d, c.src.c_str(), c.n, c.size);
        case 3: return Q_wcslncat(d, c.src.c_str(), c.n, c.size);
        case 4: return Q_wstrXncpy(d, c.src.c_str(), c.n, c.size);
        case 5: return Q_wstrverify(d, c.size, nullptr);
    }
    return 0;
}

template <typename Char>
void check(const uint8_t *data, size_t len, unsigned ops) {
    if (len < 4) return;
    Case<Char> c;
    c.op = data[0] % ops;
    c.size = data[1] % 48;
    c.n = data[2] % 64;
    unsigned prior = data[3] % 64;  // cells of prior destination content
    data += 4, len -= 4;
    const size_t guard = 72;
    c.dst.assign(c.size + guard, Char('#'));
    c.dst.back() = 0;  // the destination is always terminated somewhere
    for (unsigned i = 0; i < prior && i < c.dst.size() - 1 && len; ++i, ++data, --len)
        c.dst[i] = Char(*data == '0' ? 0 : *data);
    for (; len; ++data, --len)
        if (*data) c.src.push_back(Char(*data));

    std::vector<Char> expected = c.dst, got = c.dst;
    int want = model(c, expected);
    int have = actual(c, got.data());
    if (want != have || expected != got) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    check<char>(data, size, 8);
    check<tw_wchar_t>(data, size, 6);
    return 0;
}
