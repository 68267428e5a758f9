// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A LinkServer with admin domains, their hardware control points and the systems in them.
#ifndef VELMAR_TESTS_SUPPORT_COMPONENTSERVER_H
#define VELMAR_TESTS_SUPPORT_COMPONENTSERVER_H

#include <string>

#include "support/LinkServer.h"

namespace support {

class ComponentServer : public LinkServer {
 public:
    ComponentServer()
        : points(new Things("QOR_HWCtrlPoint")),
          components(new Links("QOR_SystemComponent", "GroupComponent", "QOR_MAPAdminDomain",
                               "PartComponent", "T_Thing")) {
        using velmar_embedded::ProviderType;
        server.compileMofText(NAMESPACE, R"(
            class QOR_HWCtrlPoint : T_Thing { string NetworkAddress; string Extra; };
            class QOR_MAPAdminDomain : T_Thing { };
            class T_System : T_Thing { };
            [Association] class QOR_SystemComponent {
                [Key] T_Thing REF GroupComponent; [Key] T_Thing REF PartComponent; };)");
        server.registerProvider("Points", points,
                                {{"QOR_HWCtrlPoint", {NAMESPACE}, {ProviderType::Instance}, {}}});
        server.registerProvider("Components", components,
                                {{"QOR_SystemComponent",
                                  {NAMESPACE},
                                  {ProviderType::Instance, ProviderType::Association},
                                  {}}});
        Client().enumerateInstances(NAMESPACE, "T_Link");  // loads the provider: cimom() is ready
        forget();
    }

    Pegasus::CIMOMHandle& cimom() { return links->_cimom; }

    /// A control point with the network address 10.0.0.<name>, in the domain if one is named.
    void addPoint(const std::string& name, const std::string& domain = "") {
        Pegasus::CIMInstance point = makeThing(name, "QOR_HWCtrlPoint");
        add(point, "NetworkAddress", ("10.0.0." + name).c_str());
        points->_cache.insert(point);
        if (!domain.empty()) {
            component(domain, name, "QOR_HWCtrlPoint");
        }
    }
    /// Appends a system to `systems`, in the domain if one is named.
    void addSystem(const std::string& name, const std::string& domain = "") {
        systems.append(makeThing(name, "T_System"));
        if (!domain.empty()) {
            component(domain, name, "T_System");
        }
    }
    void component(const std::string& domain, const std::string& part, const char* partClass) {
        Pegasus::Array<Pegasus::CIMKeyBinding> keys;
        keys.append(Pegasus::CIMKeyBinding(
            "GroupComponent", Pegasus::CIMValue(path(full(thing(domain, "QOR_MAPAdminDomain"))))));
        keys.append(Pegasus::CIMKeyBinding("PartComponent",
                                           Pegasus::CIMValue(path(full(thing(part, partClass))))));
        Pegasus::CIMInstance link(Pegasus::CIMName("QOR_SystemComponent"));
        link.setPath(Pegasus::CIMObjectPath("", NAMESPACE, "QOR_SystemComponent", keys));
        components->_cache.insert(link);
    }

    Things* points;     ///< the server's
    Links* components;  ///< the server's
    Pegasus::Array<Pegasus::CIMInstance> systems;
};

}  // namespace support

#endif
