// Typed accessors reading and writing caller variables through a binding list.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "support/alloc_hook.h"
#include "twcommon/containers.h"

namespace {

struct Settings {
    int number = 42;
    int when = 1700000000;
    short small = -3;
    char *name = nullptr;
    char buffer[8] = "old";
};

// Slots 0..4 bind the fields; slot 5 is left unbound (NULL).
class Bindings : public ::testing::Test {
protected:
    void SetUp() override {
        list = vpvsaNEW(0, 2);
        for (void *p : {static_cast<void *>(&s.number), static_cast<void *>(&s.when), static_cast<void *>(&s.small),
                        static_cast<void *>(&s.name), static_cast<void *>(s.buffer)})
            vpvsaAPPEND(list, p);
        vpvsaAPPEND(list, nullptr);
    }
    void TearDown() override {
        free(s.name);
        vpvsaFREE(list);
    }
    Settings s;
    VSA *list = nullptr;
};

TEST_F(Bindings, NumbersReadAndWrite) {
    EXPECT_EQ(intGET(list, 0), 42);
    EXPECT_EQ(timeGET(list, 1), 1700000000);
    EXPECT_EQ(shortGET(list, 2), -3);  // sign-extended
    EXPECT_EQ(intPUT(list, 7, 0), &s.number);
    EXPECT_EQ(s.number, 7);
    EXPECT_EQ(timePUT(list, 2147483647, 1), &s.when);
    EXPECT_EQ(s.when, 2147483647);
    EXPECT_EQ(shortPUT(list, -32768, 2), &s.small);
    EXPECT_EQ(shortGET(list, 2), -32768);
    EXPECT_EQ(s.number, 7);  // a short write touches only the short

    // Out of range: reads give 0, writes give the list back and store nothing.
    for (int bad : {-1, 6, 100}) {
        EXPECT_EQ(intGET(list, bad), 0);
        EXPECT_EQ(shortGET(list, bad), 0);
        EXPECT_EQ(intPUT(list, 1, bad), reinterpret_cast<int *>(list));
        EXPECT_EQ(shortPUT(list, 1, bad), reinterpret_cast<short *>(list));
    }
    EXPECT_EQ(intGET(list, 5), 0);  // unbound slot
    EXPECT_EQ(intPUT(list, 1, 5), reinterpret_cast<int *>(list));
    EXPECT_EQ(intGET(nullptr, 0), 0);
    EXPECT_EQ(intPUT(nullptr, 1, 0), nullptr);
}

TEST_F(Bindings, HeapStringReplaced) {
    EXPECT_STREQ(cstrGET(list, 3), "");  // variable holds NULL
    cstrPUT(list, "first", 3);
    char *first = s.name;
    EXPECT_STREQ(cstrGET(list, 3), "first");
    EXPECT_EQ(cstrGET(list, 3), first);  // the variable's own string
    cstrPUT(list, "second", 3);           // the old string is freed (ASan would see a leak)
    EXPECT_STREQ(s.name, "second");
    cstrPUT(list, "", 3);
    EXPECT_EQ(s.name, nullptr);
    cstrPUT(list, "third", 3);
    cstrPUT(list, nullptr, 3);
    EXPECT_EQ(s.name, nullptr);

    EXPECT_STREQ(cstrGET(list, 5), "");
    EXPECT_STREQ(cstrGET(list, 9), "");
    EXPECT_STREQ(cstrGET(nullptr, 0), "");
    cstrPUT(list, "x", 9);
    cstrPUT(nullptr, "x", 0);

    // Memory running out leaves the variable empty, never the freed string.
    cstrPUT(list, "kept", 3);
    {
        twtest::FailAllocation fail(1);
        cstrPUT(list, "lost", 3);
        EXPECT_TRUE(fail.fired());
    }
    EXPECT_EQ(s.name, nullptr);
}

TEST_F(Bindings, CharArrayLimitIsSizeMinusIndex) {
    EXPECT_EQ(charArrayGET(list, 4), s.buffer);
    EXPECT_STREQ(charArrayGET(nullptr, 4), "");
    EXPECT_EQ(charArrayGET(list, 9), nullptr);
    EXPECT_EQ(charArrayGET(list, 5), nullptr);  // unbound

    charArrayPUT(list, 8, "abcdefghij", 4);  // limit 8 - 4 = 4
    EXPECT_STREQ(s.buffer, "abc");
    charArrayPUT(list, 12, "abcdefghij", 4);  // callers add the index to the size
    EXPECT_STREQ(s.buffer, "abcdefg");
    charArrayPUT(list, 8, nullptr, 4);
    EXPECT_STREQ(s.buffer, "");
    strcpy(s.buffer, "keep");
    charArrayPUT(list, 4, "zz", 4);  // limit 0: nothing written
    charArrayPUT(list, 2, "zz", 4);  // negative limit: nothing written
    EXPECT_STREQ(s.buffer, "keep");
    charArrayPUT(list, 8, "zz", 9);
    charArrayPUT(nullptr, 8, "zz", 4);
    EXPECT_STREQ(s.buffer, "keep");
}

}  // namespace
