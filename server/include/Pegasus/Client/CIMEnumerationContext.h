// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What a client needs to pull the rest of an enumeration.
//
// A value class, not thread-safe. Copies mean the same enumeration.
#ifndef Pegasus_CIMEnumerationContext_h
#define Pegasus_CIMEnumerationContext_h

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/String.h>

namespace velmar_embedded {
struct EnumerationAccess;
}

namespace Pegasus {

/// Filled by the open operations of CIMClient; of no enumeration before, and once that is at its
/// end or closed.
class PEGASUS_EXPORT CIMEnumerationContext {
 private:
    friend struct velmar_embedded::EnumerationAccess;
    String _text;  // the server's
    CIMNamespaceName _nameSpace;
};

}  // namespace Pegasus

#endif
