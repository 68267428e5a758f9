// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A lock that a request holds while it waits for other requests: the channel of a CIMOMHandle
// during an upcall, a provider while it is initialized.
//
// Who waits for whom is kept for all gates of the process, so that a wait which could never end is
// refused when it begins. A wait is followed through in-memory upcalls, on whatever threads they
// are served; it ends at a client, whose time-out breaks the circle. Thread-safe.
#ifndef VELMAR_EMBEDDED_EXCHANGE_GATE_H
#define VELMAR_EMBEDDED_EXCHANGE_GATE_H

#include <condition_variable>
#include <memory>
#include <string>
#include <vector>

namespace velmar_embedded {

class Gate {
 public:
    /// The gates held on behalf of the work that runs on a thread, innermost first.
    struct Hold {
        Gate* gate;
        std::shared_ptr<const Hold> outer;
    };
    using Chain = std::shared_ptr<const Hold>;

    /// `name` says in errors what is held: "the CIMOMHandle of provider \"P\"".
    explicit Gate(std::string name) : _name(std::move(name)) {}
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    /// The chain of this thread; a thread that serves no request has none.
    static Chain chain();

    /// Makes a chain the one of this thread for a while.
    class Scope {
     public:
        explicit Scope(Chain chain);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

     private:
        Chain _before;
    };

    /// Holds a gate.
    class Pass {
     public:
        /// Waits until the gate is free. Throws CIMException (CIM_ERR_FAILED) naming the gate and
        /// both operations when that would never happen.
        Pass(Gate& gate, const std::string& operation);
        ~Pass();
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;

        /// This thread's chain with the gate added.
        Chain chain() const { return _chain; }

     private:
        Gate& _gate;
        Chain _chain;
    };

 private:
    const std::string _name;
    bool _held = false;
    std::string _operation;  // of the holder
    std::condition_variable _free;
    std::vector<Gate*> _awaited;  // by work done on behalf of the holder

    static bool reaches(Gate* from, const Chain& chain, std::vector<Gate*>& seen);
};

}  // namespace velmar_embedded

#endif
