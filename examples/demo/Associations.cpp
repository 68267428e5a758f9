// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Common/Util.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <fmt/core.h>

#include <utility>

#include "Demo.h"

using namespace Pegasus;

namespace demo {

namespace {

// The same words for what the site file says and for what the server answers.
constexpr const char* POINT = "control point {} ({})";
constexpr const char* SYSTEM = "hosting system {}, firmware {}";
constexpr const char* PACKAGE = "package \"{}\": type {}, model {}, serial {}";
constexpr const char* PARTITION = "partition {} \"{}\", {}";
constexpr const char* NO_POINT = "without control point";

std::string pointLabel(const CIMInstance& i) {
    return fmt::format(POINT, text(i, "ElementName"), text(i, "NetworkAddress"));
}
std::string systemLabel(const CIMInstance& i) {
    return fmt::format(SYSTEM, text(i, "Name"), text(i, "FirmwareLevel"));
}
std::string packageLabel(const CIMInstance& i) {
    return fmt::format(PACKAGE, text(i, "Tag"), text(i, "VendorEquipmentType"), text(i, "Model"),
                       text(i, "SerialNumber"));
}
std::string partitionLabel(const CIMInstance& i) {
    return fmt::format(PARTITION, text(i, "LPARID"), text(i, "ElementName"), stateOf(i));
}

Places siteTree(const site::Site& site) {
    Places result;
    for (const site::Domain& domain : site.domains) {
        result.insert(Place{domain.name});
        for (const site::ControlPoint& point : domain.controlPoints) {
            result.insert(Place{domain.name, fmt::format(POINT, point.name, point.networkAddress)});
        }
    }
    forEachSystem(site, [&](const site::Domain& domain, const site::HostingSystem& system) {
        Place place{domain.name, fmt::format(SYSTEM, site::systemName(system), system.firmware)};
        result.insert(place);
        place.push_back(
            fmt::format(PACKAGE, system.packageTag, system.type, system.model, system.serial));
        result.insert(place);
        for (const site::Partition& one : system.partitions) {
            place.back() = fmt::format(PARTITION, one.id, one.name, one.state->name);
            result.insert(place);
        }
    });
    return result;
}

typedef std::vector<std::pair<CIMObjectPath, Place>> Elements;

struct Hop {
    const char* association;
    const char* resultClass;
    const char* role;
    const char* resultRole;
    std::string (*label)(const CIMInstance&);
};

// Goes from each element to its associated ones.
Elements follow(const Demo& demo, const Elements& from, const Hop& hop, Places& tree) {
    Elements result;
    const std::string request = fmt::format("{} through {}", hop.resultClass, hop.association);
    demo.story.step("associators", request, [&] {
        for (const auto& [path, place] : from) {
            const Array<CIMObject> objects = demo.client.associators(
                cimNamespace(), path, hop.association, hop.resultClass, hop.role, hop.resultRole);
            for (Uint32 i = 0; i < objects.size(); i++) {
                const CIMInstance instance(objects[i]);
                result.emplace_back(instance.getPath(), place);
                result.back().second.push_back(hop.label(instance));
                tree.insert(result.back().second);
            }
        }
        return fmt::format("{} in {}", result.size(), count(from.size(), "request"));
    });
    return result;
}

// The site's systems under the domain whose control point stands for them. Which of its points
// does, the server decides; where the site has only one, it stands for all.
Places siteGroups(const site::Site& site) {
    std::vector<std::string> domains;  // of each point
    for (const site::Domain& domain : site.domains) {
        domains.insert(domains.end(), domain.controlPoints.size(), domain.name);
    }
    Places result;
    forEachSystem(site, [&](const site::Domain& domain, const site::HostingSystem& system) {
        const std::string own = domain.controlPoints.empty() ? NO_POINT : domain.name;
        const std::string group = domains.size() == 1 ? domains.front() : own;
        result.insert(Place{group, site::systemName(system)});
        for (const site::Partition& partition : system.partitions) {
            result.insert(Place{group, site::partitionName(system, partition)});
        }
    });
    return result;
}

std::string domainOf(const site::Site& site, const std::string& pointUuid) {
    for (const site::Domain& domain : site.domains) {
        for (const site::ControlPoint& point : domain.controlPoints) {
            if (point.uuid == pointUuid) {
                return domain.name;
            }
        }
    }
    return "unknown control point " + pointUuid;
}

std::string group(const Demo& demo, const Array<CIMInstance>& systems) {
    CIMOMHandle cimom;
    Array<Array<CIMInstance>> groups;
    Array<CIMInstance> ungrouped;
    const Array<CIMInstance> points =
        velmar_remote::groupByHCP(cimom, OperationContext(), systems, groups, ungrouped);
    Places found;
    std::string sizes;
    const auto add = [&](const std::string& domain, const Array<CIMInstance>& members) {
        for (Uint32 i = 0; i < members.size(); i++) {
            found.insert(Place{domain, text(members[i], "Name")});
        }
    };
    for (Uint32 k = 0; k < points.size(); k++) {
        add(domainOf(demo.site, text(points[k], "UUID")), groups[k]);
        sizes += fmt::format("{} at {}, ", groups[k].size(), text(points[k], "NetworkAddress"));
    }
    add(NO_POINT, ungrouped);
    expectPlaces(found, siteGroups(demo.site));
    return fmt::format("{}{} without control point", sizes, ungrouped.size());
}

}  // namespace

void showAssociations(const Demo& demo) {
    Story& story = demo.story;
    story.chapter("The associations: from the domains down to the partitions");
    Places tree;
    Elements domains;
    story.step("enumerate", "QOR_MAPAdminDomain", [&] {
        const Array<CIMInstance> instances =
            demo.client.enumerateInstances(cimNamespace(), "QOR_MAPAdminDomain");
        for (Uint32 i = 0; i < instances.size(); i++) {
            domains.emplace_back(instances[i].getPath(), Place{text(instances[i], "Name")});
            tree.insert(domains.back().second);
        }
        return count(domains.size(), "domain");
    });
    const Hop toPoints{"QOR_SystemComponent", "QOR_HWCtrlPoint", "GroupComponent", "PartComponent",
                       pointLabel};
    const Hop toSystems{"QOR_SystemComponent", "QORP_CEC_CS", "GroupComponent", "PartComponent",
                        systemLabel};
    const Hop toPackages{"QOR_ComputerSystemPackage", "QOR_PhysicalPackage", "Dependent",
                         "Antecedent", packageLabel};
    const Hop toPartitions{"QOR_HostedDependency", "QORP_LPAR_CS", "Antecedent", "Dependent",
                           partitionLabel};
    follow(demo, domains, toPoints, tree);
    const Elements systems = follow(demo, domains, toSystems, tree);
    follow(demo, systems, toPackages, tree);
    follow(demo, systems, toPartitions, tree);
    story.step("compare", "all that was found", [&] {
        expectPlaces(tree, siteTree(demo.site));
        return "as the site file says";
    });
    story.tell(tree);

    story.chapter("The systems by control point");
    story.step("groupByHCP", "all systems", [&] {
        return group(demo, demo.client.enumerateInstances(cimNamespace(), "QORP_ComputerSystem"));
    });
}

}  // namespace demo
