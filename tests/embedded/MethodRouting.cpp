// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Where invokeMethod goes, what a provider gets, and what comes back.
#include "support/ScriptedServer.h"

using namespace support;

namespace {

class MethodRouting : public ScriptedServer {
 protected:
    /// "name:type=value " for each; the type is left out of arrays' names.
    static std::string show(const Array<CIMParamValue>& parameters) {
        std::string all;
        for (Uint32 i = 0; i < parameters.size(); i++) {
            const CIMValue value = parameters[i].getValue();
            all += text(parameters[i].getParameterName()) + ":" + cimTypeToString(value.getType()) +
                   "=" + (value.isNull() ? "null" : text(value.toString())) + " ";
        }
        return all;
    }
    CIMValue invoke(const std::string& object, const char* method,
                    const Array<CIMParamValue>& in = Array<CIMParamValue>()) {
        return client.invokeMethod(ns, path(object), method, in, out);
    }
    Array<CIMParamValue> out;
};

TEST_F(MethodRouting, RoutesByClassAndMethod) {
    std::string called;
    auto noting = [&called](const std::string& name) {
        return [&called, name](const auto& call, auto&) {
            called = name + " " + text(call.path) + " " + text(call.method);
        };
    };
    provide("All", {"T_A"}, {ProviderType::Method})->invoke = noting("All");
    provide("Some", {"T_D"}, {ProviderType::Method}, {"One", "Two"})->invoke = noting("Some");
    start();
    struct {
        const char *object, *method;
        std::string called, outcome;
    } const cases[] = {
        {"//h/root/x:T_A.k=\"1\"", "undeclared", "All " + full("T_A.k=\"1\"") + " undeclared",
         "ok"},
        {"T_A", "Do", "All " + full("T_A") + " Do", "ok"},
        {"T_D", "tWO", "Some " + full("T_D") + " tWO", "ok"},
        {"T_D", "Do", "", "16 CIM_ERR_METHOD_NOT_AVAILABLE: Do"},
        // A superclass's provider does not count.
        {"T_B", "Do", "", "16 CIM_ERR_METHOD_NOT_AVAILABLE: Do"},
        {"T_No", "Do", "", "6 CIM_ERR_NOT_FOUND: T_No"},
    };
    for (const auto& c : cases) {
        called.clear();
        EXPECT_EQ(outcome([&] { invoke(c.object, c.method); }), c.outcome);
        EXPECT_EQ(called, c.called);
    }
}

TEST_F(MethodRouting, ParametersAndResult) {
    std::string received;
    Array<CIMParamValue> in;
    in.append(CIMParamValue("Text", CIMValue(String("5"))));
    in.append(CIMParamValue("unknown", CIMValue(path("T_A.k=\"x\""))));
    in.append(CIMParamValue("Text", CIMValue(CIMTYPE_UINT16, false)));
    Scripted* provider = provide("P", {"T_A"}, {ProviderType::Method});
    provider->invoke = [&](const auto& call, auto& handler) {
        received = show(call.in);
        handler.deliverParamValue(CIMParamValue("late", CIMValue(true)));
        handler.deliver(CIMValue(Uint32(1)));
        handler.deliver(CIMValue(Uint32(2)));
        handler.deliverParamValue(in);
    };
    start();
    EXPECT_EQ(invoke("T_A", "Do", in), CIMValue(Uint32(2)));
    EXPECT_EQ(received, "Text:string=5 unknown:reference=T_A.k=\"x\" Text:uint16=null ");
    EXPECT_EQ(show(out), "late:boolean=TRUE " + received);

    provider->completes = false;
    EXPECT_TRUE(invoke("T_A", "Do").isNull());
    EXPECT_EQ(out.size(), 0u);
    provider->invoke = [](const auto&, auto& handler) { handler.deliver(CIMValue()); };
    EXPECT_EQ(code([&] { invoke("T_A", "Do"); }), 1);
    provider->invoke = [](const auto&, auto& handler) {
        handler.deliver(CIMValue(Uint32(1)));
        throw CIMException(CIM_ERR_METHOD_NOT_FOUND, "Do");
    };
    EXPECT_EQ(outcome([&] { invoke("T_A", "Do"); }), "17 CIM_ERR_METHOD_NOT_FOUND: Do");
}

TEST_F(MethodRouting, UntypedParametersGetTheDeclaredType) {
    provide("P", {"T_A"}, {ProviderType::Method})->invoke = [](const auto& call, auto& handler) {
        handler.deliverParamValue(call.in);
    };
    start();
    Array<String> flags(1, "true");
    flags.append("FALSE");
    struct {
        const char* name;
        CIMValue value;
        std::string arrives;  // a refusal without
    } const cases[] = {
        {"Small", CIMValue(String("200")), "Small:uint8=200 "},
        {"small", CIMValue(Sint64(7)), "small:uint8=7 "},
        {"Flags", CIMValue(flags), "Flags:boolean=TRUE FALSE  "},
        {"Peer", CIMValue(String("T_A.k=\"1\"")), "Peer:reference=T_A.k=\"1\" "},
        {"Numbers", CIMValue(Array<Uint8>(2, 7)), "Numbers:sint64=7 7  "},
        {"other", CIMValue(String("7")), "other:string=7 "},
        {"no name", CIMValue(String("7")), "no name:string=7 "},
        {"Small", CIMValue(String("256")), ""},
        {"Peer", CIMValue(String("no path")), ""},
    };
    for (const auto& c : cases) {
        const Array<CIMParamValue> in(1, CIMParamValue(c.name, c.value, false));
        out.clear();
        const std::string result = outcome([&] { invoke("T_A", "Do", in); });
        EXPECT_EQ(show(out), c.arrives);
        EXPECT_EQ(result.substr(0, 2), c.arrives.empty() ? "4 " : "ok");
        EXPECT_EQ(result.find(c.name) == std::string::npos, !c.arrives.empty()) << result;
    }
}

}  // namespace
