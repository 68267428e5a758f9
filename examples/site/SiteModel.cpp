// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "SiteModel.h"

#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/System.h>

using namespace Pegasus;

namespace site {

const char* const HOSTING_SYSTEM = "QORP_CEC_CS";
const char* const PARTITION = "QORP_LPAR_CS";
const char* const DOMAIN_CLASS = "QOR_MAPAdminDomain";
const char* const CONTROL_POINT = "QOR_HWCtrlPoint";
const char* const PACKAGE = "QOR_PhysicalPackage";
const char* const COMPONENT = "QOR_SystemComponent";
const char* const HOSTING = "QOR_HostedDependency";
const char* const PACKAGING = "QOR_ComputerSystemPackage";
const char* const ALERT = "QOR_SiteAlert";

const CIMNamespaceName& cimNamespace() {
    static const CIMNamespaceName name("root/velmar_remote");
    return name;
}

String toString(const std::string& text) { return String(text.c_str()); }

std::string toStd(const String& text) {
    return std::string(static_cast<const char*>(text.getCString()));
}

namespace {

CIMObjectPath fullPath(const char* className, const Array<CIMKeyBinding>& keys) {
    CIMObjectPath path(String(), cimNamespace(), CIMName(className), keys);
    path.setHost(System::getHostName());
    return path;
}

void add(CIMInstance& instance, const char* name, const CIMValue& value) {
    instance.addProperty(CIMProperty(CIMName(name), value));
}

// A string needs the explicit String: CIMValue("text") is the boolean TRUE.
void add(CIMInstance& instance, const char* name, const std::string& value) {
    add(instance, name, CIMValue(toString(value)));
}

// Key property and key binding hold the same, since a server rebuilds keys from properties.
CIMInstance element(const char* className, const char* keyName, const std::string& key) {
    CIMInstance instance{CIMName(className)};
    instance.setPath(pathOf(className, keyName, key));
    add(instance, keyName, key);
    return instance;
}

CIMInstance link(const char* className, const char* leftName, const CIMObjectPath& left,
                 const char* rightName, const CIMObjectPath& right) {
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName(leftName), CIMValue(left)));
    keys.append(CIMKeyBinding(CIMName(rightName), CIMValue(right)));
    CIMInstance instance{CIMName(className)};
    instance.setPath(fullPath(className, keys));
    add(instance, leftName, CIMValue(left));
    add(instance, rightName, CIMValue(right));
    return instance;
}

CIMObjectPath systemPath(const HostingSystem& system) {
    return pathOf(HOSTING_SYSTEM, "Name", systemName(system));
}

CIMObjectPath partitionPath(const HostingSystem& system, const Partition& partition) {
    return pathOf(PARTITION, "Name", partitionName(system, partition));
}

template <class Use>
void forEachSystem(const Site& site, Use use) {
    for (const Domain& domain : site.domains) {
        for (const HostingSystem& system : domain.systems) {
            use(system);
        }
    }
}

template <class Use>
void forEachPartition(const Site& site, Use use) {
    forEachSystem(site, [&](const HostingSystem& system) {
        for (const Partition& partition : system.partitions) {
            use(system, partition);
        }
    });
}

}  // namespace

CIMObjectPath pathOf(const char* className, const char* keyName, const std::string& key) {
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName(keyName), CIMValue(toString(key))));
    return fullPath(className, keys);
}

// ---- Elements --------------------------------------------------------------------------------

Array<CIMInstance> hostingSystems(const Site& site) {
    Array<CIMInstance> result;
    forEachSystem(site, [&](const HostingSystem& system) {
        CIMInstance instance = element(HOSTING_SYSTEM, "Name", systemName(system));
        add(instance, "ElementName", system.type + "-" + system.model);
        add(instance, "EnabledState", CIMValue(Uint16(findState("running")->value)));
        add(instance, "UUID", system.uuid);
        result.append(instance);
    });
    return result;
}

Array<CIMInstance> partitions(const Site& site) {
    Array<CIMInstance> result;
    forEachPartition(site, [&](const HostingSystem& system, const Partition& partition) {
        CIMInstance instance = element(PARTITION, "Name", partitionName(system, partition));
        add(instance, "ElementName", partition.name);
        add(instance, "EnabledState", CIMValue(Uint16(partition.state->value)));
        add(instance, "LPARID", std::to_string(partition.id));
        result.append(instance);
    });
    return result;
}

Array<CIMInstance> domains(const Site& site) {
    Array<CIMInstance> result;
    for (const Domain& domain : site.domains) {
        CIMInstance instance = element(DOMAIN_CLASS, "Name", domain.name);
        add(instance, "ElementName", domain.name);
        result.append(instance);
    }
    return result;
}

Array<CIMInstance> controlPoints(const Site& site) {
    Array<CIMInstance> result;
    for (const Domain& domain : site.domains) {
        for (const ControlPoint& point : domain.controlPoints) {
            CIMInstance instance = element(CONTROL_POINT, "UUID", point.uuid);
            add(instance, "ElementName", point.name);
            add(instance, "NetworkAddress", point.networkAddress);
            result.append(instance);
        }
    }
    return result;
}

Array<CIMInstance> packages(const Site& site) {
    Array<CIMInstance> result;
    forEachSystem(site, [&](const HostingSystem& system) {
        CIMInstance instance = element(PACKAGE, "Tag", system.packageTag);
        add(instance, "ElementName", system.packageTag);
        add(instance, "VendorEquipmentType", system.type);
        add(instance, "Model", system.model);
        add(instance, "SerialNumber", system.serial);
        result.append(instance);
    });
    return result;
}

// ---- Associations ----------------------------------------------------------------------------

Array<CIMInstance> components(const Site& site) {
    Array<CIMInstance> result;
    for (const Domain& domain : site.domains) {
        const CIMObjectPath group = pathOf(DOMAIN_CLASS, "Name", domain.name);
        const auto contains = [&](const CIMObjectPath& part) {
            result.append(link(COMPONENT, "GroupComponent", group, "PartComponent", part));
        };
        for (const ControlPoint& point : domain.controlPoints) {
            contains(pathOf(CONTROL_POINT, "UUID", point.uuid));
        }
        for (const HostingSystem& system : domain.systems) {
            contains(systemPath(system));
            for (const Partition& partition : system.partitions) {
                contains(partitionPath(system, partition));
            }
        }
    }
    return result;
}

Array<CIMInstance> hosting(const Site& site) {
    Array<CIMInstance> result;
    forEachPartition(site, [&](const HostingSystem& system, const Partition& partition) {
        result.append(link(HOSTING, "Antecedent", systemPath(system), "Dependent",
                           partitionPath(system, partition)));
    });
    return result;
}

Array<CIMInstance> packaging(const Site& site) {
    Array<CIMInstance> result;
    forEachSystem(site, [&](const HostingSystem& system) {
        result.append(link(PACKAGING, "Antecedent", pathOf(PACKAGE, "Tag", system.packageTag),
                           "Dependent", systemPath(system)));
    });
    return result;
}

}  // namespace site
