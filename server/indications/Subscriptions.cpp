// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "indications/Subscriptions.h"

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/System.h>
#include <strings.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "client/ClientConnection.h"
#include "model/Text.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

const char* const queryLanguage = "WQL";

CIMException refused(CIMStatusCode code, const std::string& reason) {
    return CIMException(code, String(reason.c_str()));
}

// The keys that DSP0004's CIM_IndicationSubscription and its two ends have.
CIMObjectPath end(const char* className, const std::string& name) {
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding("CreationClassName", CIMValue(String(className))));
    keys.append(CIMKeyBinding("Name", CIMValue(String(name.c_str()))));
    keys.append(
        CIMKeyBinding("SystemCreationClassName", CIMValue(System::getSystemCreationClassName())));
    keys.append(CIMKeyBinding("SystemName", CIMValue(System::getFullyQualifiedHostName())));
    return CIMObjectPath(String(), CIMNamespaceName(interopNamespace), className, keys);
}

CIMInstance subscriptionInstance(const std::string& id) {
    const CIMValue filter(end("CIM_IndicationFilter", id));
    const CIMValue handler(end("CIM_ListenerDestination", id));
    const CIMName className("CIM_IndicationSubscription");
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding("Filter", filter));
    keys.append(CIMKeyBinding("Handler", handler));
    CIMObjectPath path(String(), CIMNamespaceName(interopNamespace), className, keys);
    path.setHost(System::getHostName());
    CIMInstance instance(className);
    instance.addProperty(CIMProperty("Filter", filter));
    instance.addProperty(CIMProperty("Handler", handler));
    instance.setPath(path);
    return instance;
}

void add(IndicationCounts& sum, const IndicationCounts& counts) {
    sum.delivered += counts.delivered;
    sum.overflowed += counts.overflowed;
    sum.unmatched += counts.unmatched;
    sum.discarded += counts.discarded;
}

// Subscribers get the properties that the class declares.
void keepDeclared(const Repository& repository, CIMInstance& indication) {
    const CIMClass declared =
        repository.getClass(indication.getPath().getNameSpace(), indication.getClassName());
    for (Uint32 i = indication.getPropertyCount(); i-- > 0;) {
        if (declared.findProperty(indication.getProperty(i).getName()) == PEG_NOT_FOUND) {
            indication.removeProperty(i);
        }
    }
}

}  // namespace

Subscriptions::Subscriptions(Services& services) : _services(services) {}

Subscriptions::~Subscriptions() = default;

std::shared_ptr<Subscription> Subscriptions::prepare(const std::string& query,
                                                     const std::vector<std::string>& nameSpaces,
                                                     IndicationQueue::Deliver subscriber,
                                                     size_t capacity, const CIMInstance& given) {
    const auto parsed = std::make_shared<const Query>(query);
    auto subscription = std::make_shared<Subscription>();
    subscription->query = parsed;
    subscription->className = parsed->className;
    if (nameSpaces.empty()) {
        throw refused(CIM_ERR_INVALID_PARAMETER, "\"" + query + "\": no source namespace");
    }
    if (!subscriber || capacity == 0) {
        throw refused(CIM_ERR_INVALID_PARAMETER,
                      "\"" + query + "\": no " + (capacity ? "subscriber" : "room in its queue"));
    }
    for (const std::string& nameSpace : nameSpaces) {
        if (!CIMNamespaceName::legal(nameSpace.c_str())) {
            throw refused(CIM_ERR_INVALID_NAMESPACE, nameSpace);
        }
        subscription->nameSpaces.push_back(CIMNamespaceName(nameSpace.c_str()));
    }
    subscription->id = std::to_string(++_lastId);

    const CIMInstance instance =
        given.isUninitialized() ? subscriptionInstance(subscription->id) : given;
    subscription->path = instance.getPath();
    OperationContext& context = subscription->context;
    context.insert(IdentityContainer(userName()));
    context.insert(AcceptLanguageListContainer(String()));
    context.insert(ContentLanguageListContainer(String()));
    context.insert(SubscriptionInstanceContainer(instance));
    context.insert(
        SubscriptionFilterConditionContainer(String(parsed->condition.c_str()), queryLanguage));
    context.insert(SubscriptionFilterQueryContainer(String(query.c_str()), queryLanguage,
                                                    subscription->nameSpaces[0]));

    auto deliver = [this, parsed, subscriber = std::move(subscriber)](const CIMInstance& queued) {
        CIMInstance indication = queued;
        keepDeclared(_services.repository, indication);
        parsed->project(indication);
        subscriber(indication);
    };
    subscription->queue = std::make_shared<IndicationQueue>(
        _services.workers, "subscription " + subscription->id + " (" + query + ")", capacity,
        deliver, _services.notices);
    return subscription;
}

Query Subscriptions::filterQuery(const std::string& query) {
    std::istringstream words(query);
    std::string first;
    words >> first;
    if (strcasecmp(first.c_str(), "select") != 0 || words.eof()) {
        throw refused(CIM_ERR_INVALID_PARAMETER, "parse error: syntax error");
    }
    return Query(query);
}

// Each provider once, with the paths of the classes that it is registered for.
std::vector<Subscriptions::Target> Subscriptions::targets(const Subscription& subscription) {
    std::vector<std::pair<LoadedProvider*, Array<CIMObjectPath>>> found;
    for (const CIMNamespaceName& nameSpace : subscription.nameSpaces) {
        requireClass(_services, nameSpace, subscription.className, CIM_ERR_INVALID_CLASS);
        Array<CIMName> classNames;
        classNames.append(_services.repository.lineage(nameSpace, subscription.className)[0]);
        classNames.appendArray(
            _services.repository.subclassNames(nameSpace, subscription.className, true));
        for (Uint32 i = 0; i < classNames.size(); i++) {
            CIMObjectPath path(String(), nameSpace, classNames[i]);
            path.setHost(System::getHostName());
            for (LoadedProvider* provider :
                 _services.registry.findIndicationProviders(nameSpace, classNames[i])) {
                auto known = std::find_if(found.begin(), found.end(),
                                          [&](const auto& one) { return one.first == provider; });
                if (known == found.end()) {
                    known = found.insert(found.end(), {provider, Array<CIMObjectPath>()});
                }
                known->second.append(path);
            }
        }
    }
    std::vector<Target> result;
    std::lock_guard<std::mutex> guard(_lock);
    for (const auto& [provider, classPaths] : found) {
        std::unique_ptr<IndicationSource>& source = _sources[provider];
        if (!source) {
            source = std::make_unique<IndicationSource>(_services, *provider, _unmatched);
        }
        result.emplace_back(source.get(), classPaths);
    }
    return result;
}

void Subscriptions::offer(const std::shared_ptr<Subscription>& subscription, bool enable) {
    const std::vector<Target> offered = targets(*subscription);
    if (offered.empty()) {
        throw refused(CIM_ERR_NOT_SUPPORTED,
                      "No providers are capable of servicing the subscription.");
    }
    for (const Target& target : offered) {
        const auto failure = failureOf([&] {
            if (target.first->create(subscription, target.second, enable)) {
                subscription->accepted.push_back(target);
            }
        });
        if (failure) {
            _services.notices.problem(utf8(failure->message));
        }
    }
    if (subscription->accepted.empty()) {
        throw refused(CIM_ERR_NOT_SUPPORTED, "No providers accepted the subscription.");
    }
    std::lock_guard<std::mutex> guard(_lock);
    _active[subscription->id] = subscription;
}

void Subscriptions::create(const std::shared_ptr<Subscription>& subscription) {
    offer(subscription, true);
}

bool Subscriptions::store(const std::shared_ptr<Subscription>& subscription) {
    std::lock_guard<std::mutex> guard(_lock);
    if (_storing) {
        _stored.push_back(subscription);
    }
    return _storing;
}

void Subscriptions::createStored() {
    std::vector<std::shared_ptr<Subscription>> stored;
    {
        std::lock_guard<std::mutex> guard(_lock);
        stored.swap(_stored);
        _storing = false;
    }
    for (const std::shared_ptr<Subscription>& subscription : stored) {
        const auto failure = failureOf([&] { offer(subscription, false); });
        if (failure) {
            _services.notices.problem(subscription->queue->name() +
                                      " failed: " + utf8(failure->codedMessage()));
        }
    }
    for (IndicationSource* source : sources()) {
        source->enable();
    }
}

bool Subscriptions::removeStored(const std::string& id) {
    std::lock_guard<std::mutex> guard(_lock);
    const auto stored = std::find_if(_stored.begin(), _stored.end(),
                                     [&](const auto& one) { return one->id == id; });
    if (stored == _stored.end()) {
        return false;
    }
    _stored.erase(stored);
    return true;
}

std::shared_ptr<Subscription> Subscriptions::remove(const std::string& id) {
    std::shared_ptr<Subscription> subscription;
    {
        std::lock_guard<std::mutex> guard(_lock);
        const auto active = _active.find(id);
        if (active == _active.end()) {
            throw refused(CIM_ERR_NOT_FOUND, "subscription " + id);
        }
        subscription = active->second;
        _active.erase(active);
        _ending.push_back(subscription);
    }
    for (const Target& target : subscription->accepted) {
        const auto failure = failureOf([&] { target.first->remove(*subscription, target.second); });
        if (failure) {
            _services.notices.problem(utf8(failure->message));
        }
    }
    return subscription;
}

void Subscriptions::close(const std::shared_ptr<Subscription>& subscription) {
    subscription->queue->close();
    std::lock_guard<std::mutex> guard(_lock);
    _ending.erase(std::find(_ending.begin(), _ending.end(), subscription));
    add(_ended, subscription->queue->counts());
}

std::vector<IndicationSource*> Subscriptions::sources() const {
    std::lock_guard<std::mutex> guard(_lock);
    std::vector<IndicationSource*> result;
    for (const auto& source : _sources) {
        result.push_back(source.second.get());
    }
    return result;
}

std::vector<std::shared_ptr<Subscription>> Subscriptions::active() const {
    std::lock_guard<std::mutex> guard(_lock);
    std::vector<std::shared_ptr<Subscription>> result;
    for (const auto& subscription : _active) {
        result.push_back(subscription.second);
    }
    return result;
}

void Subscriptions::stop() {
    for (IndicationSource* source : sources()) {
        source->stop();
    }
    for (const std::shared_ptr<Subscription>& subscription : active()) {
        const RunningCalls::Scope running(_services.running,
                                          {"handing over indications", &subscription->className},
                                          subscription->queue->name());
        subscription->queue->drain();
        subscription->queue->close();
    }
}

void Subscriptions::drain() {
    if (IndicationQueue::inSubscriber()) {
        throw std::logic_error("a subscriber cannot wait for its own end");
    }
    for (const std::shared_ptr<Subscription>& subscription : active()) {
        subscription->queue->drain();
    }
}

IndicationCounts Subscriptions::counts() const {
    std::lock_guard<std::mutex> guard(_lock);
    IndicationCounts sum = _ended;
    for (const auto& active : _active) {
        add(sum, active.second->queue->counts());
    }
    for (const std::shared_ptr<Subscription>& ending : _ending) {
        add(sum, ending->queue->counts());
    }
    sum.unmatched += _unmatched;
    return sum;
}

IndicationCounts Subscriptions::counts(const std::string& id) const {
    std::lock_guard<std::mutex> guard(_lock);
    const auto found = _active.find(id);
    if (found == _active.end()) {
        throw refused(CIM_ERR_NOT_FOUND, "subscription " + id);
    }
    return found->second->queue->counts();
}

}  // namespace velmar_embedded
