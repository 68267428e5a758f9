// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The C library's functions for locks, which count before they do what they always do.
#include "support/HeldLocks.h"

#ifdef __SANITIZE_THREAD__

int support::heldLocks() { return 0; }

#else

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <utility>

static thread_local int held = 0;

int support::heldLocks() { return held; }

template <class Function>
static Function* original(const char* name, Function*) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

#define COUNTING(name, Lock, change)                     \
    extern "C" int name(Lock* lock) noexcept {           \
        static const auto call = original(#name, &name); \
        const int result = call(lock);                   \
        held += result == 0 ? change : 0;                \
        return result;                                   \
    }
COUNTING(pthread_mutex_lock, pthread_mutex_t, 1)
COUNTING(pthread_mutex_trylock, pthread_mutex_t, 1)
COUNTING(pthread_mutex_unlock, pthread_mutex_t, -1)
COUNTING(pthread_rwlock_rdlock, pthread_rwlock_t, 1)
COUNTING(pthread_rwlock_wrlock, pthread_rwlock_t, 1)
COUNTING(pthread_rwlock_unlock, pthread_rwlock_t, -1)

// The lock that belongs to the condition is free while the thread waits.
static void expectOneLock() {
    if (held > 1) {
        const int before = std::exchange(held, 0);  // the report locks, too
        ADD_FAILURE() << "a thread waits for another one while it holds a lock";
        held = before;
    }
}

extern "C" int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* lock) {
    static const auto call = original("pthread_cond_wait", &pthread_cond_wait);
    expectOneLock();
    return call(condition, lock);
}

extern "C" int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* lock,
                                      clockid_t clock, const timespec* until) {
    static const auto call = original("pthread_cond_clockwait", &pthread_cond_clockwait);
    expectOneLock();
    return call(condition, lock, clock, until);
}

#endif
