// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMObject.h>
#include <fmt/core.h>

#include <algorithm>
#include <utility>

#include "Sections.h"
#include "site/SiteModel.h"

using namespace Pegasus;

namespace demo {

namespace {

// The same words for what the inventory says and for what the server answers.
std::string pointLabel(const std::string& name, const std::string& address) {
    return fmt::format("control point {} ({})", name, address);
}
std::string systemLabel(const std::string& name, const std::string& firmware) {
    return fmt::format("hosting system {}, firmware {}", name, firmware);
}
std::string packageLabel(const std::string& tag, const std::string& type, const std::string& model,
                         const std::string& serial) {
    return fmt::format("package \"{}\": type {}, model {}, serial {}", tag, type, model, serial);
}
std::string partitionLabel(const std::string& id, const std::string& name,
                           const std::string& state) {
    return fmt::format("partition {} \"{}\", {}", id, name, state);
}

std::string pointOf(const CIMInstance& i) {
    return pointLabel(text(i, "ElementName"), text(i, "NetworkAddress"));
}
std::string systemOf(const CIMInstance& i) {
    return systemLabel(text(i, "Name"), text(i, "FirmwareLevel"));
}
std::string packageOf(const CIMInstance& i) {
    return packageLabel(text(i, "Tag"), text(i, "VendorEquipmentType"), text(i, "Model"),
                        text(i, "SerialNumber"));
}
std::string partitionOf(const CIMInstance& i) {
    return partitionLabel(text(i, "LPARID"), text(i, "ElementName"), stateOf(i));
}

std::list<Node> expectedTree(const site::Site& site) {
    std::list<Node> result;
    for (const site::Domain& domain : site.domains) {
        Node domainNode{domain.name, {}};
        for (const site::ControlPoint& point : domain.controlPoints) {
            domainNode.children.push_back(Node{pointLabel(point.name, point.networkAddress), {}});
        }
        for (const site::HostingSystem& system : domain.systems) {
            Node node{systemLabel(site::systemName(system), system.firmware), {}};
            node.children.push_back(Node{
                packageLabel(system.packageTag, system.type, system.model, system.serial), {}});
            for (const site::Partition& partition : system.partitions) {
                node.children.push_back(Node{partitionLabel(std::to_string(partition.id),
                                                            partition.name, partition.state->name),
                                             {}});
            }
            domainNode.children.push_back(node);
        }
        result.push_back(domainNode);
    }
    return result;
}

// Brings `found` into the order of the inventory (the server promises none) and notes what is
// missing and what is too much.
void compare(Step& step, std::list<Node>& found, const std::list<Node>& expected,
             const std::string& where) {
    std::list<Node> ordered;
    for (const Node& wanted : expected) {
        const auto node = std::find_if(found.begin(), found.end(),
                                       [&](const Node& n) { return n.label == wanted.label; });
        step.expect(node != found.end(), fmt::format("{} in {}", wanted.label, where));
        if (node != found.end()) {
            compare(step, node->children, wanted.children, wanted.label);
            ordered.splice(ordered.end(), found, node);
        }
    }
    for (const Node& extra : found) {
        step.expect(false, fmt::format("nothing else in {}, such as {}", where, extra.label));
    }
    ordered.splice(ordered.end(), found);
    found.swap(ordered);
}

// An element that was found, and its place in the tree.
typedef std::vector<std::pair<CIMObjectPath, Node*>> Elements;

struct Hop {
    const char* association;
    const char* resultClass;
    const char* role;
    const char* resultRole;
};

// Goes from each element to its associated ones and hangs them below it.
Elements follow(const Demo& demo, Step& step, const Elements& from, const Hop& hop,
                std::string (*label)(const CIMInstance&)) {
    Elements result;
    for (const auto& [path, node] : from) {
        const Array<CIMObject> objects = step.ask([&, &path = path] {
            return demo.client.associators(site::cimNamespace(), path, hop.association,
                                           hop.resultClass, hop.role, hop.resultRole);
        });
        for (Uint32 i = 0; i < objects.size(); i++) {
            const CIMInstance instance(objects[i]);
            node->children.push_back(Node{label(instance), {}});
            result.emplace_back(instance.getPath(), &node->children.back());
        }
    }
    return result;
}

}  // namespace

void showTree(const Demo& demo) {
    Report& report = demo.report;
    report.section("The associations: from the domains down to the partitions");

    std::list<Node> found;
    Elements domains;
    report.step("enumerate", site::DOMAIN_CLASS, [&](Step& step) {
        const Array<CIMInstance> instances = step.ask([&] {
            return demo.client.enumerateInstances(site::cimNamespace(), site::DOMAIN_CLASS);
        });
        for (Uint32 i = 0; i < instances.size(); i++) {
            found.push_back(Node{text(instances[i], "Name"), {}});
            domains.emplace_back(instances[i].getPath(), &found.back());
        }
        return count(found.size(), "domain");
    });

    const auto walk = [&](const char* request, const Elements& from, const Hop& hop,
                          const char* what, std::string (*label)(const CIMInstance&)) {
        Elements result;
        report.step("associators", request, [&](Step& step) {
            result = follow(demo, step, from, hop, label);
            return fmt::format("{} in {}", count(result.size(), what),
                               count(from.size(), "request"));
        });
        return result;
    };
    walk("domains → control points", domains,
         {site::COMPONENT, site::CONTROL_POINT, "GroupComponent", "PartComponent"}, "control point",
         pointOf);
    const Elements systems =
        walk("domains → hosting systems", domains,
             {site::COMPONENT, site::HOSTING_SYSTEM, "GroupComponent", "PartComponent"},
             "hosting system", systemOf);
    walk("hosting systems → packages", systems,
         {site::PACKAGING, site::PACKAGE, "Dependent", "Antecedent"}, "package", packageOf);
    walk("hosting systems → partitions", systems,
         {site::HOSTING, site::PARTITION, "Antecedent", "Dependent"}, "partition", partitionOf);

    report.step("associator names", "domains → partitions", [&](Step& step) {
        size_t names = 0;
        for (const auto& domain : domains) {
            names += step.ask([&] {
                             return demo.client.associatorNames(site::cimNamespace(), domain.first,
                                                                site::COMPONENT, site::PARTITION,
                                                                "GroupComponent", "PartComponent");
                         })
                         .size();
        }
        const size_t expected = partitionCount(demo.site);
        step.expect(names == expected, count(expected, "partition"));
        return fmt::format("{} in {}", count(names, "partition"), count(domains.size(), "request"));
    });
    report.step("compare", "all that was found", [&](Step& step) {
        compare(step, found, expectedTree(demo.site), "the site");
        return step.failed() ? "differs from the site file" : "is what the site file says";
    });
    report.tree(found);
}

}  // namespace demo
