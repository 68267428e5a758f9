// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Mutual exclusion between threads.
#ifndef Pegasus_Mutex_h
#define Pegasus_Mutex_h

#include <Pegasus/Common/Config.h>

#include <pthread.h>

namespace Pegasus {

/// Recursive unless constructed NON_RECURSIVE; locking such a mutex again on its thread throws.
class PEGASUS_EXPORT Mutex {
 public:
    enum RecursiveTag { RECURSIVE };
    enum NonRecursiveTag { NON_RECURSIVE };

    Mutex();
    Mutex(RecursiveTag);
    Mutex(NonRecursiveTag);
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Throws Exception on a system error.
    void lock();
    /// False if another owner holds it.
    Boolean try_lock();
    /// False if it stays held for that time. Throws Exception on a system error.
    Boolean timed_lock(Uint32 milliseconds);
    /// Never throws.
    void unlock();

 private:
    void init(int type);
    pthread_mutex_t _mutex;
};

/// Holds a mutex for the time of a scope.
class AutoMutex {
 public:
    AutoMutex(Mutex& mutex) : _mutex(mutex) { _mutex.lock(); }
    ~AutoMutex() { _mutex.unlock(); }
    AutoMutex(const AutoMutex&) = delete;
    AutoMutex& operator=(const AutoMutex&) = delete;

 private:
    Mutex& _mutex;
};

}  // namespace Pegasus

#endif
