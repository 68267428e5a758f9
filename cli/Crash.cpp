// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Crash.h"

#include <execinfo.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include "Commands.h"

namespace velmar_cli {

namespace {

// What the thread's provider call is, written down before the call: a handler of a crash can make
// no text of its own.
thread_local char current[1024] = "";

void write(const char* text) {
    const ssize_t written = ::write(STDERR_FILENO, text, strlen(text));
    static_cast<void>(written);  // there is nobody left to tell
}

void onCrash(int number) {
    write("\nvelmar: crash (");
    write(number == SIGSEGV  ? "SIGSEGV"
          : number == SIGBUS ? "SIGBUS"
          : number == SIGFPE ? "SIGFPE"
          : number == SIGILL ? "SIGILL"
                             : "SIGABRT");
    if (current[0] != '\0') {
        write(") on a thread whose last provider call was\n  ");
        write(current);
        write("\n");
    } else {
        write(") on a thread that has called no provider\n");
    }
    void* frames[64];
    const int count = backtrace(frames, 64);
    backtrace_symbols_fd(frames, count, STDERR_FILENO);
    raise(number);  // the action is the default one again
}

void note(const velmar_embedded::ProviderCall& call) {
    const Pegasus::CString path = call.path.toString().getCString();
    snprintf(current, sizeof current, "provider \"%s\", operation %s, %s", call.provider.c_str(),
             call.operation.c_str(), static_cast<const char*>(path));
}

void noteLoad(const std::string& provider, const char* step) {
    snprintf(current, sizeof current, "provider \"%s\", its %s", provider.c_str(), step);
}

pthread_t watching;

// A provider that ends the process does so on a thread of the server.
void onExit() {
    if (current[0] != '\0' && !pthread_equal(pthread_self(), watching)) {
        write("\nvelmar: the process is ended by exit, called in\n  ");
        write(current);
        write("\n");
        _exit(Findings);
    }
}

}  // namespace

void watchForCrashes(velmar_embedded::Server& server) {
    server.observeCalls(note);
    server.observeLoads(noteLoad);
    watching = pthread_self();
    atexit(onExit);
    void* frame[1];
    backtrace(frame, 1);  // loads what it needs now, not in the handler
    struct sigaction action = {};
    action.sa_handler = onCrash;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
        sigaction(number, &action, nullptr);
    }
}

}  // namespace velmar_cli
