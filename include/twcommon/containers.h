/*
 * twcommon containers: the AVL tree; directory listings and small utilities.
 *
 * A height-balanced search tree of opaque item pointers ordered by a caller
 * comparison compare(key, item). The tree never copies items; AVLdelete and
 * AVLclose hand them to the tree's free function. Insertion and removal are
 * iterative and write into the nodes they pass, so no other operation on the
 * same tree may run at the same time: callers lock.
 */
#ifndef TWCOMMON_CONTAINERS_H
#define TWCOMMON_CONTAINERS_H

#include <stdio.h>

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

/* ---- Directory listings and small utilities ---- */

/* A node of a directory listing while it is being built and sorted. */
typedef struct dlist {
    char *name;
    struct dlist *next;
} dlist;

/* The names in dir, sorted bytewise, without those beginning with "." (so
 * without "." and ".."), as a null-terminated heap array of heap strings
 * (free it with free_dir_list). Null for an empty directory (*err 0) and on
 * failure (*err the error number: 2 missing, 20 not a directory, 12 no
 * memory). err may be null. */
TW_API char **get_dir_list(const char *dir, int *err);
/* Both free a null-terminated array of heap strings; always 0. */
TW_API int free_dir_list(char **list);
TW_API int free_char_array(char **array);
/* Sorts a list by name, ascending; equal names keep their order. */
TW_API dlist *insertion_sort_dlist(dlist *head);

/* Creates path and every missing parent. 0, or -1 with *err the error
 * number (12 when memory runs out). The directories get the platform's
 * default permissions; mode is not applied. err may be null. */
TW_API int mkdirpath(const char *path, int mode, int *err);
TW_API int _wmkdirpath(const tw_wchar_t *path, int mode, int *err);

/* One line of any length from stream, its newline kept, as a heap string;
 * null at end of file or when memory runs out. *length (when given) gets the
 * number of characters read. */
TW_API char *myfgetline(FILE *stream, int *length);

/* Copy at most 64 characters of text, blanks turned into ":" (colonize) or
 * ":" into blanks (decolonize), into out (at least 65 bytes) or, when out is
 * null, into a static buffer of the function kept per mode: one for mode 1,
 * one for mode 2, one for every other mode. */
TW_API char *colonize_by_mode(const char *text, char *out, int mode);
TW_API char *decolonize_by_mode(const char *text, char *out, int mode);

/* Non-zero when label is a valid media label of at most max_length
 * characters from A-Z a-z 0-9 + - . _ not beginning with "-". */
TW_API int IsValidLabel(const char *label, int max_length);
/* The decimal value of text; 0 for ""; -1 when any character is not a digit. */
TW_API int v_atoi(const char *text);

/* The C runtime's pseudo-random generator. */
TW_API void Q_srand(unsigned int seed);
TW_API int Q_rand(void);

/* 1 for "X:\..." / "X:/..." and "\\...", else 0. */
TW_API int IsAbsoluteNtPath(const char *path);
/* Removes trailing slashes and backslashes, keeping "/" and a drive root
 * "X:\"; returns the new length. */
TW_API int TrimAbsolutePath(char *path);

TW_EXTERN_C_END

#endif
