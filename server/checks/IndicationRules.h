// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What is wrong with an indication that a provider delivers, and with alerts that fail.
//
// Keep no state, thread-safe.
#ifndef VELMAR_CHECKS_INDICATIONRULES_H
#define VELMAR_CHECKS_INDICATIONRULES_H

#include <Pegasus/Common/CIMIndication.h>
#include <Pegasus/Common/CIMName.h>

#include "checks/ClassFacts.h"
#include "checks/Findings.h"

namespace velmar_checks {

void checkIndication(const Reporter& report, SchemaFacts& schema,
                     const Pegasus::CIMIndication& indication);
/// An alert that came to nothing because of a class that the server does not know; `unknown` is
/// the text of its error. Other classes are left alone.
void checkEnrichment(const Reporter& report, const Pegasus::CIMName& method,
                     const std::string& unknown);

}  // namespace velmar_checks

#endif
