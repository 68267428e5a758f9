// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <velmar_embedded/Server.h>

#include <Pegasus/Common/Exception.h>

#include <stdexcept>
#include <utility>

#include "ServerImpl.h"

using namespace Pegasus;

namespace velmar_embedded {

Server::Server(const ServerOptions& options) : _impl(std::make_shared<Impl>(options)) {}

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
    _impl->registrationReader.addDirectory(directory);
}

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
    _impl->compile(registration, interopNamespace, compile, entryPoint);
}

void Server::start() { _impl->start(); }

void Server::stop() { _impl->stop(); }

std::string Server::subscribe(const std::string& query,
                              const std::vector<std::string>& sourceNameSpaces,
                              std::function<void(const CIMInstance&)> subscriber,
                              size_t queueCapacity) {
    const std::shared_ptr<Subscription> subscription =
        _impl->subscriptions.prepare(query, sourceNameSpaces, std::move(subscriber), queueCapacity);
    if (!_impl->subscriptions.store(subscription)) {
        _impl->admission.complete([&] { _impl->subscriptions.create(subscription); });
    }
    return subscription->id;
}

void Server::unsubscribe(const std::string& id) {
    if (_impl->subscriptions.removeStored(id)) {
        return;
    }
    std::shared_ptr<Subscription> removed;
    _impl->admission.complete([&] { removed = _impl->subscriptions.remove(id); });
    _impl->subscriptions.close(removed);  // on this thread, which may be in a subscriber
}

void Server::drain() {
    _impl->subscriptions.drain();
    _impl->notices.flush();
}

IndicationCounts Server::indicationCounts() const { return _impl->subscriptions.counts(); }

IndicationCounts Server::indicationCounts(const std::string& id) const {
    return _impl->subscriptions.counts(id);
}

void Server::setDestinations(std::shared_ptr<Destinations> destinations) {
    const std::lock_guard<std::mutex> guard(_impl->destinationsLock);
    _impl->destinations = std::move(destinations);
}

Faults& Server::faults() { return _impl->notices.faults; }

Repository& Server::repository() { return _impl->repository; }

std::vector<velmar_checks::Finding> Server::findings() const {
    return _impl->checks.findings().all();
}

}  // namespace velmar_embedded
