// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Exceptions that callers meet only as Exception.
#ifndef Pegasus_InternalException_h
#define Pegasus_InternalException_h

#if !defined(Pegasus_MessageLoader_h) && !defined(Pegasus_Tracer_h)
#error "include <Pegasus/Common/MessageLoader.h> or <Pegasus/Common/Tracer.h> first"
#endif

#include <Pegasus/Common/Exception.h>

namespace Pegasus {

class PEGASUS_EXPORT NullPointer : public Exception {
 public:
    NullPointer();
};

class PEGASUS_EXPORT NoSuchProperty : public Exception {
 public:
    NoSuchProperty(const String& name);
};

}  // namespace Pegasus

#endif
