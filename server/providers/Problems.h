// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Where what no caller hears of is told: why a provider was not loaded, why a subscription came to
// nothing, what was dropped.
//
// Thread-safe, except observe.
#ifndef VELMAR_EMBEDDED_PROVIDERS_PROBLEMS_H
#define VELMAR_EMBEDDED_PROVIDERS_PROBLEMS_H

#include <functional>
#include <string>

#include "providers/Teller.h"

namespace velmar_embedded {

class Problems {
 public:
    using Observer = std::function<void(const std::string&)>;

    /// The observer is called by the teller.
    explicit Problems(Teller& teller) : _teller(teller) {}
    Problems(const Problems&) = delete;
    Problems& operator=(const Problems&) = delete;

    /// Set before the first report; without one, and once the teller was stopped, problems go to
    /// stderr.
    void observe(Observer observer) { _observer = std::move(observer); }
    /// Tells of problems one by one, in the order of their coming. Does not wait for the observer.
    void report(const std::string& problem);

 private:
    Teller& _teller;
    Observer _observer;
};

}  // namespace velmar_embedded

#endif
