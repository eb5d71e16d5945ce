/*
 * twcommon configuration: named path strings and the paths file, the
 * configuration lock, module identity and file-name conversions.
 *
 * Every file, directory, program and service name is asked for by a symbolic
 * name (getOrrickString("BP_LOGS")) whose template may refer to other names
 * as $NAME or ${NAME}. The built-in table is overlaid by the registry key
 * HKLM\SOFTWARE\Quorvex\Tallowind\CurrentVersion\Paths, read once per process.
 * All texts are 8-bit in the local code page.
 */
#ifndef TWCOMMON_CONFIG_H
#define TWCOMMON_CONFIG_H

#include "base.h"

TW_EXTERN_C_BEGIN

/* ---- Named path strings ---- */

/* The expanded value of name; "" for an unknown name. The text belongs to the
 * table and stays valid until the process ends: never free it. */
TW_API const char *getOrrickString(const char *name);
/* A new heap string: text with every reference expanded and escapes removed
 * (a new "" on failure); release it with freeOrrickString. */
TW_API char *expandOrrickString(const char *text);
/* The value of name read as an unsigned number (0x hex, 0 octal); 0 when empty. */
TW_API unsigned long getOrrickInt(const char *name);
TW_API int freeOrrickString(char *text);
/* A new heap string: text without its double quotes, wrapped in one pair;
 * null for a null or empty text or unbalanced quotes. */
TW_API char *createNTOrrickString(const char *text);
/* Rewrites text in place in the createNTOrrickString form, only when it holds
 * a double quote; returns text. */
TW_API char *changeToNTOrrickString(char *text, unsigned int size);
/* The expanded value of the name whose built-in row stands for this Unix
 * command path; null when there is none. Same ownership as getOrrickString. */
TW_API const char *UnixToLocalCmd(const char *unix_path);
/* Calls visit with every name of the table and its expanded value, in the
 * table's order, while holding the table's lock: visit may look names up
 * but must not wait for another thread that does, and must not throw (no
 * exception may pass through the library). */
TW_API void forEachOrrickString(void (*visit)(const char *name, const char *value, void *argument),
                                void *argument);

/* The configuration lock count: lockConfig loads the table and counts up
 * (0 when the table could not be built); unlockConfig counts down and
 * returns 1 exactly when the last user let go. */
TW_API int lockConfig(void);
TW_API int unlockConfig(void);

/* The paths file: the values of the registry's Paths key, one row each. */
typedef struct PathsFile PathsFile;
TW_API PathsFile *openPathsFile(void);
/* 0 when all values were read; else 1 with *name and *value new heap strings,
 * or both null when this value could not be read (skip it). */
TW_API int readPathsFile(PathsFile *file, char **name, char **value);
TW_API void closePathsFile(PathsFile *file);

/* ---- Module identity ---- */

/* Stores a private copy of identity: 1, or 0 for null or no memory. */
TW_API int setModuleID(const char *identity);
/* The identity set, or the program's name derived once from the command line. */
TW_API const char *getModuleID(void);

/* ---- Name conversions ---- */

TW_API char *name_dos2unix(char *out, const char *path, unsigned int size);
TW_API char *name_dos2unixMB(char *out, const char *path, unsigned int size);
TW_API void name_unix2misc(char *out, const char *path, unsigned int size, const char *suffix,
                           const char *separator);
TW_API int NTchmod(const char *path, int mode);
TW_API int validName_Server2PC(char *path, unsigned int size, int kind, int mode);
TW_API void RemoveHelpFiles(const char *help_path);
TW_API int create_dir_list(void *ignored1, void *ignored2, char ***list);

TW_EXTERN_C_END

#endif
