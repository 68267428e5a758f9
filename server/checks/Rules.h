// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The rules: what can be wrong, and what to do about it. Findings state facts and name their rule.
//
// Constant data.
#ifndef VELMAR_CHECKS_RULES_H
#define VELMAR_CHECKS_RULES_H

#include <string>
#include <vector>

#include <velmar_checks/Finding.h>

namespace velmar_checks {

struct Rule {
    const char* id;  ///< "group.rule"
    Severity severity;
    const char* meaning;  ///< what is wrong, and what a real server makes of it
    const char* remedy;
};

struct RuleGroup {
    const char* heading;
    std::vector<Rule> rules;
};

const std::vector<RuleGroup>& allRules();

/// Returns nullptr for an unknown id.
const Rule* findRule(const std::string& id);

/// The tables of docs/findings.md.
std::string rulesAsMarkdown();

}  // namespace velmar_checks

#endif
