// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Which provider serves what: the registrations of the server.
//
// Thread-safe; found providers stay valid until clear.
#ifndef VELMAR_EMBEDDED_PROVIDERS_REGISTRY_H
#define VELMAR_EMBEDDED_PROVIDERS_REGISTRY_H

#include <Pegasus/Common/CIMName.h>

#include <functional>
#include <map>
#include <memory>
#include <shared_mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include <velmar_embedded/ServerTypes.h>
#include "providers/LoadedProvider.h"

namespace velmar_embedded {

/// A registration that cannot be; what() names it and the value that is wrong.
class RegistrationError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// One class in one namespace that a provider is registered for, with one provider type.
struct Registration {
    std::string provider;
    Pegasus::CIMName className;
    Pegasus::CIMNamespaceName nameSpace;
    ProviderType type;
    std::vector<Pegasus::CIMName> methods;  ///< supported ones; empty: all
};

class Registry {
 public:
    /// What providers report to, where their calls are kept, and who is told of their loading.
    Registry(Notices& notices, RunningCalls& running, LoadObserver& observer)
        : _notices(notices), _running(running), _observer(observer) {}
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    /// Adds a provider; `makeChannel` as for LoadedProvider. One of the server's `own` is not
    /// checked.
    std::shared_ptr<LoadedProvider> addProvider(const std::string& name, ProviderFactory create,
                                                ChannelFactory makeChannel, bool own = false);

    /// Registers what a provider serves. Throws RegistrationError when another one serves it.
    void addCapabilities(const std::shared_ptr<LoadedProvider>& provider,
                         const Capabilities& capabilities);

    /// The provider registered for exactly this class; null without one. Not for indications,
    /// which several may serve.
    LoadedProvider* find(const Pegasus::CIMNamespaceName& nameSpace,
                         const Pegasus::CIMName& className, ProviderType type) const;
    /// The same for a method, which the registration must support.
    LoadedProvider* findMethod(const Pegasus::CIMNamespaceName& nameSpace,
                               const Pegasus::CIMName& className,
                               const Pegasus::CIMName& methodName) const;

    /// All that are registered for indications of exactly this class.
    std::vector<LoadedProvider*> findIndicationProviders(const Pegasus::CIMNamespaceName& nameSpace,
                                                         const Pegasus::CIMName& className) const;

    /// All but those of the server's own, in the order in which they were added.
    std::vector<Registration> registrations() const;

    /// Terminates the loaded providers in the order of their registration and forgets all. No
    /// operation may be running.
    void clear();

 private:
    struct Entry {
        std::shared_ptr<LoadedProvider> provider;
        std::vector<Pegasus::CIMName> methods;
    };
    const Entry* findEntry(const std::string& key) const;

    Notices& _notices;
    RunningCalls& _running;
    LoadObserver& _observer;
    mutable std::shared_mutex _lock;
    std::vector<std::shared_ptr<LoadedProvider>> _providers;
    std::multimap<std::string, Entry> _entries;  // by namespace, class and type
    std::vector<Registration> _registrations;
};

}  // namespace velmar_embedded

#endif
