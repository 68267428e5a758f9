// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What is wrong with registrations, and with the classes that they and their namespaces bring.
//
// Thread-safe.
#ifndef VELMAR_CHECKS_REGISTRATIONRULES_H
#define VELMAR_CHECKS_REGISTRATIONRULES_H

#include <vector>

#include "checks/ClassFacts.h"
#include "checks/Findings.h"
#include "providers/RegistrationReader.h"
#include "providers/Registry.h"

namespace velmar_checks {

/// Providers of the modules that are registered for nothing.
void checkProviders(Findings& findings,
                    const std::vector<velmar_embedded::RegisteredModule>& modules,
                    const std::vector<velmar_embedded::Registration>& registrations);

void checkRegistrations(Findings& findings, SchemaFacts& schema,
                        const std::vector<velmar_embedded::Registration>& registrations);

}  // namespace velmar_checks

#endif
