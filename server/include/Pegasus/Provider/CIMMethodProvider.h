// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The interface of a provider that serves the methods of its classes. Threads, paths and
// exceptions are those of CIMInstanceProvider.
#ifndef Pegasus_CIMMethodProvider_h
#define Pegasus_CIMMethodProvider_h

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMProvider.h>

namespace Pegasus {

class CIMMethodProvider : public virtual CIMProvider {
 public:
    CIMMethodProvider();
    virtual ~CIMMethodProvider();

    /// `objectReference` has no keys when the method is called on the class. Whether the class
    /// declares the method or the parameters has not been checked.
    virtual void invokeMethod(const OperationContext& context, const CIMObjectPath& objectReference,
                              const CIMName& methodName, const Array<CIMParamValue>& inParameters,
                              MethodResultResponseHandler& handler) = 0;
};

}  // namespace Pegasus

#endif
