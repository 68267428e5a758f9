// Objects as CIM-XML elements (DSP0201), without declarations and white space.
#ifndef Pegasus_CIMXml_h
#define Pegasus_CIMXml_h

#include <Pegasus/Common/String.h>

namespace Pegasus {

struct ObjectRep;

/// An INSTANCE or CLASS element.
String objectXml(const ObjectRep& object);

}  // namespace Pegasus

#endif
