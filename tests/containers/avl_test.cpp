// The AVL tree. Its shape is read back through the public interface: culling
// visits nodes in pre-order, so a predicate that never matches lists the items
// in pre-order, and that list with the items' order gives the whole tree.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <vector>

#include "support/alloc_hook.h"
#include "twcommon/containers.h"

namespace {

// Items are ints owned by the test; the tree compares the values they hold.
int compare_ints(const void *key, const void *item) {
    int a = *static_cast<const int *>(key), b = *static_cast<const int *>(item);
    return (a > b) - (a < b);
}

std::vector<void *> in_order(AVLtree *tree) {
    std::vector<void *> items;
    AVLiterate(
        tree, [](void *item, void *out) { static_cast<std::vector<void *> *>(out)->push_back(item); }, &items);
    return items;
}

std::vector<void *> pre_order(AVLtree *tree) {
    std::vector<void *> items;
    void *culled = AVLcull(
        tree,
        [](void *item, void *out) {
            static_cast<std::vector<void *> *>(out)->push_back(item);
            return 0;
        },
        &items);
    EXPECT_EQ(culled, nullptr);
    return items;
}

std::vector<int> values(const std::vector<void *> &items) {
    std::vector<int> out;
    for (void *item : items) out.push_back(*static_cast<int *>(item));
    return out;
}

// Rebuilds the subtree whose keys lie strictly between lo and hi from its
// pre-order listing. Returns its height, or -1 when some node's subtrees
// differ in height by more than one.
int subtree_height(const std::vector<int> &pre, size_t &pos, long lo, long hi) {
    if (pos == pre.size() || pre[pos] <= lo || pre[pos] >= hi) return 0;
    int key = pre[pos++];
    int left = subtree_height(pre, pos, lo, key);
    int right = subtree_height(pre, pos, key, hi);
    if (left < 0 || right < 0 || std::abs(left - right) > 1) return -1;
    return 1 + std::max(left, right);
}

// Checks that the tree lists exactly the given values in order, that its
// shape is a search tree with every node balanced, and returns its height.
int check_tree(AVLtree *tree, const std::set<int> &model) {
    std::vector<int> sorted(model.begin(), model.end());
    EXPECT_EQ(values(in_order(tree)), sorted);
    std::vector<int> pre = values(pre_order(tree));
    size_t pos = 0;
    int height = subtree_height(pre, pos, LONG_MIN, LONG_MAX);
    EXPECT_EQ(pos, pre.size()) << "pre-order listing is not that of a search tree";
    EXPECT_GE(height, 0) << "a node is out of balance";
    // The AVL bound; also rules out a listing that hides part of the tree.
    EXPECT_LE(height, 1.4405 * std::log2(model.size() + 2.0) - 0.3277 + 1e-9);
    return height;
}

// The same, and the items listed are the model's (value to item).
int check_tree(AVLtree *tree, const std::map<int, void *> &model) {
    std::vector<void *> items;
    std::set<int> keys;
    for (auto &entry : model) items.push_back(entry.second), keys.insert(entry.first);
    EXPECT_EQ(in_order(tree), items);
    return check_tree(tree, keys);
}

// A free function that counts calls per item.
std::map<void *, int> freed;
void count_free(void *item) { ++freed[item]; }

class AvlTest : public ::testing::Test {
protected:
    void SetUp() override { freed.clear(); }
    // slot[v] holds v, so items can be told apart from keys of equal value.
    std::vector<int> slot = [] {
        std::vector<int> v(4096);
        std::iota(v.begin(), v.end(), 0);
        return v;
    }();
    void *item(int v) { return &slot[v]; }
};

TEST_F(AvlTest, NullHandleIsRefusedEverywhere) {
    int key = 1;
    EXPECT_EQ(AVLretrieve(nullptr, &key), nullptr);
    EXPECT_EQ(AVLinsert(nullptr, &key), nullptr);
    EXPECT_EQ(AVLremove(nullptr, &key), nullptr);
    EXPECT_EQ(AVLdelete(nullptr, &key), 0);
    bool called = false;
    AVLiterate(nullptr, [](void *, void *flag) { *static_cast<bool *>(flag) = true; }, &called);
    EXPECT_EQ(AVLcull(
                  nullptr,
                  [](void *, void *flag) {
                      *static_cast<bool *>(flag) = true;
                      return 1;
                  },
                  &called),
              nullptr);
    EXPECT_FALSE(called);
    AVLclose(nullptr);
}

TEST_F(AvlTest, EmptyTreeAnswersNothing) {
    AVLtree *tree = AVLopen(compare_ints, count_free);
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(AVLretrieve(tree, item(1)), nullptr);
    EXPECT_EQ(AVLremove(tree, item(1)), nullptr);
    EXPECT_EQ(AVLdelete(tree, item(1)), 0);
    EXPECT_TRUE(in_order(tree).empty());
    EXPECT_TRUE(pre_order(tree).empty());
    // A null visit function or predicate has nothing to call.
    AVLiterate(tree, nullptr, nullptr);
    EXPECT_EQ(AVLinsert(tree, item(1)), item(1));
    AVLiterate(tree, nullptr, nullptr);
    EXPECT_EQ(AVLcull(tree, nullptr, nullptr), nullptr);
    EXPECT_EQ(in_order(tree).size(), 1u);
    AVLclose(tree);
    EXPECT_EQ(freed, (std::map<void *, int>{{item(1), 1}}));
}

TEST_F(AvlTest, DuplicateInsertReturnsTheItemAlreadyThere) {
    AVLtree *tree = AVLopen(compare_ints, count_free);
    int first = 5, second = 5;
    EXPECT_EQ(AVLinsert(tree, &first), &first);
    EXPECT_EQ(AVLinsert(tree, &second), &first);
    EXPECT_EQ(in_order(tree), std::vector<void *>{&first});
    EXPECT_EQ(AVLretrieve(tree, &second), &first);
    // Refused without allocating.
    {
        twtest::FailAllocation fail(1);
        EXPECT_EQ(AVLinsert(tree, &second), &first);
        EXPECT_FALSE(fail.fired());
    }
    AVLclose(tree);
    EXPECT_EQ(freed, (std::map<void *, int>{{&first, 1}}));
}

TEST_F(AvlTest, RandomInsertRemoveCullMatchesModelAndStaysBalanced) {
    // Each value has two items, so a duplicate insertion shows which one the
    // tree kept, and a removal which one it gave back.
    std::vector<int> twin = slot;
    std::map<void *, int> expected_frees;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 rng(seed);
        // Small key ranges revisit keys often; large ones grow deep trees.
        const int range = seed % 2 ? 64 : 1000;
        AVLtree *tree = AVLopen(compare_ints, count_free);
        std::map<int, void *> model;
        for (int step = 0; step < 6000 && !HasFailure(); ++step) {
            int v = int(rng() % range);
            void *candidate = rng() % 2 ? item(v) : &twin[v];
            auto present = model.find(v);
            void *current = present == model.end() ? nullptr : present->second;
            // Phases that favour insertion, then removal, then a mix.
            int phase = step / 1500, op = int(rng() % 10);
            bool inserting = phase == 0 ? op < 8 : phase == 1 ? op < 2 : op < 5;
            if (inserting) {
                EXPECT_EQ(AVLinsert(tree, candidate), current ? current : candidate);
                if (!current) model[v] = candidate;
            } else if (op == 9) {
                int residue = v % 5;
                void *culled = AVLcull(
                    tree, [](void *i, void *r) { return int(*static_cast<int *>(i) % 5 == *static_cast<int *>(r)); },
                    &residue);
                auto match = std::find_if(model.begin(), model.end(), [&](auto &m) { return m.first % 5 == residue; });
                ASSERT_EQ(culled != nullptr, match != model.end());
                if (culled) {
                    auto it = model.find(*static_cast<int *>(culled));
                    ASSERT_NE(it, model.end());
                    EXPECT_EQ(it->second, culled);
                    model.erase(it);
                }
            } else if (op % 2) {
                EXPECT_EQ(AVLremove(tree, candidate), current);
                if (current) model.erase(present);
            } else {
                EXPECT_EQ(AVLdelete(tree, candidate), current ? 1 : 0);
                if (current) {
                    ++expected_frees[current];
                    model.erase(present);
                }
            }
            int probe = int(rng() % range);
            auto found = model.find(probe);
            EXPECT_EQ(AVLretrieve(tree, &probe), found == model.end() ? nullptr : found->second);
            check_tree(tree, model);
        }
        for (auto &entry : model) ++expected_frees[entry.second];
        AVLclose(tree);
        EXPECT_EQ(freed, expected_frees);
    }
}

TEST_F(AvlTest, SortedInsertionBuildsPerfectTrees) {
    for (bool ascending : {true, false}) {
        AVLtree *tree = AVLopen(compare_ints, nullptr);
        std::set<int> model;
        for (int i = 1; i <= 1023; ++i) {
            int v = ascending ? i : 1024 - i;
            ASSERT_EQ(AVLinsert(tree, item(v)), item(v));
            model.insert(v);
            int height = check_tree(tree, model);
            if (((i + 1) & i) == 0) {
                EXPECT_EQ(1 << height, i + 1) << "not perfect at " << i;
            }
        }
        AVLclose(tree);
    }
}

TEST_F(AvlTest, RemovedNodeIsReplacedFromItsTallerSide) {
    AVLtree *tree = AVLopen(compare_ints, nullptr);
    for (int v : {4, 2, 5, 1, 3}) AVLinsert(tree, item(v));
    ASSERT_EQ(values(pre_order(tree)), (std::vector<int>{4, 2, 1, 3, 5}));
    // The root leans left: its predecessor's item moves into it.
    EXPECT_EQ(AVLremove(tree, item(4)), item(4));
    EXPECT_EQ(values(pre_order(tree)), (std::vector<int>{3, 2, 1, 5}));
    // Removing 1 evens the root, and an even node takes its successor's item.
    EXPECT_EQ(AVLremove(tree, item(1)), item(1));
    ASSERT_EQ(values(pre_order(tree)), (std::vector<int>{3, 2, 5}));
    EXPECT_EQ(AVLremove(tree, item(3)), item(3));
    EXPECT_EQ(values(pre_order(tree)), (std::vector<int>{5, 2}));
    AVLclose(tree);
}

TEST_F(AvlTest, RemovalRebalancesOnTheWayUp) {
    AVLtree *tree = AVLopen(compare_ints, nullptr);
    std::set<int> model;
    for (int v = 1; v <= 12; ++v) AVLinsert(tree, item(v)), model.insert(v);
    ASSERT_EQ(values(pre_order(tree)), (std::vector<int>{8, 4, 2, 1, 3, 6, 5, 7, 10, 9, 11, 12}));
    // 9: 10 is rotated (single) and the lost height reaches the root.
    // 1, 3, 12, 5: no rotation; 4 and its child 6 end up leaning right.
    // 10: the root leans left by two and is rotated through 6 (double).
    const std::vector<std::vector<int>> shapes = {
        {8, 4, 2, 1, 3, 6, 5, 7, 11, 10, 12}, {8, 4, 2, 3, 6, 5, 7, 11, 10, 12}, {8, 4, 2, 6, 5, 7, 11, 10, 12},
        {8, 4, 2, 6, 5, 7, 11, 10},           {8, 4, 2, 6, 7, 11, 10},           {6, 4, 2, 8, 7, 11},
    };
    const int removals[] = {9, 1, 3, 12, 5, 10};
    for (size_t i = 0; i < shapes.size(); ++i) {
        EXPECT_EQ(AVLremove(tree, item(removals[i])), item(removals[i]));
        model.erase(removals[i]);
        EXPECT_EQ(values(pre_order(tree)), shapes[i]) << "after removing " << removals[i];
        check_tree(tree, model);
    }
    AVLclose(tree);
}

TEST_F(AvlTest, MissingKeyLeavesTheTreeAsItWas) {
    AVLtree *tree = AVLopen(compare_ints, count_free);
    for (int v = 0; v < 40; v += 2) AVLinsert(tree, item(v));
    std::vector<void *> before = pre_order(tree);
    for (int v = -1; v < 42; v += 2) {
        EXPECT_EQ(AVLremove(tree, &v), nullptr);
        EXPECT_EQ(AVLdelete(tree, &v), 0);
        EXPECT_EQ(pre_order(tree), before);
    }
    EXPECT_EQ(AVLcull(tree, [](void *, void *) { return 0; }, nullptr), nullptr);
    EXPECT_EQ(pre_order(tree), before);
    EXPECT_TRUE(freed.empty());
    AVLclose(tree);
}

TEST_F(AvlTest, CullRemovesOneMatchPerCallInPreOrder) {
    AVLtree *tree = AVLopen(compare_ints, count_free);
    for (int v = 1; v <= 7; ++v) AVLinsert(tree, item(v));
    ASSERT_EQ(values(pre_order(tree)), (std::vector<int>{4, 2, 1, 3, 6, 5, 7}));
    auto odd = [](void *i, void *calls) {
        ++*static_cast<int *>(calls);
        return *static_cast<int *>(i) % 2;
    };
    std::vector<int> culled;
    int calls = 0;
    while (void *found = AVLcull(tree, odd, &calls)) culled.push_back(*static_cast<int *>(found));
    EXPECT_EQ(culled, (std::vector<int>{1, 3, 5, 7}));
    EXPECT_EQ(values(in_order(tree)), (std::vector<int>{2, 4, 6}));
    // Each call stops at its match: 3 + 3 + 4 + 4 visits, then all three.
    EXPECT_EQ(calls, 17);
    // A match at the root is the first one.
    EXPECT_EQ(AVLcull(tree, [](void *, void *) { return 1; }, nullptr), item(4));
    EXPECT_TRUE(freed.empty());
    AVLclose(tree);
    EXPECT_EQ(freed.size(), 2u);
}

// Keys and items of different types: culling must find its node by position,
// since it has no key to compare with.
struct Record {
    int other;
    int id;
};

TEST_F(AvlTest, CullWorksWhenKeysAreNotItems) {
    AVLcompare by_id = [](const void *key, const void *item) {
        int a = *static_cast<const int *>(key), b = static_cast<const Record *>(item)->id;
        return (a > b) - (a < b);
    };
    std::vector<Record> records(100);
    AVLtree *tree = AVLopen(by_id, nullptr);
    for (int i = 0; i < 100; ++i) {
        records[i] = {1000 - i, (i * 37) % 100};
        AVLinsert(tree, &records[i]);
    }
    for (int target = 0; target < 100; target += 7) {
        void *culled = AVLcull(
            tree, [](void *r, void *t) { return int(static_cast<Record *>(r)->id == *static_cast<int *>(t)); },
            &target);
        ASSERT_NE(culled, nullptr);
        EXPECT_EQ(static_cast<Record *>(culled)->id, target);
        EXPECT_EQ(AVLretrieve(tree, &target), nullptr);
    }
    int count = 0;
    AVLiterate(tree, [](void *, void *n) { ++*static_cast<int *>(n); }, &count);
    EXPECT_EQ(count, 100 - 15);
    AVLclose(tree);
}

TEST_F(AvlTest, NullComparisonOrdersByUnsignedPointerValue) {
    auto ptr = [](uintptr_t v) { return reinterpret_cast<void *>(v); };
    std::vector<void *> sorted = {ptr(1), ptr(0x7fffffff), ptr(0x80000000u), ptr(0xfffffff0u)};
    if (sizeof(void *) > 4) sorted.push_back(ptr(uintptr_t(0x7fffffffu) << 20));
    sorted.push_back(ptr(UINTPTR_MAX));
    std::vector<void *> shuffled = sorted;
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
    AVLtree *tree = AVLopen(nullptr, nullptr);
    for (void *p : shuffled) EXPECT_EQ(AVLinsert(tree, p), p);
    EXPECT_EQ(in_order(tree), sorted);
    for (void *p : sorted) EXPECT_EQ(AVLretrieve(tree, p), p);
    EXPECT_EQ(AVLretrieve(tree, ptr(2)), nullptr);
    EXPECT_EQ(AVLremove(tree, ptr(0x80000000u)), ptr(0x80000000u));
    EXPECT_EQ(AVLdelete(tree, ptr(UINTPTR_MAX)), 1);
    EXPECT_EQ(in_order(tree).size(), sorted.size() - 2);
    AVLclose(tree);
}

TEST_F(AvlTest, NullItemIsRefusedOnlyWhenTheTreeFreesItems) {
    AVLtree *owning = AVLopen(nullptr, count_free);
    EXPECT_EQ(AVLinsert(owning, nullptr), nullptr);
    EXPECT_TRUE(in_order(owning).empty());
    AVLclose(owning);

    // Without a free function a null item is an item like any other, and
    // with the pointer order it is the smallest.
    AVLtree *plain = AVLopen(nullptr, nullptr);
    AVLinsert(plain, item(3));
    AVLinsert(plain, nullptr);
    EXPECT_EQ(in_order(plain), (std::vector<void *>{nullptr, item(3)}));
    EXPECT_EQ(AVLdelete(plain, nullptr), 1);
    EXPECT_EQ(AVLdelete(plain, nullptr), 0);
    EXPECT_EQ(in_order(plain), std::vector<void *>{item(3)});
    AVLclose(plain);
    EXPECT_TRUE(freed.empty());
}

TEST_F(AvlTest, CloseFreesInPostOrder) {
    static std::vector<int> order;
    order.clear();
    AVLtree *tree = AVLopen(compare_ints, [](void *i) { order.push_back(*static_cast<int *>(i)); });
    for (int v = 1; v <= 7; ++v) AVLinsert(tree, item(v));
    AVLclose(tree);
    EXPECT_EQ(order, (std::vector<int>{1, 3, 2, 5, 7, 6, 4}));
}

TEST_F(AvlTest, OpenReturnsNullWhenMemoryRunsOut) {
    AVLtree *tree = nullptr;
    int failures = twtest::for_each_allocation_failure([&] { tree = AVLopen(compare_ints, nullptr); },
                                                   [&](bool failed) {
                                                       if (failed) {
                                                           EXPECT_EQ(tree, nullptr);
                                                       } else {
                                                           ASSERT_NE(tree, nullptr);
                                                           AVLclose(tree);
                                                       }
                                                   });
    EXPECT_EQ(failures, 1);
}

TEST_F(AvlTest, InsertLeavesTheTreeUnchangedWhenMemoryRunsOut) {
    AVLtree *tree = AVLopen(compare_ints, count_free);
    std::set<int> model;
    // Into an empty tree, then into trees where the new leaf would unbalance
    // a node (ascending keys rotate at every other step).
    for (int v = 0; v < 64; ++v) {
        std::vector<void *> before = pre_order(tree);
        void *result = item(v);
        int failures = twtest::for_each_allocation_failure([&] { result = AVLinsert(tree, item(v)); },
                                                           [&](bool failed) {
                                                               if (!failed) return;
                                                               EXPECT_EQ(result, nullptr);
                                                               EXPECT_EQ(pre_order(tree), before);
                                                           });
        EXPECT_EQ(failures, 1);
        EXPECT_EQ(result, item(v));
        model.insert(v);
        check_tree(tree, model);
    }
    AVLclose(tree);
    EXPECT_EQ(freed.size(), 64u);
    EXPECT_TRUE(std::all_of(freed.begin(), freed.end(), [](auto &e) { return e.second == 1; }));
}

}  // namespace
