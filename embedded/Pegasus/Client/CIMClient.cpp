// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Client/CIMClient.h>

#include <utility>

#include "exchange/ClientConnection.h"
#include "exchange/Request.h"

using velmar_embedded::Answer;
using velmar_embedded::Operation;
using velmar_embedded::Request;

namespace Pegasus {

CIMClientMalformedHTTPException::CIMClientMalformedHTTPException(const String& message)
    : Exception(message) {}
CIMClientHTTPErrorException::CIMClientHTTPErrorException(const String& message)
    : Exception(message) {}
CIMClientXmlException::CIMClientXmlException(const String& message) : Exception(message) {}
CIMClientResponseException::CIMClientResponseException(const String& message)
    : Exception(message) {}

CIMClient::CIMClient() : _connection(std::make_unique<velmar_embedded::ClientConnection>()) {}

CIMClient::~CIMClient() {}

Uint32 CIMClient::getTimeout() const { return _connection->timeout(); }

void CIMClient::setTimeout(Uint32 timeoutMilliseconds) {
    _connection->setTimeout(timeoutMilliseconds);
}

void CIMClient::connect(const String& host, const Uint32, const String&, const String&) {
    if (_connection->isConnected()) {
        throw AlreadyConnectedException();
    }
    String message("Cannot connect to ");
    message.append(host).append(String(": the server has no network port, use connectLocal"));
    throw CannotConnectException(message);
}

void CIMClient::connectLocal() {
    if (_connection->isConnected()) {
        throw AlreadyConnectedException();
    }
    _connection->connectLocal();
}

void CIMClient::disconnect() { _connection->disconnect(); }

CIMClass CIMClient::getClass(const CIMNamespaceName& nameSpace, const CIMName& className,
                             Boolean localOnly, Boolean includeQualifiers,
                             Boolean includeClassOrigin, const CIMPropertyList& propertyList) {
    return _connection
        ->exchange(Request(Operation::GetClass, nameSpace, className)
                       .inheritance(true, localOnly)
                       .contents(includeQualifiers, includeClassOrigin, propertyList))
        .classes[0];
}

Array<CIMClass> CIMClient::enumerateClasses(const CIMNamespaceName& nameSpace,
                                            const CIMName& className, Boolean deepInheritance,
                                            Boolean localOnly, Boolean includeQualifiers,
                                            Boolean includeClassOrigin) {
    return _connection
        ->exchange(Request(Operation::EnumerateClasses, nameSpace, className)
                       .inheritance(deepInheritance, localOnly)
                       .contents(includeQualifiers, includeClassOrigin))
        .classes;
}

Array<CIMName> CIMClient::enumerateClassNames(const CIMNamespaceName& nameSpace,
                                              const CIMName& className, Boolean deepInheritance) {
    return _connection
        ->exchange(Request(Operation::EnumerateClassNames, nameSpace, className)
                       .inheritance(deepInheritance, false))
        .names;
}

void CIMClient::createClass(const CIMNamespaceName& nameSpace, const CIMClass& newClass) {
    Request request(Operation::CreateClass, nameSpace, newClass.getClassName());
    request.cimClass = newClass;
    _connection->exchange(std::move(request));
}

void CIMClient::deleteClass(const CIMNamespaceName& nameSpace, const CIMName& className) {
    _connection->exchange(Request(Operation::DeleteClass, nameSpace, className));
}

CIMInstance CIMClient::getInstance(const CIMNamespaceName& nameSpace,
                                   const CIMObjectPath& instanceName, Boolean localOnly,
                                   Boolean includeQualifiers, Boolean includeClassOrigin,
                                   const CIMPropertyList& propertyList) {
    return _connection
        ->exchange(Request(Operation::GetInstance, nameSpace, instanceName)
                       .inheritance(true, localOnly)
                       .contents(includeQualifiers, includeClassOrigin, propertyList))
        .instances[0];
}

Array<CIMInstance> CIMClient::enumerateInstances(const CIMNamespaceName& nameSpace,
                                                 const CIMName& className, Boolean deepInheritance,
                                                 Boolean localOnly, Boolean includeQualifiers,
                                                 Boolean includeClassOrigin,
                                                 const CIMPropertyList& propertyList) {
    return _connection
        ->exchange(Request(Operation::EnumerateInstances, nameSpace, className)
                       .inheritance(deepInheritance, localOnly)
                       .contents(includeQualifiers, includeClassOrigin, propertyList))
        .instances;
}

Array<CIMObjectPath> CIMClient::enumerateInstanceNames(const CIMNamespaceName& nameSpace,
                                                       const CIMName& className) {
    return _connection->exchange(Request(Operation::EnumerateInstanceNames, nameSpace, className))
        .paths;
}

CIMObjectPath CIMClient::createInstance(const CIMNamespaceName& nameSpace,
                                        const CIMInstance& newInstance) {
    return _connection
        ->exchange(Request(Operation::CreateInstance, nameSpace, newInstance.getPath())
                       .object(newInstance))
        .paths[0];
}

void CIMClient::modifyInstance(const CIMNamespaceName& nameSpace,
                               const CIMInstance& modifiedInstance, Boolean includeQualifiers,
                               const CIMPropertyList& propertyList) {
    _connection->exchange(Request(Operation::ModifyInstance, nameSpace, modifiedInstance.getPath())
                              .contents(includeQualifiers, false, propertyList)
                              .object(modifiedInstance));
}

void CIMClient::deleteInstance(const CIMNamespaceName& nameSpace,
                               const CIMObjectPath& instanceName) {
    _connection->exchange(Request(Operation::DeleteInstance, nameSpace, instanceName));
}

Array<CIMObject> CIMClient::associators(const CIMNamespaceName& nameSpace,
                                        const CIMObjectPath& objectName, const CIMName& assocClass,
                                        const CIMName& resultClass, const String& role,
                                        const String& resultRole, Boolean includeQualifiers,
                                        Boolean includeClassOrigin,
                                        const CIMPropertyList& propertyList) {
    return _connection
        ->exchange(Request(Operation::Associators, nameSpace, objectName)
                       .association(assocClass, resultClass, role, resultRole)
                       .contents(includeQualifiers, includeClassOrigin, propertyList))
        .objects;
}

Array<CIMObjectPath> CIMClient::associatorNames(const CIMNamespaceName& nameSpace,
                                                const CIMObjectPath& objectName,
                                                const CIMName& assocClass,
                                                const CIMName& resultClass, const String& role,
                                                const String& resultRole) {
    return _connection
        ->exchange(Request(Operation::AssociatorNames, nameSpace, objectName)
                       .association(assocClass, resultClass, role, resultRole))
        .paths;
}

Array<CIMObject> CIMClient::references(const CIMNamespaceName& nameSpace,
                                       const CIMObjectPath& objectName, const CIMName& resultClass,
                                       const String& role, Boolean includeQualifiers,
                                       Boolean includeClassOrigin,
                                       const CIMPropertyList& propertyList) {
    return _connection
        ->exchange(Request(Operation::References, nameSpace, objectName)
                       .association(CIMName(), resultClass, role, String())
                       .contents(includeQualifiers, includeClassOrigin, propertyList))
        .objects;
}

Array<CIMObjectPath> CIMClient::referenceNames(const CIMNamespaceName& nameSpace,
                                               const CIMObjectPath& objectName,
                                               const CIMName& resultClass, const String& role) {
    return _connection
        ->exchange(Request(Operation::ReferenceNames, nameSpace, objectName)
                       .association(CIMName(), resultClass, role, String()))
        .paths;
}

CIMValue CIMClient::invokeMethod(const CIMNamespaceName& nameSpace,
                                 const CIMObjectPath& instanceName, const CIMName& methodName,
                                 const Array<CIMParamValue>& inParameters,
                                 Array<CIMParamValue>& outParameters) {
    const Answer answer = _connection->exchange(
        Request(Operation::InvokeMethod, nameSpace, instanceName).method(methodName, inParameters));
    outParameters = answer.parameters;
    return answer.returnValue;
}

}  // namespace Pegasus
