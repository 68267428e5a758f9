// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Base class of instance providers that answer the CIM server from an InstanceCache.
//
// A provider library derives from it, fills `_cache`, and may override the array form of
// fillProperties to complete instances when they are handed out. Create it with new: terminate,
// which the CIM server calls last, deletes it.
//
// Thread-safe: the CIM server may call every request operation on any thread at once.
// fillProperties runs without a lock on handles shared with the cache, and delivered instances are
// encoded after the operation has returned: an override that edits an instance on every request
// breaks readers of that instance on other threads. Edit once, under a mutex, before an instance is
// first handed out, or put an edited clone into the cache with InstanceCache::replace.
//
// Register one object for one class: an object registered for a class and its subclass is asked
// once for each, and every instance arrives twice.
#ifndef VELMAR_REMOTE_COMMON_CACHEDINSTANCEPROVIDER_H
#define VELMAR_REMOTE_COMMON_CACHEDINSTANCEPROVIDER_H

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include "Config.h"
#include "InstanceCache.h"

namespace velmar_remote {

/// Answers the instance operations of one class from its cache. Create it with new: terminate,
/// which the CIM server calls last, deletes it.
class CachedInstanceProvider : public Pegasus::CIMInstanceProvider {
 public:
    /// Leaves `_CIMClassName` empty; the derived class sets it before requests arrive.
    CachedInstanceProvider();
    /// `CIMClassName` is the CIM class that this provider serves.
    explicit CachedInstanceProvider(const Pegasus::String& CIMClassName);
    ~CachedInstanceProvider() override;

    /// Keeps a copy of the handle and forbids unloading the provider when it is idle. Comes before
    /// any request, alone; an override calls it.
    void initialize(Pegasus::CIMOMHandle& cimom) override;
    /// Deletes this object.
    void terminate() override;

    /// Delivers the cached instance after fillProperties. Throws CIM_ERR_NOT_FOUND with an
    /// empty message for a path that is not cached.
    void getInstance(const Pegasus::OperationContext& context,
                     const Pegasus::CIMObjectPath& instanceReference,
                     const Boolean includeQualifiers, const Boolean includeClassOrigin,
                     const Pegasus::CIMPropertyList& propertyList,
                     Pegasus::InstanceResponseHandler& handler) override;
    /// Delivers every cached instance after fillProperties, whatever class is asked for.
    void enumerateInstances(const Pegasus::OperationContext& context,
                            const Pegasus::CIMObjectPath& classReference,
                            const Boolean includeQualifiers, const Boolean includeClassOrigin,
                            const Pegasus::CIMPropertyList& propertyList,
                            Pegasus::InstanceResponseHandler& handler) override;
    /// Delivers every cache key: a path without host and namespace.
    void enumerateInstanceNames(const Pegasus::OperationContext& context,
                                const Pegasus::CIMObjectPath& classReference,
                                Pegasus::ObjectPathResponseHandler& handler) override;
    /// Throws CIM_ERR_NOT_SUPPORTED; a derived provider may override it.
    void modifyInstance(const Pegasus::OperationContext& context,
                        const Pegasus::CIMObjectPath& instanceReference,
                        const Pegasus::CIMInstance& instanceObject, const Boolean includeQualifiers,
                        const Pegasus::CIMPropertyList& propertyList,
                        Pegasus::ResponseHandler& handler) override;
    /// Caches a deep copy whose path is built from the class's key properties, and delivers that
    /// path with local host and "root/velmar_remote". A key that is cached already stays, without
    /// error. Fetches the class through a local client connection, whose exceptions pass through.
    void createInstance(const Pegasus::OperationContext& context,
                        const Pegasus::CIMObjectPath& instanceReference,
                        const Pegasus::CIMInstance& instanceObject,
                        Pegasus::ObjectPathResponseHandler& handler) override;
    /// Removes the instance from the cache, with the cascade of InstanceCache::remove. Quiet when
    /// it is not cached.
    void deleteInstance(const Pegasus::OperationContext& context,
                        const Pegasus::CIMObjectPath& instanceReference,
                        Pegasus::ResponseHandler& handler) override;

 protected:
    /// Hook: sets or refreshes properties of instances about to be handed out. What is edited in
    /// place is the cached instance, which others may be reading. An override that puts edited
    /// clones in their places instead overrides the other form, too, which is not told of them.
    /// `propertyList` is the request's. Does nothing by default.
    virtual void fillProperties(const Pegasus::OperationContext& context,
                                Pegasus::Array<Pegasus::CIMInstance>& instances,
                                const Pegasus::CIMPropertyList& propertyList);
    /// Calls the array form with an array that holds `instance`.
    virtual void fillProperties(const Pegasus::OperationContext& context,
                                Pegasus::CIMInstance& instance,
                                const Pegasus::CIMPropertyList& propertyList);

    Pegasus::CIMOMHandle _cimom;    ///< default-constructed until initialize
    InstanceCache _cache;           ///< what this provider serves
    Pegasus::String _CIMClassName;  ///< the CIM class served
};

}  // namespace velmar_remote

#endif
