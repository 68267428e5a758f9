// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/Module.h"

#include <Pegasus/Common/Exception.h>
#include <dlfcn.h>
#include <unistd.h>

#include <utility>

#include "providers/ModuleKind.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

CIMException failed(const std::string& reason) {
    return CIMException(CIM_ERR_FAILED, String(reason.c_str()));
}

}  // namespace

Module::Module(std::string location, std::function<std::vector<std::string>()> directories)
    : _location(std::move(location)), _directories(std::move(directories)) {}

Module::~Module() {
    if (_library) {
        dlclose(_library);
    }
}

void Module::open() {
    const std::string name = "lib" + _location + ".so";
    std::string tried;
    for (const std::string& directory : _directories()) {
        _file = directory + "/" + name;
        if (access(_file.c_str(), F_OK) == 0) {
            const std::string reason = reasonAgainstModule(_file);
            if (!reason.empty()) {
                throw failed(reason);
            }
            _library = dlopen(_file.c_str(), RTLD_NOW);
            if (!_library) {
                throw failed(dlerror());
            }
            return;
        }
        tried += (tried.empty() ? "" : ", ") + directory;
    }
    throw failed(name + " is not found: " +
                 (tried.empty() ? "no folder of provider modules was named"
                                : "it is in none of the folders " + tried));
}

CIMProvider* Module::createProvider(const std::string& name) {
    CIMProvider* (*create)(const String&) = nullptr;
    {
        std::lock_guard<std::mutex> guard(_lock);
        if (!_library) {
            open();
        }
        create = reinterpret_cast<decltype(create)>(dlsym(_library, "PegasusCreateProvider"));
        if (!create) {
            throw failed(dlerror());
        }
    }
    CIMProvider* provider = create(String(name.c_str()));
    if (!provider) {
        throw failed(_file + ": PegasusCreateProvider does not know the provider " + name);
    }
    return provider;
}

}  // namespace velmar_embedded
