// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A client of the server that runs in this process.
//
// One request at a time: use one client per thread. Results are copies that share nothing with the
// server. Every operation throws NotConnectedException without a connection, CIMException with the
// server's code and the message "CIM_ERR_NAME: text" (or "CIM_ERR_NAME"), and
// ConnectionTimeoutException when no answer comes in time; the server then finishes the operation
// in the background.
#ifndef Pegasus_Client_h
#define Pegasus_Client_h

#include <Pegasus/Client/CIMEnumerationContext.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/UintArgs.h>

#include <memory>

namespace velmar_embedded {
class ClientConnection;
}  // namespace velmar_embedded

namespace Pegasus {

class CIMClientMalformedHTTPException : public Exception {
 public:
    CIMClientMalformedHTTPException(const String& message);
};

class CIMClientHTTPErrorException : public Exception {
 public:
    CIMClientHTTPErrorException(const String& message);
};

/// The answer is not a legal response message.
class CIMClientXmlException : public Exception {
 public:
    CIMClientXmlException(const String& message);
};

class CIMClientResponseException : public Exception {
 public:
    CIMClientResponseException(const String& message);
};

class CIMClient {
 public:
    CIMClient();
    ~CIMClient();
    CIMClient(const CIMClient&) = delete;
    CIMClient& operator=(const CIMClient&) = delete;

    /// Milliseconds that an operation waits for its answer; 20000 by default.
    Uint32 getTimeout() const;
    void setTimeout(Uint32 timeoutMilliseconds);

    /// Over HTTP, in a program that links velmar_remote::wire. Throws CannotConnectException,
    /// AlreadyConnectedException.
    void connect(const String& host, const Uint32 portNumber, const String& userName,
                 const String& password);
    /// Throws CannotConnectException without a started server, AlreadyConnectedException.
    void connectLocal();
    /// Quiet when not connected.
    void disconnect();

    CIMClass getClass(const CIMNamespaceName& nameSpace, const CIMName& className,
                      Boolean localOnly = true, Boolean includeQualifiers = true,
                      Boolean includeClassOrigin = false,
                      const CIMPropertyList& propertyList = CIMPropertyList());
    Array<CIMClass> enumerateClasses(const CIMNamespaceName& nameSpace,
                                     const CIMName& className = CIMName(),
                                     Boolean deepInheritance = false, Boolean localOnly = true,
                                     Boolean includeQualifiers = true,
                                     Boolean includeClassOrigin = false);
    Array<CIMName> enumerateClassNames(const CIMNamespaceName& nameSpace,
                                       const CIMName& className = CIMName(),
                                       Boolean deepInheritance = false);
    void createClass(const CIMNamespaceName& nameSpace, const CIMClass& newClass);
    void deleteClass(const CIMNamespaceName& nameSpace, const CIMName& className);

    CIMInstance getInstance(const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
                            Boolean localOnly = true, Boolean includeQualifiers = false,
                            Boolean includeClassOrigin = false,
                            const CIMPropertyList& propertyList = CIMPropertyList());
    Array<CIMInstance> enumerateInstances(const CIMNamespaceName& nameSpace,
                                          const CIMName& className, Boolean deepInheritance = true,
                                          Boolean localOnly = true,
                                          Boolean includeQualifiers = false,
                                          Boolean includeClassOrigin = false,
                                          const CIMPropertyList& propertyList = CIMPropertyList());
    Array<CIMObjectPath> enumerateInstanceNames(const CIMNamespaceName& nameSpace,
                                                const CIMName& className);
    CIMObjectPath createInstance(const CIMNamespaceName& nameSpace, const CIMInstance& newInstance);
    void modifyInstance(const CIMNamespaceName& nameSpace, const CIMInstance& modifiedInstance,
                        Boolean includeQualifiers = true,
                        const CIMPropertyList& propertyList = CIMPropertyList());
    void deleteInstance(const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName);

    Array<CIMObject> associators(const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
                                 const CIMName& assocClass = CIMName(),
                                 const CIMName& resultClass = CIMName(),
                                 const String& role = String::EMPTY,
                                 const String& resultRole = String::EMPTY,
                                 Boolean includeQualifiers = false,
                                 Boolean includeClassOrigin = false,
                                 const CIMPropertyList& propertyList = CIMPropertyList());
    Array<CIMObjectPath> associatorNames(const CIMNamespaceName& nameSpace,
                                         const CIMObjectPath& objectName,
                                         const CIMName& assocClass = CIMName(),
                                         const CIMName& resultClass = CIMName(),
                                         const String& role = String::EMPTY,
                                         const String& resultRole = String::EMPTY);
    Array<CIMObject> references(const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
                                const CIMName& resultClass = CIMName(),
                                const String& role = String::EMPTY,
                                Boolean includeQualifiers = false,
                                Boolean includeClassOrigin = false,
                                const CIMPropertyList& propertyList = CIMPropertyList());
    Array<CIMObjectPath> referenceNames(const CIMNamespaceName& nameSpace,
                                        const CIMObjectPath& objectName,
                                        const CIMName& resultClass = CIMName(),
                                        const String& role = String::EMPTY);

    CIMValue invokeMethod(const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
                          const CIMName& methodName, const Array<CIMParamValue>& inParameters,
                          Array<CIMParamValue>& outParameters);

    // Pull operations (DSP0200): opening returns up to maxObjectCount objects (0 without it, at
    // most 10,000) with their whole paths, each pull the next ones, until endOfSequence. The server
    // waits operationTimeout seconds for the next pull (30 without it, at most 90), then drops the
    // rest. filterQuery is a condition in FQL (DSP0212, filterQueryLanguage DMTF:FQL);
    // continueOnError has to be false.
    Array<CIMInstance> openEnumerateInstances(
        CIMEnumerationContext& context, Boolean& endOfSequence, const CIMNamespaceName& nameSpace,
        const CIMName& className, Boolean deepInheritance = true,
        Boolean includeClassOrigin = false, const CIMPropertyList& propertyList = CIMPropertyList(),
        const String& filterQueryLanguage = String::EMPTY,
        const String& filterQuery = String::EMPTY, const Uint32Arg& operationTimeout = Uint32Arg(),
        Boolean continueOnError = false, const Uint32Arg& maxObjectCount = Uint32Arg());
    Array<CIMObjectPath> openEnumerateInstancePaths(
        CIMEnumerationContext& context, Boolean& endOfSequence, const CIMNamespaceName& nameSpace,
        const CIMName& className, const String& filterQueryLanguage = String::EMPTY,
        const String& filterQuery = String::EMPTY, const Uint32Arg& operationTimeout = Uint32Arg(),
        Boolean continueOnError = false, const Uint32Arg& maxObjectCount = Uint32Arg());
    Array<CIMInstance> openReferenceInstances(
        CIMEnumerationContext& context, Boolean& endOfSequence, const CIMNamespaceName& nameSpace,
        const CIMObjectPath& instanceName, const CIMName& resultClass = CIMName(),
        const String& role = String::EMPTY, Boolean includeClassOrigin = false,
        const CIMPropertyList& propertyList = CIMPropertyList(),
        const String& filterQueryLanguage = String::EMPTY,
        const String& filterQuery = String::EMPTY, const Uint32Arg& operationTimeout = Uint32Arg(),
        Boolean continueOnError = false, const Uint32Arg& maxObjectCount = Uint32Arg());
    Array<CIMObjectPath> openReferenceInstancePaths(
        CIMEnumerationContext& context, Boolean& endOfSequence, const CIMNamespaceName& nameSpace,
        const CIMObjectPath& instanceName, const CIMName& resultClass = CIMName(),
        const String& role = String::EMPTY, const String& filterQueryLanguage = String::EMPTY,
        const String& filterQuery = String::EMPTY, const Uint32Arg& operationTimeout = Uint32Arg(),
        Boolean continueOnError = false, const Uint32Arg& maxObjectCount = Uint32Arg());
    Array<CIMInstance> openAssociatorInstances(
        CIMEnumerationContext& context, Boolean& endOfSequence, const CIMNamespaceName& nameSpace,
        const CIMObjectPath& instanceName, const CIMName& assocClass = CIMName(),
        const CIMName& resultClass = CIMName(), const String& role = String::EMPTY,
        const String& resultRole = String::EMPTY, Boolean includeClassOrigin = false,
        const CIMPropertyList& propertyList = CIMPropertyList(),
        const String& filterQueryLanguage = String::EMPTY,
        const String& filterQuery = String::EMPTY, const Uint32Arg& operationTimeout = Uint32Arg(),
        Boolean continueOnError = false, const Uint32Arg& maxObjectCount = Uint32Arg());
    Array<CIMObjectPath> openAssociatorInstancePaths(
        CIMEnumerationContext& context, Boolean& endOfSequence, const CIMNamespaceName& nameSpace,
        const CIMObjectPath& instanceName, const CIMName& assocClass = CIMName(),
        const CIMName& resultClass = CIMName(), const String& role = String::EMPTY,
        const String& resultRole = String::EMPTY, const String& filterQueryLanguage = String::EMPTY,
        const String& filterQuery = String::EMPTY, const Uint32Arg& operationTimeout = Uint32Arg(),
        Boolean continueOnError = false, const Uint32Arg& maxObjectCount = Uint32Arg());
    /// With a context from one of the three that return instances.
    Array<CIMInstance> pullInstancesWithPath(CIMEnumerationContext& context, Boolean& endOfSequence,
                                             const Uint32Arg& maxObjectCount);
    Array<CIMObjectPath> pullInstancePaths(CIMEnumerationContext& context, Boolean& endOfSequence,
                                           const Uint32Arg& maxObjectCount);
    /// Before its end.
    void closeEnumeration(CIMEnumerationContext& context);
    /// How many objects are left; null if the server does not say.
    Uint64Arg enumerationCount(CIMEnumerationContext& context);

 private:
    std::shared_ptr<velmar_embedded::ClientConnection> _connection;
};

}  // namespace Pegasus

#endif
