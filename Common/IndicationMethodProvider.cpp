// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "IndicationMethodProvider.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>
#include <stdio.h>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <new>

#include "Internal.h"
#include "Util.h"
#include "UtilInternal.h"

using namespace Pegasus;

namespace velmar_remote {

namespace {

template <class T>
T load(const T& member) {
    T value;
    __atomic_load(&member, &value, __ATOMIC_ACQUIRE);
    return value;
}

template <class T>
void store(T& member, T value) {
    __atomic_store(&member, &value, __ATOMIC_RELEASE);
}

// A thread and the deliveries that it is inside of, whichever their objects. Trivial: it must be
// there for as long as the thread is.
struct Thread {
    unsigned deliveries;
    Boolean isDisabling;  // or was, inside the present deliveries
};
thread_local Thread thisThread;

// What is known of an object beside its members, which are fixed, and beyond its end: whomever a
// "send" calls may disable the object or delete it.
struct Life {
    Boolean isOver = false;
    std::map<const Thread*, unsigned> deliveries;  // those that are running
};

// The mutex guards all of this. Never destroyed, since a delivery may be running while the process
// ends, and not on the heap, where it would be lost when a statically linked module is unloaded.
struct Lives {
    std::mutex mutex;
    std::condition_variable changed;
    std::map<const void*, std::shared_ptr<Life>> byObject;

    static Lives& all() {
        alignas(Lives) static unsigned char place[sizeof(Lives)];
        static Lives* const lives = new (place) Lives;
        return *lives;
    }
    // A later object at the same address gets a life of its own. With the mutex held.
    std::shared_ptr<Life> of(const void* object) {
        std::shared_ptr<Life>& life = byObject[object];
        if (!life) {
            life = std::make_shared<Life>();
        }
        return life;
    }
};

// The members of an object that others change while a "send" runs on it.
struct State {
    const Boolean& enabled;
    IndicationResponseHandler* const& handler;
};

// One "send", while it runs. Reads the object's state only if the object still exists.
class Send {
 public:
    Send(const void* object, const State& state) : _state(state) {
        const std::lock_guard<std::mutex> lock(Lives::all().mutex);
        _life = Lives::all().of(object);
    }
    ~Send() {
        if (!_isDelivering) {
            return;
        }
        Lives& all = Lives::all();
        const std::lock_guard<std::mutex> lock(all.mutex);
        const auto mine = _life->deliveries.find(&thisThread);
        if (--mine->second == 0) {
            _life->deliveries.erase(mine);
            all.changed.notify_all();
        }
        if (--thisThread.deliveries == 0) {
            thisThread.isDisabling = false;
        }
    }
    Send(const Send&) = delete;
    Send& operator=(const Send&) = delete;

    Boolean objectExists() const {
        const std::lock_guard<std::mutex> lock(Lives::all().mutex);
        return !_life->isOver;
    }
    Boolean isEnabled() const {
        const std::lock_guard<std::mutex> lock(Lives::all().mutex);
        return !_life->isOver && load(_state.enabled);
    }
    // The handler to deliver to, until the end of this Send; null when there is nobody to tell.
    IndicationResponseHandler* beginDelivery() {
        const std::lock_guard<std::mutex> lock(Lives::all().mutex);
        if (_life->isOver || !load(_state.enabled)) {
            return nullptr;
        }
        _life->deliveries[&thisThread]++;
        thisThread.deliveries++;
        _isDelivering = true;
        return load(_state.handler);
    }

 private:
    const State _state;
    std::shared_ptr<Life> _life;
    Boolean _isDelivering = false;
};

// Disables the object and returns when none of its deliveries is running, but for those that could
// be waiting for this thread: its own, and where it is inside a delivery itself, those of threads
// that disable as well. The object need not exist any more then.
void stopDeliveries(const void* object, Boolean& enabled) {
    Lives& all = Lives::all();
    std::unique_lock<std::mutex> lock(all.mutex);
    store(enabled, Boolean(false));
    const Boolean isInside = thisThread.deliveries > 0;
    if (isInside) {
        thisThread.isDisabling = true;
        all.changed.notify_all();
    }
    const std::shared_ptr<const Life> life = all.of(object);
    all.changed.wait(lock, [&] {
        for (const auto& delivery : life->deliveries) {
            const Thread& thread = *delivery.first;
            if (&thread != &thisThread && !(isInside && thread.isDisabling)) {
                return false;
            }
        }
        return true;
    });
}

// To be called before the object's members are destroyed.
void endLife(const void* object) {
    Lives& all = Lives::all();
    const std::lock_guard<std::mutex> lock(all.mutex);
    const auto life = all.byObject.find(object);
    if (life != all.byObject.end()) {
        life->second->isOver = true;
        all.byObject.erase(life);
    }
}

void addNullValues(CIMInstance& inst) {
    static const struct {
        const char* name;
        CIMType type;
        Boolean isArray;
    } properties[] = {
        {"AlertType", CIMTYPE_UINT16, false},
        {"AlertingElementFormat", CIMTYPE_UINT16, false},
        {"AlertingManagedElement", CIMTYPE_STRING, false},
        {"CorrelatedIndications", CIMTYPE_STRING, true},
        {"Description", CIMTYPE_STRING, false},
        {"EventID", CIMTYPE_STRING, false},
        {"EventTime", CIMTYPE_DATETIME, false},
        {"LPARID", CIMTYPE_STRING, false},
        {"Model", CIMTYPE_STRING, false},
        {"OtherAlertType", CIMTYPE_STRING, false},
        {"OtherAlertingElementFormat", CIMTYPE_STRING, false},
        {"OtherSeverity", CIMTYPE_STRING, false},
        {"PerceivedSeverity", CIMTYPE_UINT16, false},
        {"ProbableCause", CIMTYPE_UINT16, false},
        {"ProbableCauseDescription", CIMTYPE_STRING, false},
        {"ProviderName", CIMTYPE_STRING, false},
        {"RecommendedActions", CIMTYPE_STRING, true},
        {"SenderUUID", CIMTYPE_STRING, false},
        {"SerialNumber", CIMTYPE_STRING, false},
        {"Trending", CIMTYPE_UINT16, false},
        {"Type", CIMTYPE_STRING, false},
        {"UUID", CIMTYPE_STRING, false},
    };
    for (const auto& property : properties) {
        addNullValue(inst, CIMName(property.name), property.type, property.isArray);
    }
}

}  // namespace

Uint32 IndicationMethodProvider::_ID = 0;

IndicationMethodProvider::IndicationMethodProvider()
    : _handler(nullptr), _enabled(false), _numSubscriptions(nullptr) {}

IndicationMethodProvider::IndicationMethodProvider(const String& CIMClassName,
                                                   Uint32* numSubscriptions)
    : _handler(nullptr),
      _CIMClassName(CIMClassName),
      _enabled(false),
      _numSubscriptions(numSubscriptions) {}

IndicationMethodProvider::~IndicationMethodProvider() { endLife(this); }

void IndicationMethodProvider::initialize(CIMOMHandle& cimom) {
    TraceScope trace(__FILE__, __LINE__, "IndicationMethodProvider::initialize");
    _cimom = cimom;
    _cimom.disallowProviderUnload();
}

void IndicationMethodProvider::terminate() {
    TraceScope trace(__FILE__, __LINE__, "IndicationMethodProvider::terminate");
    delete this;
}

void IndicationMethodProvider::enableIndications(IndicationResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "IndicationMethodProvider::enableIndications");
    // Whoever sees the object enabled must find this handler.
    store(_handler, &handler);
    store(_enabled, Boolean(true));
}

void IndicationMethodProvider::disableIndications() {
    TraceScope trace(__FILE__, __LINE__, "IndicationMethodProvider::disableIndications");
    // The CIM server deletes the handler as soon as this has returned.
    IndicationResponseHandler* const handler = load(_handler);
    stopDeliveries(this, _enabled);  // and no member is looked at any more
    if (handler != nullptr) {
        handler->complete();
    }
}

void IndicationMethodProvider::createSubscription(const OperationContext&, const CIMObjectPath&,
                                                  const Array<CIMObjectPath>&,
                                                  const CIMPropertyList&, const Uint16) {
    TraceScope trace(__FILE__, __LINE__, "IndicationMethodProvider::createSubscription");
    if (_numSubscriptions != nullptr) {
        __atomic_fetch_add(_numSubscriptions, 1, __ATOMIC_ACQ_REL);
    }
}

void IndicationMethodProvider::modifySubscription(const OperationContext&, const CIMObjectPath&,
                                                  const Array<CIMObjectPath>&,
                                                  const CIMPropertyList&, const Uint16) {
    TraceScope trace(__FILE__, __LINE__, "IndicationMethodProvider::modifySubscription");
}

void IndicationMethodProvider::deleteSubscription(const OperationContext&, const CIMObjectPath&,
                                                  const Array<CIMObjectPath>&) {
    TraceScope trace(__FILE__, __LINE__, "IndicationMethodProvider::deleteSubscription");
    if (_numSubscriptions == nullptr) {
        return;
    }
    Uint32 count = load(*_numSubscriptions);
    while (count > 0 && !__atomic_compare_exchange_n(_numSubscriptions, &count, count - 1, false,
                                                     __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE)) {
    }
    if (count <= 1) {  // what it was before: 1 is now 0, and 0 stayed 0
        store(_enabled, Boolean(false));
    }
}

void IndicationMethodProvider::invokeMethod(const OperationContext& context, const CIMObjectPath&,
                                            const CIMName& methodName,
                                            const Array<CIMParamValue>& inParameters,
                                            MethodResultResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "IndicationMethodProvider::invokeMethod");
    // Everything called from here on may disable this object, or delete it.
    Send send(this, State{_enabled, _handler});
    handler.processing();
    if (methodName != CIMName("send")) {
        throw CIMException(CIM_ERR_METHOD_NOT_FOUND, methodName.getString());
    }
    if (!send.isEnabled()) {
        handler.deliver(CIMValue(Sint32(0)));
        handler.complete();
        return;
    }
    handler.deliver(CIMValue(Sint32(1)));
    handler.complete();
    if (!send.objectExists()) {
        return;
    }

    const CIMName className(_CIMClassName);
    CIMInstance inst(className);
    inst.setPath(CIMObjectPath(String(), cimNamespace(), className));
    char identifier[32];
    snprintf(identifier, sizeof identifier, "%d",
             static_cast<int>(__atomic_fetch_add(&_ID, 1, __ATOMIC_RELAXED)));
    addProperty(inst, "IndicationIdentifier", CIMValue(String(identifier)));
    addProperty(inst, "IndicationTime", CIMValue(CIMDateTime::getCurrentDateTime()));
    addProperty(inst, "SystemName", CIMValue(System::getFullyQualifiedHostName()));
    addProperty(inst, "SystemCreationClassName", CIMValue(System::getSystemCreationClassName()));
    addProperty(inst, "UniqueSystemID", CIMValue(String("0")));
    if (!generateIndication(context, inst, inParameters)) {
        return;
    }
    addNullValues(inst);

    // Enrichment takes its time, and subscribers may have gone meanwhile.
    IndicationResponseHandler* const subscribers = send.beginDelivery();
    if (subscribers != nullptr) {
        subscribers->deliver(CIMIndication(inst));
    }
}

// ---- Enrichment ------------------------------------------------------------------------------

namespace {

Boolean lacks(const CIMInstance& inst, const char* name) {
    return needsProperty(inst, CIMName(name), CIMPropertyList(), false);
}

// Reads a value that must be a string; a missing one (a null boolean) fails with
// TypeMismatchException.
String asString(const CIMValue& value) {
    String text;
    value.get(text);
    return text;
}

CIMObjectPath alertingElement(CIMInstance& inst, const Array<CIMParamValue>& inParameters) {
    const char* const NAME = "AlertingManagedElement";
    if (!lacks(inst, NAME)) {
        return CIMObjectPath(asString(getValue(inst, CIMName(NAME))));
    }
    const CIMObjectPath element(asString(findParam(inParameters, NAME)));
    addProperty(inst, NAME, CIMValue(element));
    return element;
}

// The UUID of the control point in the admin domain that holds the system.
String senderOf(CIMOMHandle& cimom, const OperationContext& context, const CIMObjectPath& system) {
    // A system in no domain is asked about too: the server's own error tells more than a missing
    // key.
    const CIMObjectPath controlPoint =
        controlPointOf(cimom, context, domainOf(cimom, context, system));
    return asString(findKey(controlPoint.getKeyBindings(), CIMName("UUID")));
}

// Type, model and serial number of the system's first package, if it has one.
void addPackage(CIMOMHandle& cimom, const OperationContext& context, const CIMObjectPath& system,
                CIMInstance& inst) {
    const Array<CIMObjectPath> packages =
        cimom.associatorNames(context, cimNamespace(), system, CIMName("QOR_ComputerSystemPackage"),
                              CIMName("QOR_PhysicalPackage"), "Dependent", "Antecedent");
    if (packages.size() == 0) {
        return;
    }
    const CIMInstance package = cimom.getInstance(context, cimNamespace(), packages[0], false,
                                                  false, false, CIMPropertyList());
    static const char* const properties[][2] = {
        {"Type", "VendorEquipmentType"}, {"Model", "Model"}, {"SerialNumber", "SerialNumber"}};
    for (const auto& property : properties) {
        if (lacks(inst, property[0])) {
            addProperty(inst, property[0],
                        CIMValue(asString(getValue(package, CIMName(property[1])))));
        }
    }
}

// The system whose package counts: for a partition its first hosting system, if it has one.
CIMObjectPath packagedSystem(CIMOMHandle& cimom, const OperationContext& context,
                             const CIMObjectPath& system, Boolean isPartition) {
    if (!isPartition) {
        return system;
    }
    const Array<CIMObjectPath> hosts =
        cimom.associatorNames(context, cimNamespace(), system, CIMName("QOR_HostedDependency"),
                              CIMName("QORP_CEC_CS"), "Dependent", "Antecedent");
    return hosts.size() > 0 ? hosts[0] : system;
}

String partitionOf(CIMOMHandle& cimom, const OperationContext& context,
                   const CIMObjectPath& system) {
    const CIMName name("LPARID");
    Array<CIMName> names;
    names.append(name);
    const CIMInstance instance = cimom.getInstance(context, cimNamespace(), system, false, false,
                                                   false, CIMPropertyList(names));
    const CIMValue value = getValue(instance, name);
    return value.isNull() ? String("0") : asString(value);
}

}  // namespace

Boolean IndicationMethodProvider::generateIndication(const OperationContext& context,
                                                     CIMInstance& inst,
                                                     const Array<CIMParamValue>& inParameters) {
    TraceScope trace(__FILE__, __LINE__, "IndicationMethodProvider::generateIndication");
    // The upcalls may end this object's life; a copy of the handle uses the same channel.
    CIMOMHandle cimom(_cimom);
    const CIMObjectPath element = alertingElement(inst, inParameters);
    const Array<CIMClass> partitions = getSubclasses(cimom, context, CIMName("QORP_LPAR_CS"));
    const CIMObjectPath anySystem(String(), CIMNamespaceName(), CIMName("QORP_ComputerSystem"));

    if (matches(cimom, context, anySystem, element)) {
        if (lacks(inst, "SenderUUID")) {
            addProperty(inst, "SenderUUID", CIMValue(senderOf(cimom, context, element)));
        }
        const Boolean isPartition = findClass(partitions, element.getClassName());
        addPackage(cimom, context, packagedSystem(cimom, context, element, isPartition), inst);
        if (lacks(inst, "LPARID")) {
            addProperty(inst, "LPARID", CIMValue(partitionOf(cimom, context, element)));
        }
        return true;
    }

    const CIMValue key = findKey(element.getKeyBindings(), CIMName("UUID"));
    const String uuid = key.isNull() ? String() : asString(key);
    if (lacks(inst, "UUID")) {
        addProperty(inst, "UUID", CIMValue(uuid));
    }
    if (lacks(inst, "SenderUUID")) {
        addProperty(inst, "SenderUUID", CIMValue(uuid));
    }
    return true;
}

}  // namespace velmar_remote
