// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Values as MOF writes them, and their conversion to the type that the declaration asks for.
//
// Thread-safe: pure functions.
#ifndef VELMAR_EMBEDDED_SCHEMA_MOFVALUE_H
#define VELMAR_EMBEDDED_SCHEMA_MOFVALUE_H

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/CIMValue.h>

#include <map>
#include <string>
#include <vector>

#include "model/Text.h"
#include "schema/MofLexer.h"

namespace velmar_embedded {

/// The value behind `=`, or in a qualifier's parentheses; adjacent strings are one literal.
struct MofValue {
    unsigned line = 0;
    bool isArray = false;
    std::vector<MofToken> literals;  ///< exactly one unless `isArray`
};

/// Lower-case alias with its `$` to the instance's path (class and keys).
using MofAliases = std::map<std::string, Pegasus::CIMObjectPath>;

/// Finds the type that a keyword names; false for anything else (a class name, say).
bool findType(const MofToken& token, Pegasus::CIMType& type);
/// For a token that is not one.
MofFault unknownType(const MofToken& token);

/// Throws MofFault, with the literal and the type, for a literal of another kind, a number out of
/// the type's range, a malformed date-time or path, and an unknown alias.
Pegasus::CIMValue convert(const MofValue& value, Pegasus::CIMType type, bool isArray,
                          const MofAliases& aliases);

}  // namespace velmar_embedded

#endif
