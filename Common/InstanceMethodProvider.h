// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Base class of cache-backed instance providers whose class also has extrinsic methods.
//
// A provider library derives from it and overrides callMethod. Thread-safe as
// CachedInstanceProvider is: fillProperties and callMethod run without a lock on a handle shared
// with the cache, on any number of threads at once.
#ifndef VELMAR_REMOTE_COMMON_INSTANCEMETHODPROVIDER_H
#define VELMAR_REMOTE_COMMON_INSTANCEMETHODPROVIDER_H

#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include "CachedInstanceProvider.h"

namespace velmar_remote {

/// Answers instance operations from its cache, and hands methods to a hook.
class InstanceMethodProvider : public CachedInstanceProvider, public Pegasus::CIMMethodProvider {
 public:
    /// Leaves `_CIMClassName` empty; the derived class sets it before requests arrive.
    InstanceMethodProvider();
    /// `CIMClassName` is the CIM class that this provider serves.
    explicit InstanceMethodProvider(const Pegasus::String& CIMClassName);
    ~InstanceMethodProvider() override;

    /// Calls callMethod on the cached instance after fillProperties, or, for a path that is not
    /// cached, on a placeholder without properties that has the requested path; that throws
    /// TypeMismatchException if the path is of another class than the one served. Delivers the
    /// return value unless it is null, then the out-parameters if there are any.
    void invokeMethod(const Pegasus::OperationContext& context,
                      const Pegasus::CIMObjectPath& instanceReference,
                      const Pegasus::CIMName& methodName,
                      const Pegasus::Array<Pegasus::CIMParamValue>& inParameters,
                      Pegasus::MethodResultResponseHandler& handler) override;

 protected:
    /// Hook: runs the method and returns its value (null: none); `outParameters` arrives empty.
    /// `inst` shares its contents with the cache. The default throws CIM_ERR_NOT_SUPPORTED with
    /// an empty message.
    virtual Pegasus::CIMValue callMethod(const Pegasus::OperationContext& context,
                                         const Pegasus::CIMInstance& inst,
                                         const Pegasus::CIMName& methodName,
                                         const Pegasus::Array<Pegasus::CIMParamValue>& inParameters,
                                         Pegasus::Array<Pegasus::CIMParamValue>& outParameters);
};

}  // namespace velmar_remote

#endif
