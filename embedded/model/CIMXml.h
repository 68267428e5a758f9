// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Objects as CIM-XML elements (DSP0201), without declarations and white space.
#ifndef VELMAR_EMBEDDED_MODEL_CIMXML_H
#define VELMAR_EMBEDDED_MODEL_CIMXML_H

#include <Pegasus/Common/String.h>

namespace Pegasus {

struct ObjectRep;

/// An INSTANCE or CLASS element.
String objectXml(const ObjectRep& object);

}  // namespace Pegasus

#endif
