/*
 * twcommon diagnostics: the system log emulated on the NT event log, system
 * error texts and notify scripts, the debug and activity logs and the common
 * log.
 */
#ifndef TWCOMMON_DIAG_H
#define TWCOMMON_DIAG_H

#include <stdint.h>
#include <stdio.h>

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

/* ---- Status-code texts ----
 * Each function returns its own static buffer, overwritten by its next call. */

/* The name of a communication result code (0, -1 ... -13); "unknown error N"
 * for any other. */
TW_API const char *commerrstr(int code);
/* "text (TW:status)". */
TW_API const char *ERR_TWmsgstr(int status, const char *text);
/* "system text (SYS:errnum)"; "Unknown error: " when the runtime has no text. */
TW_API const char *ERR_SYSmsgstr(int errnum);
/* The texts of the device-management error numbers 0..83. */
TW_API extern const char *const ErrStrings[84];

/* ---- Notify scripts ---- */

/* Runs a command hidden, waiting for its end: 0 when it started and its end
 * was seen (whatever its exit code), -1 otherwise. */
TW_API int runNotifyScript(const char *command);
/* Starts a command hidden without waiting: 0 when started, -1 when not. */
TW_API int runNotifyScriptNoWait(const char *command);

TW_EXTERN_C_END

/* ---- Debug and activity logs ----
 *
 * One debug log per process: debugFD, a file named by the local date in a
 * per-program directory, optionally numbered and capped in size and count.
 * Nothing is locked or buffered; each call writes whole lines. */

TW_EXTERN_C_BEGIN

/* Descriptor of the current debug log file; -1 when none. */
TW_API extern int debugFD;
/* When 1, debuglog moves debugFD to a new day's file when the day changes. */
TW_API extern int Auto_Recycle_Logs;

/* A replacement sink for the debug log: (datum, level, text, function). It is
 * called from C code and must not throw. */
typedef int (*log_callback_fn)(void *datum, int level, const char *text, const char *function);
/* The previous sink, as log_set_callback hands it back. */
typedef struct log_callback_record {
    log_callback_fn fn;
    void *datum;
} log_callback_record;

/* Opens today's log file in dir (created with its parents when missing);
 * the descriptor, or -1 with *err set to errno. mode is the permission of
 * a new file (callers pass 0755). */
TW_API int open_log(const char *dir, int mode, int *err);
/* open_log on BP_LOGS/program; the caller stores the result in debugFD. */
TW_API int open_debug_file(const char *program, int mode, int *err);
/* The same, with numbered files (recycle non-zero) of at most max_kb
 * kilobytes, at most max_files of them kept. */
TW_API int open_debug_file2(const char *program, int mode, int recycle, unsigned int max_files,
                            unsigned int max_kb, int *err);
/* Opens the log in an existing dir as debugFD and returns a stream on it
 * (mode "a"), or null; turns Auto_Recycle_Logs on. */
TW_API FILE *open_logging_file(const char *dir);
/* Closes *stream (forgetting debugFD when it is the stream's) and nulls it. */
TW_API int close_logging_file(FILE **stream);

/* One line "hh:mm:ss.mmm [pid.tid] text"; rotates debugFD by day or size.
 * 0, -1 (fd < 0) or an errno value. */
TW_API int debuglog(int fd, const char *text);
/* One line "yyyy/mm/dd hh:mm:ss.mmm [pid.tid] text". */
TW_API int logwithdate(int fd, const char *text);
/* One line "hh:mm:ss text". */
TW_API int logwithtime(int fd, const char *text);
/* One line "hh:mm:ss (id) text". */
TW_API int logwithtime_and_id(int fd, const char *id, const char *text);
/* Writes text as it is: 0; -1 for fd < 0; errno of a failed write; 27 when
 * the process's allowance of retried zero-byte writes is spent. */
TW_API int logwithoutdate(int fd, const char *text);
/* "<level> function: text" to the callback or debugFD; -1 when neither. */
TW_API int logmsg(int level, const char *text, const char *function);
/* The arguments, blank-separated, through logmsg at level 2 (or with date
 * through logwithdate): 0, or -1 when memory runs out. */
TW_API int logparams(int argc, char **argv);
TW_API int logparamswithdate(int argc, char **argv);
/* Installs fn (null: back to the file) with datum, the previous sink stored
 * in *saved when given; announces the switch on both sinks and returns the
 * result of the second announcement. */
TW_API int log_set_callback(log_callback_fn fn, void *datum, log_callback_record *saved);
/* The log files of dir (those named for prefix, a date MMDDYY, when given),
 * oldest first, in a null-terminated array whose first *count entries are
 * the log files; null when there are none or on error (*err). */
TW_API char **rl_get_logfile_list(const char *dir, const char *prefix, unsigned int *count, int *err);
TW_API int rl_free_logfile_list(char **list);

/* ---- Common log ----
 *
 * A severity mask in front of the debug log: messages whose severity bit is
 * off in cmnlogSEVERITY, or that come while debugFD is -1, are dropped. */

/* Enabled severities (low 6 bits); initially 63. */
TW_API extern int cmnlogSEVERITY;

/* Opens dir/name as the debug log directory; 0 or the errno of the open. */
TW_API int cmnlogOPEN(const char *dir, const char *name, int mode);
TW_API int cmnlogCLOSE(void);
/* -1 when dropped, else the result of logmsg. */
TW_API int cmnlogMSG(int severity, const char *text, const char *function);
/* The strings joined by blanks, at severity 4; -1 when dropped or out of
 * memory. */
TW_API int cmnlogPARAMS(char **strings);
/* Stores and returns mask & 63. */
TW_API int cmnlogSeveritySET(int mask);
/* Takes the mask from the value of the option "-LOGSEVERITY" in values. */
TW_API void cmnlogARGS(char **values);

TW_EXTERN_C_END

#endif
