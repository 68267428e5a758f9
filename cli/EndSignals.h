// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// SIGINT and SIGTERM, which end a command in order.
#ifndef VELMAR_CLI_ENDSIGNALS_H
#define VELMAR_CLI_ENDSIGNALS_H

#include <pthread.h>
#include <signal.h>

namespace velmar_cli {

/// The signals come to the thread that waits for them: make it before the first other thread.
class EndSignals {
 public:
    EndSignals() {
        sigemptyset(&_set);
        sigaddset(&_set, SIGINT);
        sigaddset(&_set, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &_set, nullptr);
    }
    /// A second signal ends the process: a provider may block the orderly way.
    void wait() {
        int received = 0;
        sigwait(&_set, &received);
        pthread_sigmask(SIG_UNBLOCK, &_set, nullptr);
    }

 private:
    sigset_t _set;
};

}  // namespace velmar_cli

#endif
