// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A registered provider: where its object comes from, and the object once it is loaded.
//
// Thread-safe, except LoadedProvider::terminate.
#ifndef VELMAR_EMBEDDED_PROVIDERS_LOADEDPROVIDER_H
#define VELMAR_EMBEDDED_PROVIDERS_LOADEDPROVIDER_H

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "providers/Gate.h"

namespace velmar_embedded {

/// Makes a provider's object; throws instead of giving none.
using ProviderFactory = std::function<Pegasus::CIMProvider*()>;

/// Thread-safe, except terminate.
class LoadedProvider {
 public:
    /// `makeHandle` gives the handle for initialize, a new channel each time.
    LoadedProvider(std::string name, ProviderFactory create,
                   std::function<Pegasus::CIMOMHandle()> makeHandle);
    LoadedProvider(const LoadedProvider&) = delete;
    LoadedProvider& operator=(const LoadedProvider&) = delete;

    const std::string& name() const { return _name; }

    /// The object, loaded and initialized by the first caller while others wait. `operation` is
    /// what the caller wants to do with it. Throws CIMException (CIM_ERR_FAILED) when the provider
    /// cannot be loaded; the next call tries again.
    Pegasus::CIMProvider& load(const std::string& operation);

    /// The object's interface; throws CIMException (CIM_ERR_NOT_SUPPORTED) when it lacks it.
    template <class Interface>
    Interface& load(const std::string& operation) {
        if (auto* provider = dynamic_cast<Interface*>(&load(operation))) {
            return *provider;
        }
        throw Pegasus::CIMException(
            Pegasus::CIM_ERR_NOT_SUPPORTED,
            Pegasus::String((operation + ": not an operation of provider " + _name).c_str()));
    }

    /// Terminates the object if it was loaded; no operation may be running or come.
    void terminate();

 private:
    const std::string _name;
    const ProviderFactory _create;
    const std::function<Pegasus::CIMOMHandle()> _makeHandle;
    Gate _loading;
    std::atomic<Pegasus::CIMProvider*> _object{nullptr};  // null until initialized
};

}  // namespace velmar_embedded

#endif
