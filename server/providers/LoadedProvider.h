// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A registered provider: where its object comes from, and the object once it is loaded.
//
// Thread-safe, except LoadedProvider::terminate.
#ifndef VELMAR_EMBEDDED_PROVIDERS_LOADEDPROVIDER_H
#define VELMAR_EMBEDDED_PROVIDERS_LOADEDPROVIDER_H

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "client/Channel.h"
#include "client/Gate.h"
#include "providers/Notices.h"
#include "providers/RunningCalls.h"

namespace velmar_embedded {

/// Makes a provider's object; throws instead of giving none.
using ProviderFactory = std::function<Pegasus::CIMProvider*()>;

/// The way that a provider's CIMOMHandle takes, a new one each time.
using ChannelFactory = std::function<std::shared_ptr<Channel>()>;

/// Told of how providers are loaded, on the thread that loads them.
class LoadObserver {
 public:
    virtual ~LoadObserver() = default;
    /// The exception that is being handled kept the object from being made.
    virtual void notCreated(const std::string& provider) = 0;
    /// Its initialize ended with the exception that is being handled.
    virtual void notInitialized(const std::string& provider) = 0;
    /// Its terminate ended with the exception that is being handled.
    virtual void notTerminated(const std::string& provider) = 0;
    /// `staysLoaded` tells whether it asked for not being unloaded.
    virtual void loaded(const std::string& provider, const Pegasus::CIMProvider& object,
                        bool staysLoaded) = 0;
};

class LoadedProvider {
 public:
    /// `makeChannel` gives the channel of the handle for initialize. A provider of the server's
    /// own has no observer.
    LoadedProvider(std::string name, ProviderFactory create, ChannelFactory makeChannel,
                   Notices& notices, RunningCalls& running, LoadObserver* observer);
    LoadedProvider(const LoadedProvider&) = delete;
    LoadedProvider& operator=(const LoadedProvider&) = delete;

    const std::string& name() const { return _name; }
    /// For errors: "provider \"NAME\"".
    const std::string& title() const { return _title; }
    /// Whether it is the server's own, which needs no check.
    bool isOwn() const { return !_observer; }

    /// The object, loaded and initialized by the first caller while others wait. Throws
    /// CIMException (CIM_ERR_FAILED) when the provider cannot be loaded; the next call tries again.
    /// Of what initialize throws the caller hears as little as from a real server: it is reported.
    Pegasus::CIMProvider& load(const Purpose& purpose);

    /// The object's interface; throws CIMException (CIM_ERR_NOT_SUPPORTED) when it lacks it.
    template <class Interface>
    Interface& load(const Purpose& purpose) {
        if (auto* provider = dynamic_cast<Interface*>(&load(purpose))) {
            return *provider;
        }
        throw Pegasus::CIMException(Pegasus::CIM_ERR_NOT_SUPPORTED,
                                    Pegasus::String((std::string(purpose.operation) +
                                                     ": not an operation of provider " + _name)
                                                        .c_str()));
    }

    /// Terminates the object if it was loaded; no operation may be running or come.
    void terminate();

 private:
    template <class Work>
    void asLoad(const char* operation, Work&& work);
    Pegasus::CIMProvider* create(const Purpose& purpose);
    void initialize(Pegasus::CIMProvider& object, const std::shared_ptr<Channel>& channel,
                    const Purpose& purpose);
    void terminate(Pegasus::CIMProvider& object);

    const std::string _name;
    const std::string _title;
    const ProviderFactory _create;
    const ChannelFactory _makeChannel;
    Notices& _notices;
    RunningCalls& _running;
    LoadObserver* const _observer;
    Gate _loading;
    bool _failed = false;  // the last initialize; changed while the gate is held
    std::atomic<Pegasus::CIMProvider*> _object{nullptr};  // null until initialized
};

}  // namespace velmar_embedded

#endif
