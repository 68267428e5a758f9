// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Hears trace records beside the file that they go to.
#ifndef VELMAR_EMBEDDED_MODEL_TRACEHOOK_H
#define VELMAR_EMBEDDED_MODEL_TRACEHOOK_H

#include <stddef.h>

#include <atomic>

namespace velmar_embedded {

/// Called on the thread that traces, with file, line and text; null: no call. Must not trace.
extern std::atomic<void (*)(const char*, size_t, const char*)> traceHook;

}  // namespace velmar_embedded

#endif
