// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Threads that run code of a provider library, which must not be closed under them.
//
// Keeps no state, thread-safe.
#ifndef VELMAR_EMBEDDED_PROVIDERS_MODULETHREADS_H
#define VELMAR_EMBEDDED_PROVIDERS_MODULETHREADS_H

#include <sys/types.h>

#include <set>

namespace velmar_embedded {

/// The threads of this process, by their ids.
std::set<pid_t> runningThreads();

enum class Place { Outside, Inside, Unknown };

/// Whether the thread has a call into the library on its stack. `library` is a handle of dlopen.
/// Unknown while the thread runs: only of one that waits for something it can be told. Outside,
/// too, where the system does not say.
Place placeOf(pid_t thread, void* library);

}  // namespace velmar_embedded

#endif
