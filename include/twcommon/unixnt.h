/*
 * twcommon Unix facilities on NT: process launch and command lines;
 * directories, rename and system queries.
 *
 * The product keeps all text in UTF-8 and thinks in argument vectors; these
 * functions give it the process's own command line as UTF-8 and as a vector,
 * a UTF-8 front end to NT process creation, and builders of NT command lines.
 * Directory reading and rename give Unix semantics on NT; the system queries
 * answer the small questions the product asks of NT. Everything below the
 * command-line builders exists on Windows only.
 */
#ifndef TWCOMMON_UNIXNT_H
#define TWCOMMON_UNIXNT_H

#include "base.h"

TW_EXTERN_C_BEGIN

/* ---- Command lines ---- */

/* The process command line in UTF-8, made once and kept. */
TW_API const char *GetCommandLineV(void);
/* Splits the command line into *argv (one heap block: free it with free);
 * returns the argument count, or 0 when memory runs out. */
TW_API int ReparseCommandLine(char ***argv);

/* Builders: each returns a new command-line block, released with FreeNTCmdLine. */
TW_API char *newNTCmdLine(const char *command);
TW_API char *appendNTCmdLine(const char *command_line, const char *tail);
TW_API char *GetNTCommandLineFromArgs(char **argv);
TW_API void FixNTargv(char **argv);
TW_API void FreeNTCmdLine(char *command_line);
TW_API int FreeNTCmdArgsVectors(void);

/* ---- Rename and system queries (Windows only) ---- */

/* Renames with Unix semantics (UTF-8 paths): an existing target is replaced,
 * a move across volumes copies. 0 (errno 0) or the NT error number (errno 2,
 * 13 or 22). */
TW_API int NTrename(const char *old_path, const char *new_path);
/* 1 when the current process's token holds the Administrators group. */
TW_API int IsAdmin(void);
/* 1 when this installation is the administration console only. */
TW_API int is_admin_console(void);
/* NT version and service pack (each out-parameter may be null); 1 on NT. */
TW_API int GetNTVersion(int *major, int *minor, int *service_pack);
/* 1 on NT, and when the version cannot be read. */
TW_API int IsWindowsNT(void);
/* (major << 16) | minor of a library's DllGetVersion report, or 0. */
TW_API unsigned long GetDllVersion(const char *library);
/* 1 when the wizard style of dialogs is available. */
TW_API int CanDoWizard97(void);
/* 1 when named kernel objects must live in the global name space; name (when
 * given) then gets the "Global\\" prefix, cut to size. Callers reserve 7
 * characters for it. */
TW_API int IsNewkey(char *name, int size);

TW_EXTERN_C_END

#if defined(_WIN32)
#include <windows.h>
TW_EXTERN_C_BEGIN
/* CreateProcess with UTF-8 texts (the startup information's texts too).
 * Without both an application name and a command line: FALSE with
 * ERROR_INVALID_PARAMETER. */
TW_API BOOL CreateProcessV(const char *application, char *command_line, LPSECURITY_ATTRIBUTES process_security,
                           LPSECURITY_ATTRIBUTES thread_security, BOOL inherit_handles, DWORD creation_flags,
                           LPVOID environment, const char *current_directory, LPSTARTUPINFOA startup,
                           LPPROCESS_INFORMATION process);

/* 1 when the token's groups hold the built-in Administrators group, in any
 * state (a deny-only membership counts). */
TW_API int IsTokenAdmin(HANDLE token);

/* ---- Directory reading ----
 * The library's own opendir/readdir/closedir with their own DIR and struct
 * dirent. They take the place of the runtime's <dirent.h>: this header
 * claims that header's guard, so a later #include <dirent.h> adds nothing;
 * a file that has included <dirent.h> before this header gets the runtime's
 * functions and not these. */
#if !defined(_DIRENT_H_)
#define _DIRENT_H_
#define TW_DIRENT_DECLARED 1

/* Bytes of the longest entry name in UTF-8 with its terminator: a name of
 * MAX_PATH UTF-16 units takes at most three bytes a unit. */
#define TW_DIRENT_NAME_SIZE (MAX_PATH * 3 + 1)

/* What readdir hands out: the name (UTF-8) points into the stream and is
 * overwritten by the next readdir of the same stream. */
struct dirent {
    char *d_name;
};

/* A directory stream, owned by the caller between opendir and closedir. */
typedef struct tw_directory_stream {
    HANDLE search;                   /* INVALID_HANDLE_VALUE once exhausted */
    WIN32_FIND_DATAW found;          /* the current entry */
    struct dirent entry;             /* d_name null until the first readdir */
    char name[TW_DIRENT_NAME_SIZE];  /* the current entry's name in UTF-8 */
} DIR;

/* A stream over the entries of path (UTF-8; "." and ".." included), or null
 * with errno 2 (missing), 20 (not a directory) or 22. */
TW_API DIR *opendir(const char *path);
/* The next entry, or null at the end (errno 2) or on error. */
TW_API struct dirent *readdir(DIR *stream);
/* Ends the search and frees the stream (null allowed); 0. */
TW_API int closedir(DIR *stream);
#endif

TW_EXTERN_C_END
#endif

#endif
