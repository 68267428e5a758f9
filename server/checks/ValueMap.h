// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The values that a ValueMap qualifier allows (DSP0004): single values and, for integers, ranges
// ("5..10", "..4", "20..").
//
// Keeps no state, thread-safe.
#ifndef VELMAR_CHECKS_VALUEMAP_H
#define VELMAR_CHECKS_VALUEMAP_H

#include <Pegasus/Common/CIMValue.h>

#include <string>
#include <vector>

namespace velmar_checks {

/// The text of the value, or of the first element, that the map does not know; empty if it knows
/// all, or if it cannot be told.
std::string valueOutside(const std::vector<std::string>& map, const Pegasus::CIMValue& value);

}  // namespace velmar_checks

#endif
