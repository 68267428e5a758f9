// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A provider library.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_PROVIDERS_MODULE_H
#define VELMAR_EMBEDDED_PROVIDERS_MODULE_H

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "client/Gate.h"

namespace velmar_embedded {

/// Why a module has no provider: a CIM_ERR_FAILED.
class ModuleError : public Pegasus::CIMException {
 public:
    enum Kind { NotFound, NotLoadable, NoEntryPoint, UnknownProvider };
    ModuleError(Kind kind, std::string location, const std::string& reason)
        : CIMException(Pegasus::CIM_ERR_FAILED, Pegasus::String(reason.c_str())),
          _kind(kind),
          _location(std::move(location)) {}

    Kind kind() const { return _kind; }
    /// Of the module, as it is registered.
    const std::string& location() const { return _location; }

 private:
    Kind _kind;
    std::string _location;
};

class Module {
 public:
    using EntryPoint = Pegasus::CIMProvider* (*)(const Pegasus::String& providerName);

    /// `directories` are asked for each time the library is opened. With an entry point of this
    /// process, which may be null, no library is.
    Module(std::string location, std::function<std::vector<std::string>()> directories,
           EntryPoint entryPoint);
    /// Closes the library; its providers must have been terminated.
    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    const std::string& location() const { return _location; }
    /// Whether there is an entry point, or the library is in one of the directories.
    bool isFound() const { return _entryPoint != nullptr || !file().empty(); }
    /// Opens the library if need be and asks it for a provider. Throws ModuleError with the
    /// folders tried, with the loader's text, or when the library does not know the name.
    Pegasus::CIMProvider* createProvider(const std::string& name);
    /// The destructor then leaves the library open. No provider may be created any more.
    void keepLoaded() { _library = nullptr; }
    /// Waits until no thread that was started since the library was opened is inside it, no longer
    /// than `patience`. Gives how many are still known to be; while there may be any, the library
    /// is never closed. Its providers must have been terminated, and none may be created any more.
    unsigned waitForThreads(std::chrono::milliseconds patience);

 private:
    std::string file() const;
    void open();

    const std::string _location;
    const std::function<std::vector<std::string>()> _directories;
    const EntryPoint _entryPoint;
    Gate _opening;  // held while the library's initializers run
    std::string _file;
    void* _library = nullptr;
    std::set<pid_t> _older;  // threads that there were before
};

}  // namespace velmar_embedded

#endif
