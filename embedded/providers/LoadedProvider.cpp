// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/LoadedProvider.h"

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

LoadedProvider::LoadedProvider(std::string name, ProviderFactory create,
                               std::function<CIMOMHandle()> makeHandle)
    : _name(std::move(name)),
      _create(std::move(create)),
      _makeHandle(std::move(makeHandle)),
      _loading("provider \"" + _name + "\" in its initialize") {}

CIMProvider& LoadedProvider::load(const std::string& operation) {
    if (CIMProvider* object = _object.load(std::memory_order_acquire)) {
        return *object;
    }
    Gate::Pass pass(_loading, operation);
    if (CIMProvider* object = _object.load(std::memory_order_relaxed)) {
        return *object;
    }
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

void LoadedProvider::terminate() {
    if (CIMProvider* object = _object.exchange(nullptr)) {
        terminateQuietly(*object);
    }
}

}  // namespace velmar_embedded
