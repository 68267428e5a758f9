// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The rules on a provider's deliveries, on answers that clients get over the wire.
#include <Pegasus/Common/Exception.h>

#include <map>
#include <optional>
#include <stdexcept>
#include <utility>

#include "check/Deployed.h"
#include "checks/CallWatch.h"

using namespace Pegasus;
using velmar_checks::CallWatch;
using velmar_embedded::Answer;
using velmar_embedded::Connector;
using velmar_embedded::LoadedProvider;
using velmar_embedded::Operation;
using velmar_embedded::ProviderType;
using velmar_embedded::RemoteServer;
using velmar_embedded::Request;

namespace velmar_driver {

namespace {

// Whom a request is meant for; nothing for what no provider answers.
struct Asked {
    ProviderType type;
    CIMName className;
};

std::optional<Asked> askedBy(const Request& request) {
    switch (request.operation) {
        case Operation::GetInstance:
        case Operation::EnumerateInstances:
        case Operation::EnumerateInstanceNames:
        case Operation::CreateInstance:
        case Operation::ModifyInstance:
        case Operation::DeleteInstance:
            return Asked{ProviderType::Instance, request.path.getClassName()};
        case Operation::Associators:
        case Operation::AssociatorNames:
            return Asked{ProviderType::Association, request.associationClass};
        case Operation::References:
        case Operation::ReferenceNames:
            return Asked{ProviderType::Association, request.resultClass};
        case Operation::InvokeMethod:
            return Asked{ProviderType::Method, request.path.getClassName()};
        default:
            return std::nullopt;
    }
}

// One request and its answer, which several providers may have made: each delivers its part.
class AnswerWatch {
 public:
    AnswerWatch(velmar_checks::Checks& checks, const velmar_embedded::Registry& registry,
                const Request& request)
        : _checks(checks), _registry(registry), _request(request), _asked(askedBy(request)) {
        if (_asked) {
            _first = watchOf(_asked->className);
        }
    }

    void delivered(const Answer& answer) {
        if (!_asked) {
            return;
        }
        for (Uint32 i = 0; i < answer.instances.size(); i++) {
            deliver(answer.instances[i].getClassName(), answer.instances[i]);
        }
        for (Uint32 i = 0; i < answer.objects.size(); i++) {
            deliver(answer.objects[i].getClassName(), answer.objects[i]);
        }
        for (Uint32 i = 0; i < answer.paths.size(); i++) {
            deliver(answer.paths[i].getClassName(), answer.paths[i]);
        }
        if (_first != nullptr && !answer.returnValue.isNull()) {
            _first->delivered(answer.returnValue);
        }
        for (Uint32 i = 0; _first != nullptr && i < answer.parameters.size(); i++) {
            if (answer.parameters[i].isTyped()) {
                _first->delivered(answer.parameters[i]);
            }
        }
    }
    /// In a catch block.
    void threw() {
        if (_first != nullptr) {
            _first->threw();
        }
    }

 private:
    // Null for a class that no provider serves.
    CallWatch* watchOf(const CIMName& className) {
        const bool isMethod = _asked->type == ProviderType::Method;
        const LoadedProvider* const provider =
            className.isNull() ? nullptr
            : isMethod ? _registry.findMethod(_request.nameSpace, className, _request.methodName)
                       : _registry.find(_request.nameSpace, className, _asked->type);
        if (provider == nullptr) {
            return nullptr;
        }
        auto& watch = _watches[velmar_embedded::lowerCase(velmar_embedded::utf8(className))];
        if (!watch) {
            watch = std::make_unique<CallWatch>(_checks, provider->name(), _request, className);
            watch->processing();
        }
        return watch.get();
    }

    // A server asks the provider of each subclass, too.
    template <class Object>
    void deliver(const CIMName& className, const Object& object) {
        CallWatch* watch = nullptr;
        if (_asked->type == ProviderType::Instance && className != _asked->className) {
            const velmar_checks::Facts facts = _checks.schema().find(_request.nameSpace, className);
            watch = facts && facts->isA(_asked->className) ? watchOf(className) : nullptr;
        }
        watch = watch == nullptr ? _first : watch;
        if (watch != nullptr) {
            watch->delivered(object);
        }
    }

    velmar_checks::Checks& _checks;
    const velmar_embedded::Registry& _registry;
    const Request& _request;
    const std::optional<Asked> _asked;
    std::map<std::string, std::unique_ptr<CallWatch>> _watches;  // by class
    CallWatch* _first = nullptr;                                 // of the class asked for
};

class WatchedServer : public RemoteServer {
 public:
    WatchedServer(velmar_checks::Checks& checks, const velmar_embedded::Registry& registry,
                  std::unique_ptr<RemoteServer> server)
        : _checks(checks), _registry(registry), _server(std::move(server)) {}

    Answer exchange(const Request& request, Uint32 timeout) override {
        AnswerWatch watch(_checks, _registry, request);
        try {
            Answer answer = _server->exchange(request, timeout);
            watch.delivered(answer);
            return answer;
        } catch (const CIMException&) {
            watch.threw();
            throw;
        }
    }

 private:
    velmar_checks::Checks& _checks;
    const velmar_embedded::Registry& _registry;
    const std::unique_ptr<RemoteServer> _server;
};

const Connector& installedOne() {
    const Connector* const connector = Connector::installed();
    if (connector == nullptr) {
        throw std::logic_error("this program knows no network; link velmar_remote::wire");
    }
    return *connector;
}

}  // namespace

WatchedConnector::WatchedConnector(Deployed& about) : _about(about), _connector(installedOne()) {
    install(*this);
}

WatchedConnector::~WatchedConnector() { install(_connector); }

std::unique_ptr<RemoteServer> WatchedConnector::connect(const String& host, Uint32 port,
                                                        const String& user, const String& password,
                                                        Uint32 timeout) const {
    return std::make_unique<WatchedServer>(_about._checks, _about._registry,
                                           _connector.connect(host, port, user, password, timeout));
}

}  // namespace velmar_driver
