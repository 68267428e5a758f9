// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Client/CIMClient.h>

#include "client/ClientConnection.h"
#include "client/Operations.h"

namespace Pegasus {

using namespace velmar_embedded::parameters;
using velmar_embedded::Operations;

CIMClientMalformedHTTPException::CIMClientMalformedHTTPException(const String& message)
    : Exception(message) {}
CIMClientHTTPErrorException::CIMClientHTTPErrorException(const String& message)
    : Exception(message) {}
CIMClientXmlException::CIMClientXmlException(const String& message) : Exception(message) {}
CIMClientResponseException::CIMClientResponseException(const String& message)
    : Exception(message) {}

CIMClient::CIMClient() : _connection(std::make_shared<velmar_embedded::ClientConnection>()) {}

CIMClient::~CIMClient() {}

Uint32 CIMClient::getTimeout() const { return _connection->timeout(); }

void CIMClient::setTimeout(Uint32 timeoutMilliseconds) {
    _connection->setTimeout(timeoutMilliseconds);
}

void CIMClient::connect(const String& host, const Uint32 portNumber, const String& userName,
                        const String& password) {
    if (_connection->isConnected()) {
        throw AlreadyConnectedException();
    }
    _connection->connect(host, portNumber, userName, password);
}

void CIMClient::connectLocal() {
    if (_connection->isConnected()) {
        throw AlreadyConnectedException();
    }
    _connection->connectLocal();
}

void CIMClient::disconnect() { _connection->disconnect(); }

CIMClass CIMClient::getClass(NameSpace in, Name className, Flag local, Flag qualifiers, Flag origin,
                             List list) {
    return Operations(_connection).getClass(in, className, local, qualifiers, origin, list);
}

Array<CIMClass> CIMClient::enumerateClasses(NameSpace in, Name className, Flag deep, Flag local,
                                            Flag qualifiers, Flag origin) {
    return Operations(_connection).enumerateClasses(in, className, deep, local, qualifiers, origin);
}

Array<CIMName> CIMClient::enumerateClassNames(NameSpace in, Name className, Flag deep) {
    return Operations(_connection).enumerateClassNames(in, className, deep);
}

void CIMClient::createClass(NameSpace in, const CIMClass& newClass) {
    return Operations(_connection).createClass(in, newClass);
}

void CIMClient::deleteClass(NameSpace in, Name className) {
    return Operations(_connection).deleteClass(in, className);
}

CIMInstance CIMClient::getInstance(NameSpace in, Path path, Flag local, Flag qualifiers,
                                   Flag origin, List list) {
    return Operations(_connection).getInstance(in, path, local, qualifiers, origin, list);
}

Array<CIMInstance> CIMClient::enumerateInstances(NameSpace in, Name className, Flag deep,
                                                 Flag local, Flag qualifiers, Flag origin,
                                                 List list) {
    return Operations(_connection)
        .enumerateInstances(in, className, deep, local, qualifiers, origin, list);
}

Array<CIMObjectPath> CIMClient::enumerateInstanceNames(NameSpace in, Name className) {
    return Operations(_connection).enumerateInstanceNames(in, className);
}

CIMObjectPath CIMClient::createInstance(NameSpace in, Instance instance) {
    return Operations(_connection).createInstance(in, instance);
}

void CIMClient::modifyInstance(NameSpace in, Instance instance, Flag qualifiers, List list) {
    return Operations(_connection).modifyInstance(in, instance, qualifiers, list);
}

void CIMClient::deleteInstance(NameSpace in, Path path) {
    return Operations(_connection).deleteInstance(in, path);
}

Array<CIMObject> CIMClient::associators(NameSpace in, Path path, Name by, Name result, Role role,
                                        Role resultRole, Flag qualifiers, Flag origin, List list) {
    return Operations(_connection)
        .associators(in, path, by, result, role, resultRole, qualifiers, origin, list);
}

Array<CIMObjectPath> CIMClient::associatorNames(NameSpace in, Path path, Name by, Name result,
                                                Role role, Role resultRole) {
    return Operations(_connection).associatorNames(in, path, by, result, role, resultRole);
}

Array<CIMObject> CIMClient::references(NameSpace in, Path path, Name result, Role role,
                                       Flag qualifiers, Flag origin, List list) {
    return Operations(_connection).references(in, path, result, role, qualifiers, origin, list);
}

Array<CIMObjectPath> CIMClient::referenceNames(NameSpace in, Path path, Name result, Role role) {
    return Operations(_connection).referenceNames(in, path, result, role);
}

CIMValue CIMClient::invokeMethod(NameSpace in, Path path, Name method, In given, Out returned) {
    return Operations(_connection).invokeMethod(in, path, method, given, returned);
}

}  // namespace Pegasus
