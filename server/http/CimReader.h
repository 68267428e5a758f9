// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The CIM elements of DSP0201, read. What writes them is model/CIMXml.h.
//
// All functions take the element itself, unless said otherwise, and throw MessageFault; what the
// object model refuses (an invalid name, a property twice) passes through as its exception.
#ifndef VELMAR_WIRE_CIMREADER_H
#define VELMAR_WIRE_CIMREADER_H

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/CIMValue.h>
#include <velmar_embedded/ServerTypes.h>

#include "Xml.h"
#include "model/Text.h"

namespace velmar_wire {

/// A text as the object model has it.
using velmar_embedded::utf8;
Pegasus::String stringOf(const std::string& text);

/// The text of an attribute that has to be there.
Pegasus::String attributeOf(pugi::xml_node element, const char* attribute);
/// The same as a name.
Pegasus::CIMName nameOf(pugi::xml_node element, const char* attribute = "NAME");
/// LOCALNAMESPACEPATH.
Pegasus::CIMNamespaceName nameSpaceOf(pugi::xml_node element);
/// Whether an element is a path in any of its forms.
bool isPath(pugi::xml_node element);
/// CLASSNAME, INSTANCENAME, and those with a namespace or a host, OBJECTPATH and VALUE.REFERENCE
/// around any of them included.
Pegasus::CIMObjectPath pathOf(pugi::xml_node element);

/// What VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY in `parent` holds; null if there is
/// none.
Pegasus::CIMValue valueIn(pugi::xml_node parent, Pegasus::CIMType type, bool isArray);
/// VALUE as a truth.
bool booleanOf(pugi::xml_node element);
/// VALUE.ARRAY as names.
Pegasus::CIMPropertyList propertyListOf(pugi::xml_node element);

Pegasus::CIMInstance instanceOf(pugi::xml_node element);
Pegasus::CIMClass classOf(pugi::xml_node element);
/// The attribute of SCOPE for a scope of velmar_embedded::qualifierScopeNames.
std::string scopeAttribute(unsigned scope);
velmar_embedded::QualifierDeclaration qualifierDeclarationOf(pugi::xml_node element);
/// PARAMVALUE; without PARAMTYPE the value is a text whose type is open.
Pegasus::CIMParamValue parameterOf(pugi::xml_node element);
/// RETURNVALUE.
Pegasus::CIMValue returnValueOf(pugi::xml_node element);

/// VALUE.NAMEDINSTANCE, VALUE.INSTANCEWITHPATH, VALUE.OBJECTWITHPATH, VALUE.OBJECTWITHLOCALPATH and
/// VALUE.OBJECT: an object and, before it, its path.
Pegasus::CIMObject objectOf(pugi::xml_node element);

}  // namespace velmar_wire

#endif
