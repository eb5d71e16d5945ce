/*
 * twcommon containers: the AVL tree.
 *
 * A height-balanced search tree of opaque item pointers ordered by a caller
 * comparison compare(key, item). The tree never copies items; AVLdelete and
 * AVLclose hand them to the tree's free function. Insertion and removal are
 * iterative and write into the nodes they pass, so no other operation on the
 * same tree may run at the same time: callers lock.
 */
#ifndef TWCOMMON_CONTAINERS_H
#define TWCOMMON_CONTAINERS_H

#include "base.h"

TW_EXTERN_C_BEGIN

typedef struct AVLtree AVLtree;

/* compare(key, item): negative, 0 or positive. A null comparison orders by
 * the pointer values themselves, as unsigned numbers. */
typedef int (*AVLcompare)(const void *key, const void *item);
typedef void (*AVLfree)(void *item);
typedef void (*AVLvisit)(void *item, void *argument);
typedef int (*AVLpredicate)(void *item, void *argument);

TW_API AVLtree *AVLopen(AVLcompare compare, AVLfree free_item);
TW_API void *AVLretrieve(AVLtree *tree, const void *key);
/* Returns the item passed when inserted, the item already present when one
 * compares equal, null on a null tree, when memory runs out, or for a null
 * item when the tree has a free function. */
TW_API void *AVLinsert(AVLtree *tree, void *item);
TW_API void *AVLremove(AVLtree *tree, const void *key);
TW_API int AVLdelete(AVLtree *tree, const void *key);
TW_API void AVLiterate(AVLtree *tree, AVLvisit visit, void *argument);
TW_API void *AVLcull(AVLtree *tree, AVLpredicate predicate, void *argument);
TW_API void AVLclose(AVLtree *tree);

TW_EXTERN_C_END

#endif
