// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The server's rooms, put together, and their start and end.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_SERVERIMPL_H
#define VELMAR_EMBEDDED_SERVERIMPL_H

#include <velmar_embedded/Server.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "checks/Checks.h"
#include "client/LocalServer.h"
#include "indications/Subscriptions.h"
#include "interop/Interop.h"
#include "providers/Notices.h"
#include "providers/RegistrationReader.h"
#include "providers/Registry.h"
#include "providers/RunningCalls.h"
#include "requests/Admission.h"
#include "requests/Enumerations.h"
#include "requests/WorkerPool.h"

namespace velmar_embedded {

/// Outlives the Server while a client or a handle has it still.
struct Server::Impl : LocalServer, std::enable_shared_from_this<Server::Impl> {
    explicit Impl(const ServerOptions& given);

    std::shared_ptr<Pending> submit(std::shared_ptr<const Request> request) override;
    void connecting() override;
    void noteTimeout(const Request& request, Pegasus::Uint32 milliseconds) override;

    /// Compiles into a namespace, and registers what that brought. With an entry point, the
    /// providers come from there.
    void compile(
        const std::string& file, const std::string& nameSpace,
        const std::function<void(const Pegasus::CIMNamespaceName&, const MofObserver&)>& compile,
        Module::EntryPoint entryPoint = nullptr);
    void registerProvider(const std::string& name, ProviderFactory create,
                          const std::vector<Capabilities>& capabilities);
    void start();
    void stop();

    /// For the handle of a provider's initialize.
    std::shared_ptr<Channel> makeChannel(const std::string& providerName);
    /// Lets the checks look at what is registered now; quiet before the start, which looks itself.
    void checkRegistrations();

    const ServerOptions options;
    Notices notices;
    RunningCalls running;
    Repository repository;
    velmar_checks::Checks checks;
    Registry registry;
    RegistrationReader registrationReader;
    WorkerPool workers;
    Enumerations enumerations;
    Services services;
    Admission admission;
    Subscriptions subscriptions;
    std::atomic<bool> isStarted{false};
    std::mutex destinationsLock;
    std::shared_ptr<Destinations> destinations;
    const InteropServices interop;
};

}  // namespace velmar_embedded

#endif
