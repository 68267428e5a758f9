// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "RunningServer.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include "requests/ServerChannel.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

// Reports, as long as it lives, what a slow stop waits for: each time that it is something else.
class StopWatch {
 public:
    StopWatch(std::chrono::milliseconds patience, Problems& problems, const RunningCalls& running)
        : _patience(std::max(patience, std::chrono::milliseconds(1))),
          _problems(problems),
          _running(running) {
        try {
            _thread = std::thread(&StopWatch::watch, this);
        } catch (const std::system_error&) {  // no thread can be started: stop unwatched
        }
    }
    ~StopWatch() {
        {
            std::lock_guard<std::mutex> guard(_lock);
            _over = true;
            _changed.notify_all();
        }
        if (_thread.joinable()) {
            _thread.join();
        }
    }
    StopWatch(const StopWatch&) = delete;
    StopWatch& operator=(const StopWatch&) = delete;

 private:
    void watch() {
        std::string reported;
        std::unique_lock<std::mutex> guard(_lock);
        while (!_changed.wait_for(guard, _patience, [this] { return _over; })) {
            const std::string waited = _running.text();
            if (!waited.empty() && waited != reported) {
                _problems.report("stop waits for " + waited);
                reported = waited;
            }
        }
    }

    const std::chrono::milliseconds _patience;
    Problems& _problems;
    const RunningCalls& _running;
    std::mutex _lock;
    std::condition_variable _changed;
    bool _over = false;
    std::thread _thread;
};

}  // namespace

RunningServer::RunningServer()
    : _problems(_teller),
      _checks(_repository, _registry, _teller),
      _registry(_problems, _running, _checks),
      _registrationReader(_repository, _registry, _problems,
                          [this](const std::string& name) { return makeChannel(name); }),
      _services{_repository, _registry, _workers, _problems, _running, _checks, nullptr, nullptr},
      _admission(_services),
      _subscriptions(_services),
      _interop{_repository, _subscriptions, _problems, [this] { return destinations(); },
               [this](const std::string& name) { return makeChannel(name); }} {
    addInterop(_interop, _registry);
}

RunningServer::~RunningServer() = default;

void RunningServer::start() {
    if (!announce(shared_from_this())) {
        throw std::logic_error("a server is started in this process already");
    }
    if (!_admission.open()) {
        withdraw(*this);
        throw std::logic_error("a stopped server cannot be started again");
    }
    _started = true;
    registered();
    _admission.complete([this] { _subscriptions.createStored(); });
}

void RunningServer::registered() {
    if (_started && _checks.areOn()) {
        _checks.checkPackage(_registrationReader.modules());
    }
}

void RunningServer::stop() {
    if (_teller.isTelling()) {
        throw std::logic_error(
            "an observer of problems or findings cannot stop the server, which waits for it");
    }
    withdraw(*this);
    if (!_admission.close()) {
        return;
    }
    {
        const StopWatch watch(_patience, _problems, _running);
        _admission.waitForLast();
        _subscriptions.stop();
        _workers.stop();
        _registry.clear();
        _checks.forgetDelivered();
        // A thread that is on its way out needs no longer than this.
        _checks.checkClosed(
            _registrationReader.closeModules(std::min(_patience, std::chrono::milliseconds(1000))));
    }
    _teller.stop();
}

std::shared_ptr<Pending> RunningServer::submit(std::shared_ptr<const Request> request) {
    return _admission.submit(std::move(request), nullptr);
}

void RunningServer::noteTimeout(const Request& request, Uint32 milliseconds) {
    const Purpose purpose{operationName(request.operation), &request.path.getClassName()};
    const std::string running = _running.text(&request);
    _problems.report(
        "a client timed out after " + std::to_string(milliseconds) + " ms in " + purpose.text() +
        (running.empty() ? "; no provider runs for it" : "; still running: " + running));
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

void RunningServer::setDestinations(std::shared_ptr<Destinations> destinations) {
    std::lock_guard<std::mutex> guard(_destinationsLock);
    _destinations = std::move(destinations);
}

std::shared_ptr<Destinations> RunningServer::destinations() {
    std::lock_guard<std::mutex> guard(_destinationsLock);
    return _destinations;
}

std::shared_ptr<Channel> RunningServer::makeChannel(const std::string& providerName) {
    // The admission lives in this object, so whoever holds it holds the whole server.
    const std::shared_ptr<Admission> admission(shared_from_this(), &_admission);
    return std::make_shared<ServerChannel>(admission, providerName);
}

}  // namespace velmar_embedded
