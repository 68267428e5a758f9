// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "CachedInstanceProvider.h"

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>

#include "Internal.h"

using namespace Pegasus;

namespace velmar_remote {

namespace {

// Qualifiers are asked for because they mark the keys; inherited properties because keys are
// usually declared far up the class tree.
CIMClass fetchClass(const CIMName& className) {
    CIMClient client;
    client.connectLocal();
    const CIMClass cimClass =
        client.getClass(cimNamespace(), className, false, true, false, CIMPropertyList());
    client.disconnect();
    return cimClass;
}

}  // namespace

CachedInstanceProvider::CachedInstanceProvider() {}

CachedInstanceProvider::CachedInstanceProvider(const String& CIMClassName)
    : _CIMClassName(CIMClassName) {}

CachedInstanceProvider::~CachedInstanceProvider() {}

void CachedInstanceProvider::initialize(CIMOMHandle& cimom) {
    TraceScope trace(__FILE__, __LINE__, "CachedInstanceProvider::initialize");
    _cimom = cimom;
    _cimom.disallowProviderUnload();
}

void CachedInstanceProvider::terminate() {
    TraceScope trace(__FILE__, __LINE__, "CachedInstanceProvider::terminate");
    delete this;
}

void CachedInstanceProvider::getInstance(const OperationContext& context,
                                         const CIMObjectPath& instanceReference, const Boolean,
                                         const Boolean, const CIMPropertyList& propertyList,
                                         InstanceResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "CachedInstanceProvider::getInstance");
    handler.processing();
    CIMInstance instance{CIMName(_CIMClassName)};
    if (!_cache.lookup(instanceReference, instance)) {
        throw CIMException(CIM_ERR_NOT_FOUND, String::EMPTY);
    }
    fillProperties(context, instance, propertyList);
    handler.deliver(instance);
    handler.complete();
}

void CachedInstanceProvider::enumerateInstances(const OperationContext& context,
                                                const CIMObjectPath&, const Boolean, const Boolean,
                                                const CIMPropertyList& propertyList,
                                                InstanceResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "CachedInstanceProvider::enumerateInstances");
    handler.processing();
    Array<CIMInstance> instances;
    if (_cache.getInstances(instances)) {
        fillProperties(context, instances, propertyList);
        handler.deliver(instances);
    }
    handler.complete();
}

void CachedInstanceProvider::enumerateInstanceNames(const OperationContext&, const CIMObjectPath&,
                                                    ObjectPathResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "CachedInstanceProvider::enumerateInstanceNames");
    handler.processing();
    Array<CIMObjectPath> paths;
    if (_cache.getPaths(paths)) {
        handler.deliver(paths);
    }
    handler.complete();
}

void CachedInstanceProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
                                            const CIMInstance&, const Boolean,
                                            const CIMPropertyList&, ResponseHandler&) {
    TraceScope trace(__FILE__, __LINE__, "CachedInstanceProvider::modifyInstance");
    throw CIMException(CIM_ERR_NOT_SUPPORTED, "CachedInstanceProvider::modifyInstance");
}

void CachedInstanceProvider::createInstance(const OperationContext&, const CIMObjectPath&,
                                            const CIMInstance& instanceObject,
                                            ObjectPathResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "CachedInstanceProvider::createInstance");
    handler.processing();
    const CIMClass cimClass = fetchClass(instanceObject.getClassName());
    CIMObjectPath path = instanceObject.buildPath(CIMConstClass(cimClass));
    path.setHost(System::getHostName());
    path.setNameSpace(cimNamespace());
    // The caller goes on owning the instance it passed in.
    CIMInstance copy = instanceObject.clone();
    copy.setPath(path);
    _cache.insert(copy);
    handler.deliver(path);
    handler.complete();
}

void CachedInstanceProvider::deleteInstance(const OperationContext&,
                                            const CIMObjectPath& instanceReference,
                                            ResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "CachedInstanceProvider::deleteInstance");
    handler.processing();
    _cache.remove(instanceReference);
    handler.complete();
}

void CachedInstanceProvider::fillProperties(const OperationContext&, Array<CIMInstance>&,
                                            const CIMPropertyList&) {
    TraceScope trace(__FILE__, __LINE__, "CachedInstanceProvider::fillProperties");
}

void CachedInstanceProvider::fillProperties(const OperationContext& context, CIMInstance& instance,
                                            const CIMPropertyList& propertyList) {
    TraceScope trace(__FILE__, __LINE__, "CachedInstanceProvider::fillProperties");
    Array<CIMInstance> instances;
    instances.append(instance);
    fillProperties(context, instances, propertyList);
}

}  // namespace velmar_remote
