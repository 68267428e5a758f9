// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Common/Util.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <fmt/core.h>

#include <set>

#include "Sections.h"
#include "site/SiteModel.h"

using namespace Pegasus;

namespace demo {

namespace {

CIMObjectPath systemPath(const site::HostingSystem& system) {
    return site::pathOf(site::HOSTING_SYSTEM, "Name", site::systemName(system));
}

void expectSystem(Step& step, const CIMInstance& instance, const site::HostingSystem& system) {
    const std::string name = site::systemName(system);
    const auto compare = [&](const char* property, const std::string& expected) {
        const std::string got = text(instance, property);
        step.expect(got == expected,
                    fmt::format("{} of {} is \"{}\", not \"{}\"", property, name, expected, got));
    };
    compare("Name", name);
    compare("UUID", system.uuid);
    compare("FirmwareLevel", system.firmware);
    step.expect(stateOf(instance) == "running",
                fmt::format("{} is running, not {}", name, stateOf(instance)));
}

std::string enumerateNames(const Demo& demo, Step& step) {
    const Array<CIMObjectPath> found = step.ask([&] {
        return demo.client.enumerateInstanceNames(site::cimNamespace(), "QORP_ComputerSystem");
    });
    std::multiset<std::string> names;
    for (Uint32 i = 0; i < found.size(); i++) {
        names.insert(shortText(found[i]));
    }
    std::multiset<std::string> expected;
    for (const site::HostingSystem* system : allSystems(demo.site)) {
        expected.insert(shortText(systemPath(*system)));
        for (const site::Partition& partition : system->partitions) {
            expected.insert(shortText(
                site::pathOf(site::PARTITION, "Name", site::partitionName(*system, partition))));
        }
    }
    step.expect(names == expected, fmt::format("the {} of the site file, each once",
                                               count(expected.size(), "system and partition")));
    return count(found.size(), "name") + " of hosting systems and partitions";
}

std::string enumerateSystems(const Demo& demo, Step& step) {
    const Array<CIMInstance> found = step.ask(
        [&] { return demo.client.enumerateInstances(site::cimNamespace(), site::HOSTING_SYSTEM); });
    const auto systems = allSystems(demo.site);
    step.expect(found.size() == systems.size(), count(systems.size(), "hosting system"));
    for (const site::HostingSystem* system : systems) {
        bool isThere = false;
        for (Uint32 i = 0; i < found.size(); i++) {
            if (text(found[i], "Name") == site::systemName(*system)) {
                isThere = true;
                expectSystem(step, found[i], *system);
            }
        }
        step.expect(isThere, site::systemName(*system) + " is among them");
    }
    return count(found.size(), "hosting system");
}

// A hosting system that the site does not have.
site::HostingSystem newSystem(const site::Site& site) {
    std::set<std::string> names;
    for (const site::HostingSystem* system : allSystems(site)) {
        names.insert(site::systemName(*system));
    }
    site::HostingSystem result;
    result.type = "0000";
    result.model = "NEW";
    result.uuid = "00000000-0000-0000-0000-000000000000";
    for (int serial = 1; result.serial.empty() || names.count(site::systemName(result)); serial++) {
        result.serial = std::to_string(serial);
    }
    return result;
}

CIMInstance instanceOf(const site::HostingSystem& system) {
    CIMInstance instance{CIMName(site::HOSTING_SYSTEM)};
    instance.addProperty(CIMProperty("Name", CIMValue(site::toString(site::systemName(system)))));
    instance.addProperty(CIMProperty("UUID", CIMValue(site::toString(system.uuid))));
    instance.addProperty(
        CIMProperty("EnabledState", CIMValue(Uint16(site::findState("running")->value))));
    return instance;
}

// Deleting a system deletes the associations that refer to it, so that none dangles.
std::string enumerateComponents(const Demo& demo, Step& step, size_t created) {
    const size_t found =
        step.ask([&] {
                return demo.client.enumerateInstanceNames(site::cimNamespace(), site::COMPONENT);
            })
            .size();
    size_t expected = created + allSystems(demo.site).size() + partitionCount(demo.site);
    for (const site::Domain& domain : demo.site.domains) {
        expected += domain.controlPoints.size();
    }
    step.expect(found == expected,
                fmt::format("{}, not {}", count(expected, "association"), found));
    return count(found, "association");
}

}  // namespace

void showInstances(const Demo& demo) {
    Report& report = demo.report;
    report.section("The site's systems: enumerate, get, create, delete");

    report.step("enumerate names", "QORP_ComputerSystem and its subclasses",
                [&](Step& step) { return enumerateNames(demo, step) + "; loads the providers"; });
    report.step("enumerate", site::HOSTING_SYSTEM,
                [&](Step& step) { return enumerateSystems(demo, step); });

    const auto get = [&](Step& step, const site::HostingSystem& system) {
        const CIMInstance instance = step.ask(
            [&] { return demo.client.getInstance(site::cimNamespace(), systemPath(system)); });
        expectSystem(step, instance, system);
        return fmt::format("{}, UUID {}", stateOf(instance), text(instance, "UUID"));
    };
    const auto systems = allSystems(demo.site);
    if (systems.empty()) {
        report.skip("get", "the site has no hosting system");
    } else {
        report.step("get", shortText(systemPath(*systems[0])),
                    [&](Step& step) { return get(step, *systems[0]); });
    }

    const site::HostingSystem created = newSystem(demo.site);
    const std::string createdText = shortText(systemPath(created));
    report.step("create", createdText, [&](Step& step) {
        const CIMObjectPath path = step.ask(
            [&] { return demo.client.createInstance(site::cimNamespace(), instanceOf(created)); });
        step.expect(shortText(path) == createdText, "the new system's path is answered");
        return "created " + text(instanceOf(created), "Name");
    });
    report.step("get the created", createdText, [&](Step& step) { return get(step, created); });
    if (!demo.site.domains.empty()) {
        const std::string domain = demo.site.domains.front().name;
        report.step("associate", fmt::format("domain \"{}\" and {}", domain, createdText),
                    [&](Step& step) {
                        CIMOMHandle cimom;
                        step.ask([&] {
                            velmar_remote::createAssociation(
                                cimom, OperationContext(), site::COMPONENT, "GroupComponent",
                                site::pathOf(site::DOMAIN_CLASS, "Name", domain), "PartComponent",
                                systemPath(created));
                        });
                        return "associated";
                    });
        report.step("enumerate names", site::COMPONENT,
                    [&](Step& step) { return enumerateComponents(demo, step, 1); });
    }
    report.step("delete", createdText, [&](Step& step) {
        step.ask([&] { demo.client.deleteInstance(site::cimNamespace(), systemPath(created)); });
        return "deleted";
    });
    report.step("get the deleted", createdText, [&](Step& step) {
        return step.fails(CIM_ERR_NOT_FOUND, [&] {
            demo.client.getInstance(site::cimNamespace(), systemPath(created));
        });
    });
    report.step("enumerate names", site::COMPONENT,
                [&](Step& step) { return enumerateComponents(demo, step, 0); });
    report.step("enumerate", site::HOSTING_SYSTEM,
                [&](Step& step) { return enumerateSystems(demo, step); });
}

}  // namespace demo
