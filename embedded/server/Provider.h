// A registered provider: where its object comes from, and the object once it is loaded.
//
// Thread-safe, except Provider::terminate.
#ifndef VELMAR_EMBEDDED_PROVIDER_H
#define VELMAR_EMBEDDED_PROVIDER_H

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "server/Gate.h"

namespace velmar_embedded {

/// Makes a provider's object; throws instead of giving none.
using ProviderFactory = std::function<Pegasus::CIMProvider*()>;

/// A provider library. Thread-safe.
class Module {
 public:
    /// `directories` are asked for each time the library is opened.
    Module(std::string location, std::function<std::vector<std::string>()> directories);
    /// Closes the library; its providers must have been terminated.
    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    /// Opens the library if need be and asks it for a provider. Throws CIMException
    /// (CIM_ERR_FAILED) with the loader's text, or when the library does not know the name.
    Pegasus::CIMProvider* createProvider(const std::string& name);

 private:
    void open();

    const std::string _location;
    const std::function<std::vector<std::string>()> _directories;
    std::mutex _lock;
    std::string _file;
    void* _library = nullptr;
};

/// Thread-safe, except terminate.
class Provider {
 public:
    /// `makeHandle` gives the handle for initialize, a new channel each time.
    Provider(std::string name, ProviderFactory create,
             std::function<Pegasus::CIMOMHandle()> makeHandle);
    Provider(const Provider&) = delete;
    Provider& operator=(const Provider&) = delete;

    const std::string& name() const { return _name; }

    /// The object, loaded and initialized by the first caller while others wait. `operation` is
    /// what the caller wants to do with it. Throws CIMException (CIM_ERR_FAILED) when the provider
    /// cannot be loaded; the next call tries again.
    Pegasus::CIMProvider& load(const std::string& operation);

    /// The object's interface; throws CIMException (CIM_ERR_NOT_SUPPORTED) when it lacks it.
    template <class Interface>
    Interface& load(const std::string& operation) {
        if (auto* provider = dynamic_cast<Interface*>(&load(operation)))
            return *provider;
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
