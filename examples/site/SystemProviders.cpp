// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "SystemProviders.h"

#include <Common/Util.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/Exception.h>

#include "OpenSite.h"
#include "QORP_CEC_CS.h"
#include "QORP_LPAR_CS.h"

using namespace Pegasus;

namespace site {

namespace {

// Return values of RequestStateChange.
const Uint32 COMPLETED = 0;
const Uint32 INVALID_PARAMETER = 5;

// Null unless the parameter is there, has the declared type and names a state.
const State* requestedState(const Array<CIMParamValue>& inParameters) {
    const CIMValue value = velmar_remote::findParam(inParameters, "RequestedState");
    if (value.isNull() || value.isArray() || value.getType() != CIMTYPE_UINT16) {
        return nullptr;
    }
    Uint16 number = 0;
    value.get(number);
    return findState(number);
}

std::string text(const CIMInstance& instance, const char* name) {
    const CIMValue value = velmar_remote::getValue(instance, CIMName(name));
    return value.isNull() ? "" : cim::utf8(value.toString());
}

}  // namespace

SystemProvider::SystemProvider(const char* className) : InstanceMethodProvider(className) {}

void SystemProvider::initialize(CIMOMHandle& cimom) {
    InstanceMethodProvider::initialize(cimom);
    _site = openSite();
    _cache.insert(instancesOf(*_site));
    // When the inventory changes later: insert, replace and remove on the cache. A removal asks
    // the server, through a client connection of its own, for the associations that refer to the
    // instance and deletes them; removing many is work for a thread of the provider's, not for a
    // request that a client waits for.
}

CIMValue SystemProvider::callMethod(const OperationContext& context, const CIMInstance& inst,
                                    const CIMName& methodName,
                                    const Array<CIMParamValue>& inParameters,
                                    Array<CIMParamValue>& outParameters) {
    if (methodName != CIMName("RequestStateChange")) {
        throw CIMException(CIM_ERR_METHOD_NOT_FOUND, methodName.getString());
    }
    const State* const wanted = requestedState(inParameters);
    if (wanted == nullptr) {
        return CIMValue(INVALID_PARAMETER);
    }

    // Other threads may be reading the cached instance at this moment, and clients may still be
    // waiting for its encoding. So it stays as it is, and an edited clone takes its place. The
    // mutex keeps two changes of the same system from working on the same original.
    CIMInstance edited;
    CIMValue previous;
    {
        AutoMutex lock(_editing);
        CIMInstance current;
        if (!_cache.lookup(inst.getPath(), current)) {
            throw CIMException(CIM_ERR_NOT_FOUND, inst.getPath().toString());
        }
        previous = velmar_remote::getValue(current, CIMName("EnabledState"));
        edited = current.clone();
        velmar_remote::replaceProp(edited, CIMName("EnabledState"),
                                   CIMValue(Uint16(wanted->value)));
        _cache.replace(edited);
    }

    if (previous.isNull()) {
        previous.setNullValue(CIMTYPE_UINT16, false);
    }
    outParameters.append(CIMParamValue("PreviousState", previous));
    if (!(previous == CIMValue(Uint16(wanted->value)))) {
        stateChanged(context, edited, *wanted, outParameters);
    }
    return CIMValue(COMPLETED);
}

void SystemProvider::stateChanged(const OperationContext&, const CIMInstance&, const State&,
                                  Array<CIMParamValue>&) {}

// ---- Hosting systems -------------------------------------------------------------------------

HostingSystemProvider::HostingSystemProvider() : SystemProvider("QORP_CEC_CS") {}

Array<CIMInstance> HostingSystemProvider::instancesOf(const Site& site) const {
    Array<CIMInstance> result;
    forEachSystem(site, [&](const Domain&, const HostingSystem& system) {
        QORP_CEC_CS one(systemName(system));
        one.ElementName = system.type + "-" + system.model;
        one.EnabledState = findState("running")->value;
        one.UUID = system.uuid;
        result.append(one.instance());
    });
    return result;
}

// Completes instances that are about to be handed out. What stands in the array are the cached
// instances themselves, and the server encodes them after this request has returned, while other
// requests run: an override that sets a property on every request without a lock crashes a server
// within a second under four clients. So each instance is edited once, under the mutex, before
// anybody has got it; every request passes here first. For a value that changes later, put an
// edited clone into the cache with replace, as RequestStateChange does.
void HostingSystemProvider::fillProperties(const OperationContext&, Array<CIMInstance>& instances,
                                           const CIMPropertyList&) {
    const CIMName name("FirmwareLevel");
    AutoMutex lock(_editing);
    for (Uint32 i = 0; i < instances.size(); i++) {
        if (velmar_remote::needsProperty(instances[i], name, CIMPropertyList(), false)) {
            instances[i].addProperty(CIMProperty(name, readFirmwareLevel(instances[i])));
        }
    }
}

// Stands for a question to the hardware, which is slow and therefore asked only when it must be.
CIMValue HostingSystemProvider::readFirmwareLevel(const CIMInstance& system) const {
    const std::string name = text(system, "Name");
    CIMValue level(CIMTYPE_STRING, false);
    forEachSystem(*_site, [&](const Domain&, const HostingSystem& known) {
        if (systemName(known) == name) {
            level.set(String(known.firmware.c_str()));
        }
    });
    return level;
}

// ---- Partitions ------------------------------------------------------------------------------

PartitionProvider::PartitionProvider() : SystemProvider("QORP_LPAR_CS") {}

Array<CIMInstance> PartitionProvider::instancesOf(const Site& site) const {
    Array<CIMInstance> result;
    forEachSystem(site, [&](const Domain&, const HostingSystem& system) {
        for (const Partition& partition : system.partitions) {
            QORP_LPAR_CS one(partitionName(system, partition));
            one.ElementName = partition.name;
            one.EnabledState = partition.state->value;
            one.LPARID = std::to_string(partition.id);
            result.append(one.instance());
        }
    });
    return result;
}

void PartitionProvider::stateChanged(const OperationContext& context, const CIMInstance& system,
                                     const State& state, Array<CIMParamValue>& outParameters) {
    if (!state.failure) {
        return;
    }
    const Uint16 CRITICAL = 6;  // CIM_AlertIndication.PerceivedSeverity
    Array<CIMParamValue> params;
    params.append(CIMParamValue("PerceivedSeverity", CIMValue(CRITICAL)));
    const std::string what = "Partition " + text(system, "ElementName") + " has " + state.name;
    params.append(CIMParamValue("Description", CIMValue(String(what.c_str()))));
    // The alert's provider asks this one for the partition: not here with the mutex held, and not
    // in fillProperties, where it would wait for itself until the client's time-out.
    try {
        velmar_remote::sendIndication(_cimom, context, system.getPath(), CIMName("QOR_SiteAlert"),
                                      params);
    } catch (const Exception& error) {
        // The state has changed all the same; the caller learns both.
        outParameters.append(CIMParamValue("AlertProblem", CIMValue(error.getMessage())));
    }
}

}  // namespace site
