// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "RunningServer.h"

#include <stdexcept>
#include <utility>

#include "requests/ServerChannel.h"

using namespace Pegasus;

namespace velmar_embedded {

RunningServer::RunningServer()
    : _registrationReader(_repository, _registry,
                          [this](const std::string& name) { return makeHandle(name); }),
      _services{_repository, _registry, _workers, _problems, nullptr, nullptr},
      _admission(_services),
      _subscriptions(_services) {}

RunningServer::~RunningServer() = default;

void RunningServer::start() {
    if (!announce(shared_from_this())) {
        throw std::logic_error("a server is started in this process already");
    }
    if (!_admission.open()) {
        withdraw(*this);
        throw std::logic_error("a stopped server cannot be started again");
    }
    _admission.complete([this] { _subscriptions.createStored(); });
}

void RunningServer::stop() {
    withdraw(*this);
    if (!_admission.close()) {
        return;
    }
    _subscriptions.stop();
    _workers.stop();
    _registry.clear();
    _registrationReader.closeModules();
}

std::shared_ptr<Pending> RunningServer::submit(std::shared_ptr<const Request> request) {
    return _admission.submit(std::move(request), nullptr);
}

std::string RunningServer::subscribe(const std::string& query,
                                     const std::vector<std::string>& nameSpaces,
                                     IndicationQueue::Deliver subscriber, size_t capacity) {
    const std::shared_ptr<Subscription> subscription =
        _subscriptions.prepare(query, nameSpaces, std::move(subscriber), capacity);
    if (!_subscriptions.store(subscription)) {
        _admission.complete([&] { _subscriptions.create(subscription); });
    }
    return subscription->id;
}

void RunningServer::unsubscribe(const std::string& id) {
    if (_subscriptions.removeStored(id)) {
        return;
    }
    std::shared_ptr<Subscription> removed;
    _admission.complete([&] { removed = _subscriptions.remove(id); });
    _subscriptions.close(removed);  // on this thread, which may be in a subscriber
}

CIMOMHandle RunningServer::makeHandle(const std::string& providerName) {
    // The admission lives in this object, so whoever holds it holds the whole server.
    const std::shared_ptr<Admission> admission(shared_from_this(), &_admission);
    return CIMOMHandle(std::make_shared<ServerChannel>(admission, providerName));
}

}  // namespace velmar_embedded
