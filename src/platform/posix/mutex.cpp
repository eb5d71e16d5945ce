// Recursive pthread mutexes. Named ones live in a process-wide list and are
// never destroyed (closing one only drops the caller's reference), which is
// all the library asks of a name here: that threads racing to create
// something agree on one lock.
#include <pthread.h>

#include <cstring>

#include "base/alloc.h"
#include "platform/mutex.h"
#include "twcommon/text.h"

namespace tw::os {

struct Mutex {
    pthread_mutex_t lock;
    Mutex *next_named;  // in the list of named mutexes
    char name[64];      // "" for an unnamed mutex
};

namespace {

pthread_mutex_t names_lock = PTHREAD_MUTEX_INITIALIZER;
Mutex *named_mutexes = nullptr;

Mutex *new_mutex(const char *name) {
    auto *m = static_cast<Mutex *>(mem_calloc(1, sizeof(Mutex)));
    if (!m) return nullptr;
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    int failed = pthread_mutex_init(&m->lock, &attributes);
    pthread_mutexattr_destroy(&attributes);
    if (failed) {
        mem_free(m);
        return nullptr;
    }
    Q_strlcpy(m->name, name, sizeof m->name);
    return m;
}

}  // namespace

Mutex *mutex_create() { return new_mutex(""); }

Mutex *mutex_open_named(const char *name) {
    pthread_mutex_lock(&names_lock);
    Mutex *m = named_mutexes;
    while (m && std::strcmp(m->name, name) != 0) m = m->next_named;
    if (!m && (m = new_mutex(name)) != nullptr) {
        m->next_named = named_mutexes;
        named_mutexes = m;
    }
    pthread_mutex_unlock(&names_lock);
    return m;
}

LockResult mutex_lock(Mutex *mutex) {
    return pthread_mutex_lock(&mutex->lock) == 0 ? LockResult::acquired : LockResult::failed;
}

void mutex_unlock(Mutex *mutex) { pthread_mutex_unlock(&mutex->lock); }

void mutex_close(Mutex *mutex) {
    if (!mutex || mutex->name[0]) return;  // named ones stay for the process
    pthread_mutex_destroy(&mutex->lock);
    mem_free(mutex);
}

}  // namespace tw::os
