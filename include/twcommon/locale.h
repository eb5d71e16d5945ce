/*
 * twcommon locale: the message catalogue, its printf-format scanner, and the
 * mapping of the product's common locale names to the runtime's names.
 *
 * A message has an 11-character identifier ("CerTmf0010N") and a built-in
 * English format. getLocalMsgFmt gives the catalogue text of the identifier
 * in a locale, or null, which tells the caller to use the built-in text.
 */
#ifndef TWCOMMON_LOCALE_H
#define TWCOMMON_LOCALE_H

#include "base.h"

TW_EXTERN_C_BEGIN

/* ---- Format scanner ---- */

/* Kinds of conversion specification. */
enum {
    CONVSPEC_UNKNOWN = 0,
    CONVSPEC_STRING = 1,  /* S p s */
    CONVSPEC_ERRNO = 2,   /* %m: the text of errno; takes no argument */
    CONVSPEC_INT = 3,     /* C c X d i o u x */
    CONVSPEC_INT64 = 4,   /* an integer conversion with the I64 size */
    CONVSPEC_DOUBLE = 5,  /* E G e f g */
    CONVSPEC_PERCENT = 6, /* %%: takes no argument */
    CONVSPEC_COUNT = 7    /* %n */
};

/* One conversion specification of a format, as scanFmtString found it. */
typedef struct ConvSpec {
    struct ConvSpec *next;
    /* The conversion specification as written, cut to 63 characters, without the
     * argument numbers of the N$ forms (so "%2$*1$d" reads "%*d"), with the
     * size letter w written as l and the letter m written as s; empty for %n. */
    char text[64];
    int kind;          /* CONVSPEC_* */
    int width_arg;     /* -1, or the number of the argument that gives the width (*) */
    int precision_arg; /* -1, or the number of the argument that gives the precision (.*) */
    int arg;           /* the value's argument number, from 1; -1 for %m and %% */
    int offset;        /* where the conversion specification starts in the format */
    int length;        /* and its length there */
} ConvSpec;

/* Splits format into its conversion specifications, in order, into *list.
 * Returns the number of malformed conversion specifications met (scanning resumes after
 * each), or -1 with *list null when memory ran out. */
TW_API int scanFmtString(const char *format, ConvSpec **list);
TW_API void freeConvSpecList(ConvSpec *list);

/* ---- Message catalogue ---- */

/* The catalogue text of an 11-character identifier in a locale, or null (no
 * text, bad arguments, no memory, or the cache lock could not be taken). The
 * text belongs to the cache and stays valid until msgCacheUnload. */
TW_API const char *getLocalMsgFmt(const char *locale, const char *id);
/* The same for a unique message identifier "V-<product code>-<number>". */
TW_API const char *getLocalMsgFmtUMI(const char *locale, const char *umi);
/* Frees the whole cache. No other thread may be looking texts up. */
TW_API void msgCacheUnload(void);

/* ---- Locale names ---- */

/* A runtime locale name for a common locale name: the argument itself when
 * the runtime accepts it, else the first accepted platform name that the
 * locale definition file maps to it, else "C" (the argument when there is no
 * file). Never free the result; a mapped name lives in a static buffer that
 * the next call overwrites. */
TW_API const char *common2reallocale(const char *common);

TW_EXTERN_C_END

#endif
