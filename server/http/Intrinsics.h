// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The intrinsic methods of DSP0200 as tables: their parameters, which requests they are, and how
// their results are written. Servers read the parameters and write the results, clients the other
// way round.
#ifndef VELMAR_WIRE_INTRINSICS_H
#define VELMAR_WIRE_INTRINSICS_H

#include <string>
#include <vector>

#include "Xml.h"
#include "client/Request.h"
#include "model/CIMXml.h"

namespace velmar_wire {

struct IntrinsicParameter {
    const char* name;
    bool isRequired;
    /// Sets what the element in IPARAMVALUE says. Throws MessageFault.
    void (*read)(velmar_embedded::Request& request, pugi::xml_node value);
    /// Writes that element; nothing where the request leaves the parameter out.
    void (*write)(Pegasus::XmlWriter& writer, const velmar_embedded::Request& request);
};

struct IntrinsicResult {
    /// Writes what stands in IRETURNVALUE.
    void (*write)(Pegasus::XmlWriter& writer, const velmar_embedded::Answer& answer);
    /// Adds one element of it to an answer. Throws MessageFault.
    void (*read)(velmar_embedded::Answer& answer, pugi::xml_node element);
};

struct Intrinsic {
    const char* name;
    velmar_embedded::Operation operation;
    std::vector<IntrinsicParameter> parameters;
    const IntrinsicResult* result;  ///< null for methods without one
};

/// Null for a name that no served method has; letter case does not count.
const Intrinsic* findIntrinsic(const std::string& name);
/// Null for invokeMethod, which is extrinsic.
const Intrinsic* findIntrinsic(velmar_embedded::Operation operation);
/// ExecQuery is known and not served.
bool isRefusedIntrinsic(const std::string& name);

}  // namespace velmar_wire

#endif
