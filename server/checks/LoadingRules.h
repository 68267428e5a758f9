// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What is wrong with the loading of a provider.
//
// Keep no state, thread-safe.
#ifndef VELMAR_CHECKS_LOADINGRULES_H
#define VELMAR_CHECKS_LOADINGRULES_H

#include <Pegasus/Provider/CIMProvider.h>

#include <string>
#include <vector>

#include "checks/Findings.h"
#include "providers/RegistrationReader.h"
#include "providers/Registry.h"

namespace velmar_checks {

/// Modules whose library is in none of the searched folders.
void checkModules(Findings& findings,
                  const std::vector<velmar_embedded::RegisteredModule>& modules);
/// The exception that is being handled kept the object from being made.
void checkNotCreated(Findings& findings, const std::string& provider);
/// Its initialize ended with the exception that is being handled.
void checkNotInitialized(Findings& findings, const std::string& provider);
/// Its terminate ended with the exception that is being handled.
void checkNotTerminated(Findings& findings, const std::string& provider);
/// The object's interfaces against its registrations, and whether it stays loaded.
void checkLoaded(Findings& findings, const std::string& provider,
                 const Pegasus::CIMProvider& object, bool staysLoaded,
                 const std::vector<velmar_embedded::Registration>& registrations);
/// Threads of a module run on after its providers were terminated.
void checkThreadsLeft(Findings& findings, const std::string& location);

}  // namespace velmar_checks

#endif
