// Where invokeMethod goes, what a provider gets, and what comes back.
#include "support/ScriptedServer.h"

using namespace support;

namespace {

class MethodRouting : public ScriptedServer {
 protected:
    // "name:type=value " for each; the type is left out of arrays' names.
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
    for (const char* name : {"All", "Some"}) {
        const bool all = name[0] == 'A';
        provide(name, {all ? "T_A" : "T_D"}, {ProviderType::Method},
                all ? std::vector<std::string>() : std::vector<std::string>{"One", "Two"})
            ->invoke = [&called, name](const auto& call, const CIMName& method, const auto&,
                                       auto& handler) {
            called = std::string(name) + " " + text(call.path) + " " + text(method);
            handler.complete();
        };
    }
    start();
    invoke("//h/root/x:T_A.k=\"1\"", "undeclared");
    EXPECT_EQ(called, "All " + full("T_A.k=\"1\"") + " undeclared");
    invoke("T_A", "Do");
    EXPECT_EQ(called, "All " + full("T_A") + " Do");
    invoke("T_D", "tWO");
    EXPECT_EQ(called, "Some " + full("T_D") + " tWO");
    called.clear();
    EXPECT_EQ(outcome([&] { invoke("T_D", "Do"); }), "16 CIM_ERR_METHOD_NOT_AVAILABLE: Do");
    EXPECT_EQ(outcome([&] { invoke("T_B", "Do"); }), "16 CIM_ERR_METHOD_NOT_AVAILABLE: Do")
        << "a superclass's provider does not count";
    EXPECT_EQ(outcome([&] { invoke("T_No", "Do"); }), "6 CIM_ERR_NOT_FOUND: T_No");
    EXPECT_EQ(outcome([&] { client.invokeMethod("root/no", path("T_A"), "Do", out, out); }),
              "3 CIM_ERR_INVALID_NAMESPACE: root/no");
    EXPECT_EQ(called, "");
}

TEST_F(MethodRouting, ParametersAndResult) {
    std::string received;
    std::function<void(MethodResultResponseHandler&)> behave;
    provide("P", {"T_A"}, {ProviderType::Method})->invoke = [&](const auto&, const CIMName&,
                                                                const auto& in, auto& handler) {
        received = show(in);
        behave(handler);
    };
    start();
    Array<CIMParamValue> in;
    in.append(CIMParamValue("Text", CIMValue(String("5"))));
    in.append(CIMParamValue("unknown", CIMValue(path("T_A.k=\"x\""))));
    in.append(CIMParamValue("Text", CIMValue(CIMTYPE_UINT16, false)));
    behave = [&](auto& handler) {
        handler.deliverParamValue(CIMParamValue("late", CIMValue(true)));
        handler.deliver(CIMValue(Uint32(1)));
        handler.deliver(CIMValue(Uint32(2)));
        handler.deliverParamValue(in);
        handler.complete();
    };
    EXPECT_EQ(invoke("T_A", "Do", in), CIMValue(Uint32(2)));
    EXPECT_EQ(received, "Text:string=5 unknown:reference=T_A.k=\"x\" Text:uint16=null ");
    EXPECT_EQ(show(out), "late:boolean=TRUE " + received);

    behave = [&](auto& handler) {
        handler.deliver(CIMValue(Uint32(1)));
        handler.deliverParamValue(in);
    };
    EXPECT_TRUE(invoke("T_A", "Do").isNull()) << "not complete";
    EXPECT_EQ(out.size(), 0u);
    behave = [&](auto& handler) { handler.deliver(CIMValue()); };
    EXPECT_EQ(outcome([&] { invoke("T_A", "Do"); }),
              "1 CIM_ERR_FAILED: The object is not initialized.");
    behave = [&](auto& handler) {
        handler.deliver(CIMValue(Uint32(1)));
        handler.complete();
        throw CIMException(CIM_ERR_METHOD_NOT_FOUND, "Do");
    };
    EXPECT_EQ(outcome([&] { invoke("T_A", "Do"); }), "17 CIM_ERR_METHOD_NOT_FOUND: Do");
}

TEST_F(MethodRouting, UntypedParametersGetTheDeclaredType) {
    provide("P", {"T_A"}, {ProviderType::Method})->invoke = [&](const auto&, const CIMName&,
                                                                const auto& in, auto& handler) {
        handler.deliverParamValue(in);
        handler.complete();
    };
    start();
    Array<String> flags;
    flags.append("true");
    flags.append("FALSE");
    const CIMValue peer(String("T_A.k=\"1\""));
    struct {
        const char* name;
        CIMValue value;
        const char* arrives;
    } const cases[] = {
        {"Small", CIMValue(String("200")), "Small:uint8=200 "},
        {"small", CIMValue(Sint64(7)), "small:uint8=7 "},
        {"Small", CIMValue(CIMTYPE_STRING, false), "Small:uint8=null "},
        {"Text", CIMValue(Uint32(7)), "Text:string=7 "},
        {"Flags", CIMValue(flags), "Flags:boolean=TRUE FALSE  "},
        {"Peer", peer, "Peer:reference=T_A.k=\"1\" "},
        {"Numbers", CIMValue(Array<Uint8>(2, 7)), "Numbers:sint64=7 7  "},
        {"other", CIMValue(String("7")), "other:string=7 "},
        {"no name", CIMValue(String("7")), "no name:string=7 "},
        {"Small", CIMValue(String("256")), nullptr},
        {"Small", CIMValue(String("-1")), nullptr},
        {"Peer", CIMValue(String("no path")), nullptr},
    };
    for (const auto& one : cases) {
        Array<CIMParamValue> in;
        in.append(CIMParamValue(one.name, one.value, false));
        const std::string result = outcome([&] { invoke("T_A", "Do", in); });
        if (one.arrives) {
            EXPECT_EQ(result, "ok");
            EXPECT_EQ(show(out), one.arrives);
        } else {
            EXPECT_EQ(result.substr(0, 2), "4 ");
            EXPECT_NE(result.find(one.name), std::string::npos) << result;
        }
    }
}

}  // namespace
