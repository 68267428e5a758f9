// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A rule: one thing that can be wrong, with its name and what to do about it.
//
// Constant data.
#ifndef VELMAR_CHECKS_RULE_H
#define VELMAR_CHECKS_RULE_H

#include <vector>

#include "checks/Finding.h"

namespace velmar_checks {

struct Rule {
    const char* id;  ///< "group.rule"
    Severity severity;
    const char* meaning;  ///< what is wrong when it speaks, and what a real server makes of it
    const char* remedy;
};

using RuleList = std::vector<const Rule*>;

// The rules of each group, one group a file.
RuleList registrationRules();
RuleList loadingRules();
RuleList protocolRules();
RuleList instanceRules();
RuleList sharingRules();
RuleList associationRules();
RuleList methodRules();
RuleList indicationRules();
RuleList creationRules();

/// All rules, group by group.
RuleList allRules();

}  // namespace velmar_checks

#endif
