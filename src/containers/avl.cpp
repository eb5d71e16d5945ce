/*
 * The AVL tree: a height-balanced search tree of opaque item pointers.
 *
 * Invariants between operations: for every node, the items of its left
 * subtree compare below its own and those of its right subtree above (no two
 * items compare equal), and its balance (height of the right subtree minus
 * height of the left one) is -1, 0 or +1 and true.
 *
 * Nodes have no parent pointers and the structural operations use no stack:
 * insertion rebalances below the deepest node of its path that was not
 * balanced (the only one that can reach +-2), and removal reverses each child
 * link it follows so that the link leads back up, restoring it on the way
 * back. Both leave in every node they pass the side they went on (direction),
 * which is how insertion walks its path a second time and how culling tells
 * removal where a node is. Iteration, culling and closing recurse, at most to
 * the height of the tree.
 */
#include <cstdint>

#include "base/alloc.h"
#include "twcommon/containers.h"

namespace {

enum Side { kLeft = 0, kRight = 1 };

struct Node {
    Node *link[2];            // children; a removal reverses those it follows
    void *item;
    signed char balance;      // right height minus left height
    unsigned char direction;  // side taken here by the last insertion, removal or cull
};

}  // namespace

struct AVLtree {
    Node *root;
    AVLcompare compare;
    AVLfree free_item;
};

namespace {

// The orders a tree can have: the caller's, or the pointer values as unsigned
// numbers. Operations are templates over them so the default order is inline.
struct CallerOrder {
    AVLcompare compare;
    int operator()(const void *key, const void *item) const { return compare(key, item); }
};

struct PointerOrder {
    int operator()(const void *key, const void *item) const {
        uintptr_t a = reinterpret_cast<uintptr_t>(key), b = reinterpret_cast<uintptr_t>(item);
        return (a > b) - (a < b);
    }
};

// Searches are bound by memory latency, and each level costs two dependent
// loads: the node, then the item it points to. Fetching both children while
// the item is compared overlaps the two.
inline void prefetch_children(const Node *n) {
    __builtin_prefetch(n->link[kLeft]);
    __builtin_prefetch(n->link[kRight]);
}

template <typename Op>
auto with_order(const AVLtree *tree, Op op) {
    return tree->compare ? op(CallerOrder{tree->compare}) : op(PointerOrder{});
}

// Rebalances a node whose balance is +-2 and returns the new root of its
// subtree: a single rotation when its child on the heavy side leans the same
// way or not at all, else a double rotation through that child's inner child.
Node *rotate(Node *n) {
    const int heavy = n->balance > 0 ? kRight : kLeft;
    const int sign = heavy == kRight ? 1 : -1;
    Node *c = n->link[heavy];
    if (c->balance != -sign) {
        n->link[heavy] = c->link[!heavy];
        c->link[!heavy] = n;
        // A balanced child (possible only after a removal) leaves the
        // subtree's height as it was, leaning the other way.
        n->balance = static_cast<signed char>(c->balance != 0 ? 0 : sign);
        c->balance = static_cast<signed char>(-n->balance);
        return c;
    }
    Node *g = c->link[!heavy];
    n->link[heavy] = g->link[!heavy];
    c->link[!heavy] = g->link[heavy];
    g->link[!heavy] = n;
    g->link[heavy] = c;
    if (g->balance != c->balance) {
        c->balance = 0;
        n->balance = static_cast<signed char>(-g->balance);
    } else {
        n->balance = 0;
        c->balance = static_cast<signed char>(-g->balance);
    }
    g->balance = 0;
    return g;
}

template <typename Order>
void *find(const AVLtree *tree, const void *key, Order order) {
    for (Node *n = tree->root; n;) {
        prefetch_children(n);
        int c = order(key, n->item);
        if (c == 0) return n->item;
        n = n->link[c > 0];
    }
    return nullptr;
}

template <typename Order>
void *insert(AVLtree *tree, void *item, Order order) {
    Node **critical = &tree->root;  // link to the deepest unbalanced node passed
    Node **link = &tree->root;
    for (Node *n; (n = *link) != nullptr;) {
        prefetch_children(n);
        int c = order(item, n->item);
        if (c == 0) return n->item;
        if (n->balance != 0) critical = link;
        n->direction = c > 0;
        link = &n->link[c > 0];
    }
    Node *leaf = static_cast<Node *>(tw::mem_alloc(sizeof(Node)));
    if (!leaf) return nullptr;
    leaf->link[kLeft] = leaf->link[kRight] = nullptr;
    leaf->item = item;
    leaf->balance = 0;
    leaf->direction = 0;
    *link = leaf;

    // Every node from the critical one down was balanced except the critical
    // node itself, so only it can have become too heavy.
    Node *top = *critical;
    for (Node *n = top; n != leaf; n = n->link[n->direction])
        n->balance = static_cast<signed char>(n->balance + (n->direction == kRight ? 1 : -1));
    if (top->balance == 2 || top->balance == -2) *critical = rotate(top);
    return item;
}

// Removes the node that steer(node) leads to: steer answers 0 at that node,
// else the sign of the side to go on. Returns whether one was found, and its
// item in *removed.
template <typename Steer>
bool remove_node(AVLtree *tree, Steer steer, void **removed) {
    Node *parent = nullptr;  // the node above; its link towards us points to its own parent
    Node *n = tree->root;

    auto descend = [&](int side) {
        n->direction = static_cast<unsigned char>(side);
        Node *next = n->link[side];
        n->link[side] = parent;
        parent = n;
        n = next;
    };

    while (n) {
        prefetch_children(n);
        int c = steer(n);
        if (c == 0) break;
        descend(c > 0);
    }

    const bool found = n != nullptr;
    Node *below = nullptr;  // what hangs under parent on the way back up
    bool shrunk = false;    // whether that subtree lost height
    if (found) {
        *removed = n->item;
        // The node keeps its place and takes the item of its neighbour in
        // order on its taller side (the right when even); the neighbour's
        // node, which has at most one child, is the one that goes.
        const int side = n->balance < 0 ? kLeft : kRight;
        Node *victim = n;
        if (n->link[side]) {
            Node *keep = n;
            descend(side);
            while (n->link[!side]) descend(!side);
            victim = n;
            keep->item = victim->item;
        }
        below = victim->link[kLeft] ? victim->link[kLeft] : victim->link[kRight];
        tw::mem_free(victim);
        shrunk = true;
    }

    while (parent) {
        Node *p = parent;
        const int side = p->direction;
        parent = p->link[side];
        p->link[side] = below;
        below = p;
        if (!shrunk) continue;
        p->balance = static_cast<signed char>(p->balance + (side == kLeft ? 1 : -1));
        if (p->balance == 1 || p->balance == -1) {
            shrunk = false;  // only one side lost height: this subtree keeps its own
        } else if (p->balance != 0) {
            below = rotate(p);
            if (below->balance != 0) shrunk = false;
        }
    }
    tree->root = below;
    return found;
}

template <typename Order>
bool remove_key(AVLtree *tree, const void *key, void **removed, Order order) {
    return remove_node(tree, [&](const Node *n) { return order(key, n->item); }, removed);
}

void visit_in_order(Node *n, AVLvisit visit, void *argument) {
    for (; n; n = n->link[kRight]) {
        visit_in_order(n->link[kLeft], visit, argument);
        visit(n->item, argument);
    }
}

// Pre-order search. The directions left in the ancestors of the node found
// are its path from the root.
Node *find_pre_order(Node *n, AVLpredicate predicate, void *argument) {
    for (; n; n = n->link[kRight]) {
        if (predicate(n->item, argument)) return n;
        n->direction = kLeft;
        if (Node *found = find_pre_order(n->link[kLeft], predicate, argument)) return found;
        n->direction = kRight;
    }
    return nullptr;
}

void free_post_order(Node *n, AVLfree free_item) {
    if (!n) return;
    free_post_order(n->link[kLeft], free_item);
    free_post_order(n->link[kRight], free_item);
    if (free_item && n->item) free_item(n->item);
    tw::mem_free(n);
}

}  // namespace

extern "C" {

AVLtree *AVLopen(AVLcompare compare, AVLfree free_item) {
    AVLtree *tree = static_cast<AVLtree *>(tw::mem_alloc(sizeof(AVLtree)));
    if (!tree) return nullptr;
    tree->root = nullptr;
    tree->compare = compare;
    tree->free_item = free_item;
    return tree;
}

void *AVLretrieve(AVLtree *tree, const void *key) {
    if (!tree) return nullptr;
    return with_order(tree, [&](auto order) { return find(tree, key, order); });
}

void *AVLinsert(AVLtree *tree, void *item) {
    if (!tree || (!item && tree->free_item)) return nullptr;
    return with_order(tree, [&](auto order) { return insert(tree, item, order); });
}

void *AVLremove(AVLtree *tree, const void *key) {
    void *item = nullptr;
    if (tree) with_order(tree, [&](auto order) { return remove_key(tree, key, &item, order); });
    return item;
}

int AVLdelete(AVLtree *tree, const void *key) {
    if (!tree) return 0;
    void *item = nullptr;
    if (!with_order(tree, [&](auto order) { return remove_key(tree, key, &item, order); })) return 0;
    if (tree->free_item) tree->free_item(item);
    return 1;
}

void AVLiterate(AVLtree *tree, AVLvisit visit, void *argument) {
    if (tree && visit) visit_in_order(tree->root, visit, argument);
}

void *AVLcull(AVLtree *tree, AVLpredicate predicate, void *argument) {
    if (!tree || !predicate) return nullptr;
    Node *target = find_pre_order(tree->root, predicate, argument);
    if (!target) return nullptr;
    void *item = nullptr;
    remove_node(
        tree, [target](const Node *n) { return n == target ? 0 : n->direction == kRight ? 1 : -1; }, &item);
    return item;
}

void AVLclose(AVLtree *tree) {
    if (!tree) return;
    free_post_order(tree->root, tree->free_item);
    tw::mem_free(tree);
}

}  // extern "C"
