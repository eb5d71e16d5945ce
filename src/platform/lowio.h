/*
 * Low-level descriptor I/O of the OS layer for the log files: the C
 * runtime's descriptors (shared with callers, who may write to debugFD
 * themselves), the ids stamped on every log line, and stdio streams over a
 * descriptor. Paths are UTF-8; on Windows they become wide just before the
 * call.
 */
#ifndef TW_PLATFORM_LOWIO_H
#define TW_PLATFORM_LOWIO_H

#include <cstdio>

namespace tw::os {

// Opens path write-only, append, create; a file this call creates gets
// exactly the permission mode, whatever the process umask (which is left
// alone: other threads see it). No text or binary flag is given: the
// runtime's default holds.
// The descriptor, or -1 with errno set.
int open_append_file(const char *path, int mode);

// One low-level write: the byte count written, or -1 with errno set.
int write_descriptor(int fd, const void *data, unsigned size);

// The end offset of the file (seeking to its end), or -1 with errno set.
long long seek_to_end(int fd);

int close_descriptor(int fd);

// True when something (file or directory) exists under path.
bool path_exists(const char *path);

// A stdio stream over fd (fdopen), or null; the stream's descriptor (fileno).
FILE *stream_on_descriptor(int fd, const char *mode);
int descriptor_of_stream(FILE *stream);

// The ids a log line carries: the process id and the calling thread's id.
int current_process_id();
int current_thread_id();

}  // namespace tw::os

#endif
