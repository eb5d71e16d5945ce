// Variable-size arrays, checked against a std::vector model through long
// random operation sequences: contents, count, the capacity the growth rule
// predicts, and (pointer kinds) the zeroed tail that keeps the block
// NULL-terminated, after every step.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "support/alloc_hook.h"
#include "twcommon/containers.h"

namespace {

// The operations of one element kind, so one driver exercises each family.
struct Family {
    const char *name;
    bool terminated;
    VSA *(*create)(int, int);
    bool (*insert)(VSA *, intptr_t, int);
    bool (*append)(VSA *, intptr_t);
    int (*remove)(VSA *, int, int);
    bool (*set)(VSA *, intptr_t, int);
    intptr_t (*object)(VSA *, int);
    const void *(*pointer)(VSA *, int);
    intptr_t (*slot)(VSA *, int);  // raw read of the block, any index below size
};

const Family kVoidPointers{
    "vpvsa",
    true,
    vpvsaNEW,
    [](VSA *v, intptr_t x, int i) { return vpvsaINSERT(v, reinterpret_cast<void *>(x), i) != nullptr; },
    [](VSA *v, intptr_t x) { return vpvsaAPPEND(v, reinterpret_cast<void *>(x)) != nullptr; },
    vpvsaREMOVE,
    [](VSA *v, intptr_t x, int i) { return vpvsaSET(v, reinterpret_cast<void *>(x), i) != nullptr; },
    [](VSA *v, int i) { return reinterpret_cast<intptr_t>(vpvsaOBJECT(v, i)); },
    [](VSA *v, int i) { return static_cast<const void *>(vpvsaPOINTER(v, i)); },
    [](VSA *v, int i) { return reinterpret_cast<intptr_t>(vpvsaVSARRAY(v)[i]); },
};

const Family kIntegers{
    "intvsa",
    false,
    intvsaNEW,
    [](VSA *v, intptr_t x, int i) { return intvsaINSERT(v, static_cast<int>(x), i) != nullptr; },
    [](VSA *v, intptr_t x) { return intvsaAPPEND(v, static_cast<int>(x)) != nullptr; },
    intvsaREMOVE,
    [](VSA *v, intptr_t x, int i) { return intvsaSET(v, static_cast<int>(x), i) != nullptr; },
    [](VSA *v, int i) { return static_cast<intptr_t>(intvsaOBJECT(v, i)); },
    [](VSA *v, int i) { return static_cast<const void *>(intvsaPOINTER(v, i)); },
    [](VSA *v, int i) { return static_cast<intptr_t>(intvsaVSARRAY(v)[i]); },
};

struct Model {
    std::vector<intptr_t> items;
    int size;
    int increment;
    bool terminated;

    // Whether an insertion must grow, and whether it then succeeds.
    bool room() const { return int(items.size()) + (terminated ? 1 : 0) < size; }
};

void expect_matches(const Family &f, VSA *v, const Model &m) {
    ASSERT_EQ(vpvsaCOUNT(v), int(m.items.size()));
    ASSERT_EQ(vpvsaSIZE(v), m.size);
    ASSERT_EQ(v->increment, m.increment);
    for (size_t i = 0; i < m.items.size(); ++i) ASSERT_EQ(f.slot(v, int(i)), m.items[i]) << i;
    if (f.terminated) {
        ASSERT_GE(m.size, int(m.items.size()) + 1);
        for (int i = int(m.items.size()); i < m.size; ++i) ASSERT_EQ(f.slot(v, i), 0) << "tail slot " << i;
    }
}

void run_random_sequence(const Family &f, unsigned seed) {
    std::mt19937 rng(seed);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    int increment = pick(1, 6);
    int initial = pick(0, 4);
    VSA *v = f.create(initial, increment);
    ASSERT_NE(v, nullptr);
    Model m{std::vector<intptr_t>(initial, 0), initial > 0 ? initial + f.terminated : increment, increment,
            f.terminated};
    intptr_t next_value = 1;
    for (int step = 0; step < 3000; ++step) {
        int count = int(m.items.size());
        switch (pick(0, 6)) {
        case 0:
        case 1: {  // insert anywhere, sometimes one past the end
            int index = pick(0, count + 1);
            intptr_t value = next_value++;
            bool fail_memory = !m.room() && pick(0, 7) == 0;
            bool ok;
            {
                twtest::FailAllocation fail(fail_memory ? 1 : 0);
                ok = f.insert(v, value, index);
            }
            bool expected = index <= count && !fail_memory;
            ASSERT_EQ(ok, expected) << "insert at " << index << " of " << count;
            if (ok) {
                if (!m.room()) m.size += m.increment;
                m.items.insert(m.items.begin() + index, value);
            }
            break;
        }
        case 2: {
            intptr_t value = next_value++;
            if (!m.room()) m.size += m.increment;
            ASSERT_TRUE(f.append(v, value));
            m.items.push_back(value);
            break;
        }
        case 3:
        case 4: {  // remove runs, including bad indices and counts
            int index = pick(-1, count);
            int n = pick(-1, 6);
            int expected = index < 0 || index >= count || n <= 0 ? 0 : std::min(n, count - index);
            ASSERT_EQ(f.remove(v, index, n), expected);
            m.items.erase(m.items.begin() + (expected ? index : 0), m.items.begin() + (expected ? index + expected : 0));
            break;
        }
        case 5: {
            int index = pick(-1, count);
            intptr_t value = next_value++;
            bool inside = index >= 0 && index < count;
            ASSERT_EQ(f.set(v, value, index), inside);
            if (inside) m.items[size_t(index)] = value;
            break;
        }
        case 6: {
            int index = pick(-1, count);
            bool inside = index >= 0 && index < count;
            ASSERT_EQ(f.object(v, index), inside ? m.items[size_t(index)] : 0);
            ASSERT_EQ(f.pointer(v, index) != nullptr, inside);
            break;
        }
        }
        expect_matches(f, v, m);
    }
    vpvsaFREE(v);
}

TEST(VsaModel, RandomSequencesKeepContentsCapacityAndTerminator) {
    for (const Family *f : {&kVoidPointers, &kIntegers}) {
        for (unsigned seed = 1; seed <= 6; ++seed) {
            SCOPED_TRACE(std::string(f->name) + " seed " + std::to_string(seed));
            run_random_sequence(*f, seed);
            if (HasFatalFailure()) return;
        }
    }
}

TEST(VsaCreate, InitialCountAndIncrement) {
    VSA *v = cstrvsaNEW(0, -1);
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(cstrvsaSIZE(v), 16);
    EXPECT_EQ(cstrvsaCOUNT(v), 0);
    EXPECT_EQ(cstrvsaVSARRAY(v)[0], nullptr);
    cstrvsaFREE(v);

    v = vpvsaNEW(2, 5);  // first block holds the elements and the terminator
    EXPECT_EQ(vpvsaSIZE(v), 3);
    EXPECT_EQ(vpvsaCOUNT(v), 2);
    EXPECT_EQ(v->increment, 5);
    vpvsaAPPEND(v, v);
    EXPECT_EQ(vpvsaSIZE(v), 8);
    vpvsaFREE(v);

    v = intvsaNEW(0, -3);
    EXPECT_EQ(intvsaSIZE(v), 16);
    EXPECT_EQ(v->increment, 16);
    intvsaFREE(v);

    v = intvsaNEW(2, 1);  // no terminator slot for integers
    EXPECT_EQ(intvsaSIZE(v), 2);
    EXPECT_EQ(intvsaOBJECT(v, 1), 0);
    intvsaFREE(v);

    EXPECT_EQ(vpvsaNEW(0, 0), nullptr);
    EXPECT_EQ(intvsaNEW(0, 0), nullptr);
    EXPECT_EQ(intvsaNEW(-4, 0), nullptr);
    EXPECT_EQ(vpvsaNEW(INT_MAX, 1), nullptr);
}

TEST(VsaCreate, ZeroIncrementMakesFixedSize) {
    VSA *v = cstrvsaNEW(3, 0);
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(cstrvsaCOUNT(v), 3);
    EXPECT_EQ(cstrvsaSIZE(v), 4);
    for (int i = 0; i <= 3; ++i) EXPECT_EQ(cstrvsaVSARRAY(v)[i], nullptr);
    char a[] = "a";
    EXPECT_EQ(cstrvsaAPPEND(v, a), nullptr);
    EXPECT_EQ(cstrvsaINSERT(v, a, 0), nullptr);
    EXPECT_EQ(cstrvsaCOUNT(v), 3);
    EXPECT_EQ(cstrvsaSIZE(v), 4);
    EXPECT_NE(cstrvsaSET(v, a, 2), nullptr);
    EXPECT_EQ(cstrvsaVSARRAY(v)[3], nullptr);
    // After a removal there is room again, up to the fixed capacity.
    EXPECT_EQ(cstrvsaREMOVE(v, 0, 1), 1);
    EXPECT_NE(cstrvsaAPPEND(v, a), nullptr);
    EXPECT_EQ(cstrvsaAPPEND(v, a), nullptr);
    cstrvsaFREE(v);

    v = intvsaNEW(2, 0);
    EXPECT_EQ(intvsaAPPEND(v, 1), nullptr);
    EXPECT_EQ(intvsaSIZE(v), 2);
    intvsaFREE(v);

    // An attached block with increment 0 is full from the start.
    char **block = static_cast<char **>(calloc(1, sizeof(char *)));
    v = cstrvsaATTACH(block, 0);
    EXPECT_EQ(cstrvsaAPPEND(v, a), nullptr);
    EXPECT_EQ(cstrvsaCOUNT(v), 0);
    EXPECT_EQ(cstrvsaVSARRAY(v)[0], nullptr);
    cstrvsaFREE(v);
}

TEST(VsaRemove, ClampsAndFreesOnlyWhenAsked) {
    VSA *v = cstrvsaNEW(0, 4);
    for (const char *s : {"a", "b", "c", "d", "e"}) cstrvsaAPPEND(v, strdup(s));
    char *d = cstrvsaOBJECT(v, 3), *e = cstrvsaOBJECT(v, 4);
    EXPECT_EQ(cstrvsaREMOVE(v, 3, 10), 2);  // not freed: the test still owns d and e
    EXPECT_EQ(cstrvsaVSARRAY(v)[3], nullptr);
    free(d);
    free(e);
    EXPECT_EQ(cstrvsaREMOVE(v, 3, 1), 0);
    EXPECT_EQ(cstrvsaREMOVEALL(v, 3, 1), 0);
    EXPECT_EQ(cstrvsaREMOVEALL(v, -1, 1), 0);
    EXPECT_EQ(cstrvsaREMOVEALL(v, 0, 0), 0);
    EXPECT_EQ(cstrvsaREMOVEALL(v, 1, 5), 2);  // frees "b" and "c"
    EXPECT_EQ(cstrvsaCOUNT(v), 1);
    EXPECT_STREQ(cstrvsaOBJECT(v, 0), "a");
    EXPECT_EQ(cstrvsaVSARRAY(v)[1], nullptr);
    cstrvsaFREEALL(v);
}

TEST(VsaStrings, UniqueMatchAndFreeAll) {
    VSA *v = cstrvsaNEW(0, 2);
    for (const char *s : {"a", "b", "a", "a", "c", "b", "a"}) cstrvsaAPPEND(v, strdup(s));
    EXPECT_EQ(cstrvsaMATCH(v, "c"), 4);
    EXPECT_EQ(cstrvsaUNIQUE(v, 1), 3);
    char **array = cstrvsaVSARRAY(v);
    EXPECT_STREQ(array[0], "a");
    EXPECT_STREQ(array[1], "b");
    EXPECT_STREQ(array[2], "c");
    EXPECT_EQ(array[3], nullptr);
    EXPECT_EQ(cstrvsaMATCH(v, "c"), 2);
    EXPECT_EQ(cstrvsaMATCH(v, "z"), -1);
    cstrvsaFREEALL(v);

    // Without the flag the duplicates stay the caller's.
    char x1[] = "x", x2[] = "x", y[] = "y";
    v = cstrvsaNEW(0, -1);
    cstrvsaAPPEND(v, x1);
    cstrvsaAPPEND(v, y);
    cstrvsaAPPEND(v, x2);
    EXPECT_EQ(cstrvsaUNIQUE(v, 0), 2);
    EXPECT_EQ(cstrvsaOBJECT(v, 0), x1);
    EXPECT_EQ(cstrvsaOBJECT(v, 1), y);
    cstrvsaFREE(v);

    // FREEALL stops at the first NULL slot.
    v = cstrvsaNEW(2, -1);
    cstrvsaSET(v, strdup("only"), 0);
    cstrvsaFREEALL(v);
}

TEST(VsaDetachAttach, BlockChangesHandsIntact) {
    VSA *v = cstrvsaNEW(0, 3);
    for (const char *s : {"one", "two", "three"}) cstrvsaAPPEND(v, strdup(s));
    char **array = cstrvsaDETACH(v);
    ASSERT_EQ(cstraCOUNT(array), 3);

    v = cstrvsaATTACH(array, -1);
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(cstrvsaCOUNT(v), 3);
    EXPECT_EQ(cstrvsaSIZE(v), 4);
    EXPECT_EQ(v->increment, 16);
    EXPECT_EQ(cstrvsaVSARRAY(v), array);
    ASSERT_NE(cstrvsaAPPEND(v, strdup("four")), nullptr);  // regrows, freeing the attached block
    EXPECT_EQ(cstrvsaSIZE(v), 20);
    char *joined = cstraTOcstr(cstrvsaVSARRAY(v), " ");
    EXPECT_STREQ(joined, "one two three four");
    free(joined);
    cstrvsaFREEALL(v);

    int *ints = static_cast<int *>(malloc(3 * sizeof(int)));
    ints[0] = 7, ints[1] = -2, ints[2] = 9;
    v = intvsaATTACH(ints, 3, 2);
    EXPECT_EQ(intvsaSIZE(v), 3);
    ASSERT_NE(intvsaAPPEND(v, 4), nullptr);
    EXPECT_EQ(intvsaSIZE(v), 5);
    int *back = intvsaDETACH(v);
    EXPECT_EQ(back[3], 4);
    EXPECT_EQ(intaFIND(back, 4, 9), 2);
    intaFREE(back);

    EXPECT_EQ(vpvsaATTACH(nullptr, 1), nullptr);
    EXPECT_EQ(intvsaATTACH(nullptr, 0, 1), nullptr);
    int one = 1;
    EXPECT_EQ(intvsaATTACH(&one, -1, 1), nullptr);
}

TEST(VsaIntegers, FindMaxDupAndPlainArrays) {
    VSA *v = intvsaNEW(0, 2);
    EXPECT_EQ(intvsaMAX(v), -1);
    EXPECT_EQ(intvsaFIND(v, 0), -1);
    for (int x : {-5, -9, -5, -7}) intvsaAPPEND(v, x);
    EXPECT_EQ(intvsaMAX(v), -5);
    EXPECT_EQ(intvsaFIND(v, -5), 0);
    EXPECT_EQ(intvsaFIND(v, -7), 3);
    EXPECT_EQ(intvsaFIND(v, 3), -1);

    VSA *copy = intvsaDUP(v);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(intvsaCOUNT(copy), 4);
    EXPECT_EQ(intvsaSIZE(copy), 4);
    EXPECT_EQ(copy->increment, 2);
    EXPECT_NE(intvsaVSARRAY(copy), intvsaVSARRAY(v));
    EXPECT_EQ(memcmp(intvsaVSARRAY(copy), intvsaVSARRAY(v), 4 * sizeof(int)), 0);
    intvsaFREE(copy);
    intvsaFREE(v);

    // The copy of an empty fixed-size array cannot be created.
    v = intvsaNEW(1, 0);
    intvsaREMOVE(v, 0, 1);
    EXPECT_EQ(intvsaDUP(v), nullptr);
    intvsaFREE(v);

    const int values[] = {0, -1, INT_MIN, INT_MAX};
    char **texts = intaTOcstra(values, 4);
    ASSERT_NE(texts, nullptr);
    char *joined = cstraTOcstr(texts, ",");
    EXPECT_STREQ(joined, "0,-1,-2147483648,2147483647");
    free(joined);
    cstraFREE(texts);
    EXPECT_EQ(intaTOcstra(values, 0), nullptr);
    EXPECT_EQ(intaTOcstra(nullptr, 2), nullptr);

    EXPECT_EQ(intaFIND(values, 4, INT_MAX), 3);
    EXPECT_EQ(intaFIND(values, 3, INT_MAX), -1);
    EXPECT_EQ(intaFIND(values, 0, 0), -1);
    EXPECT_EQ(intaFIND(nullptr, 4, 0), -1);
    EXPECT_EQ(intaItemGET(values, 2), INT_MIN);
    EXPECT_EQ(intaItemGET(nullptr, 0), -1);
}

TEST(VsaNullHeader, FailureValues) {
    char s[] = "s";
    EXPECT_EQ(vpvsaINSERT(nullptr, s, 0), nullptr);
    EXPECT_EQ(intvsaAPPEND(nullptr, 1), nullptr);
    EXPECT_EQ(vpvsaREMOVE(nullptr, 0, 1) + intvsaREMOVE(nullptr, 0, 1) + cstrvsaREMOVEALL(nullptr, 0, 1), 0);
    EXPECT_EQ(intvsaOBJECT(nullptr, 0), 0);
    EXPECT_EQ(intvsaSET(nullptr, 1, 0), nullptr);
    EXPECT_EQ(vpvsaCOUNT(nullptr) + vpvsaSIZE(nullptr) + cstrvsaUNIQUE(nullptr, 1), 0);
    EXPECT_EQ(vpvsaDETACH(nullptr), nullptr);
    EXPECT_EQ(cstrvsaMATCH(nullptr, "s") + intvsaFIND(nullptr, 0) + intvsaMAX(nullptr), -3);
    EXPECT_EQ(intvsaDUP(nullptr), nullptr);
    vpvsaFREE(nullptr);
    cstrvsaFREEALL(nullptr);
}

// Names for one operation under several prefixes are one entry point.
TEST(VsaNames, SharedOperationsAreOneEntryPoint) {
    auto same = [](auto a, auto b) { return reinterpret_cast<void (*)()>(a) == reinterpret_cast<void (*)()>(b); };
    EXPECT_TRUE(same(cstrvsaCOUNT, vpvsaCOUNT));
    EXPECT_TRUE(same(intvsaCOUNT, vpvsaCOUNT));
    EXPECT_TRUE(same(intvsaSIZE, vpvsaSIZE));
    EXPECT_TRUE(same(intvsaDETACH, cstrvsaDETACH));
    EXPECT_TRUE(same(intvsaFREE, cstrvsaFREE));
    EXPECT_TRUE(same(cstrvsaINSERT, vpvsaINSERT));
    EXPECT_TRUE(same(cstrvsaNEW, vpvsaNEW));
    EXPECT_TRUE(same(timeGET, intGET));
    EXPECT_TRUE(same(timePUT, intPUT));
}

TEST(VsaMemory, FailuresLeaveArraysUnchanged) {
    // Creation: the header, then the block.
    for (int nth : {1, 2}) {
        {
            twtest::FailAllocation fail(nth);
            EXPECT_EQ(vpvsaNEW(3, 4), nullptr);
        }
        twtest::FailAllocation fail(nth);
        EXPECT_EQ(intvsaNEW(0, 4), nullptr);
    }
    {
        twtest::FailAllocation fail(1);
        char **block = static_cast<char **>(calloc(1, sizeof(char *)));
        EXPECT_EQ(cstrvsaATTACH(block, 1), nullptr);
        free(block);
    }
    // Growth: a full array keeps its block, capacity and contents.
    VSA *v = vpvsaNEW(1, 4);
    vpvsaSET(v, v, 0);
    void **before = vpvsaVSARRAY(v);
    {
        twtest::FailAllocation fail(1);
        EXPECT_EQ(vpvsaINSERT(v, v, 0), nullptr);
        EXPECT_TRUE(fail.fired());
    }
    EXPECT_EQ(vpvsaVSARRAY(v), before);
    EXPECT_EQ(vpvsaSIZE(v), 2);
    EXPECT_EQ(vpvsaCOUNT(v), 1);
    EXPECT_EQ(vpvsaOBJECT(v, 0), v);
    EXPECT_EQ(before[1], nullptr);
    vpvsaFREE(v);

    VSA *ints = intvsaNEW(3, 1);
    twtest::for_each_allocation_failure(
        [&] {
            VSA *copy = intvsaDUP(ints);
            EXPECT_TRUE(copy == nullptr || intvsaCOUNT(copy) == 3);
            intvsaFREE(copy);
        },
        [](bool) {});
    intvsaFREE(ints);

    const int values[] = {1, 22, 333};
    int failures = twtest::for_each_allocation_failure(
        [&] {
            char **texts = intaTOcstra(values, 3);
            if (texts) {
                char *joined = cstraTOcstr(texts, " ");
                EXPECT_TRUE(joined == nullptr || strcmp(joined, "1 22 333") == 0);
                free(joined);
            }
            cstraFREE(texts);
        },
        [](bool) {});
    EXPECT_GE(failures, 5);  // header, block, three strings
}

}  // namespace
