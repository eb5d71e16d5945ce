// NT mutex objects.
#include <windows.h>

#include "platform/mutex.h"

namespace tw::os {

// The handle itself stands for the Mutex.
Mutex *mutex_create() { return reinterpret_cast<Mutex *>(CreateMutexA(nullptr, FALSE, nullptr)); }

Mutex *mutex_open_named(const char *name) { return reinterpret_cast<Mutex *>(CreateMutexA(nullptr, FALSE, name)); }

LockResult mutex_lock(Mutex *mutex) {
    switch (WaitForSingleObject(reinterpret_cast<HANDLE>(mutex), INFINITE)) {
        case WAIT_OBJECT_0: return LockResult::acquired;
        case WAIT_ABANDONED: return LockResult::abandoned;
        default: return LockResult::failed;
    }
}

void mutex_unlock(Mutex *mutex) { ReleaseMutex(reinterpret_cast<HANDLE>(mutex)); }

void mutex_close(Mutex *mutex) {
    if (mutex) CloseHandle(reinterpret_cast<HANDLE>(mutex));
}

}  // namespace tw::os
