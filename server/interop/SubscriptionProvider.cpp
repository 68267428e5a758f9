// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Filters, destinations and subscriptions as instances. They are stored in the schema; while a
// subscription is there and enabled, indications go from its providers to its destination.
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/System.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <strings.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "client/Gate.h"
#include "interop/Interop.h"
#include "model/Text.h"

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

// The same for a path and the paths in its keys.
CIMObjectPath withoutPlaces(const CIMObjectPath& path) {
    Array<CIMKeyBinding> keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++) {
        if (keys[i].getType() == CIMKeyBinding::REFERENCE) {
            keys[i].setValue(withoutPlace(CIMObjectPath(keys[i].getValue())).toString());
        }
    }
    return CIMObjectPath(String(), CIMNamespaceName(), path.getClassName(), keys);
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
        handler.deliver(stored(path));
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
        const bool isEnd = !isA(path.getClassName(), subscriptionClass);
        const CIMObjectPath created = isEnd ? createEnd(given.clone()) : createSubscription(given);
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
        Change change(*this, path, "modifyInstance");
        wanted.setPath(change.path);
        const CIMInstance before = change.stored();
        repository().modifyInstance(interopNamespace, wanted);
        try {
            setActive(change);
        } catch (...) {
            repository().modifyInstance(interopNamespace, before);
            throw;
        }
        handler.processing();
        handler.complete();
    }

    void deleteInstance(const OperationContext&, const CIMObjectPath& path,
                        ResponseHandler& handler) override {
        isA(path.getClassName(), subscriptionClass) ? deleteSubscription(path) : deleteEnd(path);
        handler.processing();
        handler.complete();
    }

 private:
    // What is known of a subscription besides its instance.
    struct State {
        explicit State(const std::string& key) : changing("subscription " + key) {}
        Gate changing;
        std::string id;  // while it is active; changes while the gate is held
    };

    // The change of a subscription, one at a time. Its providers, which are called meanwhile, may
    // change whatever else there is. Throws CIMException (CIM_ERR_NOT_FOUND).
    class Change {
     public:
        Change(SubscriptionProvider& owner, const CIMObjectPath& given, const char* operation)
            : path(owner.stored(given).getPath()),
              _owner(owner),
              _state(owner.stateOf(path)),
              _pass(_state->changing, operation),
              _scope(_pass.chain()) {}
        ~Change() {
            std::lock_guard<std::mutex> guard(_owner._lock);
            const bool isAwaited = _state.use_count() > 2;  // this one and the map's
            if (_state->id.empty() && !isAwaited) {
                _owner._states.erase(utf8(path));
            }
        }
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;

        std::string& id() { return _state->id; }
        CIMInstance stored() const {
            return _owner.repository().getInstance(interopNamespace, path);
        }

        const CIMObjectPath path;

     private:
        SubscriptionProvider& _owner;
        const std::shared_ptr<State> _state;
        const Gate::Pass _pass;
        const Gate::Scope _scope;
    };

    std::shared_ptr<State> stateOf(const CIMObjectPath& path) {
        const std::string key = utf8(path);
        std::lock_guard<std::mutex> guard(_lock);
        std::shared_ptr<State>& state = _states[key];
        if (!state) {
            state = std::make_shared<State>(key);
        }
        return state;
    }

    Repository& repository() const { return _services.repository; }

    // A subscription by its ends, whatever host a client says that they are on; uninitialized
    // without one.
    CIMInstance find(const CIMObjectPath& subscription) const {
        const CIMObjectPath wanted = withoutPlaces(subscription);
        const Array<CIMInstance> all =
            repository().instances(interopNamespace, CIMName(subscriptionClass));
        for (Uint32 i = 0; i < all.size(); i++) {
            if (withoutPlaces(all[i].getPath()) == wanted) {
                return all[i];
            }
        }
        return CIMInstance();
    }

    CIMInstance stored(const CIMObjectPath& path) const {
        const CIMInstance found =
            isA(path.getClassName(), subscriptionClass) ? find(path) : CIMInstance();
        return found.isUninitialized() ? repository().getInstance(interopNamespace, path) : found;
    }

    CIMObjectPath pathOf(const CIMInstance& instance) const {
        return instance.buildPath(
            CIMConstClass(repository().getClass(interopNamespace, instance.getClassName())));
    }

    void checkFilter(const CIMInstance& filter) const {
        const Query query = Subscriptions::filterQuery(utf8(required(filter, "Query")));
        const String language = required(filter, "QueryLanguage");
        static const char* const known[] = {"WQL", "DMTF:CQL", "CIM:CQL"};
        if (std::none_of(std::begin(known), std::end(known),
                         [&](const char* each) { return String::equal(language, each); })) {
            throw invalid(String("QueryLanguage ") + language + " is not supported");
        }
        for (const std::string& nameSpace : sourcesOf(filter)) {
            if (!CIMNamespaceName::legal(nameSpace.c_str())) {
                throw CIMException(CIM_ERR_INVALID_NAMESPACE, nameSpace.c_str());
            }
            checkProperties(query, CIMNamespaceName(nameSpace.c_str()));
        }
    }

    void checkProperties(const Query& query, const CIMNamespaceName& nameSpace) const {
        const String className = query.className.getString();
        if (repository().hasNamespace(nameSpace) &&
            !repository().hasClass(nameSpace, query.className)) {
            throw CIMException(CIM_ERR_NOT_FOUND, className);
        }
        const CIMClass cimClass = repository().getClass(nameSpace, query.className);
        for (const CIMName& name : query.properties()) {
            if (cimClass.findProperty(name) == PEG_NOT_FOUND) {
                throw invalid("The property " + name.getString() +
                              " was not found in the FROM class " + className);
            }
        }
    }

    static std::vector<std::string> sourcesOf(const CIMInstance& filter) {
        std::vector<std::string> nameSpaces;
        const auto listed = valueOr<Array<String>>(filter, "SourceNamespaces", Array<String>());
        for (Uint32 i = 0; i < listed.size(); i++) {
            nameSpaces.push_back(utf8(listed[i]));
        }
        if (nameSpaces.empty()) {
            nameSpaces.push_back(
                utf8(valueOr<String>(filter, "SourceNamespace", String(interopNamespace))));
        }
        return nameSpaces;
    }

    void checkDestination(const CIMInstance& destination) const {
        required(destination, "Destination");
        open(destination);
    }

    std::shared_ptr<Destination> open(const CIMInstance& destination) const {
        const std::shared_ptr<Destinations> destinations = _services.destinations();
        if (!destinations) {
            throw CIMException(CIM_ERR_NOT_SUPPORTED,
                               "This server cannot deliver to listeners: HTTP is not enabled.");
        }
        Notices& notices = _services.notices;
        return destinations->open(utf8(required(destination, "Destination")),
                                  [&notices](const std::string& text) { notices.problem(text); });
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

    CIMObjectPath createEnd(CIMInstance instance) {
        const CIMName& className = instance.getClassName();
        setIfMissing(instance, "SystemCreationClassName", System::getSystemCreationClassName());
        setIfMissing(instance, "SystemName", System::getFullyQualifiedHostName());
        setIfMissing(instance, "CreationClassName", className.getString());
        required(instance, "Name");
        isA(className, filterClass) ? checkFilter(instance) : checkDestination(instance);
        try {
            return repository().createInstance(interopNamespace, instance);
        } catch (const CIMException& e) {
            if (e.getCode() != CIM_ERR_ALREADY_EXISTS) {
                throw;
            }
            throw CIMException(CIM_ERR_ALREADY_EXISTS, storedPathOf(instance).toString());
        }
    }

    // A real server keeps its own host's name as an empty one, which shows in this text alone.
    CIMObjectPath storedPathOf(CIMInstance end) const {
        const auto name = valueOr<String>(end, "SystemName", String());
        if (name == System::getHostName() || name == System::getFullyQualifiedHostName()) {
            end.getProperty(end.findProperty("SystemName")).setValue(CIMValue(String()));
        }
        return pathOf(end);
    }

    void deleteEnd(const CIMObjectPath& path) {
        std::lock_guard<std::mutex> guard(_lock);
        if (isUsed(repository().getInstance(interopNamespace, path).getPath())) {
            throw CIMException(
                CIM_ERR_FAILED,
                "A filter or handler referenced by a subscription cannot be deleted.");
        }
        repository().deleteInstance(interopNamespace, path);
    }

    CIMObjectPath store(const CIMInstance& subscription) {
        std::lock_guard<std::mutex> guard(_lock);
        referred(subscription, "Filter");
        referred(subscription, "Handler");
        const CIMObjectPath path = pathOf(subscription);
        if (!find(path).isUninitialized()) {
            throw CIMException(CIM_ERR_ALREADY_EXISTS, path.toString());
        }
        return repository().createInstance(interopNamespace, subscription);
    }

    CIMObjectPath createSubscription(const CIMInstance& given) {
        const CIMObjectPath path = store(given);
        try {
            Change change(*this, path, "createInstance");
            setActive(change);
        } catch (...) {
            try {
                repository().deleteInstance(interopNamespace, path);
            } catch (const CIMException&) {  // another client was faster
            }
            throw;
        }
        return path;
    }

    void deleteSubscription(const CIMObjectPath& path) {
        Change change(*this, path, "deleteInstance");
        change.stored();  // may have gone meanwhile
        deactivate(change);
        repository().deleteInstance(interopNamespace, change.path);
    }

    // Lets its providers know of a subscription, or no more, as its state says.
    void setActive(Change& change) {
        const CIMInstance subscription = change.stored();
        const bool wanted =
            valueOr<Uint16>(subscription, "SubscriptionState", enabledState) == enabledState;
        if (!wanted) {
            deactivate(change);
        } else if (change.id().empty()) {
            change.id() = activate(subscription);
        }
    }

    std::string activate(const CIMInstance& stored) {
        const CIMInstance filter = referred(stored, "Filter");
        const std::shared_ptr<Destination> destination = open(referred(stored, "Handler"));
        CIMInstance subscription = stored;
        CIMObjectPath path = stored.getPath();
        path.setHost(System::getHostName());
        path.setNameSpace(interopNamespace);
        subscription.setPath(path);
        const auto prepared = _services.subscriptions.prepare(
            utf8(required(filter, "Query")), sourcesOf(filter),
            [destination](const CIMInstance& indication) { destination->take(indication); },
            queueCapacity, subscription);
        _services.subscriptions.create(prepared);
        return prepared->id;
    }

    void deactivate(Change& change) {
        if (change.id().empty()) {
            return;
        }
        const auto removed = _services.subscriptions.remove(std::exchange(change.id(), ""));
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
    std::mutex _lock;  // also held while an end goes, or gets a subscription
    std::map<std::string, std::shared_ptr<State>> _states;  // by the text of the path
};

}  // namespace

CIMProvider* newSubscriptionProvider(const InteropServices& services) {
    return new SubscriptionProvider(services);
}

}  // namespace velmar_embedded
