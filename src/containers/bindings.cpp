// Typed accessors over a binding list: a pointer-kind variable-size array
// whose slots point at the caller's variables (int or time value, short,
// char* holding a heap string, or a fixed char buffer), addressed by index.
// Out of range (null list, index outside 0 .. count-1) never touches memory.
#include "base/alloc.h"
#include "base/export.h"
#include "containers/cstr.h"
#include "twcommon/containers.h"
#include "twcommon/text.h"

namespace {

// The variable bound at index, or null when out of range or unbound.
template <typename T>
T *variable(VSA *list, int index) {
    return static_cast<T *>(vpvsaOBJECT(list, index));
}

}  // namespace

extern "C" {

char *cstrGET(VSA *list, int index) {
    char **held = variable<char *>(list, index);
    return held && *held ? *held : tw::empty_cstr;
}

char *charArrayGET(VSA *list, int index) {
    if (!list) return tw::empty_cstr;
    return variable<char>(list, index);
}

int intGET(VSA *list, int index) {
    int *value = variable<int>(list, index);
    return value ? *value : 0;
}

int shortGET(VSA *list, int index) {
    short *value = variable<short>(list, index);
    return value ? *value : 0;
}

void cstrPUT(VSA *list, const char *string, int index) {
    char **held = variable<char *>(list, index);
    if (!held) return;
    tw::mem_free(*held);
    *held = string && *string ? tw::copy_cstr(string) : nullptr;
}

// The limit is size minus index by definition: callers size it accordingly.
void charArrayPUT(VSA *list, int size, const char *string, int index) {
    char *buffer = variable<char>(list, index);
    if (!buffer || size - index < 1) return;
    Q_strlcpy(buffer, string ? string : "", static_cast<unsigned int>(size - index));
}

int *intPUT(VSA *list, int value, int index) {
    int *held = variable<int>(list, index);
    if (!held) return reinterpret_cast<int *>(list);
    *held = value;
    return held;
}

short *shortPUT(VSA *list, short value, int index) {
    short *held = variable<short>(list, index);
    if (!held) return reinterpret_cast<short *>(list);
    *held = value;
    return held;
}

}  // extern "C"

TW_EXPORT_ALIAS(int, timeGET, intGET, (VSA * list, int index))
TW_EXPORT_ALIAS(int *, timePUT, intPUT, (VSA * list, int value, int index))
