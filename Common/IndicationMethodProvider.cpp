// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "IndicationMethodProvider.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>
#include <stdio.h>

#include <condition_variable>
#include <map>
#include <mutex>

#include "Internal.h"
#include "Util.h"

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

// The deliveries that are running, by object. They stand beside the objects, whose members are
// fixed, and are counted exactly: waiting for those of one object must not depend on how busy the
// others are. Never destroyed: a delivery may be running while the process ends.
struct Deliveries {
    std::mutex mutex;
    std::condition_variable idle;
    std::map<const void*, unsigned> running;

    static Deliveries& all() {
        static Deliveries* const deliveries = new Deliveries;
        return *deliveries;
    }
};

// One delivery of an object, counted while it lives; not begun if the object is disabled.
class Delivery {
 public:
    Delivery(const void* object, const Boolean& enabled) : _object(object), _begun(false) {
        Deliveries& all = Deliveries::all();
        const std::lock_guard<std::mutex> lock(all.mutex);
        if (load(enabled)) {
            all.running[object]++;
            _begun = true;
        }
    }
    ~Delivery() {
        if (!_begun) {
            return;
        }
        Deliveries& all = Deliveries::all();
        const std::lock_guard<std::mutex> lock(all.mutex);
        const auto entry = all.running.find(_object);
        if (--entry->second == 0) {
            all.running.erase(entry);
            all.idle.notify_all();
        }
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

    Boolean begun() const { return _begun; }

    // Disables the object and returns when none of its deliveries is running.
    static void stop(const void* object, Boolean& enabled) {
        Deliveries& all = Deliveries::all();
        std::unique_lock<std::mutex> lock(all.mutex);
        store(enabled, Boolean(false));
        all.idle.wait(lock, [&] { return all.running.count(object) == 0; });
    }

 private:
    const void* _object;
    Boolean _begun;
};

void addProperty(CIMInstance& inst, const char* name, const CIMValue& value) {
    inst.addProperty(CIMProperty(CIMName(name), value));
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
    Delivery::stop(this, _enabled);
    IndicationResponseHandler* const handler = load(_handler);
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
    if (delivery.begun()) {
        load(_handler)->deliver(CIMIndication(inst));
    }
}

// ---- Enrichment ------------------------------------------------------------------------------

namespace {

const char SYSTEM_COMPONENT[] = "QOR_SystemComponent";

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
    const CIMObjectPath domain =
        associatorName(cimom, context, cimNamespace(), system, CIMName(SYSTEM_COMPONENT),
                       CIMName("QOR_MAPAdminDomain"), "PartComponent", "GroupComponent");
    const CIMObjectPath controlPoint =
        associatorName(cimom, context, cimNamespace(), domain, CIMName(SYSTEM_COMPONENT),
                       CIMName("QOR_HWCtrlPoint"), "GroupComponent", "PartComponent");
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
    const CIMObjectPath element = alertingElement(inst, inParameters);
    const Array<CIMClass> partitions = getSubclasses(_cimom, context, CIMName("QORP_LPAR_CS"));
    const CIMObjectPath anySystem(String(), CIMNamespaceName(), CIMName("QORP_ComputerSystem"));

    if (matches(_cimom, context, anySystem, element)) {
        if (lacks(inst, "SenderUUID")) {
            addProperty(inst, "SenderUUID", CIMValue(senderOf(_cimom, context, element)));
        }
        const Boolean isPartition = findClass(partitions, element.getClassName());
        addPackage(_cimom, context, packagedSystem(_cimom, context, element, isPartition), inst);
        if (lacks(inst, "LPARID")) {
            addProperty(inst, "LPARID", CIMValue(partitionOf(_cimom, context, element)));
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
