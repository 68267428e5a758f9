// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Values to call methods with.
#ifndef VELMAR_CHECKS_DRIVER_SAMPLES_H
#define VELMAR_CHECKS_DRIVER_SAMPLES_H

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMValue.h>

#include <optional>

#include "check/Session.h"
#include "checks/ClassFacts.h"

namespace velmar_driver {

/// A value of the declared type: the first one of its ValueMap, a path of an instance that exists,
/// an array of one. Null for an embedded object, and for a path where there is no instance.
Pegasus::CIMValue sample(Session& session, const velmar_checks::Declared& declared);

/// The method's in-parameters; nothing where a Required one would be null.
std::optional<Pegasus::Array<Pegasus::CIMParamValue>> sampleParameters(
    Session& session, const velmar_checks::MethodFacts& method);

}  // namespace velmar_driver

#endif
