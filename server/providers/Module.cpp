// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/Module.h"

#include <Pegasus/Common/Exception.h>
#include <dlfcn.h>
#include <unistd.h>

#include <thread>
#include <utility>

#include "providers/ModuleKind.h"
#include "providers/ModuleThreads.h"

using namespace Pegasus;

namespace velmar_embedded {

Module::Module(std::string location, std::function<std::vector<std::string>()> directories,
               EntryPoint entryPoint)
    : _location(std::move(location)),
      _directories(std::move(directories)),
      _entryPoint(entryPoint),
      _opening("the opening of module \"" + _location + "\"") {}

Module::~Module() {
    if (_library) {
        dlclose(_library);
    }
}

// The first one there is; empty without one.
std::string Module::file() const {
    for (const std::string& directory : _directories()) {
        const std::string file = directory + "/lib" + _location + ".so";
        if (access(file.c_str(), F_OK) == 0) {
            return file;
        }
    }
    return "";
}

void Module::open() {
    _file = file();
    if (_file.empty()) {
        std::string tried;
        for (const std::string& directory : _directories()) {
            tried += (tried.empty() ? "" : ", ") + directory;
        }
        throw ModuleError(ModuleError::NotFound, _location,
                          "lib" + _location + ".so is not found: " +
                              (tried.empty() ? "no folder of provider modules was named"
                                             : "it is in none of the folders " + tried));
    }
    const std::string reason = reasonAgainstModule(_file);
    if (!reason.empty()) {
        throw ModuleError(ModuleError::NotLoadable, _location, reason);
    }
    _older = runningThreads();
    _library = dlopen(_file.c_str(), RTLD_NOW);
    if (!_library) {
        throw ModuleError(ModuleError::NotLoadable, _location, dlerror());
    }
}

unsigned Module::waitForThreads(std::chrono::milliseconds patience) {
    if (!_library) {
        return 0;
    }
    const auto end = std::chrono::steady_clock::now() + patience;
    _older.insert(gettid());
    std::set<pid_t> wereInside;
    while (true) {
        unsigned inside = 0, unknown = 0;
        for (const pid_t thread : runningThreads()) {
            const Place place =
                _older.count(thread) > 0 ? Place::Outside : placeOf(thread, _library);
            if (place == Place::Outside) {
                _older.insert(thread);  // and it cannot get in any more
                continue;
            }
            if (place == Place::Inside) {
                wereInside.insert(thread);
            }
            wereInside.count(thread) > 0 ? inside++ : unknown++;
        }
        if (inside + unknown == 0) {
            return 0;
        }
        if (std::chrono::steady_clock::now() >= end) {
            _library = nullptr;
            return inside;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

CIMProvider* Module::createProvider(const std::string& name) {
    EntryPoint create = _entryPoint;
    if (!create) {
        const Gate::Pass pass(_opening, "making provider \"" + name + "\"");
        const Gate::Scope scope(pass.chain());
        if (!_library) {
            open();
        }
        create = reinterpret_cast<decltype(create)>(dlsym(_library, "PegasusCreateProvider"));
        if (!create) {
            throw ModuleError(ModuleError::NoEntryPoint, _location, dlerror());
        }
    }
    CIMProvider* provider = create(String(name.c_str()));
    if (!provider) {
        throw ModuleError(ModuleError::UnknownProvider, _location,
                          (_entryPoint ? "lib" + _location + ".so, linked" : _file) +
                              ": PegasusCreateProvider does not know the provider " + name);
    }
    return provider;
}

}  // namespace velmar_embedded
