// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// An embedded server with the model that alerts are enriched from (systems, partitions, domains,
// control points, packages, and sensors, which are no systems) and an alert class T_Alert.
#ifndef VELMAR_TESTS_SUPPORT_ALERTSITE_H
#define VELMAR_TESTS_SUPPORT_ALERTSITE_H

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <velmar_embedded/schema/Repository.h>
#include "Common/IndicationMethodProvider.h"
#include "Common/Util.h"
#include "support/LinkServer.h"

namespace support {

const char ALERT_MOF[] = R"(
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
class CIM_ManagedElement { };
class QORP_ComputerSystem : CIM_ManagedElement { [Key] string Name; };
class QORP_CEC_CS : QORP_ComputerSystem { };
class QORP_LPAR_CS : QORP_ComputerSystem { string LPARID; };
class T_VIOS : QORP_LPAR_CS { };
class QOR_MAPAdminDomain : CIM_ManagedElement { [Key] string Name; };
class QOR_HWCtrlPoint : CIM_ManagedElement { [Key] string UUID; };
class QOR_PhysicalPackage : CIM_ManagedElement {
    [Key] string Tag; string VendorEquipmentType; string Model; string SerialNumber; };
class T_Sensor : CIM_ManagedElement { [Key] string UUID; };
[Association] class QOR_SystemComponent {
    [Key] QOR_MAPAdminDomain REF GroupComponent; [Key] CIM_ManagedElement REF PartComponent; };
[Association] class QOR_HostedDependency {
    [Key] QORP_CEC_CS REF Antecedent; [Key] QORP_LPAR_CS REF Dependent; };
[Association] class QOR_ComputerSystemPackage {
    [Key] QOR_PhysicalPackage REF Antecedent; [Key] QORP_ComputerSystem REF Dependent; };
class CIM_Indication {
    string IndicationIdentifier; string CorrelatedIndications[]; datetime IndicationTime; };
class CIM_AlertIndication : CIM_Indication {
    string Description; string AlertingManagedElement; uint16 AlertingElementFormat;
    string OtherAlertingElementFormat; uint16 AlertType; string OtherAlertType;
    uint16 PerceivedSeverity; string OtherSeverity; uint16 ProbableCause;
    string ProbableCauseDescription; uint16 Trending; string RecommendedActions[]; string EventID;
    datetime EventTime; string SystemCreationClassName; string SystemName; string ProviderName; };
class T_Alert : CIM_AlertIndication {
    string SenderUUID; string UUID; string Type; string Model; string SerialNumber; string LPARID;
    string UniqueSystemID; sint32 send(string AlertingManagedElement); };
)";

class AlertSite {
    typedef Pegasus::CIMInstance CIMInstance;
    typedef velmar_embedded::ProviderType Type;

 public:
    velmar_embedded::Server server;

    /// With `stored` the server holds the model, else the library's cached providers do. Takes over
    /// the alert provider. Start the server when everything is there.
    AlertSite(velmar_remote::IndicationMethodProvider* alerts, bool stored) : _stored(stored) {
        server.compileMofText(NAMESPACE, ALERT_MOF);
        server.registerProvider("Alerts", alerts,
                                {{"T_Alert", {NAMESPACE}, {Type::Indication, Type::Method}, {}}});
        if (stored) {
            return;
        }
        for (const char* name : {"QORP_CEC_CS", "QORP_LPAR_CS", "T_VIOS", "QOR_MAPAdminDomain",
                                 "QOR_HWCtrlPoint", "QOR_PhysicalPackage", "T_Sensor"}) {
            serve(name, new Things(name), {Type::Instance});
        }
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

    void element(const std::string& objectPath,
                 const std::vector<std::pair<const char*, const char*>>& properties = {}) {
        CIMInstance instance = instanceAt(full(objectPath));
        const Pegasus::CIMKeyBinding key = instance.getPath().getKeyBindings()[0];
        add(instance, text(key.getName()).c_str(), Pegasus::CIMValue(key.getValue()));
        for (const auto& p : properties) {
            add(instance, p.first, p.second);
        }
        keep(instance);
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
    void keep(const CIMInstance& instance) {
        if (_stored) {
            server.repository().createInstance(Pegasus::CIMNamespaceName(NAMESPACE), instance);
        } else {
            _insert.at(text(instance.getClassName()))(instance);
        }
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
        keep(instance);
    }

    const bool _stored;
    std::map<std::string, std::function<void(const CIMInstance&)>> _insert;
};

/// Raises an alert about an element, as providers do.
inline void raise(const std::string& element) {
    Pegasus::CIMOMHandle unused;
    Pegasus::Array<Pegasus::CIMParamValue> parameters;
    velmar_remote::sendIndication(unused, Pegasus::OperationContext(), path(element), "T_Alert",
                                  parameters);
}

}  // namespace support

#endif
