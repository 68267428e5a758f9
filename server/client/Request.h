// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What travels between a caller and the dispatcher: a request, its answer, or its failure.
//
// Plain data. A request belongs to its caller until it is submitted and is only read afterwards;
// an answer is written by the worker and handed over whole.
#ifndef VELMAR_EMBEDDED_EXCHANGE_REQUEST_H
#define VELMAR_EMBEDDED_EXCHANGE_REQUEST_H

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/OperationContext.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <velmar_embedded/ServerTypes.h>

namespace velmar_embedded {

enum class Operation {
    GetClass,
    EnumerateClasses,
    EnumerateClassNames,
    CreateClass,
    ModifyClass,
    DeleteClass,
    GetQualifier,
    EnumerateQualifiers,
    SetQualifier,
    DeleteQualifier,
    GetInstance,
    GetProperty,
    SetProperty,
    EnumerateInstances,
    EnumerateInstanceNames,
    CreateInstance,
    ModifyInstance,
    DeleteInstance,
    Associators,
    AssociatorNames,
    References,
    ReferenceNames,
    OpenEnumerateInstances,
    OpenEnumerateInstancePaths,
    OpenAssociatorInstances,
    OpenAssociatorInstancePaths,
    OpenReferenceInstances,
    OpenReferenceInstancePaths,
    PullInstancesWithPath,
    PullInstancePaths,
    CloseEnumeration,
    EnumerationCount,
    InvokeMethod
};

/// "getClass", "enumerateInstances", ...
const char* operationName(Operation operation);

/// What pull operations (DSP0200) are given besides.
struct PullParameters {
    Pegasus::String queryLanguage;
    Pegasus::String query;
    std::optional<Pegasus::Uint32> timeout;  ///< seconds; the server's default without one
    bool continueOnError = false;
    Pegasus::Uint32 mostObjects = 0;  ///< of one answer
    Pegasus::String context;          ///< of an enumeration that was opened
};

struct Request {
    /// A request about a class.
    Request(Operation which, const Pegasus::CIMNamespaceName& in, const Pegasus::CIMName& className)
        : Request(which, in, Pegasus::CIMObjectPath(Pegasus::String(), {}, className)) {}
    Request(Operation which, const Pegasus::CIMNamespaceName& in,
            const Pegasus::CIMObjectPath& about)
        : operation(which), nameSpace(in), path(about) {}

    // Each sets what its name says and returns the request.
    Request& inheritance(bool deep, bool local) {
        deepInheritance = deep;
        localOnly = local;
        return *this;
    }
    Request& contents(bool qualifiers, bool classOrigin,
                      const Pegasus::CIMPropertyList& properties = Pegasus::CIMPropertyList()) {
        includeQualifiers = qualifiers;
        includeClassOrigin = classOrigin;
        propertyList = properties;
        return *this;
    }
    Request& association(const Pegasus::CIMName& by, const Pegasus::CIMName& result,
                         const Pegasus::String& nearRole, const Pegasus::String& farRole) {
        associationClass = by;
        resultClass = result;
        role = nearRole;
        resultRole = farRole;
        return *this;
    }
    Request& object(const Pegasus::CIMInstance& newOrModified) {
        instance = newOrModified;
        return *this;
    }
    Request& pulling(const PullParameters& given) {
        pull = given;
        return *this;
    }
    Request& method(const Pegasus::CIMName& name,
                    const Pegasus::Array<Pegasus::CIMParamValue>& inParameters) {
        methodName = name;
        parameters = inParameters;
        return *this;
    }

    Operation operation;
    Pegasus::CIMNamespaceName nameSpace;
    Pegasus::CIMObjectPath path;  ///< class or instance, as the caller gave it
    bool fromHandle = false;      ///< an in-memory upcall, not a client's request
    /// For a part of serving a client's request, that one: to tell whose it is, not to be followed.
    const Request* sent = nullptr;
    Pegasus::OperationContext context;
    /// When it wanted its turn, if it may have waited for that.
    std::chrono::steady_clock::time_point asked;

    bool deepInheritance = true;
    bool localOnly = false;
    bool includeQualifiers = false;
    bool includeClassOrigin = false;
    Pegasus::CIMPropertyList propertyList;

    Pegasus::CIMName associationClass;  ///< null for references, which name it as result class
    Pegasus::CIMName resultClass;
    Pegasus::String role;
    Pegasus::String resultRole;

    PullParameters pull;
    /// The answer may come in pieces, the first ones before its provider has made the last ones.
    bool takesPieces = false;

    Pegasus::CIMInstance instance;
    Pegasus::CIMName propertyName;
    Pegasus::CIMValue propertyValue;  ///< its type may be open: then a text
    Pegasus::CIMClass cimClass;
    QualifierDeclaration qualifier;  ///< to get and to delete one, its name alone
    Pegasus::CIMName methodName;
    Pegasus::Array<Pegasus::CIMParamValue> parameters;
};

/// Looks at what an answer holds once more.
class AnswerGuard {
 public:
    virtual ~AnswerGuard() = default;
    /// Its objects are about to be encoded, on the caller's thread.
    virtual void encoding() const = 0;
};

/// The server completes the paths of objects that association operations have delivered, in place
/// and under this lock: whoever looks at the path of a delivered object meanwhile takes it too.
std::mutex& deliveredPathLock();

/// Handles as the provider delivered them.
struct Answer {
    Pegasus::Array<Pegasus::CIMClass> classes;
    Pegasus::Array<Pegasus::CIMName> names;
    std::vector<QualifierDeclaration> qualifiers;
    Pegasus::Array<Pegasus::CIMInstance> instances;
    Pegasus::Array<Pegasus::CIMObjectPath> paths;
    Pegasus::Array<Pegasus::CIMObject> objects;
    Pegasus::CIMValue returnValue;
    Pegasus::Array<Pegasus::CIMParamValue> parameters;
    /// The list that a client's answer is cut down to.
    Pegasus::CIMPropertyList propertyList;
    /// One for each provider that delivered objects; empty unless asked for.
    std::vector<std::shared_ptr<const AnswerGuard>> guards;

    /// How many objects went ahead of it, in pieces.
    size_t passedOn = 0;

    /// Of objects and names.
    size_t size() const {
        return passedOn + classes.size() + names.size() + qualifiers.size() + instances.size() +
               paths.size() + objects.size() + parameters.size() + !returnValue.isNull();
    }
    /// For a piece of an enumeration: the context to pull the rest with, empty at the end.
    std::optional<Pegasus::String> continuation;
    /// What the enumeration was made of; null for a client, and for other answers.
    std::shared_ptr<const Request> enumeration;
};

/// Takes the front of an answer while its provider works on the rest. Thread-safe.
class AnswerSink {
 public:
    virtual ~AnswerSink() = default;
    /// Waits while other pieces wait. Drops the piece if its taker has given up.
    virtual void take(Answer piece) = 0;
};

/// An error whose text reaches clients as it is, without the code's name before it: so it is where
/// one of several providers fails, or one cannot be loaded.
class PlainError : public Pegasus::CIMException {
 public:
    using CIMException::CIMException;
};

/// The client's connection is lost while it waits for the answer.
class LostConnection : public Pegasus::CIMException {
 public:
    using CIMException::CIMException;
};

/// An error as it leaves an operation: every exception becomes a code and a text.
struct Failure {
    Pegasus::CIMStatusCode code;
    Pegasus::String message;
    bool isPlain = false;  ///< see PlainError
    bool isLost = false;   ///< see LostConnection

    /// Of the exception being handled; call it in a catch block.
    static Failure ofCurrentException();
    Pegasus::CIMException exception() const { return Pegasus::CIMException(code, message); }
    /// "CIM_ERR_NAME: text", or the name alone. A text that begins so already, as one that came
    /// through a client does, stays as it is.
    Pegasus::String codedMessage() const;
    /// As a client gets it.
    Pegasus::String clientMessage() const {
        return isPlain && message.size() > 0 ? message : codedMessage();
    }
};

/// For people: the class of the exception being handled, as far as it can be told, and its text:
/// "std::runtime_error: no". Call it in a catch block.
std::string describeCurrentException();

/// Runs `work`, whatever it throws.
template <class Work>
std::optional<Failure> failureOf(Work&& work) {
    try {
        work();
        return std::nullopt;
    } catch (...) {
        return Failure::ofCurrentException();
    }
}

}  // namespace velmar_embedded

#endif
