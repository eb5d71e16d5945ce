// Variable-size arrays. One header type serves three element kinds:
//  - pointer kinds (vpvsa, cstrvsa): void* slots; size >= count + 1 after any
//    successful insertion and every slot from count up is zero, so the block
//    is always a NULL-terminated array;
//  - integer kind (intvsa): 32-bit int slots, size >= count, no terminator.
// Growth adds `increment` slots and reports failure when the increment is
// below 1 even after reallocating, which makes an increment of 0 a fixed-size
// array. A failed allocation leaves the array exactly as it was.
// Operations that do not depend on the slot width are one entry point under
// every prefix; the pointer kinds share their entry points too. Pointer slots
// are pointer-sized (64-bit on 64-bit Windows); integer slots are always 32-bit.
#include <cstdint>
#include <cstring>

#include "base/alloc.h"
#include "base/export.h"
#include "twcommon/containers.h"
#include "twcommon/text.h"

namespace {

constexpr int kDefaultIncrement = 16;

// Width of a slot and whether a terminator slot is kept.
struct Kind {
    size_t slot;
    int reserve;
};
constexpr Kind kPointers{sizeof(void *), 1};
constexpr Kind kIntegers{sizeof(int), 0};

char *slot_address(VSA *vsa, Kind kind, int index) {
    return static_cast<char *>(vsa->array) + static_cast<size_t>(index) * kind.slot;
}

bool in_range(const VSA *vsa, int index) { return vsa && index >= 0 && index < vsa->count; }

// Makes room for one more element (plus the terminator for pointer kinds).
bool grow(VSA *vsa, Kind kind) {
    if (vsa->count + kind.reserve < vsa->size) return true;
    int64_t capacity = int64_t(vsa->size) + vsa->increment;
    if (capacity < 0 || capacity > INT32_MAX) return false;
    void *block = tw::mem_calloc(static_cast<size_t>(capacity), kind.slot);
    if (!block) return false;
    if (vsa->array) std::memcpy(block, vsa->array, static_cast<size_t>(vsa->size) * kind.slot);
    tw::mem_free(vsa->array);
    vsa->array = block;
    vsa->size = static_cast<int>(capacity);
    return vsa->increment >= 1;
}

VSA *create(int initial, int increment, Kind kind) {
    VSA *vsa = static_cast<VSA *>(tw::mem_calloc(1, sizeof(VSA)));
    if (!vsa) return nullptr;
    if (increment < 0) increment = kDefaultIncrement;
    // The first allocation holds the initial elements (and the terminator).
    bool too_large = initial > INT32_MAX - kind.reserve;
    vsa->increment = initial > 0 ? initial + (too_large ? 0 : kind.reserve) : increment;
    if (too_large || !grow(vsa, kind)) {
        tw::mem_free(vsa->array);
        tw::mem_free(vsa);
        return nullptr;
    }
    vsa->increment = increment;
    vsa->count = initial > 0 ? initial : 0;
    return vsa;
}

VSA *attach(void *array, int count, int size, int increment) {
    VSA *vsa = static_cast<VSA *>(tw::mem_calloc(1, sizeof(VSA)));
    if (!vsa) return nullptr;
    vsa->array = array;
    vsa->increment = increment < 0 ? kDefaultIncrement : increment;
    vsa->size = size;
    vsa->count = count;
    return vsa;
}

// Opens a slot at index by moving the slots above it up; null on failure.
char *open_slot(VSA *vsa, int index, Kind kind) {
    if (!vsa || index < 0 || index > vsa->count) return nullptr;
    if (!grow(vsa, kind)) return nullptr;
    char *at = slot_address(vsa, kind, index);
    std::memmove(at + kind.slot, at, static_cast<size_t>(vsa->count - index) * kind.slot);
    ++vsa->count;
    return at;
}

int remove_slots(VSA *vsa, int index, int n, Kind kind) {
    if (!in_range(vsa, index) || n <= 0) return 0;
    int k = n < vsa->count - index ? n : vsa->count - index;
    // The pointer kinds carry their terminator down with the slots above.
    int moved = vsa->count - index - k + kind.reserve;
    std::memmove(slot_address(vsa, kind, index), slot_address(vsa, kind, index + k),
                 static_cast<size_t>(moved) * kind.slot);
    std::memset(slot_address(vsa, kind, vsa->count - k), 0, static_cast<size_t>(k) * kind.slot);
    vsa->count -= k;
    return k;
}

void **pointers(VSA *vsa) { return static_cast<void **>(vsa->array); }
int *integers(VSA *vsa) { return static_cast<int *>(vsa->array); }

}  // namespace

extern "C" {

VSA *vpvsaNEW(int initial, int increment) { return create(initial, increment, kPointers); }

VSA *intvsaNEW(int initial, int increment) { return create(initial, increment, kIntegers); }

VSA *vpvsaATTACH(void **array, int increment) {
    if (!array) return nullptr;
    int count = 0;
    while (array[count]) ++count;
    return attach(array, count, count + 1, increment);
}

VSA *intvsaATTACH(int *array, int count, int increment) {
    if (!array || count < 0) return nullptr;
    return attach(array, count, count, increment);
}

void **vpvsaINSERT(VSA *vsa, void *value, int index) {
    char *at = open_slot(vsa, index, kPointers);
    if (!at) return nullptr;
    std::memcpy(at, &value, sizeof value);
    return reinterpret_cast<void **>(at);
}

int *intvsaINSERT(VSA *vsa, int value, int index) {
    char *at = open_slot(vsa, index, kIntegers);
    if (!at) return nullptr;
    std::memcpy(at, &value, sizeof value);
    return reinterpret_cast<int *>(at);
}

void **vpvsaAPPEND(VSA *vsa, void *value) { return vsa ? vpvsaINSERT(vsa, value, vsa->count) : nullptr; }

int *intvsaAPPEND(VSA *vsa, int value) { return vsa ? intvsaINSERT(vsa, value, vsa->count) : nullptr; }

int vpvsaREMOVE(VSA *vsa, int index, int n) { return remove_slots(vsa, index, n, kPointers); }

int intvsaREMOVE(VSA *vsa, int index, int n) { return remove_slots(vsa, index, n, kIntegers); }

int cstrvsaREMOVEALL(VSA *vsa, int index, int n) {
    if (!in_range(vsa, index) || n <= 0) return 0;
    int end = n < vsa->count - index ? index + n : vsa->count;
    char **strings = static_cast<char **>(vsa->array);
    for (int i = index; i < end; ++i) {
        tw::mem_free(strings[i]);
        strings[i] = nullptr;
    }
    return remove_slots(vsa, index, n, kPointers);
}

void *vpvsaOBJECT(VSA *vsa, int index) { return in_range(vsa, index) ? pointers(vsa)[index] : nullptr; }

int intvsaOBJECT(VSA *vsa, int index) { return in_range(vsa, index) ? integers(vsa)[index] : 0; }

void **vpvsaPOINTER(VSA *vsa, int index) { return in_range(vsa, index) ? &pointers(vsa)[index] : nullptr; }

int *intvsaPOINTER(VSA *vsa, int index) { return in_range(vsa, index) ? &integers(vsa)[index] : nullptr; }

void **vpvsaSET(VSA *vsa, void *value, int index) {
    if (!in_range(vsa, index)) return nullptr;
    pointers(vsa)[index] = value;
    return &pointers(vsa)[index];
}

int *intvsaSET(VSA *vsa, int value, int index) {
    if (!in_range(vsa, index)) return nullptr;
    integers(vsa)[index] = value;
    return &integers(vsa)[index];
}

int vpvsaCOUNT(VSA *vsa) { return vsa ? vsa->count : 0; }

int vpvsaSIZE(VSA *vsa) { return vsa ? vsa->size : 0; }

void **vpvsaVSARRAY(VSA *vsa) { return vsa ? pointers(vsa) : nullptr; }

void **vpvsaDETACH(VSA *vsa) {
    if (!vsa) return nullptr;
    void **array = pointers(vsa);
    tw::mem_free(vsa);
    return array;
}

void vpvsaFREE(VSA *vsa) {
    if (!vsa) return;
    tw::mem_free(vsa->array);
    tw::mem_free(vsa);
}

void cstrvsaFREEALL(VSA *vsa) {
    if (!vsa) return;
    char **strings = static_cast<char **>(vsa->array);
    for (int i = 0; strings && i < vsa->count && strings[i]; ++i) tw::mem_free(strings[i]);
    vpvsaFREE(vsa);
}

int cstrvsaMATCH(VSA *vsa, const char *string) {
    return vsa ? cstraMATCH(static_cast<char **>(vsa->array), string) : -1;
}

int cstrvsaUNIQUE(VSA *vsa, int free_duplicates) {
    if (!vsa) return 0;
    char **strings = static_cast<char **>(vsa->array);
    for (int i = 0; i < vsa->count; ++i) {
        for (int j = i + 1; j < vsa->count;) {
            if (cstrMATCH(strings[i], strings[j])) {
                if (free_duplicates) tw::mem_free(strings[j]);
                remove_slots(vsa, j, 1, kPointers);
            } else {
                ++j;
            }
        }
    }
    return vsa->count;
}

int intvsaFIND(VSA *vsa, int value) { return vsa ? intaFIND(integers(vsa), vsa->count, value) : -1; }

int intvsaMAX(VSA *vsa) {
    if (!vsa || vsa->count < 1) return -1;
    int largest = integers(vsa)[0];
    for (int i = 1; i < vsa->count; ++i)
        if (integers(vsa)[i] > largest) largest = integers(vsa)[i];
    return largest;
}

VSA *intvsaDUP(VSA *vsa) {
    if (!vsa) return nullptr;
    VSA *copy = intvsaNEW(vsa->count, vsa->increment);
    if (!copy) return nullptr;
    for (int i = 0; i < vsa->count; ++i) intvsaSET(copy, integers(vsa)[i], i);
    return copy;
}

int intaFIND(const int *array, int count, int value) {
    if (!array) return -1;
    for (int i = 0; i < count; ++i)
        if (array[i] == value) return i;
    return -1;
}

int intaItemGET(const int *array, int index) { return array ? array[index] : -1; }

char **intaTOcstra(const int *array, int count) {
    if (!array || count < 1) return nullptr;
    VSA *strings = vpvsaNEW(count, -1);
    if (!strings) return nullptr;
    for (int i = 0; i < count; ++i) {
        char text[12];
        Q_snprintf(text, sizeof text, "%i", array[i]);
        size_t length = std::strlen(text) + 1;
        char *copy = static_cast<char *>(tw::mem_alloc(length));
        if (!copy) {
            cstrvsaFREEALL(strings);
            return nullptr;
        }
        std::memcpy(copy, text, length);
        vpvsaSET(strings, copy, i);
    }
    return reinterpret_cast<char **>(vpvsaDETACH(strings));
}

void intaFREE(int *array) { tw::mem_free(array); }

}  // extern "C"

// The aliases' C types differ from their targets only in the element type.
#if defined(__GNUC__) && !defined(__clang__)
#  pragma GCC diagnostic ignored "-Wattribute-alias"
#endif
TW_EXPORT_ALIAS(VSA *, cstrvsaNEW, vpvsaNEW, (int initial, int increment))
TW_EXPORT_ALIAS(VSA *, cstrvsaATTACH, vpvsaATTACH, (char **array, int increment))
TW_EXPORT_ALIAS(char **, cstrvsaINSERT, vpvsaINSERT, (VSA * vsa, char *value, int index))
TW_EXPORT_ALIAS(char **, cstrvsaAPPEND, vpvsaAPPEND, (VSA * vsa, char *value))
TW_EXPORT_ALIAS(int, cstrvsaREMOVE, vpvsaREMOVE, (VSA * vsa, int index, int n))
TW_EXPORT_ALIAS(char *, cstrvsaOBJECT, vpvsaOBJECT, (VSA * vsa, int index))
TW_EXPORT_ALIAS(char **, cstrvsaPOINTER, vpvsaPOINTER, (VSA * vsa, int index))
TW_EXPORT_ALIAS(char **, cstrvsaSET, vpvsaSET, (VSA * vsa, char *value, int index))
TW_EXPORT_ALIAS(int, cstrvsaCOUNT, vpvsaCOUNT, (VSA * vsa))
TW_EXPORT_ALIAS(int, intvsaCOUNT, vpvsaCOUNT, (VSA * vsa))
TW_EXPORT_ALIAS(int, cstrvsaSIZE, vpvsaSIZE, (VSA * vsa))
TW_EXPORT_ALIAS(int, intvsaSIZE, vpvsaSIZE, (VSA * vsa))
TW_EXPORT_ALIAS(char **, cstrvsaVSARRAY, vpvsaVSARRAY, (VSA * vsa))
TW_EXPORT_ALIAS(int *, intvsaVSARRAY, vpvsaVSARRAY, (VSA * vsa))
TW_EXPORT_ALIAS(char **, cstrvsaDETACH, vpvsaDETACH, (VSA * vsa))
TW_EXPORT_ALIAS(int *, intvsaDETACH, vpvsaDETACH, (VSA * vsa))
TW_EXPORT_ALIAS(void, cstrvsaFREE, vpvsaFREE, (VSA * vsa))
TW_EXPORT_ALIAS(void, intvsaFREE, vpvsaFREE, (VSA * vsa))
