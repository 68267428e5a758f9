// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/Findings.h"

#include <stdexcept>
#include <utility>

#include "checks/Rules.h"

namespace velmar_checks {

const char* nameOf(Severity severity) { return severity == Severity::Error ? "error" : "warning"; }

std::string helpFor(const Finding& finding) {
    return std::string("  help: ") + findRule(finding.id)->remedy;
}

std::string toLine(const Finding& finding) {
    std::string line = nameOf(finding.severity) + (": " + finding.text) + " [" + finding.id + "]";
    // A key may have any character; one finding is one line.
    for (size_t at = 0; (at = line.find('\n', at)) != std::string::npos; at += 2) {
        line.replace(at, 1, "\\n");
    }
    if (finding.count > 1) {
        line += " (" + std::to_string(finding.count) + " times)";
    }
    return line;
}

void Findings::add(Finding finding) {
    std::string key = finding.id;
    for (const std::string* part : {&finding.provider, &finding.className, &finding.element}) {
        key += '\n';
        key += *part;
    }
    {
        std::lock_guard<std::mutex> guard(_lock);
        const auto [entry, isNew] = _byKey.emplace(std::move(key), _findings.size());
        if (!isNew) {
            _findings[entry->second].count++;
            return;
        }
        _findings.push_back(finding);
    }
    if (_tell) {
        _tell(finding);
    }
}

std::vector<Finding> Findings::all() const {
    std::lock_guard<std::mutex> guard(_lock);
    return {_findings.begin(), _findings.end()};
}

void Reporter::add(const std::string& id, const std::string& element,
                   const std::string& sentence) const {
    const Rule* const rule = findRule(id);
    if (rule == nullptr) {
        throw std::logic_error("unknown rule " + id);
    }
    _added++;
    std::string who;
    if (!_provider.empty()) {
        who = "provider \"" + _provider + "\"";
    }
    if (!_className.empty()) {
        who += (who.empty() ? "class " : ", class ") + _className;
    }
    Finding finding;
    finding.id = rule->id;
    finding.severity = rule->severity;
    finding.provider = _provider;
    finding.className = _className;
    finding.element = element;
    finding.text = who.empty() ? sentence : who + ": " + sentence;
    _findings.add(std::move(finding));
}

}  // namespace velmar_checks
