// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What velmar check finds out about providers over the wire, against what their server sees.
#include "check/Deployed.h"

#include <gtest/gtest.h>
#include <velmar_wire/WireServer.h>

#include <set>

#include "check/Driver.h"
#include "support/ScriptedServer.h"

using namespace support;
using velmar_checks::Finding;

namespace {

const CIMNamespaceName interop("root/PG_InterOp");

class OverHttp : public velmar_driver::Access {
 public:
    explicit OverHttp(uint16_t port) : _port(port) {}
    void connect(CIMClient& client) override {
        client.connect("127.0.0.1", _port, String(), String());
    }
    bool hearsAlerts() const override { return false; }
    std::string subscribe(const velmar_driver::RegisteredClass&) override { return ""; }
    void unsubscribe(const std::string&) override {}
    void drain(bool) override {}

 private:
    const uint16_t _port;
};

// Providers that are registered by instances, too, as a real server has them.
class Providers : public ScriptedServer {
 protected:
    Scripted* serve(const std::string& name, const std::string& className,
                    const std::vector<ProviderType>& types) {
        declareProvider(name, className, types);
        return provide(name, {className}, types);
    }
    void declareProvider(const std::string& name, const std::string& className,
                         const std::vector<ProviderType>& types) {
        declare("PG_Provider", {{"ProviderModuleName", "M"}, {"Name", name}});
        CIMInstance one = instance("PG_ProviderCapabilities", {{"ProviderModuleName", "M"},
                                                               {"ProviderName", name},
                                                               {"CapabilityID", name},
                                                               {"ClassName", className}});
        add(one, "Namespaces", CIMValue(Array<String>(1, String("root/test"))));
        Array<Uint16> numbers;
        for (const ProviderType type : types) {
            numbers.append(Uint16(type));
        }
        add(one, "ProviderType", CIMValue(numbers));
        server.repository().createInstance(interop, one);
    }
    void declare(const char* className,
                 const std::vector<std::pair<const char*, std::string>>& values) {
        server.repository().createInstance(interop, instance(className, values));
    }
    static CIMInstance instance(const char* className,
                                const std::vector<std::pair<const char*, std::string>>& values) {
        CIMInstance one{CIMName(className)};
        for (const auto& [name, value] : values) {
            add(one, name, CIMValue(String(value.c_str())));
        }
        return one;
    }
    // Without those that need to see handlers and objects.
    static std::set<std::string> said(const std::vector<Finding>& findings) {
        std::set<std::string> result;
        for (const Finding& one : findings) {
            const std::string group = one.id.substr(0, one.id.find('.'));
            if (group != "protocol" && group != "sharing" && group != "loading") {
                result.insert(one.id + " " + one.className + " " + one.element + ": " + one.text);
            }
        }
        return result;
    }
    static bool has(const std::set<std::string>& said, const std::string& id) {
        const auto found = said.lower_bound(id + " ");
        return found != said.end() && found->rfind(id + " ", 0) == 0;
    }
};

TEST_F(Providers, AreJudgedFromOutsideAsFromInside) {
    const std::vector<ProviderType> all = {ProviderType::Instance, ProviderType::Association,
                                           ProviderType::Method};
    Scripted* const a = serve("A", "T_A", {ProviderType::Instance, ProviderType::Method});
    Scripted* const b = serve("B", "T_B", {ProviderType::Instance});
    Scripted* const link = serve("Link", "T_Link", all);
    serve("Unknown", "T_Non", {ProviderType::Instance});
    serve("NoAssociation", "T_Far", all);
    declare("PG_ProviderModule", {{"Name", "M"}, {"Location", "M"}});
    a->enumerate = [](const Call&, auto& handler) {
        CIMInstance one = item(A1);
        add(one, "Speed", CIMValue(Uint32(1)));
        handler.deliver(one);
        CIMInstance other = item("T_A.k=\"2\"");
        other.removeProperty(other.findProperty(CIMName("n")));
        add(other, "n", CIMValue(String("two")));
        handler.deliver(other);
        handler.deliver(item("T_Far.k=\"no subclass\""));
    };
    b->enumerate = [](const Call&, auto& handler) {
        handler.deliver(item(B1));
        handler.deliver(item(B1));
        CIMInstance one = item("T_B.k=\"2\"");
        one.removeProperty(one.findProperty(CIMName("k")));
        handler.deliver(one);
    };
    for (Scripted* const one : {a, b}) {
        one->names = [one](const Call& call, auto& handler) {
            handler.deliver(path(one == nullptr || call.path.getClassName() == CIMName("T_A")
                                     ? A1
                                     : "T_B.K2=\"2\""));
        };
    }
    a->invoke = [](const Call&, auto& handler) {
        handler.deliver(CIMValue(String("done")));
        handler.deliverParamValue(CIMParamValue("Smal", CIMValue(Uint8(1))));
    };
    const auto linkTo = [](const std::string& near) {
        CIMInstance one(CIMName("T_Link"));
        add(one, "Near", CIMValue(path(near)));
        add(one, "Far", CIMValue(path(full(FAR1))));
        one.setPath(CIMObjectPath(
            String(), CIMNamespaceName(), CIMName("T_Link"),
            Array<CIMKeyBinding>(1, CIMKeyBinding(CIMName("Near"), CIMValue(path(near))))));
        return one;
    };
    link->enumerate = [&](const Call&, auto& handler) {
        handler.deliver(linkTo(A1));
        handler.deliver(linkTo("//elsewhere/root/test:" + A1));
    };
    link->linkPaths = [&](const Call& call, auto& handler) {
        if (call.role.size() > 0) {
            throw CIMException(CIM_ERR_INVALID_PARAMETER);
        }
        handler.deliver(call.operation == velmar_embedded::Operation::AssociatorNames
                            ? path(full("T_Link.x=\"1\""))
                            : path("//elsewhere/root/test:T_Link.x=\"1\""));
    };
    server.repository().createInstance(ns, item("T_C.k=\"stored\""));  // T_D has none
    start();
    const velmar_wire::WireServer wire(server);
    OverHttp access(wire.port());
    CIMClient reader;
    access.connect(reader);
    velmar_driver::Deployed deployed(reader, interop, ns);
    EXPECT_EQ(deployed.classes().size(), 5u);
    EXPECT_TRUE(deployed.notes().empty());
    deployed.checkRegistrations();
    velmar_driver::DriveOptions options;
    options.call = true;
    options.tries = 2;
    velmar_checks::Findings driven;
    {
        const velmar_driver::WatchedConnector watching(deployed);
        velmar_driver::drive(access, deployed.classes(), options, driven);
    }
    const std::set<std::string> inside = said(server.findings());
    EXPECT_EQ(said(deployed.findings()), inside);
    for (const char* const id :
         {"registration.unknown-class", "registration.not-an-association",
          "registration.unserved-subclass", "instance.undeclared-property",
          "instance.property-type", "instance.class", "instance.duplicate-path",
          "instance.missing-key", "instance.path-missing-key", "association.end-place",
          "method.return-type"}) {
        EXPECT_TRUE(has(inside, id)) << id;
    }
    EXPECT_TRUE(has(said(driven.all()), "driver.names"));
    CIMInstance alert(CIMName("T_A"));
    deployed.checkAlert(alert);
    EXPECT_TRUE(has(said(deployed.findings()), "indication.not-an-indication"));
}

// A server has more registrations than those that are asked about, and odd ones.
TEST_F(Providers, OfOtherNamespacesAndWithoutClassAreToldApart) {
    serve("A", "T_A", {ProviderType::Instance});
    declareProvider("Odd", "no name", {});
    declare("PG_Provider", {{"ProviderModuleName", "M"}, {"Name", "Idle"}});
    declare("PG_Provider", {{"ProviderModuleName", "Other"}, {"Name", "Elsewhere"}});
    start();
    const velmar_wire::WireServer wire(server);
    OverHttp access(wire.port());
    CIMClient reader;
    access.connect(reader);
    velmar_driver::Deployed deployed(reader, interop, ns);
    deployed.checkRegistrations();
    ASSERT_EQ(deployed.classes().size(), 1u);
    EXPECT_EQ(deployed.notes().size(), 2u) << "no module names the host, and the odd one";
    std::string idle;
    for (const Finding& one : deployed.findings()) {
        idle += one.id == "registration.no-class" ? one.provider + " " : "";
    }
    EXPECT_EQ(idle, "Idle ");
}

}  // namespace
