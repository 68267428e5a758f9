// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A provider package as a user writes it (fans, the slots they are in, alerts about them), whose
// every part a test can spoil, and a client that uses all of it.
#ifndef VELMAR_TESTS_SUPPORT_FANPACKAGE_H
#define VELMAR_TESTS_SUPPORT_FANPACKAGE_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Common/IndicationMethodProvider.h"
#include "Common/Util.h"
#include "support/LinkServer.h"
#include "support/TestObserver.h"

namespace support {

using namespace Pegasus;
using velmar_embedded::Capabilities;
using velmar_embedded::ProviderType;

const char FAN_MOF[] = R"(
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
Qualifier Indication : boolean = false, Scope(class, indication), Flavor(ToSubclass);
Qualifier Abstract : boolean = false, Scope(class), Flavor(Restricted);
Qualifier Out : boolean = false, Scope(parameter);
Qualifier Required : boolean = false, Scope(property, parameter, method);
Qualifier ValueMap : string[], Scope(property, parameter, method);
class ACME_Fan {
    [Key] string Name; string Model; uint32 Speed; datetime Since; string Tags[];
    [ValueMap {"2", "5..9", "100.."}] uint16 State;
    uint32 Spin([Required] uint16 Level, [Out] string Old);
};
class ACME_Slot { [Key] string Rack; [Key] string Position; };
[Association] class ACME_InSlot { [Key] ACME_Slot REF Slot; [Key] ACME_Fan REF Fan; };
class QORP_ComputerSystem { [Key] string Name; };
class QORP_LPAR_CS : QORP_ComputerSystem { };
[Indication, Abstract] class CIM_Indication { string IndicationIdentifier; };
[Indication] class CIM_AlertIndication : CIM_Indication {
    string AlertingManagedElement; uint16 PerceivedSeverity; };
[Indication] class ACME_FanAlert : CIM_AlertIndication {
    string Reason; sint32 send(string AlertingManagedElement); };
)";

inline CIMObjectPath fanPath(const std::string& name) {
    return path(full("ACME_Fan.Name=\"" + name + "\""));
}
inline CIMObjectPath slotPath(const std::string& position) {
    return path(full("ACME_Slot.Position=\"" + position + "\",Rack=\"r\""));
}
inline CIMInstance fan(const std::string& name) {
    CIMInstance instance = instanceAt(text(fanPath(name)));
    add(instance, "Name", name.c_str());
    add(instance, "Model", "M");
    add(instance, "Speed", CIMValue(Uint32(1200)));
    add(instance, "State", CIMValue(Uint16(7)));
    return instance;
}
inline CIMInstance inSlot(const CIMObjectPath& slot, const CIMObjectPath& inIt) {
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding("Slot", CIMValue(slot)));
    keys.append(CIMKeyBinding("Fan", CIMValue(inIt)));
    CIMInstance link(CIMName("ACME_InSlot"));
    link.setPath(CIMObjectPath("", NAMESPACE, "ACME_InSlot", keys));
    add(link, "Slot", CIMValue(slot));
    add(link, "Fan", CIMValue(inIt));
    return link;
}
/// Replaces a property, or adds it.
inline void put(CIMInstance& instance, const char* name, const CIMValue& value) {
    velmar_remote::replaceProp(instance, CIMName(name), value);
}

/// What a test may spoil before it uses the package.
struct FanPackage {
    typedef std::function<void(const CIMObjectPath&, InstanceResponseHandler&)> Get;

    std::string schema = FAN_MOF;
    std::vector<Capabilities> fanTypes{
        {"ACME_Fan", {NAMESPACE}, {ProviderType::Instance, ProviderType::Method}, {}}};
    std::vector<Capabilities> linkTypes{
        {"ACME_InSlot", {NAMESPACE}, {ProviderType::Instance, ProviderType::Association}, {}}};
    std::vector<Capabilities> alertTypes{
        {"ACME_FanAlert", {NAMESPACE}, {ProviderType::Indication, ProviderType::Method}, {"send"}}};
    std::string fanClass = "ACME_Fan", alertClass = "ACME_FanAlert", leftProperty = "Slot";
    std::vector<CIMInstance> fans{fan("front"), fan("rear")};
    std::vector<CIMInstance> links{inSlot(slotPath("1"), fanPath("front"))};
    bool callsBase = true;
    std::function<void()> onInitialize = [] {}, onTerminate = [] {};
    std::function<void(CIMInstance&)> onFill = [](CIMInstance&) {};
    Get onGet;
    std::function<void(ObjectPathResponseHandler&)> onNames, onFarNames;
    std::function<CIMValue(Array<CIMParamValue>&)> onSpin = [](Array<CIMParamValue>& out) {
        out.append(CIMParamValue("Old", CIMValue(String("slow"))));
        return CIMValue(Uint32(0));
    };
    std::function<void(CIMInstance&)> onAlert = [](CIMInstance&) {};
    std::vector<CIMParamValue> spin{CIMParamValue("Level", CIMValue(Uint16(1)))};
    std::string method = "Spin";
    CIMInstance created = fan("new");
    std::string furtherMof;  ///< compiled when the server runs
    velmar_embedded::ServerOptions options;
    std::function<void(velmar_embedded::Server&)> further = [](velmar_embedded::Server&) {};

    /// Uses everything there is, whatever fails; gives the findings.
    std::vector<velmar_checks::Finding> use();
};

class FanProvider : public velmar_remote::InstanceMethodProvider {
 public:
    explicit FanProvider(const FanPackage& package)
        : InstanceMethodProvider(package.fanClass.c_str()), _package(package) {}
    void initialize(CIMOMHandle& cimom) override {
        if (_package.callsBase) {
            InstanceMethodProvider::initialize(cimom);
        }
        _package.onInitialize();
        for (const CIMInstance& one : _package.fans) {
            _cache.insert(one.clone());
        }
    }
    void terminate() override {
        const std::function<void()> then = _package.onTerminate;
        InstanceMethodProvider::terminate();
        then();
    }
    void getInstance(const OperationContext& context, const CIMObjectPath& reference,
                     const Boolean qualifiers, const Boolean origin, const CIMPropertyList& list,
                     InstanceResponseHandler& handler) override {
        if (_package.onGet) {
            return _package.onGet(reference, handler);
        }
        InstanceMethodProvider::getInstance(context, reference, qualifiers, origin, list, handler);
    }
    void enumerateInstanceNames(const OperationContext& context, const CIMObjectPath& reference,
                                ObjectPathResponseHandler& handler) override {
        if (_package.onNames) {
            return _package.onNames(handler);
        }
        InstanceMethodProvider::enumerateInstanceNames(context, reference, handler);
    }
    using InstanceMethodProvider::fillProperties;

 protected:
    void fillProperties(const OperationContext&, Array<CIMInstance>& instances,
                        const CIMPropertyList&) override {
        for (Uint32 i = 0; i < instances.size(); i++) {
            _package.onFill(instances[i]);
        }
    }
    CIMValue callMethod(const OperationContext&, const CIMInstance&, const CIMName&,
                        const Array<CIMParamValue>&, Array<CIMParamValue>& out) override {
        return _package.onSpin(out);
    }

 private:
    const FanPackage& _package;
};

class SlotProvider : public velmar_remote::InstanceAssociationProvider {
 public:
    explicit SlotProvider(const FanPackage& package)
        : InstanceAssociationProvider("ACME_InSlot", package.leftProperty.c_str(), "ACME_Slot",
                                      "Fan", "ACME_Fan"),
          _package(package) {}
    void initialize(CIMOMHandle& cimom) override {
        InstanceAssociationProvider::initialize(cimom);
        for (const CIMInstance& one : _package.links) {
            _cache.insert(one.clone());
        }
    }
    void associatorNames(const OperationContext& context, const CIMObjectPath& objectName,
                         const CIMName& association, const CIMName& resultClass, const String& role,
                         const String& resultRole, ObjectPathResponseHandler& handler) override {
        if (_package.onFarNames) {
            return _package.onFarNames(handler);
        }
        InstanceAssociationProvider::associatorNames(context, objectName, association, resultClass,
                                                     role, resultRole, handler);
    }

 private:
    const FanPackage& _package;
};

class FanAlerts : public velmar_remote::IndicationMethodProvider {
 public:
    explicit FanAlerts(const FanPackage& package)
        : IndicationMethodProvider(package.alertClass.c_str(), nullptr), _package(package) {}

 protected:
    Boolean generateIndication(const OperationContext& context, CIMInstance& alert,
                               const Array<CIMParamValue>& in) override {
        IndicationMethodProvider::generateIndication(context, alert, in);
        _package.onAlert(alert);
        return true;
    }

 private:
    const FanPackage& _package;
};

inline std::vector<velmar_checks::Finding> FanPackage::use() {
    const auto quietly = [](const std::function<void()>& call) {
        try {
            call();
        } catch (...) {
        }
    };
    std::vector<std::string> told;
    TestObserver observer;
    observer.finding = [&](const velmar_checks::Finding& one) { told.push_back(one.id); };
    velmar_embedded::Server server(observer.with(options));
    server.compileMofText(NAMESPACE, schema);
    server.registerProvider(
        "Fans", [this] { return new FanProvider(*this); }, fanTypes);
    server.registerProvider(
        "Slots", [this] { return new SlotProvider(*this); }, linkTypes);
    server.registerProvider(
        "Alerts", [this] { return new FanAlerts(*this); }, alertTypes);
    further(server);
    server.start();
    Client client;
    const CIMNamespaceName ns(NAMESPACE);
    quietly([&] { server.compileMofText(NAMESPACE, furtherMof); });
    for (int i = 0; i < 2; i++) {
        quietly([&] { client.enumerateInstances(ns, "ACME_Fan"); });
        quietly([&] { client.enumerateInstanceNames(ns, "ACME_Fan"); });
        quietly([&] { client.getInstance(ns, fanPath("front")); });
    }
    quietly([&] { client.enumerateInstances(ns, "ACME_InSlot"); });
    quietly([&] { client.enumerateInstances(ns, "ACME_Slot"); });
    quietly([&] { client.enumerateInstanceNames(ns, "ACME_InSlot"); });
    quietly([&] { client.references(ns, fanPath("front")); });
    quietly([&] { client.associatorNames(ns, fanPath("front")); });
    quietly([&] { client.associators(ns, slotPath("1")); });
    quietly([&] { client.referenceNames(ns, slotPath("1"), CIMName(), "Slot"); });
    quietly([&] {
        Array<CIMParamValue> in, out;
        for (const CIMParamValue& one : spin) {
            in.append(one);
        }
        client.invokeMethod(ns, fanPath("front"), method.c_str(), in, out);
        client.invokeMethod(ns, fanPath("absent"), method.c_str(), in, out);
    });
    quietly([&] { client.createInstance(ns, created); });
    std::string id;
    quietly(
        [&] { id = server.subscribe("SELECT * FROM ACME_FanAlert", {NAMESPACE}, [](auto&) {}); });
    quietly([&] {
        CIMOMHandle unused;
        Array<CIMParamValue> parameters;
        velmar_remote::sendIndication(unused, OperationContext(), fanPath("front"), "ACME_FanAlert",
                                      parameters);
    });
    quietly([&] { server.unsubscribe(id); });
    server.stop();
    return server.findings();
}

}  // namespace support

#endif
