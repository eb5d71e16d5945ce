/*
 * twcommon diagnostics: the system log emulated on the NT event log, and
 * system error texts and notify scripts.
 */
#ifndef TWCOMMON_DIAG_H
#define TWCOMMON_DIAG_H

#include <stdint.h>

#include "base.h"

/* Logger priorities, as a Unix system logger numbers them. */
#ifndef LOG_EMERG
#  define LOG_EMERG 0
#  define LOG_ALERT 1
#  define LOG_CRIT 2
#  define LOG_ERR 3
#  define LOG_WARNING 4
#  define LOG_NOTICE 5
#  define LOG_INFO 6
#  define LOG_DEBUG 7
#endif

TW_EXTERN_C_BEGIN

/* ---- System log ---- */

/* Opens the event source chosen by the program identity; the first identity
 * wins until Q_Closelog. */
TW_API void Q_Openlog(const char *ident);
/* Reports the whole formatted message (%m: the text of errno) as one
 * insertion string; non-zero when reported. */
TW_API int NTsyslog(int priority, const char *format, ...);
/* Reports each conversion of format as its own insertion string under
 * event_id. errno is left unchanged. */
TW_API void Q_Syslog(uint32_t event_id, int priority, const char *format, ...);
TW_API void Q_Closelog(void);

/* ---- Error texts ---- */

/* The system's (or the product's message library's) text for an NT error
 * number, in a buffer shared with FormatErrorMessageStr (101 bytes). */
TW_API const char *GetErrorMessage(uint32_t code);
/* The same text in the caller's buffer; null when buf is null or size < 1. */
TW_API char *GetErrorMessageStr(uint32_t code, char *buf, int size);
/* format with the arguments, then the result used as a format whose single
 * argument is the error text, into buf. */
TW_API char *FormatErrorMessageStr(uint32_t code, char *buf, int size, const char *format, ...);
/* The runtime's text for an errno value, cut to 80 characters, in a shared
 * 100-byte buffer; "Error number: " for a value out of range. */
TW_API const char *sysErrorString(int error);

/* ---- Notify scripts ---- */

/* Runs a command hidden, waiting for its end: 0 when it started and its end
 * was seen (whatever its exit code), -1 otherwise. */
TW_API int runNotifyScript(const char *command);
/* Starts a command hidden without waiting: 0 when started, -1 when not. */
TW_API int runNotifyScriptNoWait(const char *command);

TW_EXTERN_C_END

#endif
