// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "IndicationMethodProvider.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>
#include <stdio.h>

#include <condition_variable>
#include <map>
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

// The running deliveries of all objects. They stand beside the objects, whose members are fixed,
// and are never destroyed: a delivery may be running while the process ends. Not on the heap, where
// they would be lost when a statically linked module is unloaded.
struct Deliveries {
    std::mutex mutex;
    std::condition_variable ended;
    std::map<const void*, unsigned> running;  // by object; guarded by the mutex

    static Deliveries& all() {
        alignas(Deliveries) static unsigned char place[sizeof(Deliveries)];
        static Deliveries* const deliveries = new (place) Deliveries;
        return *deliveries;
    }
};

class Delivery;
thread_local const Delivery* innermost =
    nullptr;  // of the deliveries that this thread is inside of

// A delivery of the object, until the end of the scope. Does not touch the object after its start:
// whom it is delivered to may delete it.
class Delivery {
 public:
    Delivery(const void* object, const Boolean& enabled) : _object(object), _outer(innermost) {
        const std::lock_guard<std::mutex> lock(Deliveries::all().mutex);
        _begun = load(enabled);
        if (_begun) {
            ++Deliveries::all().running[_object];
            innermost = this;
        }
    }
    ~Delivery() {
        if (!_begun) {
            return;
        }
        innermost = _outer;
        Deliveries& all = Deliveries::all();
        const std::lock_guard<std::mutex> lock(all.mutex);
        if (--all.running[_object] == 0) {
            all.running.erase(_object);
        }
        all.ended.notify_all();
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

    // False while the object is disabled: then nothing may be delivered.
    Boolean hasBegun() const { return _begun; }

    // Disables the object and returns when this thread alone is inside deliveries of it.
    static void stop(const void* object, Boolean& enabled) {
        unsigned own = 0;
        for (const Delivery* delivery = innermost; delivery; delivery = delivery->_outer) {
            own += delivery->_object == object;
        }
        Deliveries& all = Deliveries::all();
        std::unique_lock<std::mutex> lock(all.mutex);
        store(enabled, Boolean(false));
        all.ended.wait(lock, [&] {
            const auto found = all.running.find(object);
            return found == all.running.end() || found->second == own;
        });
    }

 private:
    const void* const _object;
    const Delivery* const _outer;
    Boolean _begun;
};

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

// Inline: where modules each carry a copy of the static library, all of them meet one counter.
inline Uint32 IndicationMethodProvider::_ID = 0;

IndicationMethodProvider::IndicationMethodProvider()
    : _handler(nullptr), _enabled(false), _numSubscriptions(nullptr) {}

IndicationMethodProvider::IndicationMethodProvider(const String& CIMClassName,
                                                   Uint32* numSubscriptions)
    : _handler(nullptr),
      _CIMClassName(CIMClassName),
      _enabled(false),
      _numSubscriptions(numSubscriptions) {}

IndicationMethodProvider::~IndicationMethodProvider() {}

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
    Delivery::stop(this, _enabled);
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
    handler.processing();
    if (methodName != CIMName("send")) {
        throw CIMException(CIM_ERR_METHOD_NOT_FOUND, methodName.getString());
    }
    if (!load(_enabled)) {
        handler.deliver(CIMValue(Sint32(0)));
        handler.complete();
        return;
    }
    handler.deliver(CIMValue(Sint32(1)));
    handler.complete();

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
    const Delivery delivery(this, _enabled);
    if (delivery.hasBegun()) {
        load(_handler)->deliver(CIMIndication(inst));
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
