// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "client/ClientConnection.h"

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/System.h>
#include <pwd.h>
#include <unistd.h>

#include <chrono>
#include <utility>

#include "model/CIMReps.h"
#include "model/Text.h"

using namespace Pegasus;

namespace velmar_embedded {

String userName() {
    char buffer[4096];
    passwd entry;
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer, sizeof buffer, &found) != 0 || !found) {
        return String();
    }
    return String(found->pw_name);
}

namespace {

CIMObjectPath classPath(const CIMName& className) {
    return CIMObjectPath(String(), CIMNamespaceName(), className);
}

// What decoding the request in the server would give: nothing shared with the caller.
void copyContents(Request& request) {
    if (!request.instance.isUninitialized()) {
        request.instance = request.instance.clone();
        const bool isNew = request.operation == Operation::CreateInstance;
        request.path = isNew ? classPath(request.path.getClassName()) : withoutPlace(request.path);
        request.instance.setPath(request.path);
    }
    if (!request.cimClass.isUninitialized()) {
        request.cimClass = request.cimClass.clone();
    }
    Array<CIMParamValue> parameters;
    for (Uint32 i = 0; i < request.parameters.size(); i++) {
        parameters.append(request.parameters[i].clone());
    }
    request.parameters = parameters;
    static const String& user = *new String(userName());  // lives on for what runs at exit
    request.context = OperationContext();
    request.context.insert(IdentityContainer(user));
}

CIMException clientError(const Failure& failure) {
    return CIMException(failure.code, failure.clientMessage());
}

[[noreturn]] void malformedAnswer(const Request& request) {
    String message("malformed response: no object in the answer to ");
    message.append(String(operationName(request.operation)));
    throw CIMClientXmlException(message);
}

// The order of the list, which names all of them.
void putInOrder(NamedList<CIMProperty>& properties, const CIMPropertyList& list) {
    NamedList<CIMProperty> ordered;
    for (Uint32 i = 0; i < list.size(); i++) {
        const Uint32 index = properties.find(list[i]);
        if (index != PEG_NOT_FOUND && ordered.find(list[i]) == PEG_NOT_FOUND) {
            ordered.add(properties.at(index), "property");
        }
    }
    properties = std::move(ordered);
}

CIMInstance transmitted(const CIMInstance& delivered, const Request& request,
                        const Answer& answer) {
    CIMInstance instance = delivered.clone();
    instance.instanceFilter(request.includeQualifiers, request.includeClassOrigin,
                            answer.propertyList);
    if (request.operation == Operation::EnumerateInstances && !answer.propertyList.isNull()) {
        putInOrder(HandleAccess::rep(instance)->properties, answer.propertyList);
    }
    return instance;
}

CIMObject transmitted(const CIMObject& delivered, const Request& request, const Answer& answer) {
    if (delivered.isClass()) {
        return delivered.clone();
    }
    return CIMObject(transmitted(CIMInstance(delivered), request, answer));
}

// The whole path, where its provider left out the place.
CIMObjectPath placed(CIMObjectPath path, const CIMNamespaceName& nameSpace) {
    if (path.getHost().size() == 0) {
        path.setHost(System::getHostName());
    }
    if (path.getNameSpace().isNull()) {
        path.setNameSpace(nameSpace);
    }
    return path;
}

// The path that an answer has of a delivered object or path.
CIMObjectPath transmittedPath(const CIMObjectPath& path, const Request& request,
                              const Answer& answer) {
    if (answer.enumeration) {
        return placed(path, request.nameSpace);
    }
    switch (request.operation) {
        case Operation::GetInstance:
            return classPath(path.getClassName());
        case Operation::AssociatorNames:
        case Operation::ReferenceNames:
            return path;
        default:
            return withoutPlace(path);
    }
}

// What encoding the answer would leave of it.
Answer transmitted(const Request& sent, Answer delivered) {
    // Pieces of an enumeration look like what it was opened with.
    const Request& request = delivered.enumeration ? *delivered.enumeration : sent;
    const bool single = request.operation == Operation::GetInstance;
    if ((single && delivered.instances.size() == 0) ||
        (request.operation == Operation::CreateInstance && delivered.paths.size() == 0)) {
        malformedAnswer(request);
    }
    for (const auto& guard : delivered.guards) {
        guard->encoding();
    }
    Answer answer;
    answer.classes = delivered.classes;
    answer.names = delivered.names;
    answer.qualifiers = delivered.qualifiers;
    answer.returnValue = delivered.returnValue;
    answer.continuation = delivered.continuation;
    for (Uint32 i = 0; i < delivered.instances.size(); i++) {
        CIMInstance instance = transmitted(delivered.instances[i], request, delivered);
        instance.setPath(transmittedPath(instance.getPath(), request, delivered));
        answer.instances.append(instance);
    }
    for (Uint32 i = 0; i < delivered.paths.size(); i++) {
        answer.paths.append(transmittedPath(delivered.paths[i], request, delivered));
    }
    for (Uint32 i = 0; i < delivered.objects.size(); i++) {
        answer.objects.append(transmitted(delivered.objects[i], request, delivered));
    }
    for (Uint32 i = 0; i < delivered.parameters.size(); i++) {
        answer.parameters.append(delivered.parameters[i].clone());
    }
    return answer;
}

std::shared_ptr<Pending> submitFor(LocalServer& server,
                                   const std::shared_ptr<const Request>& request) {
    try {
        return server.submit(request);
    } catch (const CIMException& e) {
        throw clientError({e.getCode(), e.getMessage()});
    }
}

void throwFailure(const Pending& pending) {
    const std::optional<Failure>& failure = pending.failure();
    if (failure && failure->isLost) {
        throw CannotConnectException(String("Connection to the local CIM server was lost: ") +
                                     failure->message);
    }
    if (failure) {
        throw clientError(*failure);
    }
}

}  // namespace

AnswerPieces::~AnswerPieces() {
    _pending->giveUp();
    _pending->wait(std::nullopt);
}

// The next objects to make pieces of.
void AnswerPieces::fetch() {
    if (std::optional<Answer> piece = _pending->nextPiece()) {
        _slices = AnswerSlices(std::move(*piece));
        return;
    }
    _hasOutcome = true;
    if (_hasBegun && _pending->failure() && !_pending->failure()->isLost) {
        throw _pending->failure()->exception();
    }
    throwFailure(*_pending);
    _slices = AnswerSlices(std::move(_pending->answer()));
}

std::optional<Answer> AnswerPieces::next() {
    if (_slices.left() == 0) {
        if (_hasOutcome) {
            return std::nullopt;
        }
        fetch();
    }
    _hasBegun = true;
    return transmitted(*_sent, _slices.take(pieceSize));
}

void ClientConnection::connectLocal() {
    _server = LocalServer::started();
    if (!_server) {
        throw CannotConnectException(
            String("Cannot connect to local CIM server: no server is started in this process"));
    }
    try {
        _server->connecting();
    } catch (...) {
        _server.reset();
        throw;
    }
}

void ClientConnection::connect(const String& host, Uint32 port, const String& user,
                               const String& password) {
    const Connector* const connector = Connector::installed();
    if (!connector) {
        throw CannotConnectException(
            String("Cannot connect to ") + host +
            String(": this program knows no network; link velmar_remote::wire, or use "
                   "connectLocal"));
    }
    _remote = connector->connect(host, port, user, password, _timeout);
}

Answer ClientConnection::exchange(Request request) {
    if (_remote) {
        return _remote->exchange(request, _timeout);
    }
    if (!_server) {
        throw NotConnectedException();
    }
    copyContents(request);
    const auto sent = std::make_shared<const Request>(std::move(request));
    const std::shared_ptr<Pending> pending = submitFor(*_server, sent);
    if (!pending->wait(std::chrono::milliseconds(_timeout))) {
        _server->noteTimeout(*sent, _timeout);
        throw ConnectionTimeoutException();
    }
    throwFailure(*pending);
    return transmitted(*sent, std::move(pending->answer()));
}

std::unique_ptr<AnswerPieces> ClientConnection::exchangePieces(Request request) {
    if (!_server) {
        throw NotConnectedException();
    }
    copyContents(request);
    auto sent = std::make_shared<const Request>(std::move(request));
    std::shared_ptr<Pending> pending = submitFor(*_server, sent);
    return std::make_unique<AnswerPieces>(std::move(sent), std::move(pending));
}

Answer HandleConnection::exchange(Request request) {
    const Gate::Pass pass(_gate, operationName(request.operation));
    if (!_connection.isConnected()) {
        _connection.connectLocal();
    }
    try {
        return _connection.exchange(std::move(request));
    } catch (const CIMException& e) {
        // Another server may be there for the next upcall.
        if (e.getCode() == CIM_ERR_SERVER_IS_SHUTTING_DOWN) {
            _connection.disconnect();
        }
        throw;
    }
}

}  // namespace velmar_embedded
