// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What providers are doing right now, for the reports of those who wait for them too long.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_PROVIDERS_RUNNINGCALLS_H
#define VELMAR_EMBEDDED_PROVIDERS_RUNNINGCALLS_H

#include <Pegasus/Common/CIMName.h>

#include <mutex>
#include <string>

namespace velmar_embedded {

struct Request;

/// What a provider, or somebody else who is named in problems, is called for.
struct Purpose {
    const char* operation;
    const Pegasus::CIMName* className = nullptr;

    /// "getInstance of T_A"; the operation alone without a class.
    std::string text() const;
};

class RunningCalls {
 public:
    /// A call that runs as long as this object lives. `who` is "provider \"P\"", say; it, the
    /// class name and the request, if the call is for one, outlive the object.
    class Scope {
     public:
        Scope(RunningCalls& calls, const Purpose& purpose, const std::string& who,
              const Request* request = nullptr);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

     private:
        friend class RunningCalls;
        RunningCalls& _calls;
        const Purpose _purpose;
        const std::string& _who;
        const Request* const _request;
        Scope* _older;  // the calls as a list
        Scope* _newer = nullptr;
    };

    /// The running calls, all or those for one request: "getInstance of T_A in provider \"P\"" and
    /// so on, the oldest first; empty without any.
    std::string text(const Request* request = nullptr) const;

 private:
    mutable std::mutex _lock;
    Scope* _oldest = nullptr;
    Scope* _newest = nullptr;
};

}  // namespace velmar_embedded

#endif
