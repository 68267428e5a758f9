// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What stands in IRETURNVALUE, by its kind, and what requests have in common with it.
//
// Thread-safe.
#ifndef VELMAR_WIRE_INTRINSICRESULTS_H
#define VELMAR_WIRE_INTRINSICRESULTS_H

#include "Intrinsics.h"

namespace velmar_wire {

namespace results {
extern const IntrinsicResult classes;
extern const IntrinsicResult classNames;
extern const IntrinsicResult instance;
extern const IntrinsicResult namedInstances;
extern const IntrinsicResult instanceNames;
extern const IntrinsicResult instancesWithPath;
extern const IntrinsicResult instancePaths;
extern const IntrinsicResult objectsWithPath;
extern const IntrinsicResult objectPaths;
extern const IntrinsicResult declarations;
extern const IntrinsicResult openValue;  ///< of a property: its type is not said
extern const IntrinsicResult count;
}  // namespace results

/// Throws MessageFault for an element of another name.
void require(pugi::xml_node element, const char* tag);
void writeNamedInstance(Pegasus::XmlWriter& writer, const Pegasus::CIMInstance& instance);
void writeDeclaration(Pegasus::XmlWriter& writer,
                      const velmar_embedded::QualifierDeclaration& declared);

}  // namespace velmar_wire

#endif
