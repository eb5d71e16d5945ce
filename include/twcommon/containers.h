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
 * the pointer values themselves, as unsigned numbers. The comparison, free,
 * visit and predicate functions are called from C code and must not throw:
 * an exception would leave the tree half changed. */
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

/*
 * Variable-size arrays: a growable block of slots behind a four-field header.
 * The pointer kinds (vpvsa, cstrvsa) hold void* / char* slots and keep the
 * block NULL-terminated at all times, so it is a valid cstra whenever it is
 * read or detached; intvsa holds 32-bit int slots and keeps no terminator.
 * Growth adds `increment` slots; an array whose increment is 0 is fixed-size
 * (every insertion into a full one fails). Names that differ only by prefix
 * are one entry point where the slot width agrees.
 */
TW_EXTERN_C_BEGIN

typedef struct VSA {
    void *array;   /* slot block, owned by the header */
    int increment; /* slots added at each growth */
    int size;      /* slots allocated */
    int count;     /* slots in use */
} VSA;

TW_API VSA *vpvsaNEW(int initial, int increment);
TW_API VSA *cstrvsaNEW(int initial, int increment);
TW_API VSA *intvsaNEW(int initial, int increment);
/* The block is taken over and later released with free(). */
TW_API VSA *vpvsaATTACH(void **array, int increment);
TW_API VSA *cstrvsaATTACH(char **array, int increment);
TW_API VSA *intvsaATTACH(int *array, int count, int increment);

TW_API void **vpvsaINSERT(VSA *vsa, void *value, int index);
TW_API char **cstrvsaINSERT(VSA *vsa, char *value, int index);
TW_API int *intvsaINSERT(VSA *vsa, int value, int index);
TW_API void **vpvsaAPPEND(VSA *vsa, void *value);
TW_API char **cstrvsaAPPEND(VSA *vsa, char *value);
TW_API int *intvsaAPPEND(VSA *vsa, int value);

TW_API int vpvsaREMOVE(VSA *vsa, int index, int n);
TW_API int cstrvsaREMOVE(VSA *vsa, int index, int n);
TW_API int intvsaREMOVE(VSA *vsa, int index, int n);
TW_API int cstrvsaREMOVEALL(VSA *vsa, int index, int n);

TW_API void *vpvsaOBJECT(VSA *vsa, int index);
TW_API char *cstrvsaOBJECT(VSA *vsa, int index);
TW_API int intvsaOBJECT(VSA *vsa, int index);
TW_API void **vpvsaPOINTER(VSA *vsa, int index);
TW_API char **cstrvsaPOINTER(VSA *vsa, int index);
TW_API int *intvsaPOINTER(VSA *vsa, int index);
TW_API void **vpvsaSET(VSA *vsa, void *value, int index);
TW_API char **cstrvsaSET(VSA *vsa, char *value, int index);
TW_API int *intvsaSET(VSA *vsa, int value, int index);

TW_API int vpvsaCOUNT(VSA *vsa);
TW_API int cstrvsaCOUNT(VSA *vsa);
TW_API int intvsaCOUNT(VSA *vsa);
TW_API int vpvsaSIZE(VSA *vsa);
TW_API int cstrvsaSIZE(VSA *vsa);
TW_API int intvsaSIZE(VSA *vsa);
TW_API void **vpvsaVSARRAY(VSA *vsa);
TW_API char **cstrvsaVSARRAY(VSA *vsa);
TW_API int *intvsaVSARRAY(VSA *vsa);
TW_API void **vpvsaDETACH(VSA *vsa);
TW_API char **cstrvsaDETACH(VSA *vsa);
TW_API int *intvsaDETACH(VSA *vsa);
/* Frees the block and the header, never the elements. */
TW_API void vpvsaFREE(VSA *vsa);
TW_API void cstrvsaFREE(VSA *vsa);
TW_API void intvsaFREE(VSA *vsa);
TW_API void cstrvsaFREEALL(VSA *vsa);

TW_API int cstrvsaMATCH(VSA *vsa, const char *string);
TW_API int cstrvsaUNIQUE(VSA *vsa, int free_duplicates);
TW_API int intvsaFIND(VSA *vsa, int value);
TW_API int intvsaMAX(VSA *vsa);
TW_API VSA *intvsaDUP(VSA *vsa);

TW_API int intaFIND(const int *array, int count, int value);
TW_API int intaItemGET(const int *array, int index);
TW_API char **intaTOcstra(const int *array, int count);
TW_API void intaFREE(int *array);

TW_EXTERN_C_END

/*
 * Strings (cstr), NULL-terminated arrays of heap strings (cstra) and
 * tokenising. Every char* / char** result is a new heap block for free()
 * unless noted. Tokens are separated by runs of delimiter bytes; a token
 * starting with a double quote runs to its closing quote, quotes included.
 */
TW_EXTERN_C_BEGIN

TW_API int cstrEMPTY(const char *string);
TW_API char cstrLAST(const char *string);
TW_API int cstrMATCH(const char *a, const char *b);
TW_API int cstrCOUNTchar(const char *string, char c);
TW_API int cstrCOUNTchars(const char *string, const char *set);
TW_API void cstrLOWER(char *string);
TW_API void cstrUPPER(char *string);
TW_API char *cstrTRIM(const char *string, int mode, const char *set);
TW_API char *cstrTRIMcstr(const char *string, int mode, const char *suffix);
TW_API int cstrLiteralSIZE(const char *string);
TW_API char *cstrDQuotesSTRIP(const char *string);
TW_API char *cstrDQuotesUNCHECK(const char *string);
TW_API char *cstrDQuotesENCLOSE(const char *string);
TW_API char *cstrDQuotesCHECK(const char *string);
/* In place; returns string. */
TW_API char *stripdelims(char *string, char d);
/* Into string, or NULL. */
TW_API char *strchrwdelim(const char *string, char c, char q);
/* Writes into string and keeps one process-wide cursor: one tokenising at a
 * time. Returns pointers into the string. */
TW_API char *strtokwdelim(char *string, char c, char q);

TW_API char *cstrTokenNEXT(char **cursor, const char *delimiters);
TW_API char *cstrTokenGET(const char *string, int n, const char *delimiters);
TW_API int cstrTokenFIND(char **cursor, int n, const char *delimiters);
TW_API char *cstrTokenOBTAIN(const char *string, int n, const char *separator);
TW_API char **cstrTOcstra(const char *string, const char *delimiters);

TW_API int cstraCOUNT(char **array);
/* Takes over b's strings and frees b's block; only the result is valid. */
TW_API char **cstraAPPEND(char **a, char **b);
TW_API char **cstraDUP(char **array);
TW_API void cstraItemsFREE(char **array);
TW_API void cstraFREE(char **array);
TW_API char *cstraTOcstr(char **array, const char *separator);
TW_API int cstraMATCH(char **array, const char *string);
TW_API char **cstraDIFF(char **a, char **b);

TW_EXTERN_C_END

/*
 * Typed accessors over a binding list: a vpvsa whose slots point at caller
 * variables (int, short, char* holding a heap string, or a char buffer).
 */
TW_EXTERN_C_BEGIN

/* The variable's string, or a static "" (never free it). */
TW_API char *cstrGET(VSA *list, int index);
TW_API char *charArrayGET(VSA *list, int index);
TW_API int intGET(VSA *list, int index);
TW_API int timeGET(VSA *list, int index);
TW_API int shortGET(VSA *list, int index);
TW_API void cstrPUT(VSA *list, const char *string, int index);
/* Copies with a limit of size - index bytes. */
TW_API void charArrayPUT(VSA *list, int size, const char *string, int index);
/* The variable's address, or the list itself when the index is out of range. */
TW_API int *intPUT(VSA *list, int value, int index);
TW_API int *timePUT(VSA *list, int value, int index);
TW_API short *shortPUT(VSA *list, short value, int index);

/* ---- Command-line options ---- */

/* Whether option (with its '-', at most 32 characters) occurs in argv,
 * compared without regard to case. */
TW_API int argEXISTS(char **argv, const char *option);
/* A new string array of the elements after the first occurrence of option,
 * up to the next element beginning with '-' (empty when none follow); null
 * when the option does not occur or memory runs out. Free with cstraFREE. */
TW_API char **argValuesGET(char **argv, const char *option);

TW_EXTERN_C_END

#endif
