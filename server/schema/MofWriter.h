// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Objects as MOF (DMTF DSP0004), which the compiler reads again.
//
// Keeps no state, thread-safe.
#ifndef VELMAR_EMBEDDED_SCHEMA_MOFWRITER_H
#define VELMAR_EMBEDDED_SCHEMA_MOFWRITER_H

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>

#include <string>

#include <velmar_embedded/ServerTypes.h>

namespace velmar_embedded {

/// "NULL", "12", "\"text\"", "{1, 2}". An embedded object is a string with its MOF.
std::string mofOf(const Pegasus::CIMValue& value);
/// Ends with a line's end, as the next.
std::string mofOf(const Pegasus::CIMInstance& instance);
/// With its qualifiers; of properties and methods those that `cimClass` has.
std::string mofOf(const Pegasus::CIMClass& cimClass);
std::string mofOf(const QualifierDeclaration& declaration);
/// "uint32 Name[]", "EX_Fan REF Name": a property or parameter without value and qualifiers.
template <class Feature>
std::string declaratorOf(const Feature& feature);

extern template std::string declaratorOf(const Pegasus::CIMConstProperty& feature);
extern template std::string declaratorOf(const Pegasus::CIMConstParameter& feature);

}  // namespace velmar_embedded

#endif
