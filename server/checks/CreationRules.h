// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What is wrong with the instance of a client's createInstance or modifyInstance.
//
// Keep no state, thread-safe.
#ifndef VELMAR_CHECKS_CREATIONRULES_H
#define VELMAR_CHECKS_CREATIONRULES_H

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>

#include <string>

#include "checks/ClassFacts.h"
#include "checks/Findings.h"

namespace velmar_checks {

/// `operation` is "createInstance" or "modifyInstance"; only a new instance must be complete.
void checkGiven(const Reporter& report, const ClassFacts& facts, const std::string& operation,
                const Pegasus::CIMConstInstance& instance);
/// An instance that the server stores itself because no provider serves its class.
void noteStored(const Reporter& report, const Pegasus::CIMNamespaceName& nameSpace,
                const std::string& className);

}  // namespace velmar_checks

#endif
