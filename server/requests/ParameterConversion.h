// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The typed value of a parameter that came as text.
//
// Keeps no state, thread-safe.
#ifndef VELMAR_EMBEDDED_REQUESTS_PARAMETERCONVERSION_H
#define VELMAR_EMBEDDED_REQUESTS_PARAMETERCONVERSION_H

#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/CIMValue.h>

namespace velmar_embedded {

/// Converts a value through its text, an array element by element. Given back as it is where an
/// object is declared, and when one is an array and the other is not. Throws CIMException
/// (CIM_ERR_INVALID_PARAMETER) naming parameter and text that do not fit the type.
Pegasus::CIMValue typedValue(const Pegasus::String& parameterName, const Pegasus::CIMValue& value,
                             Pegasus::CIMType type, bool isArray);

}  // namespace velmar_embedded

#endif
