// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the generated provider classes of a package share: typed objects in the cache, values read
// when they are asked for, methods with typed parameters.
//
// Thread-safe as the library's base classes are; no lock is held in a hook or while the CIM server
// is asked. See update for the one function of a user's that runs with a lock held.
#ifndef VELMAR_TYPED_PROVIDERS_H
#define VELMAR_TYPED_PROVIDERS_H

#include <Common/CachedInstanceProvider.h>
#include <Common/InstanceAssociationProvider.h>
#include <Common/InstanceMethodProvider.h>
#include <Common/Util.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

#include "Values.h"
#include "Watcher.h"

namespace velmar_typed {
inline namespace v1 {

/// What clients may do with the instances of a class, beside reading them.
enum Clients : unsigned { READ = 0, CREATE = 1, DELETE = 2 };

/// The provider of class T on one of the library's base classes. The instances in its cache are
/// never edited: each change puts a new one in the place of the old.
template <class T, class Base, unsigned CLIENTS>
class Provider : public Populated<Base> {
 public:
    using Object = T;
    using Typed = Provider;
    using Populated<Base>::Populated;

    /// From here on clients see the object. Throws CIMException: CIM_ERR_ALREADY_EXISTS when there
    /// is one with its keys, CIM_ERR_INVALID_PARAMETER for a null key.
    void add(const T& object) {
        const Pegasus::CIMInstance instance = object.instance();
        const Change change(*this, "add");
        if (this->_cache.contains(instance.getPath())) {
            fail(Pegasus::CIM_ERR_ALREADY_EXISTS,
                 named(instance.getPath()) + " is there already; update changes it");
        }
        this->_cache.insert(instance);
    }
    /// Puts the object in the place of the one with its keys. Throws CIMException:
    /// CIM_ERR_NOT_FOUND when there is none.
    void update(const T& object) {
        const Pegasus::CIMInstance instance = object.instance();
        const Change change(*this, "update");
        if (!this->_cache.contains(instance.getPath())) {
            fail(Pegasus::CIM_ERR_NOT_FOUND,
                 named(instance.getPath()) + " is not there; add brings it");
        }
        this->_cache.replace(instance);
    }
    /// Adds the object, or puts it in the place of the one with its keys.
    void put(const T& object) {
        const Pegasus::CIMInstance instance = object.instance();
        const Change change(*this, "put");
        this->_cache.insert(instance);
        this->_cache.replace(instance);
    }
    /// Changes the object of that path: `edit` gets a copy, which then takes its place. `edit` runs
    /// with the lock of changes held, since a change between its reading and its replacing would be
    /// lost: in `edit`, change nothing else of this provider, and do not ask the CIM server.
    /// Throws CIMException: CIM_ERR_NOT_FOUND when there is none, CIM_ERR_FAILED for a change
    /// inside a change; what `edit` throws passes through, and nothing has changed.
    template <class Edit>
    void update(const typename T::Path& path, Edit&& edit) {
        const Change change(*this, "update");
        Pegasus::CIMInstance current;
        if (!this->_cache.lookup(path.object(), current)) {
            fail(Pegasus::CIM_ERR_NOT_FOUND, named(path.object()) + " is not there");
        }
        this->_cache.replace(changed(current, edit));
    }
    /// Takes the object away, and through the CIM server the associations that refer to it (not
    /// where no server answers, nor while it shuts down). Returns false if there is none. What the
    /// server answers for an association passes through; the object is gone then, too.
    bool erase(const typename T::Path& path) {
        if (!this->_cache.contains(path.object())) {
            return false;
        }
        reachesServer([&] { this->_cache.remove(path.object()); });
        return true;
    }
    /// The object of that path, as it was added or updated last; nothing when there is none.
    std::optional<T> find(const typename T::Path& path) {
        Pegasus::CIMInstance instance;
        return this->_cache.lookup(path.object(), instance) ? std::optional<T>(T::from(instance))
                                                            : std::nullopt;
    }
    /// All objects, in no order.
    std::vector<T> all() {
        std::vector<T> result;
        Pegasus::Array<Pegasus::CIMInstance> instances;
        this->_cache.getInstances(instances);
        for (Pegasus::Uint32 i = 0; i < instances.size(); i++) {
            result.push_back(T::from(instances[i]));
        }
        return result;
    }

    /// As add, where clients may; answered with CIM_ERR_INVALID_PARAMETER where the instance does
    /// not fit the class.
    void createInstance(const Pegasus::OperationContext&, const Pegasus::CIMObjectPath&,
                        const Pegasus::CIMInstance& instanceObject,
                        Pegasus::ObjectPathResponseHandler& handler) override {
        allow(CREATE, "create");
        handler.processing();
        T object = T::from(instanceObject);
        complete(object);
        add(object);
        handler.deliver(object.path().object());
        handler.complete();
    }
    /// As the base, where clients may.
    void deleteInstance(const Pegasus::OperationContext& context,
                        const Pegasus::CIMObjectPath& instanceReference,
                        Pegasus::ResponseHandler& handler) override {
        allow(DELETE, "delete");
        Base::deleteInstance(context, instanceReference, handler);
    }

    /// make() knows whether refresh is overridden, and says so.
    void setRefreshes(bool refreshes) { _refreshes = refreshes; }

 protected:
    /// Hook: sets what is read when it is asked for. `copy` is this request's own, whatever other
    /// requests do meanwhile; its keys must stay. Called for every object that is handed out, on
    /// any number of threads at once.
    virtual void refresh(const Pegasus::OperationContext&, T&) {}

    /// Hook: whether clients may leave out that in-parameter, which is null then. DMTF DSP0200 has
    /// them give each one, null where it has no value, so that a missing one is an error.
    virtual bool mayLeaveOut(const char* /*method*/, const char* /*parameter*/) const {
        return false;
    }

    /// As velmar_typed::raise.
    template <class Alert, class Element>
    bool raise(const Alert& alert, const Element& element) {
        return velmar_typed::raise(alert, element);
    }

    /// Makes ends of associations that a client gives whole.
    virtual void complete(T&) const {}

    // A request gets a copy in the place of the cached instance, in both forms.
    void fillProperties(const Pegasus::OperationContext& context, Pegasus::CIMInstance& instance,
                        const Pegasus::CIMPropertyList&) override {
        if (_refreshes) {
            instance = changed(instance, [&](T& copy) { refresh(context, copy); });
        }
    }
    void fillProperties(const Pegasus::OperationContext& context,
                        Pegasus::Array<Pegasus::CIMInstance>& instances,
                        const Pegasus::CIMPropertyList& propertyList) override {
        for (Pegasus::Uint32 i = 0; _refreshes && i < instances.size(); i++) {
            fillProperties(context, instances[i], propertyList);
        }
    }

 private:
    // One change at a time. A thread that comes a second time would wait for itself.
    class Change {
     public:
        Change(Provider& provider, const char* what) : _provider(provider) {
            if (provider._changer == std::this_thread::get_id()) {
                fail(Pegasus::CIM_ERR_FAILED,
                     utf8(T::className().getString()) + ": " + what +
                         " was called inside the change that update makes; call it afterwards");
            }
            provider._changing.lock();
            provider._changer = std::this_thread::get_id();
        }
        ~Change() {
            _provider._changer = std::thread::id();
            _provider._changing.unlock();
        }
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;

     private:
        Provider& _provider;
    };

    static void allow(Clients what, const char* word) {
        if ((CLIENTS & what) == 0) {
            fail(Pegasus::CIM_ERR_NOT_SUPPORTED, utf8(T::className().getString()) +
                                                     ": clients may not " + word +
                                                     " its instances, which show what there is");
        }
    }

    static std::string named(const Pegasus::CIMObjectPath& path) {
        return utf8(velmar_remote::localize(path).toString());
    }

    /// A new instance at the path of the old.
    template <class Edit>
    static Pegasus::CIMInstance changed(const Pegasus::CIMInstance& instance, Edit&& edit) {
        T copy = T::from(instance);
        const typename T::Keys keys = copy.keys;
        edit(copy);
        if (!(keys == copy.keys)) {
            fail(Pegasus::CIM_ERR_FAILED,
                 named(instance.getPath()) + ": its keys were changed, and must stay");
        }
        return copy.instance(instance.getPath());
    }

    std::mutex _changing;  ///< held while the cache changes, and in no code but an edit's
    std::atomic<std::thread::id> _changer{std::thread::id()};
    bool _refreshes = true;
};

/// An association with methods: what InstanceMethodProvider is to instances.
template <class Base>
class WithMethods : public Base, public Pegasus::CIMMethodProvider {
 public:
    using Base::Base;

    void invokeMethod(const Pegasus::OperationContext& context,
                      const Pegasus::CIMObjectPath& instanceReference,
                      const Pegasus::CIMName& methodName,
                      const Pegasus::Array<Pegasus::CIMParamValue>& inParameters,
                      Pegasus::MethodResultResponseHandler& handler) override {
        handler.processing();
        Pegasus::CIMInstance instance{Pegasus::CIMName(this->_CIMClassName)};
        if (this->_cache.lookup(instanceReference, instance)) {
            this->fillProperties(context, instance, Pegasus::CIMPropertyList());
        } else {
            instance.setPath(instanceReference);
        }
        Pegasus::Array<Pegasus::CIMParamValue> outParameters;
        const Pegasus::CIMValue result =
            callMethod(context, instance, methodName, inParameters, outParameters);
        if (!result.isNull()) {
            handler.deliver(result);
        }
        if (outParameters.size() > 0) {
            handler.deliverParamValue(outParameters);
        }
        handler.complete();
    }

 protected:
    virtual Pegasus::CIMValue callMethod(const Pegasus::OperationContext& context,
                                         const Pegasus::CIMInstance& instance,
                                         const Pegasus::CIMName& methodName,
                                         const Pegasus::Array<Pegasus::CIMParamValue>& inParameters,
                                         Pegasus::Array<Pegasus::CIMParamValue>& outParameters) = 0;
};

/// The in-parameters of a call, by their declared names. Whatever is wrong with them is a
/// CIMException (CIM_ERR_INVALID_PARAMETER) whose text begins with the parameter's name.
class InParameters {
 public:
    /// `declared` ends with a null pointer and names all parameters of the method.
    InParameters(const Pegasus::Array<Pegasus::CIMParamValue>& given, const char* const* declared)
        : _given(given) {
        for (Pegasus::Uint32 i = 0; i < given.size(); i++) {
            const char* const* name = declared;
            while (*name != nullptr && !isNamed(i, *name)) {
                name++;
            }
            if (*name == nullptr) {
                fail(Pegasus::CIM_ERR_INVALID_PARAMETER,
                     utf8(given[i].getParameterName()) + ": the method has no such parameter");
            }
            for (Pegasus::Uint32 before = 0; before < i; before++) {
                if (isNamed(before, *name)) {
                    fail(Pegasus::CIM_ERR_INVALID_PARAMETER,
                         std::string(*name) + ": is given twice");
                }
            }
        }
    }
    /// False, and nothing happens, where it was not given.
    template <class T>
    bool get(const char* name, Property<T>& parameter) const {
        for (Pegasus::Uint32 i = 0; i < _given.size(); i++) {
            if (isNamed(i, name)) {
                read(_given[i].getValue(), parameter, name);
                return true;
            }
        }
        return false;
    }
    /// Must be given, and not null.
    template <class T>
    T required(const char* name) const {
        Property<T> parameter;
        get(name, parameter);
        if (parameter.isNull()) {
            fail(Pegasus::CIM_ERR_INVALID_PARAMETER, std::string(name) + ": is required");
        }
        return parameter.value();
    }

 private:
    bool isNamed(Pegasus::Uint32 i, const char* name) const {
        return Pegasus::String::equalNoCase(_given[i].getParameterName(), Pegasus::String(name));
    }
    const Pegasus::Array<Pegasus::CIMParamValue>& _given;
};

/// The object that a method is called on. Throws CIMException (CIM_ERR_NOT_FOUND) where there is
/// none at the path, which the library tells by an instance without properties.
template <class T>
T calledOn(const Pegasus::CIMInstance& instance) {
    if (instance.getPropertyCount() == 0) {
        const bool isClass = instance.getPath().getKeyBindings().size() == 0;
        fail(Pegasus::CIM_ERR_NOT_FOUND,
             utf8(velmar_remote::localize(instance.getPath()).toString()) +
                 (isClass ? " is a class, the method needs an object" : " is not there"));
    }
    return T::from(instance);
}

[[noreturn]] inline void missing(const char* parameter) {
    fail(Pegasus::CIM_ERR_INVALID_PARAMETER,
         std::string(parameter) + ": is missing; give it, null where it has no value");
}

[[noreturn]] inline void notImplemented(const char* method) {
    fail(Pegasus::CIM_ERR_NOT_SUPPORTED, std::string(method) + " is not implemented");
}

/// Whether P overrides refresh. It may be protected there, not private.
template <class P>
struct Probe : P {
    static constexpr bool refreshes() {
        using Inherited = void (P::Typed::*)(const Pegasus::OperationContext&, typename P::Object&);
        return !std::is_same_v<decltype(&Probe::refresh), Inherited>;
    }
};

template <class P, class = void>
constexpr bool isTyped = false;
template <class P>
constexpr bool isTyped<P, std::void_t<typename P::Typed>> = true;

/// P with its watcher, which it leaves first of all at its end.
template <class P>
class WithWatcher : public P {
    static_assert(!std::is_final_v<P>, "a provider class must not be final");

 public:
    explicit WithWatcher(std::shared_ptr<Watcher> watcher) : _watcher(std::move(watcher)) {
        if constexpr (isTyped<P>) {
            this->setRefreshes(Probe<P>::refreshes());
        }
    }
    void terminate() override {
        if (_watcher) {
            _watcher->leave(*this);
        }
        P::terminate();
    }

 protected:
    void enter() {
        if (_watcher) {
            _watcher->enter(*this);
        }
    }
    void ready() {
        if (_watcher) {
            _watcher->ready(*this);
        }
    }

 private:
    const std::shared_ptr<Watcher> _watcher;
};

/// P as the server gets it: known to its watcher while it lives.
template <class P, class = void>
class Made : public WithWatcher<P> {
 public:
    using WithWatcher<P>::WithWatcher;
    void initialize(Pegasus::CIMOMHandle& cimom) override {
        this->enter();
        P::initialize(cimom);
        this->ready();
    }
};
/// The same on a generated base.
template <class P>
class Made<P, typename P::IsPopulated> : public WithWatcher<P> {
 public:
    using WithWatcher<P>::WithWatcher;

 private:
    void beginning() override { this->enter(); }
    void begun() override { this->ready(); }
};

/// A provider object, for the CIM server, whose last call, terminate, deletes it.
template <class P>
Pegasus::CIMProvider* make() {
    return new Made<P>(nullptr);
}
/// The same with a watcher, one for all providers of a module.
template <class P>
Pegasus::CIMProvider* make(std::shared_ptr<Watcher> watcher) {
    return new Made<P>(std::move(watcher));
}

}  // namespace v1
}  // namespace velmar_typed

#endif
