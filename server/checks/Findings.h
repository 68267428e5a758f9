// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Collects findings: each is kept once, with a count, and told of at its first occurrence.
//
// Findings is thread-safe.
#ifndef VELMAR_CHECKS_FINDINGS_H
#define VELMAR_CHECKS_FINDINGS_H

#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include <velmar_checks/Finding.h>

namespace velmar_checks {

class Findings {
 public:
    using Tell = std::function<void(const Finding&)>;

    /// `tell` hears of each new finding on the thread that adds it, with no lock of this class
    /// held.
    explicit Findings(Tell tell = nullptr) : _tell(std::move(tell)) {}

    void add(Finding finding);
    /// In the order of their first occurrence.
    std::vector<Finding> all() const;

 private:
    const Tell _tell;
    mutable std::mutex _lock;
    std::deque<Finding> _findings;
    std::unordered_map<std::string, size_t> _byKey;
};

/// Adds findings about one provider and class. Borrows the findings; not thread-safe.
class Reporter {
 public:
    Reporter(Findings& findings, std::string provider, std::string className)
        : _findings(findings), _provider(std::move(provider)), _className(std::move(className)) {}

    /// A finding of the rule `id`; `sentence` goes on after "provider "P", class C: ".
    void add(const std::string& id, const std::string& element, const std::string& sentence) const;
    /// The same provider, another class.
    Reporter about(const std::string& className) const { return {_findings, _provider, className}; }
    /// Whether anything was added.
    bool isClean() const { return _added == 0; }

 private:
    Findings& _findings;
    const std::string _provider;
    const std::string _className;
    mutable unsigned _added = 0;
};

}  // namespace velmar_checks

#endif
