// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <velmar_embedded/Server.h>

#include <Pegasus/Common/Exception.h>

#include <stdexcept>
#include <utility>

#include "RunningServer.h"
#include "model/Utf8.h"

using namespace Pegasus;

namespace velmar_embedded {

struct Server::Impl {
    std::shared_ptr<RunningServer> server = std::make_shared<RunningServer>();

    // Runs a compilation into a namespace and registers what it brought.
    template <class Compile>
    void compile(const std::string& file, const std::string& nameSpace, Compile compile,
                 Module::EntryPoint entryPoint = nullptr) {
        RegistrationReader& reader = server->registrationReader();
        const auto stored = [&](const CIMNamespaceName& in, const CIMObjectPath& path,
                                const std::string& from,
                                unsigned line) { reader.note(in, path, from, line); };
        try {
            compile(CIMNamespaceName(nameSpace.c_str()), stored);
        } catch (const InvalidNamespaceNameException& e) {
            throw MofError(file, MofFault(0, utf8(e.getMessage())));
        }
        reader.readInstances(entryPoint);
        server->registered();
    }

    void registerProvider(const std::string& name, ProviderFactory create,
                          const std::vector<Capabilities>& capabilities) {
        auto provider = server->registry().addProvider(
            name, std::move(create),
            [server = server.get(), name] { return server->makeChannel(name); });
        for (const Capabilities& served : capabilities) {
            server->registry().addCapabilities(provider, served);
        }
        server->registered();
    }
};

Server::Server() : _impl(std::make_unique<Impl>()) {}

Server::~Server() { stop(); }

void Server::compileMof(const std::string& nameSpace, const std::string& file,
                        const std::vector<std::string>& includeDirectories) {
    _impl->compile(file, nameSpace, [&](const CIMNamespaceName& into, const MofObserver& stored) {
        velmar_embedded::compileMof(repository(), into, file, {stored, includeDirectories, {}});
    });
}

void Server::compileMofText(const std::string& nameSpace, const std::string& text,
                            const std::string& name) {
    _impl->compile(name, nameSpace, [&](const CIMNamespaceName& into, const MofObserver& stored) {
        velmar_embedded::compileMofText(repository(), into, text, name, {stored, {}, {}});
    });
}

void Server::addProviderDirectory(const std::string& directory) {
    _impl->server->registrationReader().addDirectory(directory);
}

void Server::keepModules() { _impl->server->registrationReader().keepModules(); }

void Server::registerProvider(const std::string& name, CIMProvider* provider,
                              const std::vector<Capabilities>& capabilities) {
    // The owner deletes the object if no request ever asks for it.
    auto owner = std::make_shared<std::unique_ptr<CIMProvider>>(provider);
    auto release = [owner] {
        if (!*owner) {
            throw std::runtime_error(
                "the object that was registered is gone; a function that "
                "makes objects could be registered instead");
        }
        return owner->release();
    };
    registerProvider(name, release, capabilities);
}

void Server::registerProvider(const std::string& name, std::function<CIMProvider*()> create,
                              const std::vector<Capabilities>& capabilities) {
    auto checked = [name, create = std::move(create)] {
        CIMProvider* provider = create();
        if (!provider) {
            throw std::runtime_error("found no object of provider " + name);
        }
        return provider;
    };
    _impl->registerProvider(name, checked, capabilities);
}

void Server::registerProvider(const std::string& registration,
                              CIMProvider* (*entryPoint)(const String& providerName)) {
    const auto compile = [&](const CIMNamespaceName& into, const MofObserver& stored) {
        velmar_embedded::compileMof(repository(), into, registration, {stored, {}, {}});
    };
    _impl->compile(registration, "root/PG_InterOp", compile, entryPoint);
}

void Server::start() { _impl->server->start(); }

void Server::stop() { _impl->server->stop(); }

void Server::setStopPatience(std::chrono::milliseconds patience) {
    _impl->server->setStopPatience(patience);
}

std::string Server::subscribe(const std::string& query,
                              const std::vector<std::string>& sourceNameSpaces,
                              std::function<void(const CIMInstance&)> subscriber,
                              size_t queueCapacity) {
    return _impl->server->subscribe(query, sourceNameSpaces, std::move(subscriber), queueCapacity);
}

void Server::unsubscribe(const std::string& id) { _impl->server->unsubscribe(id); }

void Server::drain() {
    _impl->server->subscriptions().drain();
    _impl->server->teller().flush();
}

IndicationCounts Server::indicationCounts() const {
    return _impl->server->subscriptions().counts();
}

IndicationCounts Server::indicationCounts(const std::string& id) const {
    return _impl->server->subscriptions().counts(id);
}

void Server::setDestinations(std::shared_ptr<Destinations> destinations) {
    _impl->server->setDestinations(std::move(destinations));
}

Repository& Server::repository() { return _impl->server->repository(); }

void Server::observeCalls(std::function<void(const ProviderCall&)> observer) {
    _impl->server->services().observeCall = std::move(observer);
}

void Server::observeLoads(std::function<void(const std::string&, const char*)> observer) {
    _impl->server->checks().observeLoads(std::move(observer));
}

void Server::observeArrivals(std::function<void(const Arrival&)> observer) {
    _impl->server->services().observeArrival = std::move(observer);
}

void Server::enableChecks(bool on) { _impl->server->checks().enable(on); }

void Server::observeFindings(std::function<void(const velmar_checks::Finding&)> observer) {
    _impl->server->checks().observe(std::move(observer));
}

std::vector<velmar_checks::Finding> Server::findings() const {
    return _impl->server->checks().findings().all();
}

void Server::observeProblems(std::function<void(const std::string&)> observer) {
    _impl->server->problems().observe(std::move(observer));
}

}  // namespace velmar_embedded
