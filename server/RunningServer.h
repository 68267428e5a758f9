// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The server behind the facade: its rooms, put together, and their start and end.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_RUNNINGSERVER_H
#define VELMAR_EMBEDDED_RUNNINGSERVER_H

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <velmar_embedded/schema/Repository.h>
#include "checks/Checks.h"
#include "client/LocalServer.h"
#include "indications/Subscriptions.h"
#include "interop/Interop.h"
#include "providers/Problems.h"
#include "providers/RegistrationReader.h"
#include "providers/Registry.h"
#include "providers/RunningCalls.h"
#include "providers/Teller.h"
#include "requests/Admission.h"
#include "requests/WorkerPool.h"

namespace velmar_embedded {

class RunningServer : public LocalServer, public std::enable_shared_from_this<RunningServer> {
 public:
    RunningServer();
    ~RunningServer() override;
    RunningServer(const RunningServer&) = delete;
    RunningServer& operator=(const RunningServer&) = delete;

    /// As for Server.
    void setStopPatience(std::chrono::milliseconds patience) { _patience = patience; }
    void start();
    void stop();
    std::string subscribe(const std::string& query, const std::vector<std::string>& nameSpaces,
                          IndicationQueue::Deliver subscriber, size_t capacity);
    void unsubscribe(const std::string& id);

    std::shared_ptr<Pending> submit(std::shared_ptr<const Request> request) override;
    void noteTimeout(const Request& request, Pegasus::Uint32 milliseconds) override;

    /// For the handle of a provider's initialize.
    std::shared_ptr<Channel> makeChannel(const std::string& providerName);

    void setDestinations(std::shared_ptr<Destinations> destinations);

    Repository& repository() { return _repository; }
    Registry& registry() { return _registry; }
    RegistrationReader& registrationReader() { return _registrationReader; }
    Subscriptions& subscriptions() { return _subscriptions; }
    Teller& teller() { return _teller; }
    Problems& problems() { return _problems; }
    Services& services() { return _services; }
    velmar_checks::Checks& checks() { return _checks; }

    /// Lets the checks look at what is registered now; quiet before the start, which looks itself.
    void registered();

 private:
    std::shared_ptr<Destinations> destinations();

    std::chrono::milliseconds _patience{5000};
    Teller _teller;
    Problems _problems;
    RunningCalls _running;
    Repository _repository;
    velmar_checks::Checks _checks;
    Registry _registry;
    RegistrationReader _registrationReader;
    WorkerPool _workers;
    Services _services;
    Admission _admission;
    Subscriptions _subscriptions;
    std::atomic<bool> _started{false};
    std::mutex _destinationsLock;
    std::shared_ptr<Destinations> _destinations;
    const InteropServices _interop;
};

}  // namespace velmar_embedded

#endif
