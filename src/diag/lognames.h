/*
 * Names of log files: which names in a log directory are log files, and the
 * order in which they were written (oldest first), as the listing and the
 * clean-up of old files use them.
 *
 * Names are scanned the way the C runtime's scanf scans them: a number field
 * skips blanks, takes an optional sign and at most its width in characters,
 * and a scan counts the fields converted before the first mismatch (literal
 * text after the last field does not matter).
 */
#ifndef TW_DIAG_LOGNAMES_H
#define TW_DIAG_LOGNAMES_H

#include <cstddef>

namespace tw::diag {

// Scans text against format, whose "%Nd" is a decimal field of width N and
// "%p" the literal text prefix; other bytes must match exactly. Stores the
// fields in values (as many as the format has) and returns how many scanned.
int scan_log_name(const char *text, const char *format, const char *prefix, int *values);

// Whether name is a log file name: any date without prefix, else the date
// prefix (MMDDYY) in one of the three file-name forms.
bool is_log_file_name(const char *name, const char *prefix);

// Negative, 0 or positive as a was written before, with or after b: by the
// key year, month, day, sequence; names of equal keys by their bytes.
int compare_log_names(const char *a, const char *b);

// Moves the log file names of names[0..count) to the front and returns
// their number; the order within either part is not kept.
size_t partition_log_names(char **names, size_t count, const char *prefix);

// Sorts names[0..count) oldest first.
void sort_log_names(char **names, size_t count);

}  // namespace tw::diag

#endif
