/*
 * The debug-log messages of the directory listings, kept in one place.
 */
#ifndef TW_CONTAINERS_DIRLIST_TRACE_H
#define TW_CONTAINERS_DIRLIST_TRACE_H

namespace tw {

enum class DirlistFailure {
    open,          // the directory could not be opened
    create_entry,  // no memory for a name
    contents,      // no memory for the array
};

// Logs the failure with the text and number of error under "get_dir_list".
void dirlist_trace_failure(DirlistFailure failure, int error);
// Logs that a null array was to be freed.
void dirlist_trace_null_array();

}  // namespace tw

#endif
