// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// SIGINT and SIGTERM, which end a command in order.
#ifndef VELMAR_CLI_ENDSIGNALS_H
#define VELMAR_CLI_ENDSIGNALS_H

#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <initializer_list>

namespace velmar_cli {

/// The signals come to the thread that waits for them: make it before the first other thread.
class EndSignals {
 public:
    /// Waits for `further` ones, too.
    explicit EndSignals(std::initializer_list<int> further = {}) {
        sigemptyset(&_set);
        sigaddset(&_set, SIGINT);
        sigaddset(&_set, SIGTERM);
        for (const int one : further) {
            sigaddset(&_set, one);
        }
        pthread_sigmask(SIG_BLOCK, &_set, nullptr);
    }
    /// A second one that ends the command ends the process: a provider may block the orderly way.
    void wait() const {
        while (waitFor(std::chrono::hours(24)) == 0) {
        }
    }
    /// The signal, or 0 when the time is over.
    int waitFor(std::chrono::nanoseconds time) const {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
        const timespec limit = {seconds.count(), (time - seconds).count()};
        const int received = sigtimedwait(&_set, nullptr, &limit);
        if (received == SIGINT || received == SIGTERM) {
            pthread_sigmask(SIG_UNBLOCK, &_set, nullptr);
        }
        return std::max(received, 0);
    }

 private:
    sigset_t _set;
};

}  // namespace velmar_cli

#endif
