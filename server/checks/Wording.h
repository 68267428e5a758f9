// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The words that findings are made of.
//
// Keeps no state, thread-safe.
#ifndef VELMAR_CHECKS_WORDING_H
#define VELMAR_CHECKS_WORDING_H

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/CIMValue.h>

#include <string>
#include <vector>

#include "model/Text.h"

namespace velmar_checks {

using velmar_embedded::utf8;

/// "string", "uint32[]".
std::string typeText(Pegasus::CIMType type, bool isArray);
/// "boolean TRUE", "string \"front\"", "null uint16", "string[] of 3".
std::string describe(const Pegasus::CIMValue& value);
/// "A, B and C".
std::string listing(const std::vector<std::string>& items);
/// "; did you mean X?" for the name that differs least, empty if none is near.
std::string didYouMean(const std::string& wrong, const std::vector<std::string>& names);

}  // namespace velmar_checks

#endif
