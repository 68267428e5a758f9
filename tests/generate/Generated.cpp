// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What is generated from a schema with every trap: typed classes, providers on the generated bases,
// served by the embedded server from a module with the generated factory and registration.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <velmar_testing/RecordingHandlers.h>
#include <velmar_testing/ServedPackage.h>

#include <thread>

#include "TrapProviders.h"

using namespace Pegasus;
using namespace traps;

extern "C" CIMProvider* PegasusCreateProvider(const String& providerName);

namespace {

// ---- Typed classes ---------------------------------------------------------------------------

// A path of the wrong class does not compile, that of a subclass does.
static_assert(std::is_constructible_v<TRAP_Link, TRAP_Types::Path, TRAP_Part::Path>);
static_assert(std::is_constructible_v<TRAP_Link, TRAP_Types::Path, TRAP_SubPart::Path>);
static_assert(!std::is_constructible_v<TRAP_Link, TRAP_Part::Path, TRAP_Types::Path>);
static_assert(!std::is_assignable_v<cim::Property<TRAP_SubPart::Path>&, TRAP_Part::Path>);
static_assert(!std::is_assignable_v<cim::Property<TRAP_Part::Path>&, CIMObjectPath>);
// Text does not become a boolean, a boolean or a number no text.
static_assert(!std::is_assignable_v<cim::Property<Boolean>&, const char*>);
static_assert(!std::is_assignable_v<cim::Property<Boolean>&, std::nullptr_t>);
static_assert(!std::is_assignable_v<cim::Property<Boolean>&, int>);
static_assert(!std::is_assignable_v<cim::Property<String>&, bool>);
static_assert(!std::is_assignable_v<cim::Property<String>&, int>);
static_assert(!std::is_assignable_v<cim::Property<Uint32>&, bool>);
static_assert(!std::is_assignable_v<cim::Property<Uint32>&, const char*>);
static_assert(std::is_assignable_v<cim::Property<String>&, std::string>);

TRAP_Types everything() {
    TRAP_Part part("p");
    part.Size = 3;
    TRAP_Types all("all");
    all.Caption = std::string("caption");
    all.B = true;
    all.U8 = 255, all.S8 = -128, all.U16 = 65535, all.S16 = -32768, all.U32 = 4294967295u;
    all.S32 = -2147483647, all.U64 = 18446744073709551615u, all.S64 = -9223372036854775807;
    all.R32 = 1.5F, all.R64 = 1e-300, all.C = Char16(0x20AC), all.S = "\xC3\xA9";
    all.D = CIMDateTime("20261125120000.000000+060");
    all.Instance = part.instance();
    all.Object = CIMObject(part.instance());
    all.Bs = {true, false}, all.U8s = {1}, all.S8s = {-1}, all.U16s = {2, 3}, all.S16s = {-2};
    all.U32s = {4}, all.S32s = {-4}, all.U64s = {5}, all.S64s = {-5}, all.R32s = {0.5F};
    all.R64s = {0.25}, all.Cs = {Char16('x')}, all.Ss = {"a", ""};
    all.Ds = {CIMDateTime("00000001000000.000000:000")};
    all.Instances = {part.instance()};
    all.Objects = {CIMObject(part.instance())};
    all.Reference = TRAP_SubPart("sub").path();
    all.State = Uint16(0x8001);  // of the vendor's, without a name
    all.Media = {TRAP_Types::MediaValue::V10Base_T, TRAP_Types::MediaValue::V2};
    all.Plain = TRAP_Types::PlainValue::class_;
    all.Big = TRAP_Types::BigValue::V18446744073709551615;
    all.Small = TRAP_Types::SmallValue::V5;
    all.Word = TRAP_Types::WordValue::quoted;
    return all;
}

CIMException caught(const std::function<void()>& action) {
    try {
        action();
    } catch (const CIMException& error) {
        return error;
    }
    return CIMException(CIM_ERR_SUCCESS, "nothing was thrown");
}

// Code and how the text begins.
void expectFault(CIMStatusCode code, const std::string& text, const std::function<void()>& action) {
    const CIMException error = caught(action);
    EXPECT_EQ(error.getCode(), code);
    EXPECT_EQ(cim::utf8(error.getMessage()).substr(0, text.size()), text)
        << cim::utf8(error.getMessage());
}

TEST(GeneratedClass, KeepsAllPropertiesThroughItsInstance) {
    const CIMInstance instance = everything().instance();
    EXPECT_EQ(instance.getPropertyCount(), 41u);
    EXPECT_TRUE(TRAP_Types::from(instance).instance().identical(instance));
    EXPECT_EQ(instance.getPath().getHost(), System::getHostName());
    const String host = System::getHostName();
    System::setHostName("rack.7");  // which is no host's name to a path
    EXPECT_EQ(TRAP_Part("x").path().object().getHost(), "rack.7");
    System::setHostName(host);
    EXPECT_EQ(instance.getPath().getNameSpace(), CIMNamespaceName("root/velmar_remote"));
    // Nothing but the key: what is null is left out.
    EXPECT_EQ(TRAP_Types("none").instance().getPropertyCount(), 1u);
    CIMInstance nulls = TRAP_Types("none").instance();
    nulls.addProperty(CIMProperty(CIMName("U8"), CIMValue(CIMTYPE_UINT8, false)));
    EXPECT_TRUE(TRAP_Types::from(nulls).U8.isNull());
    TRAP_Alert alert;
    alert.take("Description", CIMValue(String("text")));
    alert.take("Description", CIMValue(CIMTYPE_STRING, false));
    EXPECT_TRUE(alert.Description.isNull());
    EXPECT_EQ(TRAP_Keyless().instance().getPropertyCount(), 0u);
}

TEST(GeneratedClass, KeepsNamesThatCppHasTaken) {
    TRAP_Names names(5, "k");
    names.V_double = "1";
    names.EOF_ = "2";
    const CIMInstance instance = names.instance();
    EXPECT_NE(instance.findProperty("__double"), PEG_NOT_FOUND);
    EXPECT_NE(instance.findProperty("EOF"), PEG_NOT_FOUND);
    EXPECT_EQ(instance.getPath().toString().subString(instance.getPath().toString().find(".")),
              ".class=5,keys=\"k\"");
}

TEST(GeneratedClass, SaysWhatDoesNotFit) {
    const auto with = [](const char* name, const CIMValue& value) {
        CIMInstance instance = TRAP_Part("x").instance();
        velmar_remote::replaceProp(instance, CIMName(name), value);
        return instance;
    };
    const auto from = [&](const CIMInstance& instance) {
        return [instance] { TRAP_Part::from(instance); };
    };
    const CIMStatusCode code = CIM_ERR_INVALID_PARAMETER;
    expectFault(code, "TRAP_Part.Size: is string, uint32 is expected",
                from(with("Size", CIMValue(String("3")))));
    expectFault(code, "TRAP_Part.Size: is uint32[], uint32 is expected",
                from(with("Size", CIMValue(Array<Uint32>()))));
    expectFault(code, "TRAP_Part.Weight: the class declares no such property",
                from(with("Weight", CIMValue(Uint32(3)))));
    expectFault(code, "TRAP_Part.Name=\"x\"", [&] {
        CIMInstance instance = with("Name", CIMValue(String("y")));
        instance.setPath(velmar_remote::localize(instance.getPath()));
        TRAP_Part::from(instance);
    });
    expectFault(code, "TRAP_Part.Name: is a key", [] {
        CIMInstance instance(CIMName("TRAP_Part"));
        TRAP_Part::from(instance);
    });
    expectFault(code, "TRAP_Part: the instance is of class TRAP_SubPart",
                from(TRAP_SubPart("s").instance()));
    expectFault(code, "TRAP_Part.Name: is a key", [] { TRAP_Part().path(); });
    expectFault(code, "trap_TYPES.Name=\"t\" is not of class TRAP_Part",
                [] { TRAP_Part::Path(CIMObjectPath("trap_TYPES.Name=\"t\"")); });
    expectFault(CIM_ERR_FAILED, "the value of a property", [] { TRAP_Part("x").Size.value(); });
}

TEST(GeneratedClass, TakesPathsOfSubclassesAndEmbeddedObjectsOfBothKinds) {
    for (const char* path : {"TRAP_SubPart.Name=\"s\"", "trap_PART.Name=\"s\"", "ELSE_Part.N=1"}) {
        EXPECT_EQ(TRAP_Part::Path(CIMObjectPath(path)).object(), CIMObjectPath(path));
    }
    const CIMInstance part = TRAP_Part("p").instance();
    const CIMObject object(part);
    CIMInstance given = TRAP_Types("t").instance();
    for (const auto& [name, value] :
         std::vector<std::pair<const char*, CIMValue>>{{"Instance", object},
                                                       {"Object", part},
                                                       {"Instances", Array<CIMObject>(&object, 1)},
                                                       {"Objects", Array<CIMInstance>(&part, 1)}}) {
        given.addProperty(CIMProperty(CIMName(name), value));
    }
    const TRAP_Types types = TRAP_Types::from(given);
    EXPECT_TRUE(types.Instance.value().identical(part));
    EXPECT_TRUE(CIMInstance(types.Object.value()).identical(part));
    EXPECT_TRUE(types.Instances.value().at(0).identical(part));
    EXPECT_TRUE(CIMInstance(types.Objects.value().at(0)).identical(part));
    velmar_remote::replaceProp(given, CIMName("Instance"),
                               CIMValue(CIMObject(CIMClass(CIMName("TRAP_Part")))));
    expectFault(CIM_ERR_INVALID_PARAMETER,
                "TRAP_Types.Instance: ", [&] { TRAP_Types::from(given); });
}

// ---- Providers -------------------------------------------------------------------------------

class ProviderOfParts : public ::testing::Test {
 protected:
    ProviderOfParts() { provider.initialize(cimom); }
    CIMInstance get(const char* name) {
        velmar_testing::InstanceRecorder got;
        provider.getInstance(OperationContext(), TRAP_Part(name).path(), false, false,
                             CIMPropertyList(), got);
        return got.delivered.at(0);
    }
    CIMOMHandle cimom;
    TRAP_PartProvider provider;
};

TEST_F(ProviderOfParts, AddsOnceUpdatesAndFinds) {
    provider.add(TRAP_Part("a"));
    expectFault(CIM_ERR_ALREADY_EXISTS, "TRAP_Part.Name=\"a\" is there already",
                [&] { provider.add(TRAP_Part("a")); });
    expectFault(CIM_ERR_NOT_FOUND, "TRAP_Part.Name=\"b\" is not there",
                [&] { provider.update(TRAP_Part("b")); });
    EXPECT_FALSE(provider.erase(TRAP_Part("b").path()));
    provider.put(TRAP_Part("c"));
    expectFault(CIM_ERR_FAILED, "TRAP_Part: put was called inside the change", [&] {
        provider.update(TRAP_Part("c").path(), [&](TRAP_Part& part) { provider.put(part); });
    });
    EXPECT_TRUE(provider.erase(TRAP_Part("c").path()));
    TRAP_Part changed("a");
    changed.Size = 8;
    provider.update(changed);
    EXPECT_EQ(provider.find(changed.path())->Size, 8u);
    changed.Size = 9;
    provider.put(changed);
    EXPECT_EQ(provider.find(changed.path())->Size, 9u);
    provider.update(changed.path(), [](TRAP_Part& part) { part.Size = part.Size.value() + 1; });
    EXPECT_EQ(provider.all().at(0).Size, 10u);
    EXPECT_FALSE(provider.find(TRAP_Part("b").path()).has_value());
    expectFault(CIM_ERR_FAILED, "TRAP_Part.Name=\"a\": its keys were changed", [&] {
        provider.update(changed.path(), [](TRAP_Part& part) { part.keys.Name = "z"; });
    });
}

TEST_F(ProviderOfParts, TakesWhatAClientCreates) {
    velmar_testing::ObjectPathRecorder made;
    const auto create = [&](const CIMInstance& instance) {
        provider.createInstance(OperationContext(), TRAP_Part::classPath(), instance, made);
    };
    create(TRAP_Part("a").instance());
    EXPECT_EQ(made.delivered.at(0), TRAP_Part("a").path().object());
    expectFault(CIM_ERR_ALREADY_EXISTS, "TRAP_Part", [&] { create(TRAP_Part("a").instance()); });
    CIMInstance bad = TRAP_Part("b").instance();
    bad.addProperty(CIMProperty(CIMName("Size"), CIMValue(true)));
    expectFault(CIM_ERR_INVALID_PARAMETER, "TRAP_Part.Size: is boolean", [&] { create(bad); });
    // What there is shows the device, unless its author says otherwise.
    TRAP_NamesProvider others;
    expectFault(CIM_ERR_NOT_SUPPORTED, "TRAP_Names: clients may not create", [&] {
        others.createInstance(OperationContext(), CIMObjectPath(), TRAP_Names(5, "k").instance(),
                              made);
    });
    expectFault(CIM_ERR_NOT_SUPPORTED, "TRAP_Names: clients may not delete", [&] {
        others.deleteInstance(OperationContext(), TRAP_Names(5, "k").path(), made);
    });
    provider.deleteInstance(OperationContext(), CIMObjectPath("TRAP_Part.Name=\"b\""), made);
}

// One with a cascade asks the server, which is not there; the object is gone all the same.
TEST_F(ProviderOfParts, ErasesAndCompletesEnds) {
    provider.add(TRAP_Part("a"));
    EXPECT_TRUE(provider.erase(TRAP_Part("a").path()));
    EXPECT_FALSE(cim::raise(TRAP_Alert(), TRAP_Part("a")));
    EXPECT_TRUE(provider.all().empty());
    TRAP_LinkProvider links;
    const TRAP_Link link(TRAP_Types("t").path(), TRAP_Part::classPath());
    links.add(link);
    links.erase(link.path());
    EXPECT_FALSE(links.find(link.path()).has_value());
    // Clients name ends as they like.
    CIMInstance created(CIMName("TRAP_Link"));
    created.addProperty(
        CIMProperty("Antecedent", CIMValue(CIMObjectPath("TRAP_Types.Name=\"t\""))));
    created.addProperty(CIMProperty("Dependent", CIMValue(CIMObjectPath("TRAP_Part"))));
    velmar_testing::ObjectPathRecorder delivered;
    links.createInstance(OperationContext(), TRAP_Link::classPath(), created, delivered);
    EXPECT_TRUE(links.find(link.path()).has_value());
    EXPECT_EQ(delivered.delivered.at(0), link.path().object());
}

TEST_F(ProviderOfParts, AddsOneOfManyAndLosesNoChange) {
    std::atomic<int> added{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; i++) {
        threads.emplace_back([&] {
            for (int key = 0; key < 50; key++) {
                if (caught([&] { provider.add(TRAP_Part(std::to_string(key))); }).getCode() ==
                    CIM_ERR_SUCCESS) {
                    added++;
                }
                provider.update(TRAP_Part("0").path(),
                                [](TRAP_Part& part) { part.Size = part.Size.valueOr(0) + 1; });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(added, 50);
    EXPECT_EQ(provider.find(TRAP_Part("0").path())->Size, 8u * 50);
}

// Each request gets a copy of its own, and the cached object stays as it was.
TEST_F(ProviderOfParts, RefreshesCopiesUnderClients) {
    provider.add(TRAP_Part("a"));
    provider.add(TRAP_Part("b"));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; i++) {
        threads.emplace_back([&, i] {
            for (int round = 0; round < 100; round++) {
                EXPECT_FALSE(TRAP_Part::from(get("a")).Size.isNull());
                velmar_testing::InstanceRecorder all;
                provider.enumerateInstances(OperationContext(), TRAP_Part::classPath(), false,
                                            false, CIMPropertyList(), all);
                EXPECT_EQ(all.delivered.size(), 2u);
                EXPECT_EQ(TRAP_Part::from(all.delivered[0]).Size.isNull(), false);
                if (i == 0) {
                    provider.update(TRAP_Part("b"));
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(provider.refreshes, 4u * 100 * 3);
    EXPECT_TRUE(provider.find(TRAP_Part("a").path())->Size.isNull());
    EXPECT_NE(get("a").getPath().getHost(), String());
    provider.changesKey = true;
    expectFault(CIM_ERR_FAILED, "TRAP_Part.Name=\"a\": its keys were changed", [&] { get("a"); });
}

TEST(ProviderOfMethods, RefusesWhatAMethodDoesNotTake) {
    CIMOMHandle cimom;
    TRAP_MethodsProvider provider;
    provider.initialize(cimom);
    provider.add(TRAP_Methods(1));
    const CIMValue text(String("text"));
    // With one more parameter, or without one.
    const auto call = [&](const CIMObjectPath& path, const char* method, const char* name,
                          const CIMValue& value) {
        return [&provider, path, method, name, value, text] {
            Array<CIMParamValue> in;
            for (const char* given : {"Text", "BothNeeded", "Needed"}) {
                if (String(name) != given || !value.isNull()) {
                    in.append(CIMParamValue(
                        given, String(given) == "Needed" ? CIMValue(Uint32(1)) : text));
                }
            }
            if (!value.isNull()) {
                in.append(CIMParamValue(name, value));
            }
            velmar_testing::MethodResultRecorder recorder;
            provider.invokeMethod(OperationContext(), path, CIMName(method), in, recorder);
        };
    };
    const CIMObjectPath path = TRAP_Methods(1).path();
    const CIMStatusCode invalid = CIM_ERR_INVALID_PARAMETER;
    expectFault(invalid, "Both: is string, uint32 is expected", call(path, "Mix", "Both", text));
    expectFault(invalid, "Needed: is required", call(path, "Mix", "Needed", CIMValue()));
    expectFault(invalid, "BothNeeded: is required", call(path, "Mix", "BothNeeded", CIMValue()));
    expectFault(invalid, "Text: is missing", call(path, "Mix", "Text", CIMValue()));
    expectFault(invalid, "Text: is given twice", call(path, "Mix", "text", text));
    expectFault(invalid, "Extra: the method has no such", call(path, "Mix", "Extra", text));
    Array<CIMObjectPath> given;
    given.append(CIMObjectPath("TRAP_Types.Name=\"t\""));
    expectFault(invalid, "Given: TRAP_Types.Name=\"t\" is not of class TRAP_Part",
                call(path, "Mix", "Given", CIMValue(given)));
    expectFault(CIM_ERR_NOT_FOUND, "", call(TRAP_Methods(9).path(), "Mix", "Text", CIMValue()));
    expectFault(CIM_ERR_METHOD_NOT_FOUND, "Nothing", call(path, "Nothing", "Both", text));
    velmar_testing::MethodResultRecorder recorder;
    expectFault(CIM_ERR_NOT_SUPPORTED, "TRAP_Methods.Unwritten is not implemented", [&] {
        provider.invokeMethod(OperationContext(), path, "Unwritten", Array<CIMParamValue>(),
                              recorder);
    });
}

// The factory tells an object whether copies are needed at all.
TEST(GeneratedFactory, CopiesForProvidersThatRefreshOnly) {
    EXPECT_EQ(PegasusCreateProvider("TRAP_Keyless"), nullptr);
    EXPECT_TRUE(cim::Probe<TRAP_PartProvider>::refreshes());
    EXPECT_FALSE(cim::Probe<TRAP_TypesProvider>::refreshes());
    auto* const types = dynamic_cast<TRAP_TypesProviderBase*>(PegasusCreateProvider("TRAP_Types"));
    ASSERT_NE(types, nullptr);
    const TRAP_Types one("one");
    types->add(one);
    velmar_testing::InstanceRecorder got[2];
    for (velmar_testing::InstanceRecorder& recorder : got) {
        types->getInstance(OperationContext(), one.path(), false, false, CIMPropertyList(),
                           recorder);
    }
    got[0].delivered.at(0).addProperty(CIMProperty(CIMName("Marked"), CIMValue(true)));
    EXPECT_NE(got[1].delivered.at(0).findProperty("Marked"), PEG_NOT_FOUND);
    dynamic_cast<CIMProvider*>(types)->terminate();
}

// Without enrichment an alert is what its sender gave, and what prepare adds.
TEST(ProviderOfAlerts, TakesOverWhatTheClassDeclares) {
    struct Alerts : cim::AlertProvider<TRAP_Alert, false> {
        bool prepare(const OperationContext&, TRAP_Alert& alert) override {
            alert.UUID = "u";
            return alert.Description != "dropped";
        }
    } provider;
    velmar_testing::IndicationRecorder subscribers;
    provider.enableIndications(subscribers);
    for (const char* text : {"dropped", "kept"}) {
        Array<CIMParamValue> in;
        in.append(CIMParamValue("description", CIMValue(String(text))));
        in.append(CIMParamValue("SenderUUID", CIMValue(Uint32(1))));  // declared as a string
        in.append(CIMParamValue("Else", CIMValue(Uint32(1))));
        in.append(CIMParamValue("AlertingManagedElement", CIMValue(String("A.k=1"))));
        velmar_testing::MethodResultRecorder result;
        provider.invokeMethod(OperationContext(), TRAP_Alert::classPath(), "send", in, result);
    }
    ASSERT_EQ(subscribers.delivered.size(), 1u);
    const CIMInstance alert = subscribers.delivered[0];
    const auto value = [&](const char* name) {
        return velmar_remote::getValue(alert, CIMName(name));
    };
    EXPECT_EQ(value("Description"), CIMValue(String("kept")));
    EXPECT_EQ(value("UUID"), CIMValue(String("u")));
    EXPECT_TRUE(value("SenderUUID").isNull());
    EXPECT_EQ(value("AlertingManagedElement"), CIMValue(String("A.k=1")));
    EXPECT_EQ(alert.findProperty(CIMName("Else")), PEG_NOT_FOUND);
}

// ---- Served ----------------------------------------------------------------------------------

class GeneratedPackage : public velmar_testing::ServedPackage {
 protected:
    GeneratedPackage() : ServedPackage({{TRAPS_MOF}, {TRAPS_REGISTRATION}, {TRAPS_MODULES}}) {
        allow("kit.two-copies");  // it is the module that is tested
        client.createInstance(nameSpace, everything().instance());
        client.createInstance(nameSpace, TRAP_Part("p").instance());
        TRAP_Methods methods(1);
        methods.Value = 40;
        client.createInstance(nameSpace, methods.instance());
        client.createInstance(nameSpace, link.instance());
    }
    CIMValue call(const CIMObjectPath& path, const char* method, const Array<CIMParamValue>& in) {
        out.clear();
        return client.invokeMethod(nameSpace, path, CIMName(method), in, out);
    }
    template <class T>
    cim::Property<T> outParameter(const char* name) {
        cim::Property<T> result;
        cim::read(velmar_remote::findParam(out, name), result, name);
        return result;
    }
    Array<CIMParamValue> mixed(const std::string& text) {
        Array<CIMParamValue> in;
        in.append(CIMParamValue("needed", CIMValue(Uint32(1))));  // letter case does not count
        in.append(CIMParamValue("BothNeeded", CIMValue(String("b"))));
        in.append(CIMParamValue("Text", CIMValue(String(text.c_str()))));
        return in;
    }
    const TRAP_Link link{everything().path(), TRAP_Part("p").path()};
    const CIMObjectPath methodsPath = TRAP_Methods(1).path();
    Array<CIMParamValue> out;
};

struct TwoCopies : velmar_testing::ServedPackage {
    TwoCopies() : ServedPackage({{TRAPS_MOF}, {TRAPS_REGISTRATION}, {TRAPS_MODULES}}) {}
    void TestBody() override {}
    using ServedPackage::TearDown;
};

TEST(LinkedPackage, IsNotLoadedAsWell) {
    EXPECT_NONFATAL_FAILURE(TwoCopies().TearDown(), "[kit.two-copies]");
}

TEST_F(GeneratedPackage, ServesEveryType) {
    const CIMInstance got =
        client.getInstance(nameSpace, everything().path(), false, false, false, CIMPropertyList());
    EXPECT_TRUE(TRAP_Types::from(got).instance().identical(everything().instance()));
}

TEST_F(GeneratedPackage, RefreshesReferences) {
    const Array<CIMObject> links =
        client.references(nameSpace, TRAP_Part("p").path(), CIMName("TRAP_Link"));
    ASSERT_EQ(links.size(), 1u);
    EXPECT_EQ(TRAP_Link::from(CIMInstance(links[0])).Weight, 7u);
    EXPECT_EQ(client.associatorNames(nameSpace, TRAP_Part("p").path()).size(), 1u);
    EXPECT_EQ(call(link.path(), "Weigh", Array<CIMParamValue>()), CIMValue(Uint32(1)));
    EXPECT_EQ(outParameter<Uint32>("Before"), 7u);
}

TEST_F(GeneratedPackage, CallsMethodsWithTypes) {
    Array<CIMParamValue> in = mixed("");
    Array<CIMObjectPath> given;
    given.append(TRAP_SubPart("s").path());
    in.append(CIMParamValue("Given", CIMValue(given)));
    in.append(CIMParamValue("Both", CIMValue(Uint32(2))));
    in.append(CIMParamValue("Part", CIMValue(TRAP_Part("e").instance())));
    in.append(CIMParamValue("Speed", CIMValue(Uint16(2))));
    EXPECT_EQ(call(methodsPath, "mix", in), CIMValue(String("fast")));
    EXPECT_EQ(outParameter<Uint32>("Both"), 42u);
    EXPECT_EQ(outParameter<String>("BothNeeded"), "b!");
    EXPECT_EQ(outParameter<TRAP_Part::Path>("Made").value().object(), given[0]);
    EXPECT_EQ(outParameter<std::vector<CIMInstance>>("Parts").value().size(), 2u);
    EXPECT_EQ(out.size(), 4u);  // without Words, which are null

    in = Array<CIMParamValue>(1, CIMParamValue("Ask", CIMValue(CIMTYPE_BOOLEAN, false)));
    EXPECT_TRUE(call(TRAP_Methods::classPath(), "Now", in).isNull());
    in = Array<CIMParamValue>(1, CIMParamValue("Ask", CIMValue(true)));
    EXPECT_EQ(call(TRAP_Methods::classPath(), "Now", in),
              CIMValue(CIMDateTime("20261125120000.000000+000")));
}

TEST_F(GeneratedPackage, RaisesEnrichedAlerts) {
    velmar_testing::Subscriber subscriber(server, "TRAP_Alert");
    call(methodsPath, "Mix", mixed("alert"));
    const auto alerts = subscriber.received();
    ASSERT_EQ(alerts.size(), 1u);
    const auto value = [&](const char* name) {
        return alerts[0].getProperty(alerts[0].findProperty(CIMName(name))).getValue();
    };
    EXPECT_EQ(value("Description"), CIMValue(String("mixed")));
    EXPECT_EQ(value("PerceivedSeverity"), CIMValue(Uint16(6)));
    EXPECT_EQ(value("Codes").getArraySize(), 2u);
    EXPECT_EQ(value("AlertingManagedElement"), CIMValue(String("TRAP_Methods.Number=1")));
    EXPECT_EQ(value("SystemName"), CIMValue(String("sender")));  // rather than the library's
    EXPECT_EQ(TRAP_Alert::from(alerts[0]).Description, "mixed");
    EXPECT_EQ(value("SenderUUID"), CIMValue(String()));
    EXPECT_EQ(value("AlertingElementFormat"), CIMValue(Uint16(2)));
    EXPECT_FALSE(value("EventTime").isNull());
}

}  // namespace
