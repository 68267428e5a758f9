// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Names the provider call that a process dies in.
#ifndef VELMAR_CLI_CRASH_H
#define VELMAR_CLI_CRASH_H

#include <velmar_embedded/Observer.h>

#include <atomic>
#include <cstdint>
#include <string>

namespace velmar_cli {

/// The call that began last, on any thread. May lie in memory that another process reads.
struct LastCall {
    void note(const char (&what)[1024]);
    /// The last one of all: what other threads note later is left out.
    void keep(const char (&what)[1024]);

    std::atomic<int64_t> began{0};  ///< milliseconds of the steady clock; 0: none yet
    std::atomic_flag busy = ATOMIC_FLAG_INIT;
    char text[1024] = "";  ///< who, operation and path
};

/// Milliseconds of the steady clock.
int64_t now();

/// From here on, stderr gets the call and a backtrace where the process ends by SIGSEGV (also where
/// the stack is used up), SIGBUS, SIGFPE, SIGILL or SIGABRT, the text of an exception that nothing
/// catches, and the call in which a provider calls exit; the process then ends as it would have.
/// Calls that a CallObserver hears of are written down in `last`, which must outlive the server.
/// Call it once, before the server starts.
void watchForCrashes(LastCall& last);

/// Notes the call that each thread is in.
class CallObserver : public velmar_embedded::Observer {
 public:
    void onBegin(const velmar_embedded::Step& step) override;
};

}  // namespace velmar_cli

#endif
