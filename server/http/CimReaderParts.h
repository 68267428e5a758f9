// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the two halves of the reader need of each other.
#ifndef VELMAR_WIRE_CIMREADERPARTS_H
#define VELMAR_WIRE_CIMREADERPARTS_H

#include <Pegasus/Common/CIMObject.h>

#include <string>

#include "Xml.h"

namespace velmar_wire {

/// The object that the text of a VALUE is the XML of.
Pegasus::CIMObject embeddedObjectOf(pugi::xml_node value, const std::string& text);

}  // namespace velmar_wire

#endif
