// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the checks found wrong with a provider, its registration, its schema or a client's request.
//
// Plain data.
#ifndef VELMAR_CHECKS_FINDING_H
#define VELMAR_CHECKS_FINDING_H

#include <string>

/// What is wrong with a provider.
namespace velmar_checks {

/// A warning is what a real server tolerates and a user will most likely regret.
enum class Severity { Warning, Error };

/// What a rule has to say. A plain value.
struct Finding {
    std::string id;  ///< the rule, "group.rule", for example "instance.property-type"
    Severity severity = Severity::Error;  ///< whether it is a fault
    std::string provider;                 ///< its registered name; empty where there is none
    std::string className;                ///< empty where the finding is about no class
    std::string element;  ///< property, key, parameter, method or module; may be empty
    std::string text;     ///< one sentence: who, what was found, what was expected
    unsigned count = 1;   ///< how often: the same id, provider, class and element count as one
};

/// "error" or "warning".
const char* nameOf(Severity severity);

/// One line of text: severity, sentence, id, and the count when it is more than one.
std::string toLine(const Finding& finding);

/// A line "  help: ..." with what the finding's rule advises.
std::string helpFor(const Finding& finding);

}  // namespace velmar_checks

#endif
