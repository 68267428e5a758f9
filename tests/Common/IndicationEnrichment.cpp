// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What an alert is enriched with, and what is asked of the CIM server for it.
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <map>

#include "Common/IndicationMethodProvider.h"
#include "support/FakeServer.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;
using velmar_embedded::Operation;

namespace {

const char PARTITION[] = "//else/root/other:QORP_LPAR_CS.k=\"part\"";
const char HOST[] = "QORP_CEC_CS.k=\"host\"";
const char DOMAIN[] = "QOR_MAPAdminDomain.k=\"hall\"";
const char SENSOR[] = "T_Sensor.uuid=\"s-1\"";

class Alerts : public velmar_remote::IndicationMethodProvider {
 public:
    using IndicationMethodProvider::generateIndication;
    using IndicationMethodProvider::IndicationMethodProvider;
};

/// Systems on a host in a box, all under one control point cp-1. Of everything there is a second
/// one, which does not count.
class IndicationEnrichment : public ::testing::Test {
 protected:
    IndicationEnrichment() {
        server.classes = {{"QORP_ComputerSystem", ""},
                          {"QORP_LPAR_CS", "QORP_ComputerSystem"},
                          {"QORP_CEC_CS", "QORP_ComputerSystem"},
                          {"T_VIOS", "QORP_LPAR_CS"},
                          {"T_Sensor", ""}};
        add(box, "VendorEquipmentType", "9117");
        add(box, "Model", CIMValue(CIMTYPE_STRING, false));
        add(box, "SerialNumber", "06B4");
        add(system, "LPARID", "3");
        server.answer = [this](const Request& r, Answer& answer) {
            const bool isBox = r.path.getClassName() == CIMName("QOR_PhysicalPackage");
            answer.instances.append(isBox ? box : system);
            for (const char* end : associated[text(r.resultClass)]) {
                answer.paths.append(path(end));
            }
        };
        alerts.initialize(server.handle);
    }
    /// Sender, own UUID, type, model, serial number and partition number; or what was thrown.
    std::string enriched(const CIMValue& element,
                         const char* parameter = "AlertingManagedElement") {
        alert = CIMInstance("T_Alert");
        for (const auto& p : preset) {
            add(alert, p.first, p.second);
        }
        const Array<CIMParamValue> in(1, CIMParamValue(parameter, element));
        std::string all =
            outcome([&] { EXPECT_TRUE(alerts.generateIndication(callersContext(), alert, in)); });
        for (const char* name : {"SenderUUID", "UUID", "Type", "Model", "SerialNumber", "LPARID"}) {
            all += all.substr(0, 2) == "ok" ? " " + property(alert, name) : "";
        }
        return all;
    }
    std::string enriched(const char* element) { return enriched(CIMValue(String(element))); }

    FakeServer server;
    Alerts alerts{"T_Alert", nullptr};
    std::map<std::string, std::vector<const char*>> associated = {
        {"QOR_MAPAdminDomain", {DOMAIN, "QOR_MAPAdminDomain.k=\"annex\""}},
        {"QOR_HWCtrlPoint", {"QOR_HWCtrlPoint.UUID=\"cp-1\"", "QOR_HWCtrlPoint.UUID=\"cp-2\""}},
        {"QORP_CEC_CS", {HOST, "QORP_CEC_CS.k=\"second\""}},
        {"QOR_PhysicalPackage",
         {"QOR_PhysicalPackage.k=\"box\"", "QOR_PhysicalPackage.k=\"spare\""}}};
    CIMInstance box{"QOR_PhysicalPackage"}, system{"QORP_LPAR_CS"}, alert;
    std::vector<std::pair<const char*, CIMValue>> preset;
};

const char CLASSES[] =
    "enumerateClasses QORP_LPAR_CS qualifiers origins\ngetClass QORP_LPAR_CS qualifiers origins\n"
    "enumerateClasses QORP_ComputerSystem qualifiers origins\n"
    "getClass QORP_ComputerSystem qualifiers origins\n";

std::string senderOf(const std::string& system) {
    return "associatorNames " + system +
           " through QOR_SystemComponent to QOR_MAPAdminDomain from role PartComponent to role "
           "GroupComponent\nassociatorNames " +
           DOMAIN +
           " through QOR_SystemComponent to QOR_HWCtrlPoint from role GroupComponent to role "
           "PartComponent\n";
}
std::string hostOf(const std::string& system) {
    return "associatorNames " + system +
           " through QOR_HostedDependency to QORP_CEC_CS from role Dependent to role Antecedent\n";
}
std::string packageOf(const std::string& system) {
    return "associatorNames " + system +
           " through QOR_ComputerSystemPackage to QOR_PhysicalPackage from role Dependent to role "
           "Antecedent\n";
}
const char PACKAGE[] = "getInstance QOR_PhysicalPackage.k=\"box\"\n";
std::string numberOf(const std::string& system) { return "getInstance " + system + " {LPARID}\n"; }

TEST_F(IndicationEnrichment, UpcallsInOrder) {
    EXPECT_EQ(server.kept, 1);
    EXPECT_EQ(enriched(PARTITION), "ok cp-1 (none) 9117  06B4 3");
    EXPECT_EQ(server.taken(), CLASSES + senderOf(PARTITION) + hostOf(PARTITION) + packageOf(HOST) +
                                  PACKAGE + numberOf(PARTITION));
    EXPECT_EQ(propertyNames(alert),
              "AlertingManagedElement,SenderUUID,Type,Model,SerialNumber,LPARID");
    EXPECT_EQ(property(alert, "AlertingManagedElement"), PARTITION);
    EXPECT_EQ(alert.getProperty(0).getType(), CIMTYPE_REFERENCE);
    EXPECT_EQ(enriched(HOST), "ok cp-1 (none) 9117  06B4 3");
    EXPECT_EQ(server.taken(),
              CLASSES + senderOf(HOST) + packageOf(HOST) + PACKAGE + numberOf(HOST));
    EXPECT_EQ(enriched(SENSOR), "ok s-1 s-1 (none) (none) (none) (none)");
    EXPECT_EQ(server.taken(), CLASSES);
    EXPECT_EQ(enriched("T_Sensor.Tag=\"t\""), "ok   (none) (none) (none) (none)");
    // What is there already stays, and is not looked for; a package is, in case.
    for (const char* name : {"senderuuid", "Type", "Model", "SerialNumber", "lparid", "UUID"}) {
        preset.emplace_back(name, CIMValue(String("own")));
    }
    EXPECT_EQ(enriched(SENSOR), "ok own own own own own own");
    server.taken();
    EXPECT_EQ(enriched(HOST), "ok own own own own own own");
    EXPECT_EQ(server.taken(), CLASSES + packageOf(HOST) + PACKAGE);
    preset = {{"alertingmanagedelement", CIMValue(String("T_VIOS.k=1"))},
              {"Model", CIMValue(Uint8(1))}};
    associated["QORP_CEC_CS"].clear();  // the package is the partition's own, if there is one
    associated["QOR_PhysicalPackage"].clear();
    EXPECT_EQ(enriched(SENSOR), "ok cp-1 (none) (none) 1 (none) 3");
    EXPECT_EQ(server.taken(), CLASSES + senderOf("T_VIOS.k=1") + hostOf("T_VIOS.k=1") +
                                  packageOf("T_VIOS.k=1") + numberOf("T_VIOS.k=1"));
    EXPECT_EQ(alert.getProperty(0).getType(), CIMTYPE_STRING);
}

TEST_F(IndicationEnrichment, ValuesThatCount) {
    const struct {
        CIMInstance& of;
        const char* name;
        CIMValue value;
        const char *expected, *without;
    } cases[] = {
        {system, "LPARID", CIMValue(String()), "ok cp-1 (none) 9117  06B4 ",
         "ok cp-1 (none) 9117  06B4 0"},
        {system, "LPARID", CIMValue(CIMTYPE_STRING, false), "ok cp-1 (none) 9117  06B4 0",
         "ok cp-1 (none) 9117  06B4 0"},
        {system, "LPARID", CIMValue(Uint32(3)), "type mismatch", "ok cp-1 (none) 9117  06B4 0"},
        {box, "Model", CIMValue(Uint32(3)), "type mismatch", "type mismatch"},
    };
    for (const auto& c : cases) {
        velmar_remote::replaceProp(c.of, c.name, c.value);
        EXPECT_EQ(enriched(PARTITION), c.expected) << &c - cases;
        velmar_remote::deleteProp(c.of, c.name);
        EXPECT_EQ(enriched(PARTITION), c.without) << &c - cases;
    }
}

TEST_F(IndicationEnrichment, Failures) {
    EXPECT_EQ(enriched(CIMValue(path(PARTITION))), "type mismatch");
    EXPECT_EQ(enriched(CIMValue(String(PARTITION)), "alertingManagedElement"), "type mismatch");
    EXPECT_NE(enriched("no path").find("no path"), std::string::npos);
    associated.clear();  // no domain: its control point is asked for all the same
    server.taken();
    EXPECT_EQ(enriched(HOST), "type mismatch");
    EXPECT_NE(server.taken().find("associatorNames through QOR_SystemComponent to QOR_HWCtrlPoint"),
              std::string::npos);
    for (auto& known : server.classes) {
        known.second.clear();
    }
    for (const char* missing : {"QORP_ComputerSystem", "QORP_LPAR_CS"}) {
        server.classes.erase(server.classes.begin());
        EXPECT_EQ(enriched(SENSOR), std::string("6 ") + missing);
    }
}

}  // namespace
