// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/Mutex.h>

#include <cerrno>
#include <cstring>
#include <ctime>

namespace Pegasus {

namespace {

[[noreturn]] void fail(const char* what, int error) {
    throw Exception(String(what) + ": " + String(std::strerror(error)));
}

}  // namespace

void Mutex::init(int type) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, type);
    const int error = pthread_mutex_init(&_mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    if (error) {
        fail("cannot make a mutex", error);
    }
}

Mutex::Mutex() { init(PTHREAD_MUTEX_RECURSIVE); }
Mutex::Mutex(RecursiveTag) { init(PTHREAD_MUTEX_RECURSIVE); }
Mutex::Mutex(NonRecursiveTag) { init(PTHREAD_MUTEX_ERRORCHECK); }
Mutex::~Mutex() { pthread_mutex_destroy(&_mutex); }

void Mutex::lock() {
    if (const int error = pthread_mutex_lock(&_mutex)) {
        fail("cannot lock a mutex", error);
    }
}

Boolean Mutex::try_lock() { return pthread_mutex_trylock(&_mutex) == 0; }

Boolean Mutex::timed_lock(Uint32 milliseconds) {
    timespec until;
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_sec += milliseconds / 1000;
    until.tv_nsec += long(milliseconds % 1000) * 1000000;
    if (until.tv_nsec >= 1000000000) {
        until.tv_sec++;
        until.tv_nsec -= 1000000000;
    }
    const int error = pthread_mutex_timedlock(&_mutex, &until);
    if (error && error != ETIMEDOUT && error != EDEADLK) {
        fail("cannot lock a mutex", error);
    }
    return error == 0;
}

void Mutex::unlock() { pthread_mutex_unlock(&_mutex); }

}  // namespace Pegasus
