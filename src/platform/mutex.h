/*
 * Mutexes: NT mutex objects on Windows (recursive by nature, and named ones
 * shared between the threads and processes that open the same name);
 * recursive pthread mutexes elsewhere, where a name is shared within the
 * process only.
 */
#ifndef TW_PLATFORM_MUTEX_H
#define TW_PLATFORM_MUTEX_H

namespace tw::os {

struct Mutex;  // opaque

enum class LockResult { acquired, abandoned, failed };

// An unnamed mutex, not owned; null when it cannot be created.
Mutex *mutex_create();
// Opens the named mutex, creating it (not owned) when it does not exist yet.
Mutex *mutex_open_named(const char *name);
// Waits without limit. "abandoned" means the previous owner ended while
// holding it (NT only); the caller then owns it.
LockResult mutex_lock(Mutex *mutex);
void mutex_unlock(Mutex *mutex);
void mutex_close(Mutex *mutex);

}  // namespace tw::os

#endif
