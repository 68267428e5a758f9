// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What is wrong with the ends of an association.
//
// Keep no state, thread-safe.
#ifndef VELMAR_CHECKS_ASSOCIATIONRULES_H
#define VELMAR_CHECKS_ASSOCIATIONRULES_H

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>

#include "checks/ClassFacts.h"
#include "checks/Findings.h"

namespace velmar_checks {

/// The ends of an association instance, if its class is an association; no-op otherwise.
void checkEnds(const Reporter& report, SchemaFacts& schema,
               const Pegasus::CIMNamespaceName& nameSpace, const ClassFacts& association,
               const Pegasus::CIMConstObject& object);

/// The ends that the keys of an association's path name.
void checkEndKeys(const Reporter& report, SchemaFacts& schema,
                  const Pegasus::CIMNamespaceName& nameSpace, const ClassFacts& association,
                  const Pegasus::CIMObjectPath& path);

/// The class of what associators or associatorNames deliver: it must be at an end of the
/// association, and of the result class if one was asked for.
void checkFarClass(const Reporter& report, const ClassFacts& association,
                   const Pegasus::CIMName& resultClass, const ClassFacts& delivered);

/// A role of a request that the provider refused as invalid.
void checkRefusedRole(const Reporter& report, const ClassFacts& association,
                      const Pegasus::String& role);

}  // namespace velmar_checks

#endif
