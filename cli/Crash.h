// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Says in which provider the process is crashing before it does.
#ifndef VELMAR_CLI_CRASH_H
#define VELMAR_CLI_CRASH_H

#include <velmar_embedded/Server.h>

namespace velmar_cli {

/// From here on SIGSEGV, SIGBUS, SIGFPE, SIGILL and SIGABRT write the thread's last provider call
/// and a backtrace to stderr; then the signal does what it would have done. A provider that calls
/// exit is named too. Takes the server's
/// observers of calls and loads. Call it before the server starts.
void watchForCrashes(velmar_embedded::Server& server);

}  // namespace velmar_cli

#endif
