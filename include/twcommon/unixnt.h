/*
 * twcommon Unix facilities on NT: process launch and command lines.
 *
 * The product keeps all text in UTF-8 and thinks in argument vectors; these
 * functions give it the process's own command line as UTF-8 and as a vector,
 * a UTF-8 front end to NT process creation, and builders of NT command lines.
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

TW_EXTERN_C_END

#if defined(_WIN32)
#include <windows.h>
TW_EXTERN_C_BEGIN
/* CreateProcess with UTF-8 texts (the startup information's texts too). */
TW_API BOOL CreateProcessV(const char *application, char *command_line, LPSECURITY_ATTRIBUTES process_security,
                           LPSECURITY_ATTRIBUTES thread_security, BOOL inherit_handles, DWORD creation_flags,
                           LPVOID environment, const char *current_directory, LPSTARTUPINFOA startup,
                           LPPROCESS_INFORMATION process);
TW_EXTERN_C_END
#endif

#endif
