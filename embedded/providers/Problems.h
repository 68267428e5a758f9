// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Where what no caller hears of is told: why a provider was not loaded, why a subscription came to
// nothing, what was dropped.
//
// Thread-safe once requests run.
#ifndef VELMAR_EMBEDDED_PROVIDERS_PROBLEMS_H
#define VELMAR_EMBEDDED_PROVIDERS_PROBLEMS_H

#include <functional>
#include <string>

namespace velmar_embedded {

class Problems {
 public:
    using Observer = std::function<void(const std::string&)>;

    /// Set before the first report; without one problems go to stderr.
    void observe(Observer observer) { _observer = std::move(observer); }
    void report(const std::string& problem) const;

 private:
    Observer _observer;
};

}  // namespace velmar_embedded

#endif
