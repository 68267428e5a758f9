// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "ServerImpl.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include "model/Text.h"
#include "providers/Course.h"
#include "requests/ServerChannel.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

// Reports, as long as it lives, what a slow stop waits for: each time that it is something else.
class StopWatch {
 public:
    StopWatch(std::chrono::milliseconds patience, Notices& notices, const RunningCalls& running)
        : _patience(std::max(patience, std::chrono::milliseconds(1))),
          _notices(notices),
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
                _notices.problem("stop waits for " + waited);
                reported = waited;
            }
        }
    }

    const std::chrono::milliseconds _patience;
    Notices& _notices;
    const RunningCalls& _running;
    std::mutex _lock;
    std::condition_variable _changed;
    bool _over = false;
    std::thread _thread;
};

}  // namespace

Server::Impl::Impl(const ServerOptions& given)
    : options(given),
      notices(options.observer),
      checks(repository, registry, notices, options.checks),
      registry(notices, running, checks),
      registrationReader(repository, registry, notices,
                         [this](const std::string& name) { return makeChannel(name); }),
      services{repository, registry, workers, notices, running, checks, enumerations},
      admission(services),
      subscriptions(services),
      interop{repository, subscriptions, notices,
              [this] {
                  const std::lock_guard<std::mutex> guard(destinationsLock);
                  return destinations;
              },
              [this](const std::string& name) { return makeChannel(name); }} {
    addInterop(interop, registry);
}

void Server::Impl::compile(
    const std::string& file, const std::string& nameSpace,
    const std::function<void(const CIMNamespaceName&, const MofObserver&)>& compile,
    Module::EntryPoint entryPoint) {
    const auto stored = [&](const CIMNamespaceName& in, const CIMObjectPath& path,
                            const std::string& from,
                            unsigned line) { registrationReader.note(in, path, from, line); };
    try {
        compile(CIMNamespaceName(nameSpace.c_str()), stored);
    } catch (const InvalidNamespaceNameException& e) {
        throw MofError(file, MofFault(0, utf8(e.getMessage())));
    }
    registrationReader.readInstances(entryPoint);
    checkRegistrations();
}

void Server::Impl::registerProvider(const std::string& name, ProviderFactory create,
                                    const std::vector<Capabilities>& capabilities) {
    auto provider =
        registry.addProvider(name, std::move(create), [this, name] { return makeChannel(name); });
    for (const Capabilities& served : capabilities) {
        registry.addCapabilities(provider, served);
    }
    checkRegistrations();
}

void Server::Impl::start() {
    if (!announce(shared_from_this())) {
        throw std::logic_error("a server is started in this process already");
    }
    if (!admission.open()) {
        withdraw(*this);
        throw std::logic_error("a stopped server cannot be started again");
    }
    isStarted = true;
    checkRegistrations();
    admission.complete([this] { subscriptions.createStored(); });
}

void Server::Impl::checkRegistrations() {
    if (isStarted && checks.areOn()) {
        checks.checkPackage(registrationReader.modules());
    }
}

void Server::Impl::stop() {
    if (notices.isTelling()) {
        throw std::logic_error(
            "onProblem and onFinding cannot stop the server, which waits for them");
    }
    withdraw(*this);
    if (!admission.close()) {
        return;
    }
    {
        const StopWatch watch(options.stopPatience, notices, running);
        admission.waitForLast();
        enumerations.stop();
        subscriptions.stop();
        workers.stop();
        registry.clear();
        checks.forgetDelivered();
        // A thread that is on its way out needs no longer than this.
        checks.checkClosed(registrationReader.closeModules(
            std::min(options.stopPatience, std::chrono::milliseconds(1000)), options.keepModules));
    }
    notices.stop();
}

std::shared_ptr<Pending> Server::Impl::submit(std::shared_ptr<const Request> request) {
    return admission.submit(std::move(request), nullptr);
}

void Server::Impl::connecting() {
    asStep(
        notices,
        [] { return Step{Step::Kind::Connect, "connectLocal", "", "", CIMObjectPath(), ""}; },
        [] { return 0; });
}

void Server::Impl::noteTimeout(const Request& request, Uint32 milliseconds) {
    const Purpose purpose{operationName(request.operation), &request.path.getClassName()};
    const std::string still = running.text(&request);
    notices.problem("a client timed out after " + std::to_string(milliseconds) + " ms in " +
                    purpose.text() +
                    (still.empty() ? "; no provider runs for it" : "; still running: " + still));
}

std::shared_ptr<Channel> Server::Impl::makeChannel(const std::string& providerName) {
    // The admission lives in this object, so whoever holds it holds the whole server.
    return std::make_shared<ServerChannel>(
        std::shared_ptr<Admission>(shared_from_this(), &admission), providerName);
}

}  // namespace velmar_embedded
