// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The embedded CIM server: a development and test server in the process of its user. It compiles
// MOF, loads provider libraries by their registration, and answers CIMClient and CIMOMHandle.
//
// One server per process is started at a time. CIMClient::connectLocal reaches the started one.
// Thread-safe after start; set-up (compileMof, addProviderDirectory, registerProvider) may also be
// done while it runs.
#ifndef VELMAR_EMBEDDED_SERVER_H
#define VELMAR_EMBEDDED_SERVER_H

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <velmar_checks/Finding.h>
#include <velmar_embedded/Faults.h>
#include <velmar_embedded/Observer.h>
#include <velmar_embedded/ServerTypes.h>
#include <velmar_embedded/schema/Mof.h>
#include <velmar_embedded/schema/Repository.h>

/// A CIM server for development and tests.
namespace velmar_embedded {

class Destinations;

/// What a server is made with.
struct ServerOptions {
    Observer* observer = nullptr;  ///< borrowed, outlives the server; null: as `Observer` does
    /// The checks say what is wrong with registrations, classes, what providers deliver and what
    /// clients give; clients are answered the same with and without.
    bool checks = true;
    /// Leaves provider libraries open at stop, so that what a leak checker reports at the end of
    /// the process has names.
    bool keepModules = false;
    /// How long stop waits before it reports what it is waiting for.
    std::chrono::milliseconds stopPatience{5000};
};

/// A CIM server inside this process.
class Server {
 public:
    /// Knows the namespaces root and root/PG_InterOp, the latter with the PG_ registration classes.
    explicit Server(const ServerOptions& options = {});
    /// Stops the server.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Compiles a MOF file into a namespace, which is created if need be. Instances of the PG_
    /// registration classes in root/PG_InterOp register providers. Files that it includes are
    /// searched beside it, then in `includeDirectories`. Throws MofError.
    void compileMof(const std::string& nameSpace, const std::string& file,
                    const std::vector<std::string>& includeDirectories = {});
    /// The same for text; `name` stands for the file in errors.
    void compileMofText(const std::string& nameSpace, const std::string& text,
                        const std::string& name = "<text>");

    /// Folder in which provider modules (lib<Location>.so) are searched, after those added before.
    void addProviderDirectory(const std::string& directory);
    /// Registers an object made in this process. The server owns it from here on and drives it
    /// like a loaded one: initialize before its first call, terminate (which deletes it) at stop.
    /// One that no request has asked for is deleted.
    void registerProvider(const std::string& name, Pegasus::CIMProvider* provider,
                          const std::vector<Capabilities>& capabilities);
    /// The same with a factory, called at the first request and after a failed initialize.
    void registerProvider(const std::string& name, std::function<Pegasus::CIMProvider*()> create,
                          const std::vector<Capabilities>& capabilities);
    /// Compiles a registration, a MOF file, into root/PG_InterOp. Its providers come from the entry
    /// point (PegasusCreateProvider) of a package that is linked into this process, whose state a
    /// test then shares, instead of a library. Throws MofError.
    void registerProvider(const std::string& registration,
                          Pegasus::CIMProvider* (*entryPoint)(const Pegasus::String& providerName));

    /// Makes this server the one that connectLocal reaches. Throws std::logic_error while another
    /// one is started, or when this one was stopped before: a server is started once.
    void start();
    /// Refuses new requests, waits for running operations, disables indications, hands over what
    /// is queued, terminates the providers, closes their libraries and tells the remaining
    /// problems. Quiet when not started. Not in a subscriber; throws std::logic_error in
    /// Observer::onProblem and onFinding.
    void stop();
    /// Subscribes to the indications of a class and its subclasses that come from the source
    /// namespaces; returns the id of the subscription. The indication providers registered for
    /// them (those registered later take no part) are loaded, get createSubscription and, at their
    /// first one, enableIndications. `query` must be SELECT * FROM a class. The subscriber gets
    /// copies, with the properties that their class declares, one at a time in the order of their
    /// delivery, on a thread of the server. It may be slow: `queueCapacity` indications wait for
    /// it, then new ones are dropped, counted and the first of a run reported as a problem.
    ///
    /// Throws CIMException: CIM_ERR_INVALID_QUERY, CIM_ERR_INVALID_PARAMETER,
    /// CIM_ERR_INVALID_NAMESPACE, CIM_ERR_INVALID_CLASS, or CIM_ERR_NOT_SUPPORTED when no provider
    /// serves the class or none accepts (one that refused is enabled nevertheless, until stop).
    /// Before start it is only stored: at start all stored ones are created before any provider is
    /// enabled, and what is wrong with one is reported as a problem.
    std::string subscribe(const std::string& query,
                          const std::vector<std::string>& sourceNameSpaces,
                          std::function<void(const Pegasus::CIMInstance&)> subscriber,
                          size_t queueCapacity = 1000);
    /// Ends a subscription: deleteSubscription and, at a provider's last one, disableIndications.
    /// What is queued is discarded; drain first to get it. No call of the subscriber starts after
    /// the return, and none is running, unless this is called inside a subscriber, which it does
    /// not wait for. Throws CIMException (CIM_ERR_NOT_FOUND).
    void unsubscribe(const std::string& id);
    /// Waits until what was delivered before has been handed to the subscribers, and the problems
    /// and findings reported before have been told (not in the observer of these, which does not
    /// wait for itself). Throws std::logic_error in a subscriber.
    void drain();
    /// Of all subscriptions since start, the ended ones included. An indication counts once for
    /// each subscription that its provider had accepted, as unmatched if there was none.
    IndicationCounts indicationCounts() const;
    /// Of one that has not ended. Throws CIMException (CIM_ERR_NOT_FOUND).
    IndicationCounts indicationCounts(const std::string& id) const;

    /// What subscriptions that clients create as instances in root/PG_InterOp are delivered
    /// through; without it they are refused. Null takes it away from later ones. At any time.
    void setDestinations(std::shared_ptr<Destinations> destinations);

    /// What goes wrong on purpose; rules may be added and taken away at any time.
    Faults& faults();

    /// Classes and instances that no provider serves. It lives as long as the server.
    Repository& repository();

    /// All findings so far, each once with its count; what concerns a request is there when its
    /// caller has the answer.
    std::vector<velmar_checks::Finding> findings() const;

 private:
    struct Impl;
    std::shared_ptr<Impl> _impl;
};

}  // namespace velmar_embedded

#endif
