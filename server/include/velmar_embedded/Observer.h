// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Hears what happens in a server.
#ifndef VELMAR_EMBEDDED_OBSERVER_H
#define VELMAR_EMBEDDED_OBSERVER_H

#include <velmar_checks/Finding.h>
#include <velmar_embedded/ServerTypes.h>

#include <string>

namespace velmar_embedded {

/// Derive from it and override what is wanted; the rest does nothing. The server calls it on many
/// threads at once, except where a function says otherwise.
class Observer {
 public:
    virtual ~Observer() = default;

    /// A step begins. On the thread that does it; of a delivery, on the provider's.
    virtual void onBegin(const Step&) {}
    /// It has ended; what began in its course has ended before, but for deliveries.
    virtual void onEnd(const Step&, const StepEnd&) {}

    // These two come one at a time, in the order of what they tell of, on a thread of their own.
    // From there all of the server may be called but stop; drain does not wait for them.

    /// A problem that no client sees: why an initialize or a terminate failed, a provider that
    /// refuses a subscription or delivers after it was disabled, a full queue, a subscriber that
    /// throws, a client that timed out, what a slow stop waits for. Writes it to stderr.
    virtual void onProblem(const std::string& text);
    /// A finding that is new. Writes it to stderr.
    virtual void onFinding(const velmar_checks::Finding& finding);
};

}  // namespace velmar_embedded

#endif
