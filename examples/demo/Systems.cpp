// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Common/Util.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <fmt/core.h>

#include <algorithm>
#include <stdexcept>

#include "Demo.h"
#include "QORP_CEC_CS.h"
#include "QORP_LPAR_CS.h"
#include "QOR_MAPAdminDomain.h"

using namespace Pegasus;

namespace demo {

namespace {

CIMObjectPath pathOf(const site::HostingSystem& system) {
    return site::QORP_CEC_CS(site::systemName(system)).path();
}

// A system as the server describes it, and as it should.
Place described(const CIMInstance& instance) {
    return {text(instance, "Name"), text(instance, "UUID"), text(instance, "FirmwareLevel"),
            stateOf(instance)};
}
Place described(const site::HostingSystem& system) {
    return {site::systemName(system), system.uuid, system.firmware, "running"};
}

std::string enumerateNames(const Demo& demo) {
    const Array<CIMObjectPath> names =
        demo.client.enumerateInstanceNames(cimNamespace(), "QORP_ComputerSystem");
    Places found, wanted;
    for (Uint32 i = 0; i < names.size(); i++) {
        found.insert(Place{shortText(names[i])});
    }
    forEachSystem(demo.site, [&](const site::Domain&, const site::HostingSystem& system) {
        wanted.insert(Place{shortText(pathOf(system))});
        for (const site::Partition& partition : system.partitions) {
            wanted.insert(Place{
                shortText(site::QORP_LPAR_CS(site::partitionName(system, partition)).path())});
        }
    });
    expectPlaces(found, wanted);
    return count(found.size(), "name") + " of hosting systems and partitions";
}

std::string enumerateSystems(const Demo& demo) {
    const Array<CIMInstance> systems =
        demo.client.enumerateInstances(cimNamespace(), "QORP_CEC_CS");
    Places found, wanted;
    for (Uint32 i = 0; i < systems.size(); i++) {
        found.insert(described(systems[i]));
    }
    forEachSystem(demo.site, [&](const site::Domain&, const site::HostingSystem& system) {
        wanted.insert(described(system));
    });
    expectPlaces(found, wanted);
    return count(found.size(), "hosting system");
}

std::string get(const Demo& demo, const site::HostingSystem& system) {
    const Place found = described(demo.client.getInstance(cimNamespace(), pathOf(system)));
    expectPlaces({found}, {described(system)});
    return fmt::format("UUID {}, {}", found[1], found[3]);
}

// Its serial number is longer than any that the site has.
site::HostingSystem newSystem(const site::Site& site) {
    site::HostingSystem result{"0000", "NEW", "1", "00000000-0000-0000-0000-000000000000",
                               "",     "",    {}};
    forEachSystem(site, [&](const site::Domain&, const site::HostingSystem& system) {
        result.serial.resize(std::max(result.serial.size(), system.serial.size() + 1), '1');
    });
    return result;
}

std::string create(const Demo& demo, const site::HostingSystem& system) {
    site::QORP_CEC_CS created(site::systemName(system));
    created.UUID = system.uuid;
    created.EnabledState = site::findState("running")->value;
    const CIMObjectPath path = demo.client.createInstance(cimNamespace(), created.instance());
    expectText("path", shortText(path), shortText(pathOf(system)));
    return "created";
}

std::string getDeleted(const Demo& demo, const site::HostingSystem& system) {
    try {
        demo.client.getInstance(cimNamespace(), pathOf(system));
    } catch (const CIMException& error) {
        if (error.getCode() == CIM_ERR_NOT_FOUND) {
            return "CIM_ERR_NOT_FOUND, as it should be";
        }
        throw;
    }
    throw std::runtime_error("still there");
}

std::string countComponents(const Demo& demo, size_t wanted) {
    for (const site::Domain& domain : demo.site.domains) {
        wanted += domain.controlPoints.size() + domain.systems.size();
        for (const site::HostingSystem& system : domain.systems) {
            wanted += system.partitions.size();
        }
    }
    const Uint32 found =
        demo.client.enumerateInstanceNames(cimNamespace(), "QOR_SystemComponent").size();
    expectText("associations", std::to_string(found), std::to_string(wanted));
    return count(found, "association");
}

}  // namespace

void showInstances(const Demo& demo) {
    Story& story = demo.story;
    story.chapter("The site's systems: enumerate, get, create, delete");
    story.step("enumerate names", "QORP_ComputerSystem, which loads the providers",
               [&] { return enumerateNames(demo); });
    story.step("enumerate", "QORP_CEC_CS", [&] { return enumerateSystems(demo); });

    const site::HostingSystem system = newSystem(demo.site);
    const std::string name = shortText(pathOf(system));
    story.step("create", name, [&] { return create(demo, system); });
    story.step("get", name, [&] { return get(demo, system); });
    if (!demo.site.domains.empty()) {
        const std::string domain = demo.site.domains.front().name;
        story.step("associate", fmt::format("{} with domain {}", name, domain), [&] {
            CIMOMHandle cimom;
            velmar_remote::createAssociation(
                cimom, OperationContext(), "QOR_SystemComponent", "GroupComponent",
                site::QOR_MAPAdminDomain(domain).path(), "PartComponent", pathOf(system));
            return countComponents(demo, 1);
        });
    }
    story.step("delete", name + " and its associations", [&] {
        demo.client.deleteInstance(cimNamespace(), pathOf(system));
        return countComponents(demo, 0);
    });
    story.step("get", name, [&] { return getDeleted(demo, system); });
    story.step("enumerate", "QORP_CEC_CS", [&] { return enumerateSystems(demo); });
}

}  // namespace demo
