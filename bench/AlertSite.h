// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// An embedded server with the classes of the example's site, served by the library's providers:
// what alerts are enriched from and systems are grouped by. Alerts are of the class QOR_SiteAlert.
// The build defines SITE_SCHEMA, the file of the classes.
#ifndef VELMAR_BENCH_ALERTSITE_H
#define VELMAR_BENCH_ALERTSITE_H

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Common/IndicationMethodProvider.h"
#include "Common/Util.h"
#include "support/LinkServer.h"

namespace support {

class AlertSite {
    typedef Pegasus::CIMInstance CIMInstance;
    typedef velmar_embedded::ProviderType Type;

 public:
    velmar_embedded::Server server;

    /// Takes over the alert provider. Start the server when everything is there.
    explicit AlertSite(velmar_remote::IndicationMethodProvider* alerts) {
        server.compileMof(NAMESPACE, SITE_SCHEMA);
        server.registerProvider(
            "Alerts", alerts,
            {{"QOR_SiteAlert", {NAMESPACE}, {Type::Indication, Type::Method}, {}}});
        for (const char* name :
             {"QORP_CEC_CS", "QORP_LPAR_CS", "QOR_HWCtrlPoint", "QOR_PhysicalPackage"}) {
            serve(name, new Things(name), {Type::Instance});
        }
        serve("QOR_MAPAdminDomain", _domains, {Type::Instance});
        const char* const links[][5] = {
            {"QOR_SystemComponent", "GroupComponent", "QOR_MAPAdminDomain", "PartComponent",
             "CIM_ManagedElement"},
            {"QOR_HostedDependency", "Antecedent", "QORP_CEC_CS", "Dependent", "QORP_LPAR_CS"},
            {"QOR_ComputerSystemPackage", "Antecedent", "QOR_PhysicalPackage", "Dependent",
             "QORP_ComputerSystem"}};
        for (const auto& l : links) {
            serve(l[0], new Links(l[0], l[1], l[2], l[3], l[4]),
                  {Type::Instance, Type::Association});
        }
    }
    ~AlertSite() { server.stop(); }

    /// The handle of one of the providers, which is loaded for that.
    Pegasus::CIMOMHandle& handle() {
        Client().enumerateInstanceNames(NAMESPACE, "QOR_MAPAdminDomain");
        return _domains->_cimom;
    }

    void element(const std::string& objectPath,
                 const std::vector<std::pair<const char*, const char*>>& properties = {}) {
        CIMInstance instance = instanceAt(full(objectPath));
        const Pegasus::CIMKeyBinding key = instance.getPath().getKeyBindings()[0];
        add(instance, text(key.getName()).c_str(), Pegasus::CIMValue(key.getValue()));
        for (const auto& p : properties) {
            add(instance, p.first, p.second);
        }
        _insert.at(text(instance.getClassName()))(instance);
    }
    void component(const std::string& domain, const std::string& part) {
        link("QOR_SystemComponent", "GroupComponent", domain, "PartComponent", part);
    }
    void host(const std::string& system, const std::string& partition) {
        link("QOR_HostedDependency", "Antecedent", system, "Dependent", partition);
    }
    void package(const std::string& box, const std::string& system) {
        link("QOR_ComputerSystemPackage", "Antecedent", box, "Dependent", system);
    }
    /// A partition on a hosting system in a package, all under one control point "cp-1".
    void addTypicalSystem() {
        element("QOR_MAPAdminDomain.Name=\"hall\"");
        element("QOR_HWCtrlPoint.UUID=\"cp-1\"");
        element("QORP_CEC_CS.Name=\"host\"");
        element("QORP_LPAR_CS.Name=\"part\"", {{"LPARID", "3"}});
        element("QOR_PhysicalPackage.Tag=\"box\"",
                {{"VendorEquipmentType", "9117"}, {"Model", "MMC"}, {"SerialNumber", "06B4"}});
        for (const char* part : {"QOR_HWCtrlPoint.UUID=\"cp-1\"", "QORP_CEC_CS.Name=\"host\"",
                                 "QORP_LPAR_CS.Name=\"part\""}) {
            component("QOR_MAPAdminDomain.Name=\"hall\"", part);
        }
        host("QORP_CEC_CS.Name=\"host\"", "QORP_LPAR_CS.Name=\"part\"");
        package("QOR_PhysicalPackage.Tag=\"box\"", "QORP_CEC_CS.Name=\"host\"");
    }

 private:
    template <class Provider>
    void serve(const char* name, Provider* provider, const std::vector<Type>& types) {
        _insert[name] = [provider](const CIMInstance& i) { provider->_cache.insert(i); };
        server.registerProvider(name, provider, {{name, {NAMESPACE}, types, {}}});
    }
    void link(const char* name, const char* leftRole, const std::string& left,
              const char* rightRole, const std::string& right) {
        CIMInstance instance{Pegasus::CIMName(name)};
        Pegasus::Array<Pegasus::CIMKeyBinding> keys;
        for (const auto& [role, end] : {std::pair(leftRole, left), std::pair(rightRole, right)}) {
            keys.append(Pegasus::CIMKeyBinding(role, Pegasus::CIMValue(path(full(end)))));
            add(instance, role, Pegasus::CIMValue(path(full(end))));
        }
        instance.setPath(Pegasus::CIMObjectPath("", NAMESPACE, name, keys));
        _insert.at(name)(instance);
    }

    Things* const _domains = new Things("QOR_MAPAdminDomain");  // the server's
    std::map<std::string, std::function<void(const CIMInstance&)>> _insert;
};

/// Raises an alert about an element, as providers do.
inline void raise(const std::string& element) {
    Pegasus::CIMOMHandle unused;
    Pegasus::Array<Pegasus::CIMParamValue> parameters;
    velmar_remote::sendIndication(unused, Pegasus::OperationContext(), path(element),
                                  "QOR_SiteAlert", parameters);
}

}  // namespace support

#endif
