// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Filters, destinations and subscriptions as instances. They are stored in the schema; while a
// subscription is there and enabled, indications go from its providers to its destination.
#include <Pegasus/Common/System.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <strings.h>

#include <map>
#include <mutex>
#include <string>

#include "interop/Interop.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

const char* const subscriptionClass = "CIM_IndicationSubscription";
const char* const filterClass = "CIM_IndicationFilter";
const Uint16 enabledState = 2;
const size_t queueCapacity = 1000;

bool isA(const CIMName& className, const char* wanted) { return className.equal(CIMName(wanted)); }

CIMException invalid(const String& text) { return CIMException(CIM_ERR_INVALID_PARAMETER, text); }

// A property's value; null without one, whatever its type.
CIMValue valueOf(const CIMInstance& instance, const char* name) {
    const Uint32 index = instance.findProperty(CIMName(name));
    return index == PEG_NOT_FOUND ? CIMValue() : instance.getProperty(index).getValue();
}

// Throws CIMException (CIM_ERR_INVALID_PARAMETER) where the value is of another type.
template <class T>
T valueOr(const CIMInstance& instance, const char* name, const T& otherwise) {
    const CIMValue value = valueOf(instance, name);
    if (value.isNull()) {
        return otherwise;
    }
    T result{};
    try {
        value.get(result);
    } catch (const TypeMismatchException&) {
        throw invalid(String("The value of property ") + String(name) + " has the wrong type.");
    }
    return result;
}

String required(const CIMInstance& instance, const char* name) {
    const String value = valueOr<String>(instance, name, String());
    if (value.size() == 0) {
        throw invalid(String("Missing required ") + String(name) + " property in " +
                      instance.getClassName().getString() + " class");
    }
    return value;
}

void setIfMissing(CIMInstance& instance, const char* name, const String& value) {
    const Uint32 index = instance.findProperty(CIMName(name));
    if (index == PEG_NOT_FOUND) {
        instance.addProperty(CIMProperty(CIMName(name), CIMValue(value)));
    } else if (instance.getProperty(index).getValue().isNull()) {
        instance.getProperty(index).setValue(CIMValue(value));
    }
}

std::string plain(const String& text) { return std::string(text.getCString()); }

CIMObjectPath withoutPlace(const CIMObjectPath& path) {
    return CIMObjectPath(String(), CIMNamespaceName(), path.getClassName(), path.getKeyBindings());
}

class SubscriptionProvider : public CIMInstanceProvider {
 public:
    explicit SubscriptionProvider(const InteropServices& services) : _services(services) {}

    void initialize(CIMOMHandle& cimom) override { cimom.disallowProviderUnload(); }
    void terminate() override { delete this; }

    void getInstance(const OperationContext&, const CIMObjectPath& path, const Boolean,
                     const Boolean, const CIMPropertyList&,
                     InstanceResponseHandler& handler) override {
        handler.processing();
        handler.deliver(repository().getInstance(interopNamespace, path));
        handler.complete();
    }

    void enumerateInstances(const OperationContext&, const CIMObjectPath& path, const Boolean,
                            const Boolean, const CIMPropertyList&,
                            InstanceResponseHandler& handler) override {
        handler.processing();
        handler.deliver(repository().instances(interopNamespace, path.getClassName()));
        handler.complete();
    }

    void enumerateInstanceNames(const OperationContext&, const CIMObjectPath& path,
                                ObjectPathResponseHandler& handler) override {
        const Array<CIMInstance> stored =
            repository().instances(interopNamespace, path.getClassName());
        handler.processing();
        for (Uint32 i = 0; i < stored.size(); i++) {
            handler.deliver(stored[i].getPath());
        }
        handler.complete();
    }

    void createInstance(const OperationContext&, const CIMObjectPath& path,
                        const CIMInstance& given, ObjectPathResponseHandler& handler) override {
        CIMInstance instance = given.clone();
        std::lock_guard<std::mutex> guard(_changing);
        CIMObjectPath created;
        if (isA(path.getClassName(), subscriptionClass)) {
            created = createSubscription(instance);
        } else {
            setIfMissing(instance, "SystemCreationClassName", System::getSystemCreationClassName());
            setIfMissing(instance, "SystemName", System::getFullyQualifiedHostName());
            setIfMissing(instance, "CreationClassName", path.getClassName().getString());
            required(instance, "Name");
            isA(path.getClassName(), filterClass) ? checkFilter(instance)
                                                  : checkDestination(instance);
            created = repository().createInstance(interopNamespace, instance);
        }
        handler.processing();
        handler.deliver(created);
        handler.complete();
    }

    void modifyInstance(const OperationContext&, const CIMObjectPath& path,
                        const CIMInstance& changes, const Boolean, const CIMPropertyList& list,
                        ResponseHandler& handler) override {
        CIMInstance wanted = changes.clone();
        wanted.instanceFilter(true, true, list);
        const bool stateAlone =
            wanted.getPropertyCount() == 1 && wanted.findProperty("SubscriptionState") == 0;
        if (!isA(path.getClassName(), subscriptionClass) || !stateAlone) {
            throw CIMException(CIM_ERR_NOT_SUPPORTED,
                               "Only the SubscriptionState of a subscription can be modified.");
        }
        std::lock_guard<std::mutex> guard(_changing);
        wanted.setPath(withoutPlace(path));
        const CIMInstance before = repository().getInstance(interopNamespace, path);
        repository().modifyInstance(interopNamespace, wanted);
        try {
            setActive(repository().getInstance(interopNamespace, path));
        } catch (const CIMException&) {
            repository().modifyInstance(interopNamespace, before);
            throw;
        }
        handler.processing();
        handler.complete();
    }

    void deleteInstance(const OperationContext&, const CIMObjectPath& path,
                        ResponseHandler& handler) override {
        std::lock_guard<std::mutex> guard(_changing);
        const CIMInstance stored = repository().getInstance(interopNamespace, path);
        if (isA(path.getClassName(), subscriptionClass)) {
            deactivate(stored.getPath());
        } else if (isUsed(stored.getPath())) {
            throw CIMException(
                CIM_ERR_FAILED,
                "A filter or handler referenced by a subscription cannot be deleted.");
        }
        repository().deleteInstance(interopNamespace, path);
        handler.processing();
        handler.complete();
    }

 private:
    Repository& repository() const { return _services.repository; }

    static void checkFilter(const CIMInstance& filter) {
        Subscriptions::checkFilterQuery(plain(required(filter, "Query")));
        const String language = required(filter, "QueryLanguage");
        static const char* const known[] = {"WQL", "DMTF:CQL", "CIM:CQL"};
        for (const char* const each : known) {
            if (String::equal(language, each)) {
                return;
            }
        }
        throw invalid(String("QueryLanguage ") + language + " is not supported");
    }

    void checkDestination(const CIMInstance& destination) const {
        required(destination, "Destination");
        open(destination);
    }

    std::shared_ptr<Destination> open(const CIMInstance& destination) const {
        const std::shared_ptr<Destinations> destinations = _services.destinations();
        if (!destinations) {
            throw CIMException(CIM_ERR_NOT_SUPPORTED,
                               "This server delivers to no listener: it is not on the wire.");
        }
        Problems& problems = _services.problems;
        return destinations->open(plain(required(destination, "Destination")),
                                  [&problems](const std::string& text) { problems.report(text); });
    }

    // An instance that a subscription refers to.
    CIMInstance referred(const CIMInstance& subscription, const char* end) const {
        const CIMObjectPath path = valueOr<CIMObjectPath>(subscription, end, CIMObjectPath());
        if (path.getClassName().isNull()) {
            throw invalid(String("Missing required ") + String(end) + " property in " +
                          String(subscriptionClass) + " class");
        }
        return repository().getInstance(interopNamespace, path);
    }

    CIMObjectPath createSubscription(const CIMInstance& given) {
        referred(given, "Filter");
        referred(given, "Handler");
        const CIMObjectPath path = repository().createInstance(interopNamespace, given);
        try {
            setActive(repository().getInstance(interopNamespace, path));
        } catch (...) {
            repository().deleteInstance(interopNamespace, path);
            throw;
        }
        return path;
    }

    // Lets its providers know of a subscription, or no more, as its state says.
    void setActive(const CIMInstance& subscription) {
        const bool wanted =
            valueOr<Uint16>(subscription, "SubscriptionState", enabledState) == enabledState;
        const std::string key = plain(subscription.getPath().toString());
        if (!wanted) {
            deactivate(subscription.getPath());
        } else if (_active.count(key) == 0) {
            _active[key] = activate(subscription);
        }
    }

    std::string activate(const CIMInstance& stored) {
        const CIMInstance filter = referred(stored, "Filter");
        const std::shared_ptr<Destination> destination = open(referred(stored, "Handler"));
        std::vector<std::string> nameSpaces;
        const auto listed = valueOr<Array<String>>(filter, "SourceNamespaces", Array<String>());
        for (Uint32 i = 0; i < listed.size(); i++) {
            nameSpaces.push_back(plain(listed[i]));
        }
        if (nameSpaces.empty()) {
            nameSpaces.push_back(
                plain(valueOr<String>(filter, "SourceNamespace", String(interopNamespace))));
        }
        CIMInstance subscription = stored;
        CIMObjectPath path = stored.getPath();
        path.setHost(System::getHostName());
        path.setNameSpace(interopNamespace);
        subscription.setPath(path);
        const auto prepared = _services.subscriptions.prepare(
            plain(required(filter, "Query")), nameSpaces,
            [destination](const CIMInstance& indication) { destination->take(indication); },
            queueCapacity, subscription);
        _services.subscriptions.create(prepared);
        return prepared->id;
    }

    void deactivate(const CIMObjectPath& path) {
        const auto active = _active.find(plain(path.toString()));
        if (active == _active.end()) {
            return;
        }
        const auto removed = _services.subscriptions.remove(active->second);
        _active.erase(active);
        removed->queue->drain();  // a destination takes what came before the end
        _services.subscriptions.close(removed);
    }

    bool isUsed(const CIMObjectPath& end) const {
        const Array<CIMInstance> all =
            repository().instances(interopNamespace, CIMName(subscriptionClass));
        for (Uint32 i = 0; i < all.size(); i++) {
            for (const char* const name : {"Filter", "Handler"}) {
                const auto path = valueOr<CIMObjectPath>(all[i], name, CIMObjectPath());
                if (withoutPlace(path) == end) {
                    return true;
                }
            }
        }
        return false;
    }

    const InteropServices& _services;
    std::mutex _changing;                        // held while instances come and go
    std::map<std::string, std::string> _active;  // ids of subscriptions, by the path's text
};

}  // namespace

CIMProvider* newSubscriptionProvider(const InteropServices& services) {
    return new SubscriptionProvider(services);
}

}  // namespace velmar_embedded
