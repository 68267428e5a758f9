// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The base of every provider interface: the life cycle that the server drives.
//
// initialize runs alone, before any other call, with a handle that the provider may copy and keep
// until terminate. After terminate the server never touches the object again; a provider made with
// new usually deletes itself there.
#ifndef Pegasus_CIMProvider_h
#define Pegasus_CIMProvider_h

#include <Pegasus/Common/Config.h>

namespace Pegasus {

class CIMOMHandle;

class CIMProvider {
 public:
    CIMProvider();
    virtual ~CIMProvider();

    /// An exception makes the request that loads the provider fail; terminate is called all the
    /// same, and the next request starts over with a new object.
    virtual void initialize(CIMOMHandle& cimom) = 0;
    virtual void terminate() = 0;
};

}  // namespace Pegasus

#endif
