// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the checks find in a package, one mistake at a time, and that they find nothing in one
// without.
#include <velmar_embedded/Server.h>

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

#include "checks/Rules.h"
#include "support/FanPackage.h"

using namespace support;
using velmar_checks::Finding;

namespace {

std::string lines(const std::vector<Finding>& findings) {
    std::string all;
    for (const Finding& one : findings) {
        all += toLine(one) + "\n";
    }
    return all;
}

void replace(std::string& text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    text.replace(at, from.size(), to);
}

struct Mistake {
    const char* name;
    std::function<void(FanPackage&)> make;
    const char* id;
    std::vector<const char*> words;  // that the sentence or its help must have
};

CIMObjectPath without(CIMObjectPath path, bool host, bool nameSpace) {
    if (host) {
        path.setHost(String());
    }
    if (nameSpace) {
        path.setNameSpace(CIMNamespaceName());
    }
    return path;
}

CIMInstance at(CIMInstance instance, const std::string& localPath) {
    instance.setPath(path(full(localPath)));
    return instance;
}

const ProviderType I = ProviderType::Instance, A = ProviderType::Association,
                   M = ProviderType::Method;

// A provider without the interfaces of its registration, and how to make it.
struct Bare : CIMProvider {
    void initialize(CIMOMHandle& cimom) override { cimom.disallowProviderUnload(); }
    void terminate() override { delete this; }
};

std::string moduleMof(const std::string& location, const std::string& provider) {
    return "instance of PG_ProviderModule { Name = \"Mod\"; Vendor = \"V\"; Version = \"1\"; "
           "InterfaceType = \"C++Default\"; InterfaceVersion = \"2\"; Location = \"" +
           location + "\"; }; instance of PG_Provider { ProviderModuleName = \"Mod\"; Name = \"" +
           provider +
           "\"; }; instance of PG_ProviderCapabilities { ProviderModuleName = \"Mod\"; "
           "ProviderName = \"" +
           provider +
           "\"; CapabilityID = \"c\"; ClassName = \"ACME_Fan\"; Namespaces = {\"root/"
           "velmar_remote\"}; ProviderType = {2}; };";
}

// The fans come from a library; `further` is told after the folder is known.
std::function<void(FanPackage&)> loadedFrom(const std::string& location,
                                            const std::string& provider) {
    return [=](FanPackage& p) {
        p.fanTypes.clear();
        p.further = [=](velmar_embedded::Server& server) {
            server.addProviderDirectory(TEST_MODULE_DIR);
            server.compileMofText("root/PG_InterOp", moduleMof(location, provider));
        };
    };
}

const std::vector<Mistake> mistakes{
    // Registrations and schema
    {"class misspelt",
     [](auto& p) { p.fanTypes[0].className = "ACME_Fun"; },
     "registration.unknown-class",
     {"\"Fans\"", "ACME_Fun", "did you mean ACME_Fan?"}},
    {"namespace wrong",
     [](auto& p) { p.fanTypes[0].nameSpaces = {"root/acme"}; },
     "registration.unknown-namespace",
     {"root/acme", "root/velmar_remote has it"}},
    {"association as instance only",
     [](auto& p) { p.linkTypes[0].types = {I}; },
     "registration.association-type",
     {"\"Slots\"", "3 (association)"}},
    {"association registered on its end",
     [](auto& p) {
         p.linkTypes.push_back({"ACME_Slot", {NAMESPACE}, {A}, {}});
     },
     "registration.not-an-association",
     {"ACME_Slot"}},
    {"alert as method only",
     [](auto& p) { p.alertTypes[0].types = {M}; },
     "registration.indication-type",
     {"\"Alerts\"", "{4, 5}"}},
    {"no qualifier Indication",
     [](auto& p) {
         replace(p.schema, "[Indication, Abstract] class CIM_Indication", "class CIM_Indication");
         replace(p.schema, "[Indication] class CIM_Alert", "class CIM_Alert");
         replace(p.schema, "[Indication] class ACME", "class ACME");
     },
     "registration.not-an-indication",
     {"ACME_FanAlert", "qualifier Indication"}},
    {"alert not below CIM_AlertIndication",
     [](auto& p) { replace(p.schema, "ACME_FanAlert : CIM_AlertI", "ACME_FanAlert : CIM_I"); },
     "registration.alert-superclass",
     {"Derive the class"}},
    {"SupportedMethods misspelt",
     [](auto& p) { p.alertTypes[0].supportedMethods = {"Sent"}; },
     "registration.unknown-method",
     {"Sent", "did you mean send?"}},
    {"method not registered",
     [](auto& p) { p.fanTypes[0].types = {I}; },
     "registration.unserved-method",
     {"\"Fans\"", "Spin", "5 (method)"}},
    {"methods without instances",
     [](auto& p) { p.fanTypes[0].types = {M}; },
     "registration.methods-alone",
     {"ACME_Fan", "2 (instance)"}},
    {"provider without a class",
     [](auto& p) {
         p.further = [](auto& server) {
             const std::string mof = moduleMof("TestModule", "Idle");
             server.compileMofText("root/PG_InterOp",
                                   mof.substr(0, mof.find("instance of PG_ProviderCapa")));
         };
     },
     "registration.no-class",
     {"\"Idle\"", "PG_ProviderCapabilities"}},
    {"subclass not registered",
     [](auto& p) { p.furtherMof = "class ACME_BigFan : ACME_Fan { };"; },
     "registration.unserved-subclass",
     {"ACME_BigFan", "only for its superclass ACME_Fan"}},
    {"one object for class and subclass",
     [](auto& p) {
         p.schema += "class ACME_BigFan : ACME_Fan { };";
         p.fanTypes.push_back({"ACME_BigFan", {NAMESPACE}, {I, M}, {}});
     },
     "registration.class-and-subclass",
     {"ACME_BigFan", "by the same provider"}},
    {"no key",
     [](auto& p) { replace(p.schema, "[Key] string Name; string M", "string Name; string M"); },
     "registration.keyless-class",
     {"ACME_Fan", "Key"}},
    {"reference to nothing",
     [](auto& p) { replace(p.schema, "ACME_Slot REF", "ACME_Slut REF"); },
     "registration.unknown-reference-class",
     {"ACME_InSlot", "ACME_Slut", "mean ACME_Slot?"}},
    {"one end",
     [](auto& p) { replace(p.schema, "[Key] ACME_Fan REF Fan;", "string Fan;"); },
     "registration.association-ends",
     {"with 1 reference"}},

    // Loading
    {"Location wrong",
     loadedFrom("NoSuchModule", "ModuleProvider"),
     "loading.module-not-found",
     {"libNoSuchModule.so", TEST_MODULE_DIR, "ModuleProvider"}},
    {"undefined symbol",
     loadedFrom("BrokenModule", "Fans"),
     "loading.module-not-loadable",
     {"\"Fans\"", "undefined symbol"}},
    {"extern C forgotten",
     loadedFrom("MangledModule", "Fans"),
     "loading.no-entry-point",
     {"\"Fans\"", "extern \"C\""}},
    {"name unknown to the module",
     loadedFrom("TestModule", "Pans"),
     "loading.unknown-provider",
     {"does not know the provider Pans"}},
    {"thread left behind",
     [](auto& p) {
         loadedFrom("TestModule", "Leaver")(p);
         p.options.stopPatience = std::chrono::milliseconds(20);
     },
     "loading.thread-left",
     {"libTestModule.so"}},
    {"constructor throws",
     [](auto& p) {
         p.further = [](auto& server) {
             server.registerProvider(
                 "Thrower", []() -> CIMProvider* { throw std::runtime_error("no hardware"); },
                 {{"ACME_Slot", {NAMESPACE}, {I}, {}}});
         };
     },
     "loading.not-created",
     {"\"Thrower\"", "std::runtime_error: no hardware"}},
    {"initialize throws",
     [](auto& p) { p.onInitialize = [] { throw CIMException(CIM_ERR_FAILED, "no bus"); }; },
     "loading.initialize-failed",
     {"\"Fans\"", "Pegasus::CIMException: no bus"}},
    {"terminate throws",
     [](auto& p) { p.onTerminate = [] { throw std::runtime_error("no end"); }; },
     "loading.terminate-failed",
     {"\"Fans\": terminate ended with std::runtime_error: no end"}},
    {"base initialize not called",
     [](auto& p) { p.callsBase = false; },
     "loading.may-be-unloaded",
     {"\"Fans\"", "base class's initialize first"}},
    {"no such interface",
     [](auto& p) {
         p.fanTypes.clear();
         p.further = [](auto& server) {
             server.registerProvider("Bare", new Bare, {{"ACME_Fan", {NAMESPACE}, {I}, {}}});
         };
     },
     "loading.interface",
     {"\"Bare\"", "2 (instance)", "not a CIMInstanceProvider"}},
    {"interface not registered",
     [](auto& p) { p.linkTypes[0].types = {A}; },
     "loading.unregistered-interface",
     {"\"Slots\"", "CIMInstanceProvider"}},

    // The order of a handler's calls
    {"no processing",
     [](auto& p) { p.onGet = [](auto&, auto& h) { h.deliver(fan("front")), h.complete(); }; },
     "protocol.no-processing",
     {"getInstance"}},
    {"processing twice",
     [](auto& p) {
         p.onGet = [](auto&, auto& h) {
             h.processing(), h.processing(), h.deliver(fan("front")), h.complete();
         };
     },
     "protocol.processing-again",
     {"getInstance"}},
    {"no complete",
     [](auto& p) { p.onGet = [](auto&, auto& h) { h.processing(), h.deliver(fan("front")); }; },
     "protocol.no-complete",
     {"\"Fans\", class ACME_Fan: getInstance"}},
    {"complete twice",
     [](auto& p) { p.onNames = [](auto& h) { h.processing(), h.complete(), h.complete(); }; },
     "protocol.complete-again",
     {"enumerateInstanceNames"}},
    {"delivery after complete",
     [](auto& p) {
         p.onNames = [](auto& h) { h.processing(), h.complete(), h.deliver(fanPath("front")); };
     },
     "protocol.delivery-after-complete",
     {"enumerateInstanceNames"}},
    {"two objects for one",
     [](auto& p) {
         p.onGet = [](auto&, auto& h) { h.processing(), h.deliver(fan("a")), h.deliver(fan("b")); };
     },
     "protocol.too-many",
     {"getInstance"}},
    {"none for one",
     [](auto& p) { p.onGet = [](auto&, auto& h) { h.processing(), h.complete(); }; },
     "protocol.too-few",
     {"getInstance"}},
    {"empty object",
     [](auto& p) { p.onGet = [](auto&, auto& h) { h.processing(), h.deliver(CIMInstance()); }; },
     "protocol.empty-delivery",
     {"getInstance"}},
    {"constructed with another class",
     [](auto& p) { p.fanClass = "ACME_Pan"; },
     "protocol.exception",
     {"invokeMethod of ", "TypeMismatchException", "class name given to InstanceMethodProvider"}},

    // Instances
    {"instance of an unknown class",
     [](auto& p) { p.fans.push_back(at(CIMInstance("ACME_Fann"), "ACME_Fann.Name=\"x\"")); },
     "instance.unknown-class",
     {"ACME_Fann", "did you mean ACME_Fan?"}},
    {"instance of another class",
     [](auto& p) { p.fans.push_back(instanceAt(text(slotPath("1")))); },
     "instance.class",
     {"ACME_Slot", "asked for ACME_Fan"}},
    {"property not declared",
     [](auto& p) { put(p.fans[0], "Speedd", CIMValue(Uint32(1))); },
     "instance.undeclared-property",
     {"Speedd", "did you mean Speed?"}},
    {"text that is a boolean",
     [](auto& p) { put(p.fans[0], "Model", CIMValue(Boolean(true))); },
     "instance.property-type",
     {"\"Fans\", class ACME_Fan: property Model is boolean TRUE, the class declares string",
      "CIMValue(\"text\") is a boolean: write CIMValue(String(\"text\"))"}},
    {"uint16 for uint32",
     [](auto& p) { put(p.fans[0], "Speed", CIMValue(Uint16(5))); },
     "instance.property-type",
     {"uint16 5", "declares uint32", "declares uint32"}},
    {"string for datetime",
     [](auto& p) { put(p.fans[0], "Since", CIMValue(String("x"))); },
     "instance.property-type",
     {"Since", "CIMDateTime"}},
    {"scalar for array",
     [](auto& p) { put(p.fans[0], "Tags", CIMValue(String("x"))); },
     "instance.property-type",
     {"Tags", "string[]", "Array<String>"}},
    {"array for scalar",
     [](auto& p) { put(p.fans[0], "Speed", CIMValue(Array<Uint32>())); },
     "instance.property-type",
     {"uint32[] of 0"}},
    {"value outside its map",
     [](auto& p) { put(p.fans[0], "State", CIMValue(Uint16(10))); },
     "instance.value-map",
     {"State is 10", "2, 5..9 and 100.."}},
    {"key property missing",
     [](auto& p) { p.fans[0].removeProperty(0); },
     "instance.missing-key",
     {"Name"}},
    {"key property null",
     [](auto& p) { put(p.fans[0], "Name", CIMValue(CIMTYPE_STRING, false)); },
     "instance.null-key",
     {"Name"}},
    {"path without keys",
     [](auto& p) { p.fans[0] = at(p.fans[0], "ACME_Fan"); },
     "instance.no-path",
     {"without the key Name", "Name"}},
    {"key missing",
     [](auto& p) { p.fans[0] = at(p.fans[0], "ACME_Fan.Nam=\"front\""); },
     "instance.path-missing-key",
     {"lacks the key Name"}},
    {"key misspelt",
     [](auto& p) { p.fans[0] = at(p.fans[0], "ACME_Fan.Nam=\"front\""); },
     "instance.path-unknown-key",
     {"key Nam,", "did you mean Name?"}},
    {"key twice",
     [](auto& p) { p.fans[0] = at(p.fans[0], "ACME_Fan.Name=\"front\",Name=\"front\""); },
     "instance.path-repeated-key",
     {"Name"}},
    {"key of another type",
     [](auto& p) { p.fans[0] = at(p.fans[0], "ACME_Fan.Name=TRUE"); },
     "instance.path-key-type",
     {"is boolean", "CIMValue(String(\"text\"))"}},
    {"keys that differ",
     [](auto& p) { p.fans[0] = at(p.fans[0], "ACME_Fan.Name=\"f\""); },
     "instance.keys-differ",
     {"\"f\"", "\"front\""}},
    {"namespace of a path",
     [](auto& p) {
         p.fans[0].setPath(
             path("//" + text(System::getHostName()) + "/root/acme:ACME_Fan.Name=\"front\""));
     },
     "instance.path-place",
     {"root/acme"}},
    {"same path twice",
     [](auto& p) {
         p.onNames = [](auto& h) {
             h.processing(), h.deliver(fanPath("a")), h.deliver(fanPath("a")), h.complete();
         };
     },
     "instance.duplicate-path",
     {"ACME_Fan.Name=\"a\""}},

    // Sharing
    {"edited on each request",
     [](auto& p) { p.onFill = [](CIMInstance& one) { put(one, "Speed", CIMValue(Uint32(1))); }; },
     "sharing.edited-after-delivery",
     {"\"Fans\", class ACME_Fan", "clone"}},
    {"edited before encoding",
     [](auto& p) {
         p.onGet = [](auto&, auto& h) {
             CIMInstance one = fan("front");
             h.processing(), h.deliver(one), put(one, "Speed", CIMValue(Uint32(1))), h.complete();
         };
     },
     "sharing.changed-before-encoding",
     {"property Speed", "clone"}},

    // Associations
    {"end null",
     [](auto& p) { put(p.links[0], "Slot", CIMValue(CIMTYPE_REFERENCE, false)); },
     "association.null-end",
     {"Slot"}},
    {"end of the wrong class",
     [](auto& p) { p.links[0] = inSlot(fanPath("front"), fanPath("front")); },
     "association.end-class",
     {"ACME_Slot REF", "end Slot"}},
    {"end without host and namespace",
     [](auto& p) { p.links[0] = inSlot(slotPath("1"), without(fanPath("front"), true, true)); },
     "association.end-place",
     {"end Fan", "lacks host and namespace"}},
    {"end with another host",
     [](auto& p) {
         CIMObjectPath end = fanPath("front");
         end.setHost("elsewhere");
         p.links[0] = inSlot(slotPath("1"), end);
     },
     "association.end-place",
     {"the host elsewhere"}},
    {"near end delivered",
     [](auto& p) {
         p.onFarNames = [](auto& h) {
             h.processing(), h.deliver(path("QORP_LPAR_CS.Name=\"p\"")), h.complete();
         };
     },
     "association.far-class",
     {"QORP_LPAR_CS"}},

    {"reference property misspelt in the constructor",
     [](auto& p) { p.leftProperty = "slot"; },
     "association.refused-role",
     {"refuses the role Slot"}},

    // Methods
    {"method not declared",
     [](auto& p) { replace(p.schema, "uint32 Spin(", "uint32 Turn("); },
     "method.undeclared",
     {"Spin"}},
    {"parameter not declared",
     [](auto& p) { p.spin.push_back(CIMParamValue("Levels", CIMValue(Uint16(1)))); },
     "method.unknown-parameter",
     {"Levels", "did you mean Level?"}},
    {"parameter of another type",
     [](auto& p) { p.spin[0] = CIMParamValue("Level", CIMValue(Uint32(1))); },
     "method.parameter-type",
     {"Level as uint32 1", "declares uint16"}},
    {"parameter left out", [](auto& p) { p.spin.clear(); }, "method.missing-parameter", {"Level"}},
    {"return type",
     [](auto& p) { p.onSpin = [](auto&) { return CIMValue(Sint32(0)); }; },
     "method.return-type",
     {"sint32 0", "declares uint32"}},
    {"type of send",
     [](auto& p) { replace(p.schema, "sint32 send", "uint32 send"); },
     "method.return-type",
     {"\"Alerts\"", "send", "uint32"}},
    {"type of an out-parameter",
     [](auto& p) {
         p.onSpin = [](auto& out) {
             return out.append(CIMParamValue("Old", CIMValue(Uint8(1)))), CIMValue(Uint32(0));
         };
     },
     "method.out-parameter-type",
     {"Old as uint8 1"}},
    {"out-parameter not declared",
     [](auto& p) {
         p.onSpin = [](auto& out) {
             return out.append(CIMParamValue("Odd", CIMValue(Uint8(1)))), CIMValue(Uint32(0));
         };
     },
     "method.undeclared-out-parameter",
     {"Odd", "mean Old?"}},

    // Indications
    {"alert without namespace",
     [](auto& p) { p.onAlert = [](CIMInstance& alert) { alert.setPath(path("ACME_FanAlert")); }; },
     "indication.no-namespace",
     {"\"Alerts\""}},
    {"alert of an unknown class",
     [](auto& p) { p.alertClass = "ACME_FunAlert"; },
     "indication.unknown-class",
     {"ACME_FunAlert", "constructed"}},
    {"alert of no indication class",
     [](auto& p) { p.alertClass = "ACME_Fan"; },
     "indication.not-an-indication",
     {"ACME_Fan"}},
    {"alert's property not declared",
     [](auto& p) {
         p.onAlert = [](CIMInstance& alert) { put(alert, "Reasons", CIMValue(Uint8(1))); };
     },
     "indication.undeclared-property",
     {"Reasons", "mean Reason?"}},
    {"alert's property of another type",
     [](auto& p) {
         p.onAlert = [](CIMInstance& alert) {
             put(alert, "PerceivedSeverity", CIMValue(Uint32(6)));
         };
     },
     "indication.property-type",
     {"PerceivedSeverity", "uint16"}},
    {"alert's Required property not set",
     [](auto& p) { replace(p.schema, "string Reason;", "[Required] string Reason;"); },
     "indication.missing-property",
     {"\"Alerts\"", "Reason"}},
    {"classes of enrichment missing",
     [](auto& p) { replace(p.schema, "class QORP_LPAR_CS : QORP_ComputerSystem { };", ""); },
     "indication.enrichment-classes",
     {"\"Alerts\"", "QORP_LPAR_CS"}},

    // What clients create
    {"created with more",
     [](auto& p) { put(p.created, "Sped", CIMValue(Uint32(1))); },
     "creation.undeclared-property",
     {"createInstance", "Sped", "mean Speed?"}},
    {"created with other types",
     [](auto& p) { put(p.created, "Speed", CIMValue(String("1"))); },
     "creation.property-type",
     {"Speed as string"}},
    {"created without key",
     [](auto& p) { p.created.removeProperty(0); },
     "creation.missing-key",
     {"key property Name"}},
    {"created without what is required",
     [](auto& p) { replace(p.schema, "datetime Since", "[Required] datetime Since"); },
     "creation.missing-property",
     {"Since"}},
    {"created without provider",
     [](auto& p) {
         p.created = instanceAt("ACME_Slot.Position=\"1\",Rack=\"r\"");
         add(p.created, "Position", "1"), add(p.created, "Rack", "r");
     },
     "creation.stored",
     {"ACME_Slot"}},
};

TEST(Checks, FindNothingInAGoodPackage) {
    FanPackage good;
    // What is unusual and all right: values that are null, of whatever type helpers make; ends
    // that are class paths, of a subclass or with a date for a key; alerts with properties that
    // nobody declares.
    replace(good.schema, "[Key] string Position", "[Key] datetime Position");
    put(good.fans[0], "Model", CIMValue());
    put(good.fans[0], "Since", CIMValue(CIMTYPE_DATETIME, false));
    good.links.push_back(inSlot(path("ACME_Slot"), fanPath("rear")));
    good.schema += "class ACME_TopSlot : ACME_Slot { };";
    good.links.push_back(
        inSlot(path(full("ACME_TopSlot.Position=\"9\",Rack=\"r\"")), fanPath("rear")));
    good.onSpin = [](auto&) { return CIMValue(); };
    EXPECT_EQ(lines(good.use()), "");
}

TEST(Checks, NameEachMistake) {
    std::set<std::string> triggered;
    for (const Mistake& mistake : mistakes) {
        SCOPED_TRACE(mistake.name);
        FanPackage package;
        mistake.make(package);
        const std::vector<Finding> findings = package.use();
        std::string sentences;
        for (const Finding& one : findings) {
            triggered.insert(one.id);
            sentences += one.id == mistake.id ? one.text + helpFor(one) + "\n" : "";
        }
        EXPECT_NE(sentences, "") << mistake.id << " is not among\n" << lines(findings);
        for (const char* word : mistake.words) {
            EXPECT_NE(sentences.find(word), std::string::npos)
                << word << " is not in " << sentences;
        }
    }
    for (const velmar_checks::RuleGroup& group : velmar_checks::allRules()) {
        for (const velmar_checks::Rule& rule : group.rules) {
            const std::string id = rule.id;
            const bool isOfTools =
                id.compare(0, 7, "driver.") == 0 || id == "mof.error" || id == "kit.two-copies";
            EXPECT_TRUE(isOfTools || triggered.count(id)) << "nothing triggers " << id;
        }
    }
}

// velmar explain --markdown makes the end of the page.
TEST(Checks, PageEndsWithTheRules) {
    std::ifstream file(FINDINGS_PAGE);
    const std::string page((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    const std::string rules = velmar_checks::rulesAsMarkdown();
    EXPECT_EQ(page.substr(page.find("\n## Registrations and schema")), rules);
}

TEST(Checks, CountWhatRepeatsAndCanBeSwitchedOff) {
    FanPackage package;
    for (CIMInstance& one : package.fans) {
        put(one, "Model", CIMValue(Boolean(true)));
    }
    const std::vector<Finding> findings = package.use();
    ASSERT_EQ(findings.size(), 1u) << lines(findings);
    EXPECT_GT(findings[0].count, 2u);
    EXPECT_EQ(findings[0].provider + findings[0].className + findings[0].element,
              "FansACME_FanModel");
    package.options.checks = false;
    EXPECT_EQ(lines(package.use()), "");
}

}  // namespace
