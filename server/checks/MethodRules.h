// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What is wrong with a method call: with its parameters on their way in, with its results on their
// way out.
//
// Keep no state, thread-safe.
#ifndef VELMAR_CHECKS_METHODRULES_H
#define VELMAR_CHECKS_METHODRULES_H

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMValue.h>

#include "checks/ClassFacts.h"
#include "checks/Findings.h"

namespace velmar_checks {

/// What the caller gives. Null, after a finding, when the class does not declare the method.
const MethodFacts* checkCall(const Reporter& report, const ClassFacts& facts,
                             const Pegasus::CIMName& method,
                             const Pegasus::Array<Pegasus::CIMParamValue>& inParameters);
void checkReturnValue(const Reporter& report, const MethodFacts& method,
                      const Pegasus::CIMValue& value);
void checkOutParameter(const Reporter& report, const MethodFacts& method,
                       const Pegasus::CIMParamValue& parameter);

}  // namespace velmar_checks

#endif
