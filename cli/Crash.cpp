// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Crash.h"

#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <exception>
#include <string>

#include "Backtrace.h"
#include "Commands.h"
#include "client/Request.h"

using velmar_embedded::Step;

namespace velmar_cli {

namespace {

// What the thread's provider call is, written down before the call: a handler of a crash can make
// no text of its own.
thread_local char current[sizeof(LastCall::text)] = "";
LastCall* lastCall = nullptr;
pthread_t watching;
pid_t process;  // a provider's own children inherit all of this
std::atomic_flag crashed = ATOMIC_FLAG_INIT;
thread_local bool isCrashing = false;

void write(const char* text) {
    const ssize_t written = ::write(STDERR_FILENO, text, strlen(text));
    static_cast<void>(written);  // nowhere left to tell
}

// Where a thread's handler runs when its stack is used up.
class AlternateStack {
 public:
    AlternateStack() {
        stack_t there = {};
        if (sigaltstack(nullptr, &there) != 0 || (there.ss_flags & SS_DISABLE) == 0) {
            return;  // a sanitizer's, which it frees itself
        }
        void* const memory =
            mmap(nullptr, SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory != MAP_FAILED) {
            _stack.ss_sp = memory;
            _stack.ss_size = SIZE;
            sigaltstack(&_stack, nullptr);
            findEnd();
        }
    }
    ~AlternateStack() {
        if (_stack.ss_sp != nullptr) {
            void* const memory = _stack.ss_sp;
            _stack.ss_flags = SS_DISABLE;
            sigaltstack(&_stack, nullptr);
            munmap(memory, SIZE);
        }
    }
    AlternateStack(const AlternateStack&) = delete;
    AlternateStack& operator=(const AlternateStack&) = delete;

    // Whether an address lies where the thread's own stack ends.
    bool isBeyond(const void* address) const {
        const char* const at = static_cast<const char*>(address);
        return _end != nullptr && at < _end + GUARD && at >= _end - GUARD;
    }

 private:
    static constexpr size_t SIZE = 65536;
    static constexpr size_t GUARD = 65536;

    void findEnd() {
        pthread_attr_t attributes;
        if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
            void* lowest = nullptr;
            size_t size = 0;
            pthread_attr_getstack(&attributes, &lowest, &size);
            _end = static_cast<const char*>(lowest);
            pthread_attr_destroy(&attributes);
        }
    }

    stack_t _stack = {};
    const char* _end = nullptr;
};

const AlternateStack& alternateStack() {
    static thread_local const AlternateStack stack;
    return stack;
}

void tellCall() {
    if (current[0] != '\0') {
        write(" on a thread whose last provider call was\n  ");
        write(current);
    } else if (pthread_equal(pthread_self(), watching) != 0) {
        write(" outside of any provider call");
    } else {
        write(" on a thread that serves no requests, as a provider's own do not");
        if (lastCall->text[0] != '\0') {
            write(";\n  the last provider call was ");
            write(lastCall->text);
        }
    }
    write("\n");
}

[[noreturn]] void die(int number) {
    signal(number, SIG_DFL);
    raise(number);
    _exit(Findings);
}

void onCrash(int number, siginfo_t* what, void*) {
    if (isCrashing || getpid() != process) {
        die(number);
    }
    if (crashed.test_and_set()) {  // another thread is telling, and ends the process then
        for (;;) {
            pause();
        }
    }
    isCrashing = true;
    const bool overflow =
        number == SIGSEGV && current[0] != '\0' && alternateStack().isBeyond(what->si_addr);
    if (current[0] != '\0') {
        lastCall->keep(current);
    }
    write("\nvelmar: crash (");
    write(overflow            ? "SIGSEGV, the stack is used up: does it call itself without end?"
          : number == SIGSEGV ? "SIGSEGV"
          : number == SIGBUS  ? "SIGBUS"
          : number == SIGFPE  ? "SIGFPE"
          : number == SIGILL  ? "SIGILL"
                              : "SIGABRT");
    write(")");
    tellCall();
    writeBacktrace();
    die(number);
}

[[noreturn]] void onTerminate() {
    if (std::current_exception()) {
        try {
            throw;
        } catch (...) {
            write("\nvelmar: nothing catches ");
            write(velmar_embedded::describeCurrentException().c_str());
        }
    } else {
        write("\nvelmar: std::terminate; is a std::thread neither joined nor detached?");
    }
    abort();
}

void note() {
    alternateStack();
    lastCall->note(current);
}

// A provider that ends the process does so on a thread of the server.
void onExit() {
    if (current[0] != '\0' && getpid() == process && pthread_equal(pthread_self(), watching) == 0) {
        write("\nvelmar: the process is ended by exit, called in\n  ");
        write(current);
        write("\n");
        _exit(Findings);
    }
}

}  // namespace

int64_t now() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void LastCall::note(const char (&what)[1024]) {
    if (!busy.test_and_set(std::memory_order_acquire)) {  // else another is noted, as late as this
        memcpy(text, what, sizeof text);
        began = now();
        busy.clear(std::memory_order_release);
    }
}

void LastCall::keep(const char (&what)[1024]) {
    // Bounded: this thread may have died while it held it.
    for (int i = 0; i < 1'000'000 && busy.test_and_set(std::memory_order_acquire); i++) {
    }
    memcpy(text, what, sizeof text);
    began = now();
}

void CallObserver::onBegin(const Step& step) {
    const char* const provider = step.provider.c_str();
    if (step.kind == Step::Kind::Call) {
        const Pegasus::CString path = step.path.toString().getCString();
        snprintf(current, sizeof current, "provider \"%s\", operation %s%s%s, %s", provider,
                 step.operation.c_str(), step.method.empty() ? "" : " ", step.method.c_str(),
                 static_cast<const char*>(path));
        note();
    } else if (step.kind == Step::Kind::Load) {
        snprintf(current, sizeof current, "provider \"%s\", its %s", provider,
                 step.operation == "initialize" ? "constructor or initialize" : "terminate");
        note();
    }
}

void watchForCrashes(LastCall& last) {
    lastCall = &last;
    watching = pthread_self();
    process = getpid();
    atexit(onExit);
    std::set_terminate(onTerminate);
    prepareBacktrace();
    struct sigaction action = {};
    action.sa_sigaction = onCrash;
    action.sa_flags = static_cast<int>(SA_SIGINFO | SA_ONSTACK | SA_NODEFER);
    for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
        sigaction(number, &action, nullptr);
    }
}

}  // namespace velmar_cli
