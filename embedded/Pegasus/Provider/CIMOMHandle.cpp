// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Provider/CIMOMHandle.h>

#include <utility>

#include "exchange/ClientConnection.h"

using velmar_embedded::Answer;
using velmar_embedded::Channel;
using velmar_embedded::HandleConnection;
using velmar_embedded::Operation;
using velmar_embedded::Request;

namespace Pegasus {

namespace {

// By value: the channel outlives the upcall even if the handle is assigned meanwhile.
Answer exchange(std::shared_ptr<Channel> channel, const OperationContext& context,
                Request request) {
    request.context = context;
    return channel->exchange(std::move(request));
}

}  // namespace

CIMOMHandle::CIMOMHandle() : _channel(std::make_shared<HandleConnection>()) {}

CIMOMHandle::CIMOMHandle(std::shared_ptr<Channel> channel) : _channel(std::move(channel)) {}

CIMOMHandle::CIMOMHandle(const CIMOMHandle& other) = default;

CIMOMHandle::~CIMOMHandle() {}

CIMOMHandle& CIMOMHandle::operator=(const CIMOMHandle& other) = default;

CIMClass CIMOMHandle::getClass(const OperationContext& context, const CIMNamespaceName& nameSpace,
                               const CIMName& className, Boolean localOnly,
                               Boolean includeQualifiers, Boolean includeClassOrigin,
                               const CIMPropertyList& propertyList) {
    return exchange(_channel, context,
                    Request(Operation::GetClass, nameSpace, className)
                        .inheritance(true, localOnly)
                        .contents(includeQualifiers, includeClassOrigin, propertyList))
        .classes[0];
}

Array<CIMClass> CIMOMHandle::enumerateClasses(const OperationContext& context,
                                              const CIMNamespaceName& nameSpace,
                                              const CIMName& className, Boolean deepInheritance,
                                              Boolean localOnly, Boolean includeQualifiers,
                                              Boolean includeClassOrigin) {
    return exchange(_channel, context,
                    Request(Operation::EnumerateClasses, nameSpace, className)
                        .inheritance(deepInheritance, localOnly)
                        .contents(includeQualifiers, includeClassOrigin))
        .classes;
}

Array<CIMName> CIMOMHandle::enumerateClassNames(const OperationContext& context,
                                                const CIMNamespaceName& nameSpace,
                                                const CIMName& className, Boolean deepInheritance) {
    return exchange(_channel, context,
                    Request(Operation::EnumerateClassNames, nameSpace, className)
                        .inheritance(deepInheritance, false))
        .names;
}

CIMInstance CIMOMHandle::getInstance(const OperationContext& context,
                                     const CIMNamespaceName& nameSpace,
                                     const CIMObjectPath& instanceName, Boolean localOnly,
                                     Boolean includeQualifiers, Boolean includeClassOrigin,
                                     const CIMPropertyList& propertyList) {
    const Array<CIMInstance> instances =
        exchange(_channel, context,
                 Request(Operation::GetInstance, nameSpace, instanceName)
                     .inheritance(true, localOnly)
                     .contents(includeQualifiers, includeClassOrigin, propertyList))
            .instances;
    return instances.size() > 0 ? instances[0] : CIMInstance();
}

Array<CIMInstance> CIMOMHandle::enumerateInstances(
    const OperationContext& context, const CIMNamespaceName& nameSpace, const CIMName& className,
    Boolean deepInheritance, Boolean localOnly, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList) {
    return exchange(_channel, context,
                    Request(Operation::EnumerateInstances, nameSpace, className)
                        .inheritance(deepInheritance, localOnly)
                        .contents(includeQualifiers, includeClassOrigin, propertyList))
        .instances;
}

Array<CIMObjectPath> CIMOMHandle::enumerateInstanceNames(const OperationContext& context,
                                                         const CIMNamespaceName& nameSpace,
                                                         const CIMName& className) {
    return exchange(_channel, context,
                    Request(Operation::EnumerateInstanceNames, nameSpace, className))
        .paths;
}

CIMObjectPath CIMOMHandle::createInstance(const OperationContext& context,
                                          const CIMNamespaceName& nameSpace,
                                          const CIMInstance& newInstance) {
    const Array<CIMObjectPath> paths =
        exchange(_channel, context,
                 Request(Operation::CreateInstance, nameSpace, newInstance.getPath())
                     .object(newInstance))
            .paths;
    return paths.size() > 0 ? paths[0] : CIMObjectPath();
}

void CIMOMHandle::modifyInstance(const OperationContext& context, const CIMNamespaceName& nameSpace,
                                 const CIMInstance& modifiedInstance, Boolean includeQualifiers,
                                 const CIMPropertyList& propertyList) {
    exchange(_channel, context,
             Request(Operation::ModifyInstance, nameSpace, modifiedInstance.getPath())
                 .contents(includeQualifiers, false, propertyList)
                 .object(modifiedInstance));
}

void CIMOMHandle::deleteInstance(const OperationContext& context, const CIMNamespaceName& nameSpace,
                                 const CIMObjectPath& instanceName) {
    exchange(_channel, context, Request(Operation::DeleteInstance, nameSpace, instanceName));
}

Array<CIMObject> CIMOMHandle::associators(const OperationContext& context,
                                          const CIMNamespaceName& nameSpace,
                                          const CIMObjectPath& objectName,
                                          const CIMName& assocClass, const CIMName& resultClass,
                                          const String& role, const String& resultRole,
                                          Boolean includeQualifiers, Boolean includeClassOrigin,
                                          const CIMPropertyList& propertyList) {
    return exchange(_channel, context,
                    Request(Operation::Associators, nameSpace, objectName)
                        .association(assocClass, resultClass, role, resultRole)
                        .contents(includeQualifiers, includeClassOrigin, propertyList))
        .objects;
}

Array<CIMObjectPath> CIMOMHandle::associatorNames(const OperationContext& context,
                                                  const CIMNamespaceName& nameSpace,
                                                  const CIMObjectPath& objectName,
                                                  const CIMName& assocClass,
                                                  const CIMName& resultClass, const String& role,
                                                  const String& resultRole) {
    return exchange(_channel, context,
                    Request(Operation::AssociatorNames, nameSpace, objectName)
                        .association(assocClass, resultClass, role, resultRole))
        .paths;
}

Array<CIMObject> CIMOMHandle::references(const OperationContext& context,
                                         const CIMNamespaceName& nameSpace,
                                         const CIMObjectPath& objectName,
                                         const CIMName& resultClass, const String& role,
                                         Boolean includeQualifiers, Boolean includeClassOrigin,
                                         const CIMPropertyList& propertyList) {
    return exchange(_channel, context,
                    Request(Operation::References, nameSpace, objectName)
                        .association(CIMName(), resultClass, role, String())
                        .contents(includeQualifiers, includeClassOrigin, propertyList))
        .objects;
}

Array<CIMObjectPath> CIMOMHandle::referenceNames(const OperationContext& context,
                                                 const CIMNamespaceName& nameSpace,
                                                 const CIMObjectPath& objectName,
                                                 const CIMName& resultClass, const String& role) {
    return exchange(_channel, context,
                    Request(Operation::ReferenceNames, nameSpace, objectName)
                        .association(CIMName(), resultClass, role, String()))
        .paths;
}

CIMValue CIMOMHandle::invokeMethod(const OperationContext& context,
                                   const CIMNamespaceName& nameSpace,
                                   const CIMObjectPath& instanceName, const CIMName& methodName,
                                   const Array<CIMParamValue>& inParameters,
                                   Array<CIMParamValue>& outParameters) {
    const Answer answer = exchange(
        _channel, context,
        Request(Operation::InvokeMethod, nameSpace, instanceName).method(methodName, inParameters));
    outParameters = answer.parameters;
    return answer.returnValue;
}

void CIMOMHandle::disallowProviderUnload() {}

void CIMOMHandle::allowProviderUnload() {}

}  // namespace Pegasus
