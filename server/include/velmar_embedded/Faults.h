// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What goes wrong in a server on purpose, so that a provider's answer to it can be tested.
//
// A rule is a line of words:
//     PLACE [OPERATION] [KEY=VALUE ...] EFFECT
//
//     request, upcall, call   fail[=STATUS]  wait=MILLISECONDS  disconnect (of requests)
//     initialize, connect     fail[=STATUS]  wait=MILLISECONDS
//     alert                   lose  double  wait=MILLISECONDS
//     queue                   full
//
// A request comes from a client, an upcall through a CIMOMHandle, and a call goes to a provider;
// connect is connectLocal. OPERATION is a name as "getInstance". The keys narrow it down: class,
// method, provider (that is called or delivers), from (the provider that asks, or "client"),
// nth=N (the N-th match alone). STATUS is a name as CIM_ERR_NOT_FOUND; without one CIM_ERR_FAILED.
//
//     upcall associatorNames nth=2 fail
//     request deleteInstance from=Fans fail=CIM_ERR_ACCESS_DENIED
//     call getInstance class=EX_Fan wait=500
#ifndef VELMAR_EMBEDDED_FAULTS_H
#define VELMAR_EMBEDDED_FAULTS_H

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <velmar_embedded/ServerTypes.h>

namespace velmar_embedded {

/// Thread-safe.
class Faults {
 public:
    Faults();
    ~Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

    /// Adds a rule. Where several match, the one added first counts. Throws std::invalid_argument,
    /// which names the wrong word and those that fit.
    void add(const std::string& rule);
    /// Takes all away.
    void clear();

    // For the server:
    bool areSet() const { return _areSet.load(std::memory_order_relaxed); }
    /// Waits, or throws, where a rule says so.
    void apply(const Step& step);
    /// How many times a delivered indication counts: 1 without a rule.
    unsigned copiesOf(const Step& indication);
    /// Whether the queue of a subscriber is full for it.
    bool isFull(const Step& delivery);

 private:
    struct Rule;
    std::shared_ptr<const Rule> match(const Step& step);

    std::atomic<bool> _areSet{false};
    std::mutex _lock;
    std::vector<std::shared_ptr<Rule>> _rules;
};

}  // namespace velmar_embedded

#endif
