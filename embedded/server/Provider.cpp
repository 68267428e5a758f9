#include "server/Provider.h"

#include <dlfcn.h>
#include <unistd.h>

#include <utility>

using namespace Pegasus;

namespace velmar_embedded {

namespace {

CIMException failed(const std::string& reason) {
    return CIMException(CIM_ERR_FAILED, String(reason.c_str()));
}

// Nobody is there to hear of an exception at the end of a provider's life.
void terminateQuietly(CIMProvider& provider) {
    try {
        provider.terminate();
    } catch (...) {
    }
}

}  // namespace

Module::Module(std::string location, std::function<std::vector<std::string>()> directories)
    : _location(std::move(location)), _directories(std::move(directories)) {}

Module::~Module() {
    if (_library)
        dlclose(_library);
}

void Module::open() {
    _file = "lib" + _location + ".so";
    const std::string base = _file;
    for (const std::string& directory : _directories()) {
        _file = directory + "/" + base;
        if (access(_file.c_str(), F_OK) == 0)
            break;
    }
    _library = dlopen(_file.c_str(), RTLD_NOW);
    if (!_library)
        throw failed(dlerror());
}

CIMProvider* Module::createProvider(const std::string& name) {
    CIMProvider* (*create)(const String&) = nullptr;
    {
        std::lock_guard<std::mutex> guard(_lock);
        if (!_library)
            open();
        create = reinterpret_cast<decltype(create)>(dlsym(_library, "PegasusCreateProvider"));
        if (!create)
            throw failed(dlerror());
    }
    CIMProvider* provider = create(String(name.c_str()));
    if (!provider)
        throw failed(_file + ": PegasusCreateProvider does not know the provider " + name);
    return provider;
}

Provider::Provider(std::string name, ProviderFactory create,
                   std::function<CIMOMHandle()> makeHandle)
    : _name(std::move(name)),
      _create(std::move(create)),
      _makeHandle(std::move(makeHandle)),
      _loading("provider \"" + _name + "\" in its initialize") {}

CIMProvider& Provider::load(const std::string& operation) {
    if (CIMProvider* object = _object.load(std::memory_order_acquire))
        return *object;
    Gate::Pass pass(_loading, operation);
    if (CIMProvider* object = _object.load(std::memory_order_relaxed))
        return *object;
    Gate::Scope scope(pass.chain());
    CIMProvider* object = _create();
    CIMOMHandle handle = _makeHandle();
    try {
        object->initialize(handle);
    } catch (...) {
        terminateQuietly(*object);
        throw failed("provider initialization failed");
    }
    _object.store(object, std::memory_order_release);
    return *object;
}

void Provider::terminate() {
    if (CIMProvider* object = _object.exchange(nullptr))
        terminateQuietly(*object);
}

}  // namespace velmar_embedded
