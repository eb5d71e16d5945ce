// NULL-terminated arrays of heap strings (cstra). Every string is its own heap
// block and the array owns them; the pointer block itself is a heap block too,
// so the slot block of a pointer-kind variable-size array is a valid cstra.
#include <cstring>

#include "base/alloc.h"
#include "containers/cstr.h"
#include "twcommon/containers.h"

namespace {

char **new_cstra(size_t count) { return static_cast<char **>(tw::mem_calloc(count + 1, sizeof(char *))); }

}  // namespace

extern "C" {

int cstraCOUNT(char **array) {
    int count = 0;
    while (array && array[count]) ++count;
    return count;
}

// All or nothing: when the block cannot grow, both arrays are left as they were.
char **cstraAPPEND(char **a, char **b) {
    if (!a) return b;
    if (!b) return a;
    size_t na = static_cast<size_t>(cstraCOUNT(a)), nb = static_cast<size_t>(cstraCOUNT(b));
    char **joined = static_cast<char **>(tw::mem_realloc(a, (na + nb + 1) * sizeof(char *)));
    if (!joined) return nullptr;
    std::memcpy(joined + na, b, (nb + 1) * sizeof(char *));
    tw::mem_free(b);
    return joined;
}

char **cstraDUP(char **array) {
    if (!array) return nullptr;
    size_t count = static_cast<size_t>(cstraCOUNT(array));
    char **copy = new_cstra(count);
    if (!copy) return nullptr;
    for (size_t i = 0; i < count; ++i) {
        if (!(copy[i] = tw::copy_cstr(array[i]))) {
            cstraFREE(copy);
            return nullptr;
        }
    }
    return copy;
}

void cstraItemsFREE(char **array) {
    for (size_t i = 0; array && array[i]; ++i) {
        tw::mem_free(array[i]);
        array[i] = nullptr;
    }
}

void cstraFREE(char **array) {
    cstraItemsFREE(array);
    tw::mem_free(array);
}

char *cstraTOcstr(char **array, const char *separator) {
    if (!array || !array[0]) return nullptr;
    if (!separator) separator = "";
    size_t gap = std::strlen(separator), total = 0;
    for (size_t i = 0; array[i]; ++i) total += (i ? gap : 0) + std::strlen(array[i]);
    if (total == 0) return nullptr;
    char *joined = static_cast<char *>(tw::mem_alloc(total + 1));
    if (!joined) return nullptr;
    char *out = joined;
    for (size_t i = 0; array[i]; ++i) {
        if (i) {
            std::memcpy(out, separator, gap);
            out += gap;
        }
        size_t length = std::strlen(array[i]);
        std::memcpy(out, array[i], length);
        out += length;
    }
    *out = '\0';
    return joined;
}

int cstraMATCH(char **array, const char *string) {
    if (!array || !string) return -1;
    for (int i = 0; array[i]; ++i)
        if (std::strcmp(array[i], string) == 0) return i;
    return -1;
}

char **cstraDIFF(char **a, char **b) {
    size_t count = 0;
    for (size_t i = 0; a && a[i]; ++i) count += cstraMATCH(b, a[i]) < 0;
    if (count == 0) return nullptr;
    char **diff = new_cstra(count);
    if (!diff) return nullptr;
    size_t n = 0;
    for (size_t i = 0; a[i]; ++i) {
        if (cstraMATCH(b, a[i]) >= 0) continue;
        if (!(diff[n++] = tw::copy_cstr(a[i]))) {
            cstraFREE(diff);
            return nullptr;
        }
    }
    return diff;
}

}  // extern "C"
