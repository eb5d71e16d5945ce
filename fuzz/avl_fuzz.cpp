// Differential fuzzing of the AVL tree against std::map.
//
// The input is a sequence of two-byte operations (operation, key) on keys
// 0..31. Each key has two distinct items of equal value, so a duplicate
// insertion shows which one the tree kept. After every operation the tree
// must list exactly the model's items in order, and its shape, read in
// pre-order through a culling predicate that never matches, must be a
// balanced search tree. At the end, every item must have reached the free
// function exactly as often as it was deleted or left in the tree at close.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <vector>

#include "twcommon/containers.h"

extern "C" TW_API int twcommon_testhook_failalloc(int n);

namespace {

constexpr int kKeys = 32;
int items[kKeys][2];
int freed[kKeys][2];

void check(bool ok) {
    if (!ok) __builtin_trap();
}

int value_of(const void *item) { return *static_cast<const int *>(item); }

int compare(const void *key, const void *item) {
    int a = value_of(key), b = value_of(item);
    return (a > b) - (a < b);
}

void count_free(void *item) {
    int *p = static_cast<int *>(item);
    check(p >= &items[0][0] && p < &items[0][0] + 2 * kKeys);
    ++(&freed[0][0])[p - &items[0][0]];
}

// Height of the subtree listed from pre[pos] whose values lie in (lo, hi);
// -1 when out of balance.
int height(const std::vector<int> &pre, size_t &pos, int lo, int hi) {
    if (pos == pre.size() || pre[pos] <= lo || pre[pos] >= hi) return 0;
    int v = pre[pos++];
    int l = height(pre, pos, lo, v), r = height(pre, pos, v, hi);
    if (l < 0 || r < 0 || l - r > 1 || r - l > 1) return -1;
    return 1 + (l > r ? l : r);
}

void check_tree(AVLtree *tree, const std::map<int, int *> &model) {
    std::vector<void *> listed;
    AVLiterate(tree, [](void *item, void *out) { static_cast<std::vector<void *> *>(out)->push_back(item); },
               &listed);
    check(listed.size() == model.size());
    size_t i = 0;
    for (auto &entry : model) check(listed[i++] == entry.second);

    std::vector<int> pre;
    check(AVLcull(
              tree,
              [](void *item, void *out) {
                  static_cast<std::vector<int> *>(out)->push_back(value_of(item));
                  return 0;
              },
              &pre) == nullptr);
    size_t pos = 0;
    check(height(pre, pos, -1, kKeys) >= 0 && pos == pre.size());
}

struct CullArg {
    int modulus, residue;
};

int matches(void *item, void *arg) {
    const CullArg *c = static_cast<const CullArg *>(arg);
    return value_of(item) % c->modulus == c->residue;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    for (int k = 0; k < kKeys; ++k) items[k][0] = items[k][1] = k;
    int expected_frees[kKeys][2] = {};
    for (auto &f : freed) f[0] = f[1] = 0;

    AVLtree *tree = AVLopen(compare, count_free);
    check(tree != nullptr);
    std::map<int, int *> model;
    auto slot = [](int *item) { return std::make_pair(value_of(item), int(item - items[value_of(item)])); };

    for (size_t at = 0; at + 1 < size; at += 2) {
        const int op = data[at] % 8;
        const int key = data[at + 1] % kKeys;
        const int variant = data[at + 1] / kKeys % 2;
        int *item = &items[key][variant];
        auto present = model.find(key);
        int *current = present == model.end() ? nullptr : present->second;

        switch (op) {
        case 0:
        case 1:
            check(AVLinsert(tree, item) == (current ? current : item));
            if (!current) model[key] = item;
            break;
        case 2:  // insertion that runs out of memory
        {
            twcommon_testhook_failalloc(1);
            void *result = AVLinsert(tree, item);
            bool fired = twcommon_testhook_failalloc(0) == 0;
            check(result == current && fired == !current);
            break;
        }
        case 3:
            check(AVLremove(tree, &items[key][1 - variant]) == current);
            if (current) model.erase(present);
            break;
        case 4:
            check(AVLdelete(tree, item) == (current ? 1 : 0));
            if (current) {
                auto s = slot(current);
                ++expected_frees[s.first][s.second];
                check(freed[s.first][s.second] == expected_frees[s.first][s.second]);
                model.erase(present);
            }
            break;
        case 5:
            check(AVLretrieve(tree, item) == current);
            break;
        default:  // cull the first item whose value is congruent to key
        {
            CullArg arg{op == 6 ? 3 : 7, key % (op == 6 ? 3 : 7)};
            void *culled = AVLcull(tree, matches, &arg);
            if (culled) {
                auto it = model.find(value_of(culled));
                check(it != model.end() && it->second == culled && matches(culled, &arg));
                model.erase(it);
            } else {
                for (auto &entry : model) check(!matches(entry.second, &arg));
            }
            break;
        }
        }
        check_tree(tree, model);
    }

    for (auto &entry : model) {
        auto s = slot(entry.second);
        ++expected_frees[s.first][s.second];
    }
    AVLclose(tree);
    for (int k = 0; k < kKeys; ++k)
        for (int v = 0; v < 2; ++v) check(freed[k][v] == expected_frees[k][v]);
    return 0;
}
