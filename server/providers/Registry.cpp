// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/Registry.h"

#include <algorithm>
#include <mutex>

#include "model/Text.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

std::string keyOf(const CIMNamespaceName& nameSpace, const CIMName& className, ProviderType type) {
    return lowerCase(utf8(nameSpace) + ':' + utf8(className) + '#') +
           std::to_string(static_cast<int>(type));
}

}  // namespace

std::shared_ptr<LoadedProvider> Registry::addProvider(const std::string& name,
                                                      ProviderFactory create,
                                                      ChannelFactory makeChannel, bool own) {
    auto provider =
        std::make_shared<LoadedProvider>(name, std::move(create), std::move(makeChannel), _notices,
                                         _running, own ? nullptr : &_observer);
    std::unique_lock<std::shared_mutex> guard(_lock);
    _providers.push_back(provider);
    return provider;
}

void Registry::addCapabilities(const std::shared_ptr<LoadedProvider>& provider,
                               const Capabilities& capabilities) {
    Entry entry{provider, {}};
    for (const std::string& method : capabilities.supportedMethods) {
        entry.methods.push_back(CIMName(method.c_str()));
    }
    const CIMName className(capabilities.className.c_str());
    std::unique_lock<std::shared_mutex> guard(_lock);
    std::vector<std::string> keys;
    std::vector<Registration> added;
    for (const std::string& nameSpace : capabilities.nameSpaces) {
        for (ProviderType type : capabilities.types) {
            const CIMNamespaceName place(nameSpace.c_str());
            keys.push_back(keyOf(place, className, type));
            added.push_back({provider->name(), className, place, type, entry.methods});
            auto other = _entries.find(keys.back());
            if (type != ProviderType::Indication && other != _entries.end()) {
                throw RegistrationError("class " + capabilities.className + " in namespace " +
                                        nameSpace + ": already served by provider " +
                                        other->second.provider->name() + " for provider type " +
                                        std::to_string(static_cast<int>(type)));
            }
        }
    }
    for (const std::string& key : keys) {
        _entries.emplace(key, entry);
    }
    if (!provider->isOwn()) {
        _registrations.insert(_registrations.end(), added.begin(), added.end());
    }
}

const Registry::Entry* Registry::findEntry(const std::string& key) const {
    std::shared_lock<std::shared_mutex> guard(_lock);
    auto found = _entries.find(key);
    return found == _entries.end() ? nullptr : &found->second;
}

LoadedProvider* Registry::find(const CIMNamespaceName& nameSpace, const CIMName& className,
                               ProviderType type) const {
    const Entry* entry = findEntry(keyOf(nameSpace, className, type));
    return entry ? entry->provider.get() : nullptr;
}

LoadedProvider* Registry::findMethod(const CIMNamespaceName& nameSpace, const CIMName& className,
                                     const CIMName& methodName) const {
    const Entry* entry = findEntry(keyOf(nameSpace, className, ProviderType::Method));
    if (!entry) {
        return nullptr;
    }
    const std::vector<CIMName>& methods = entry->methods;
    bool supported =
        methods.empty() || std::find(methods.begin(), methods.end(), methodName) != methods.end();
    return supported ? entry->provider.get() : nullptr;
}

std::vector<LoadedProvider*> Registry::findIndicationProviders(const CIMNamespaceName& nameSpace,
                                                               const CIMName& className) const {
    std::shared_lock<std::shared_mutex> guard(_lock);
    const auto found = _entries.equal_range(keyOf(nameSpace, className, ProviderType::Indication));
    std::vector<LoadedProvider*> providers;
    for (auto entry = found.first; entry != found.second; ++entry) {
        providers.push_back(entry->second.provider.get());
    }
    return providers;
}

std::vector<Registration> Registry::registrations() const {
    std::shared_lock<std::shared_mutex> guard(_lock);
    return _registrations;
}

void Registry::clear() {
    std::vector<std::shared_ptr<LoadedProvider>> providers;
    {
        std::unique_lock<std::shared_mutex> guard(_lock);
        _entries.clear();
        providers.swap(_providers);
    }
    for (const std::shared_ptr<LoadedProvider>& provider : providers) {
        provider->terminate();
    }
}

}  // namespace velmar_embedded
