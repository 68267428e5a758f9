// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Common/Util.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <fmt/core.h>

#include <map>
#include <set>

#include "Sections.h"
#include "site/SiteModel.h"

using namespace Pegasus;

namespace demo {

namespace {

// What the inventory says about grouping.
struct Inventory {
    std::map<std::string, const site::ControlPoint*> points;  ///< by UUID
    std::map<std::string, const site::Domain*> domainOf;      ///< by system name
};

Inventory inventory(const site::Site& site) {
    Inventory result;
    for (const site::Domain& domain : site.domains) {
        for (const site::ControlPoint& point : domain.controlPoints) {
            result.points[point.uuid] = &point;
        }
        for (const site::HostingSystem& system : domain.systems) {
            result.domainOf[site::systemName(system)] = &domain;
            for (const site::Partition& partition : system.partitions) {
                result.domainOf[site::partitionName(system, partition)] = &domain;
            }
        }
    }
    return result;
}

// Where the site has one control point, it stands for every system. Otherwise a system belongs to
// the first control point of its domain; which one that is, the server decides.
void expectGroup(Step& step, const Inventory& known, const std::string& uuid,
                 const Array<CIMInstance>& systems, std::map<std::string, std::string>& choice) {
    for (Uint32 i = 0; i < systems.size(); i++) {
        const std::string name = text(systems[i], "Name");
        const auto domain = known.domainOf.find(name);
        step.expect(domain != known.domainOf.end(), name + " is a system of the site");
        if (domain == known.domainOf.end() || known.points.size() == 1) {
            continue;
        }
        bool inDomain = false;
        for (const site::ControlPoint& point : domain->second->controlPoints) {
            inDomain = inDomain || point.uuid == uuid;
        }
        step.expect(inDomain,
                    fmt::format("{} is under a control point of {}", name, domain->second->name));
        const auto chosen = choice.emplace(domain->second->name, uuid).first;
        step.expect(chosen->second == uuid,
                    fmt::format("all systems of {} are under the same one", domain->second->name));
    }
}

Node nodeOf(const std::string& label, const Array<CIMInstance>& systems) {
    std::set<std::string> lines;  // the server promises no order
    for (Uint32 i = 0; i < systems.size(); i++) {
        lines.insert(
            fmt::format("{}  {}", text(systems[i], "Name"), text(systems[i], "ElementName")));
    }
    Node node{label, {}};
    for (const std::string& line : lines) {
        node.children.push_back(Node{line, {}});
    }
    return node;
}

}  // namespace

void showGroups(const Demo& demo) {
    demo.report.section("The systems by control point");
    Array<CIMInstance> systems;
    demo.report.step("enumerate", "QORP_ComputerSystem and its subclasses", [&](Step& step) {
        systems = step.ask([&] {
            return demo.client.enumerateInstances(site::cimNamespace(), "QORP_ComputerSystem");
        });
        return count(systems.size(), "system");
    });

    std::list<Node> shown;
    demo.report.step("groupByHCP", count(systems.size(), "system"), [&](Step& step) {
        CIMOMHandle cimom;
        Array<Array<CIMInstance>> groups;
        Array<CIMInstance> ungrouped;
        const Array<CIMInstance> points = step.ask([&] {
            return velmar_remote::groupByHCP(cimom, OperationContext(), systems, groups, ungrouped);
        });

        const Inventory known = inventory(demo.site);
        std::map<std::string, std::string> choice;
        size_t total = ungrouped.size();
        step.expect(points.size() == groups.size(), "a control point for each group");
        for (Uint32 k = 0; k < points.size() && k < groups.size(); k++) {
            const std::string uuid = text(points[k], "UUID");
            const std::string address = text(points[k], "NetworkAddress");
            const auto point = known.points.find(uuid);
            const bool isKnown = point != known.points.end();
            step.expect(isKnown && point->second->networkAddress == address,
                        fmt::format("{} is the address of control point {}", address, uuid));
            expectGroup(step, known, uuid, groups[k], choice);
            total += groups[k].size();
            shown.push_back(nodeOf(
                fmt::format("{} at {}", isKnown ? point->second->name : uuid, address), groups[k]));
        }
        for (Uint32 i = 0; i < ungrouped.size(); i++) {
            const auto domain = known.domainOf.find(text(ungrouped[i], "Name"));
            step.expect(domain == known.domainOf.end() || domain->second->controlPoints.empty(),
                        text(ungrouped[i], "Name") + " has a control point");
        }
        step.expect(total == known.domainOf.size(), "every system of the site once");
        if (ungrouped.size() > 0) {
            shown.push_back(nodeOf("without control point", ungrouped));
        }
        return fmt::format("{}, {} without control point", count(groups.size(), "group"),
                           ungrouped.size());
    });
    demo.report.tree(shown);
}

}  // namespace demo
