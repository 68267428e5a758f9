// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Where requests go, what a provider is given, and what clients and handles get back.
#include <set>
#include <stdexcept>
#include <type_traits>

#include "support/ScriptedServer.h"

using namespace support;

namespace {

CIMPropertyList listOf(std::initializer_list<const char*> names) {
    Array<CIMName> list;
    for (const char* name : names) {
        list.append(name);
    }
    return CIMPropertyList(list);
}

std::string said(const std::string& already) { return already; }
std::string said(const CIMObjectPath& path) { return text(path); }
std::string said(const CIMName& name) { return text(name); }
std::string said(const CIMValue& value) { return value.isNull() ? "null" : text(value.toString()); }
std::string said(const CIMParamValue& parameter) {
    return text(parameter.getParameterName()) + ":" +
           cimTypeToString(parameter.getValue().getType()) + "=" + said(parameter.getValue());
}
/// A property or method with its class origin, ^ if it is inherited and * if it has qualifiers.
template <class Feature>
std::string said(const Feature& feature, Uint32 qualifiers) {
    const CIMName& origin = feature.getClassOrigin();
    return " " + text(feature.getName()) + (origin.isNull() ? "" : "@" + text(origin)) +
           (feature.getPropagated() ? "^" : "") + (qualifiers > 0 ? "*" : "");
}
std::string said(const CIMObject& object) {
    std::string all = text(object.getPath()) + (object.getQualifierCount() > 0 ? "*" : "");
    for (Uint32 i = 0; i < object.getPropertyCount(); i++) {
        all += said(object.getProperty(i), object.getProperty(i).getQualifierCount());
    }
    for (Uint32 i = 0; object.isClass() && i < CIMClass(object).getMethodCount(); i++) {
        const CIMConstMethod method = CIMClass(object).getMethod(i);
        Uint32 qualifiers = method.getQualifierCount();
        for (Uint32 j = 0; j < method.getParameterCount(); j++) {
            qualifiers += method.getParameter(j).getQualifierCount();
        }
        all += said(method, qualifiers);
    }
    return all;
}
std::string said(const CIMInstance& instance) { return said(CIMObject(instance)); }
std::string said(const CIMClass& cimClass) { return said(CIMObject(cimClass)); }
template <class T>
std::string said(const Array<T>& items) {
    std::string all;
    for (Uint32 i = 0; i < items.size(); i++) {
        all += said(items[i]) + "; ";
    }
    return all;
}
/// What a provider was called with, as far as it is not empty.
std::string said(const Call& call) {
    std::string all = operationName(call.operation) + (" " + text(call.path));
    for (const CIMName& name : {call.associationClass, call.resultClass, call.methodName}) {
        all += name.isNull() ? "" : " " + text(name);
    }
    all += call.role.size() + call.resultRole.size() == 0
               ? ""
               : " " + text(call.role) + "/" + text(call.resultRole);
    all += call.includeQualifiers ? " qualifiers" : "";
    all += call.includeClassOrigin ? " origins" : "";
    all += call.propertyList.isNull() ? ""
                                      : " [" + said(call.propertyList.getPropertyNameArray()) + "]";
    all += call.instance.isUninitialized() ? "" : " {" + said(call.instance) + "}";
    return all + (call.parameters.size() == 0 ? "" : " (" + said(call.parameters) + ")");
}

/// What a call returned, or its error.
template <class Ask>
std::string answer(const Ask& ask) {
    std::string returned;
    const std::string end = outcome([&] {
        if constexpr (std::is_void_v<decltype(ask())>) {
            ask();
        } else {
            returned = said(ask());
        }
    });
    return end == "ok" ? returned : end;
}

class Routing : public ScriptedServer {
 protected:
    CIMOMHandle cimom;

    Routing() {
        server.observeArrivals([this](const auto& arrival) { _fromHandle = arrival.fromHandle; });
    }
    /// A provider whose calls are noted.
    Scripted* noting(const std::string& name, const std::vector<std::string>& classes,
                     ProviderType type, const std::vector<std::string>& methods = {}) {
        Scripted* provider = provide(name, classes, {type}, methods);
        provider->onCall = [this, name](const Call& call) {
            const std::lock_guard<std::mutex> guard(_lock);
            _calls.insert(name + "." + said(call) + "\n");
            _context = call.context;
        };
        provider->onInitialize = [this](CIMOMHandle& handle) { cimom = handle; };
        return provider;
    }
    /// Those since the last question, sorted.
    std::string calls() {
        const std::string all = std::accumulate(_calls.begin(), _calls.end(), std::string());
        _calls.clear();
        return all;
    }
    /// Client and handle ask the same; the handle with a context of its own.
    template <class OfClient, class OfHandle, class... Arguments>
    void ask(const std::string& call, const std::string& byClient, const std::string& byHandle,
             OfClient ofClient, OfHandle ofHandle, Arguments... arguments) {
        SCOPED_TRACE(call + byClient);
        EXPECT_EQ(answer([&] { return (client.*ofClient)(ns, arguments...); }), byClient);
        check(call, false);
        OperationContext own;
        own.insert(IdentityContainer("caller"));
        EXPECT_EQ(answer([&] { return (cimom.*ofHandle)(own, ns, arguments...); }), byHandle);
        check(call, true);
    }

 private:
    void check(const std::string& call, bool fromHandle) {
        EXPECT_EQ(calls(), call);
        EXPECT_EQ(_fromHandle, fromHandle);
        if (!call.empty()) {
            const IdentityContainer identity(_context.get(IdentityContainer::NAME));
            EXPECT_EQ(text(identity.getUserName()) == "caller", fromHandle);
        }
    }
    std::mutex _lock;
    std::multiset<std::string> _calls;
    OperationContext _context;
    bool _fromHandle = false;
};

TEST_F(Routing, WhatProvidersAreGivenAndCallersGet) {
    // One class may have a provider of each type.
    Scripted* instances = noting("I", {"T_A", "T_Link"}, ProviderType::Instance);
    Scripted* methods = noting("M", {"T_A"}, ProviderType::Method, {"Do", "Other"});
    Scripted* links = noting("L", {"T_Link"}, ProviderType::Association);
    CIMInstance kept = item("//h/root/x:T_A.k=\"9\"", 1);
    kept.addQualifier(CIMQualifier("Q", true));
    kept.getProperty(1).addQualifier(CIMQualifier("Q", true));
    kept.getProperty(1).setClassOrigin("T_A");
    instances->get = instances->enumerate = [&](auto&, auto& handler) { handler.deliver(kept); };
    instances->names =
        instances->create = [&](auto&, auto& handler) { handler.deliver(kept.getPath()); };
    CIMInstance far = item("T_Far.k=\"9\"");
    links->linkObjects = [&](auto&, auto& handler) { handler.deliver(CIMObject(far)); };
    links->linkPaths = [](auto&, auto& handler) { handler.deliver(path("T_Far.k=\"9\"")); };
    methods->invoke = [](auto&, auto& handler) { handler.deliver(CIMValue(Uint32(7))); };
    start();
    client.enumerateInstanceNames(ns, "T_A");  // loads the provider
    calls();

    const CIMPropertyList list = listOf({"N", "unknown"}), all;
    const CIMObjectPath one = path("//elsewhere/root/other:T_A.k=\"1\"");
    const std::string given = full("T_A.k=\"1\""), n = " [N; unknown; ]";
    const std::string keptPath = text(kept.getPath()), whole = keptPath + "* k n@T_A*";
    const std::string farPath = full("T_Far.k=\"9\"");
    ask("I.getInstance " + given + " qualifiers" + n + "\n", "T_A* n*", whole,
        &CIMClient::getInstance, &CIMOMHandle::getInstance, one, true, true, false, list);
    ask("I.enumerateInstances " + full("t_a") + " origins" + n + "\n", "T_A.k=\"9\" n@T_A; ",
        whole + "; ", &CIMClient::enumerateInstances, &CIMOMHandle::enumerateInstances, "t_a", true,
        true, false, true, list);
    ask("I.enumerateInstanceNames " + full("T_A") + "\n", "T_A.k=\"9\"; ", keptPath + "; ",
        &CIMClient::enumerateInstanceNames, &CIMOMHandle::enumerateInstanceNames, "T_A");
    ask("I.modifyInstance " + given + " qualifiers" + n + " {T_A.k=\"1\" k n}\n", "", "",
        &CIMClient::modifyInstance, &CIMOMHandle::modifyInstance, item("T_A.k=\"1\""), true, list);
    ask("I.deleteInstance " + given + "\n", "", "", &CIMClient::deleteInstance,
        &CIMOMHandle::deleteInstance, one);
    ask("L.associators " + given + " T_Link T_Far no/Far qualifiers" + n + "\n", farPath + " n; ",
        farPath + " k n; ", &CIMClient::associators, &CIMOMHandle::associators, one, "t_link",
        "T_Far", "no", "Far", true, false, list);
    ask("L.associatorNames " + given + " T_Link T_B Near/x\n", farPath + "; ", farPath + "; ",
        &CIMClient::associatorNames, &CIMOMHandle::associatorNames, one, "T_Link", "T_B", "Near",
        "x");
    ask("L.references " + given + " T_Link far/ origins" + n + "\n", farPath + " n; ",
        farPath + " k n; ", &CIMClient::references, &CIMOMHandle::references, one, "t_link", "far",
        false, true, list);
    ask("L.referenceNames " + given + " T_Link Near/\n", farPath + "; ", farPath + "; ",
        &CIMClient::referenceNames, &CIMOMHandle::referenceNames, one, "t_link", "Near");
    EXPECT_EQ(text(far.getPath()), farPath) << "completed in the provider's own object";
    Array<CIMParamValue> in(1, CIMParamValue("Small", String("7"))), out;
    ask("M.invokeMethod " + given + " dO (Small:string=7; )\n", "7", "7", &CIMClient::invokeMethod,
        &CIMOMHandle::invokeMethod, one, "dO", in, std::ref(out));

    // A client sends no path of a new instance, and neither shows the other's place.
    const CIMInstance created = item("//e/root/z:T_A.k=\"5\"");
    EXPECT_EQ(answer([&] { return client.createInstance(ns, created); }), "T_A.k=\"9\"");
    EXPECT_EQ(calls(), "I.createInstance " + full("T_A") + " {T_A k n}\n");
    EXPECT_EQ(answer([&] { return cimom.createInstance(none, ns, created); }), keptPath);
    EXPECT_EQ(calls(),
              "I.createInstance " + full("T_A.k=\"5\"") + " {//e/root/z:T_A.k=\"5\" k n}\n");
    client.modifyInstance(ns, created);
    EXPECT_EQ(calls(),
              "I.modifyInstance " + full("T_A.k=\"5\"") + " qualifiers {T_A.k=\"5\" k n}\n");

    // Stored instances are cut down to the list for both.
    client.createInstance(ns, item("T_Far.k=\"1\""));
    const CIMPropertyList key = listOf({"K"});
    ask("", "T_Far k", "T_Far.k=\"1\" k@T_Far", &CIMClient::getInstance, &CIMOMHandle::getInstance,
        path("T_Far.k=\"1\""), true, false, false, key);
    ask("", "T_Far.k=\"1\" k; ", "T_Far.k=\"1\" k@T_Far; ", &CIMClient::enumerateInstances,
        &CIMOMHandle::enumerateInstances, "T_Far", true, true, false, false, key);

    // Classes are the repository's.
    const struct {
        const char* name;
        bool local, qualifiers, origins;
        CIMPropertyList list;
        std::string found;
    } classes[] = {{"t_b", false, true, true, all, "T_B k@T_A^* n@T_A^ s@T_A^ extra@T_B Do@T_A^*"},
                   {"T_B", false, false, false, listOf({"K", "x"}), "T_B k^ Do^"},
                   {"T_B", true, true, false, all, "T_B extra"}};
    for (const auto& c : classes) {
        ask("", c.found, c.found, &CIMClient::getClass, &CIMOMHandle::getClass, c.name, c.local,
            c.qualifiers, c.origins, c.list);
    }
    const std::string c = "T_C k@T_A^* n@T_A^ s@T_A^ extra@T_B^ Do@T_A^*; ";
    ask("", c, c, &CIMClient::enumerateClasses, &CIMOMHandle::enumerateClasses, "T_B", false, false,
        true, true);
    for (const bool deep : {false, true}) {
        const std::string more = deep ? "T_C; " : "", names = "T_B; T_D; " + more,
                          found = "T_B extra; T_D note; " + more;
        ask("", names, names, &CIMClient::enumerateClassNames, &CIMOMHandle::enumerateClassNames,
            "T_A", deep);
        ask("", found, found, &CIMClient::enumerateClasses, &CIMOMHandle::enumerateClasses, "T_A",
            deep, true, false, false);
        ask("", "5 CIM_ERR_INVALID_CLASS: T_No", "5 T_No", &CIMClient::enumerateClassNames,
            &CIMOMHandle::enumerateClassNames, "T_No", deep);
        ask("", "6 CIM_ERR_NOT_FOUND: T_No", "6 T_No", &CIMClient::getClass, &CIMOMHandle::getClass,
            "T_No", deep, true, true, all);
    }
}

TEST_F(Routing, ClientsShareNothingWithProviders) {
    CIMInstance kept = item("T_A.k=\"1\"", 1), received;
    Array<CIMParamValue> in(1, CIMParamValue("p", CIMValue(true))), out, given;
    Scripted* provider = provide("P", {"T_A"}, {ProviderType::Instance, ProviderType::Method});
    provider->get = [&](auto&, auto& handler) {
        handler.deliver(kept);
        kept.getProperty(1).setValue(CIMValue(Uint32(2)));  // still goes out: handles are kept
    };
    provider->create = [&](const Call& call, auto& handler) {
        received = call.instance;
        handler.deliver(call.path);
    };
    provider->invoke = [&](const Call& call, auto& handler) {
        given = call.parameters;
        given[0].setIsTyped(false);
        handler.deliverParamValue(given);
    };
    start();
    CIMInstance got = get("T_A.k=\"1\""), sent = item("T_A.k=\"1\"", 1);
    EXPECT_EQ(property(got, "n"), "2");
    got.getProperty(1).setValue(CIMValue(Uint32(7)));
    EXPECT_EQ(property(kept, "n"), "2");
    client.createInstance(ns, sent);
    sent.getProperty(1).setValue(CIMValue(Uint32(8)));
    EXPECT_EQ(property(received, "n"), "1");
    client.invokeMethod(ns, path("T_A"), "Do", in, out);
    EXPECT_TRUE(in[0].isTyped());
    out[0].setIsTyped(true);
    EXPECT_FALSE(given[0].isTyped());

    provider->cimom.getInstance(none, ns, path("T_A.k=\"1\""), true, false, false, {})
        .setPath(path("T_A"));
    EXPECT_EQ(text(kept.getPath()), "T_A") << "a handle gets the delivered object itself";
    provider->cimom.invokeMethod(none, ns, path("T_A"), "Do", in, out);
    EXPECT_FALSE(in[0].isTyped());
    EXPECT_EQ(said(out), "p:boolean=TRUE; ");
}

TEST_F(Routing, EnumerationsReachEverySubclass) {
    Count inside;
    std::atomic<bool> fail{false};
    for (const auto& [name, classes] :
         std::vector<std::pair<std::string, std::vector<std::string>>>{{"P", {"T_A", "T_C"}},
                                                                       {"Other", {"T_B"}}}) {
        Scripted* provider = noting(name, classes, ProviderType::Instance);
        provider->names = [&](const Call& call, auto& handler) {
            inside.up();
            inside.waitFor(3);  // the three calls run at once
            if (fail && call.path.getClassName() == CIMName("T_B")) {
                throw CIMException(CIM_ERR_ACCESS_DENIED, "sorry");
            }
            handler.deliver(path(text(call.path) + ".k=\"1\""));
        };
        provider->enumerate = [](const Call& call, auto& handler) {
            CIMInstance instance = item(text(call.path) + ".k=\"1\"");
            add(instance, "extra", "x");
            handler.deliver(instance);
        };
    }
    start();
    client.createInstance(ns, item("T_D.k=\"d\""));
    EXPECT_EQ(paths(client.enumerateInstanceNames(ns, "T_A")),
              "T_A.k=\"1\" T_B.k=\"1\" T_C.k=\"1\" T_D.k=\"d\" ");
    EXPECT_EQ(paths(client.enumerateInstanceNames(ns, "T_D")), "T_D.k=\"d\" ");
    fail = true;
    EXPECT_EQ(outcome([&] { client.enumerateInstanceNames(ns, "T_A"); }),
              "2 CIM_ERR_ACCESS_DENIED: sorry");
    calls();
    // Shallow ones ask every provider for the properties of the class.
    const struct {
        bool deep;
        CIMPropertyList list;
        std::string asked, b, d;  // the list given to the provider of T_B, and what comes of it
    } cases[] = {{true, {}, "", " k n extra", " k^ n^ s^ note"},
                 {false, {}, " [k; n; s; ]", " k n", " k^ n^ s^"},
                 {false, listOf({"extra"}), " [extra; ]", " extra", ""}};
    for (const auto& c : cases) {
        const std::string found =
            said(client.enumerateInstances(ns, "T_A", c.deep, true, false, false, c.list));
        EXPECT_NE(found.find("T_B.k=\"1\"" + c.b + ";"), std::string::npos) << found;
        EXPECT_NE(found.find("T_D.k=\"d\"" + c.d + ";"), std::string::npos) << found;
        const std::string asked = calls();
        EXPECT_NE(asked.find("Other.enumerateInstances " + full("T_B") + c.asked + "\n"),
                  std::string::npos)
            << asked;
    }
}

TEST_F(Routing, UnknownPlacesAndStoredInstances) {
    start();
    const struct {
        CIMNamespaceName in;
        std::string object, error;
    } cases[] = {{ns, "T_No", "5 CIM_ERR_INVALID_CLASS: T_No"},
                 {"root/no", "T_A", "3 CIM_ERR_INVALID_NAMESPACE: root/no"}};
    for (const auto& c : cases) {
        const CIMObjectPath one = path(c.object + ".k=\"1\"");
        const CIMInstance instance = item(text(one));
        const std::function<void()> requests[] = {
            [&] { client.getInstance(c.in, one); },
            [&] { client.enumerateInstances(c.in, one.getClassName(), false); },
            [&] { client.enumerateInstanceNames(c.in, one.getClassName()); },
            [&] { client.createInstance(c.in, instance); },
            [&] { client.modifyInstance(c.in, instance); },
            [&] { client.deleteInstance(c.in, one); }};
        for (const auto& request : requests) {
            EXPECT_EQ(outcome(request), c.error);
        }
    }
    const std::string one = "T_D.k=\"1\"";
    EXPECT_EQ(text(client.createInstance(ns, item(one, 5))), one);
    CIMInstance change = item(one, 6);
    add(change, "s", "new");
    client.modifyInstance(ns, change, false, listOf({"s"}));
    EXPECT_EQ(property(get(one), "s") + property(get(one), "n"), "new5");
    client.deleteInstance(ns, path(one));
    EXPECT_EQ(outcome([&] { get(one); }), "6 CIM_ERR_NOT_FOUND: " + one);
}

// What a provider does in getInstance, and what its client sees.
TEST_F(Routing, DeliveriesAndExceptions) {
    using Handler = InstanceResponseHandler;
    const CIMInstance one = item("T_A.k=\"1\"");
    const struct {
        std::function<void(Handler&)> behave;
        const char* outcome;
    } cases[] = {
        {[&](Handler& h) { h.deliver(one), h.complete(); }, "ok"},
        {[](Handler&) {}, "1 CIM_ERR_FAILED: Too few objects delivered."},
        {[&](Handler& h) { h.deliver(Array<CIMInstance>(2, one)); },
         "1 CIM_ERR_FAILED: Too many objects delivered."},
        {[](Handler& h) { h.deliver(CIMInstance()); },
         "1 CIM_ERR_FAILED: The object is not initialized."},
        {[](Handler&) { throw CIMException(CIM_ERR_NOT_FOUND, ""); }, "6 CIM_ERR_NOT_FOUND"},
        {[&](Handler& h) {
             h.deliver(one), h.complete();
             throw TypeMismatchException();
         },
         "1 CIM_ERR_FAILED: type mismatch"},
        {[](Handler&) { throw std::runtime_error("w\xe4hat"); }, "1 CIM_ERR_FAILED: w?hat"},
        {[](Handler&) { throw 5; }, "1 CIM_ERR_FAILED: Unknown error."},
    };
    Scripted* provider = provide("P", {"T_A"}, {ProviderType::Instance, ProviderType::Method});
    start();
    for (const auto& c : cases) {
        provider->get = [&](auto&, auto& handler) { c.behave(handler); };
        EXPECT_EQ(outcome([&] { get("T_A.k=\"1\""); }), c.outcome);
    }
    const auto create = [&] { client.createInstance(ns, one); };
    EXPECT_EQ(outcome(create), "1 CIM_ERR_FAILED: Too few objects delivered.");
    provider->create = [](auto&, auto& handler) { handler.deliver(CIMObjectPath()); };
    EXPECT_EQ(outcome(create), "1 CIM_ERR_FAILED: The object is not initialized.");
    Array<CIMParamValue> out;
    const auto invoke = [&] {
        const CIMValue value = client.invokeMethod(ns, path("T_A"), "Do", {}, out);
        return said(value) + " " + said(out);
    };
    provider->invoke = [](auto&, auto& handler) {
        handler.deliverParamValue(CIMParamValue("late", CIMValue(true)));
        handler.deliver(CIMValue(Uint32(1)));
        handler.deliver(CIMValue(Uint32(2)));
    };
    EXPECT_EQ(answer(invoke), "2 late:boolean=TRUE; ");
    provider->completes = false;
    provider->get = [&](auto&, auto& handler) { handler.deliver(one); };
    provider->names = [](const Call& call, auto& handler) { handler.deliver(call.path); };
    provider->create = provider->names;
    EXPECT_EQ(answer(invoke), "null ");
    EXPECT_EQ(client.enumerateInstanceNames(ns, "T_A").size(), 0u);
    EXPECT_THROW(get("T_A.k=\"1\""), CIMClientXmlException);
    EXPECT_THROW(create(), CIMClientXmlException);
    provider->invoke = [](auto&, auto& handler) { handler.deliver(CIMValue()); };
    EXPECT_EQ(answer(invoke), "1 CIM_ERR_FAILED: The object is not initialized.");
}

TEST_F(Routing, MethodsByClassAndName) {
    noting("All", {"T_A"}, ProviderType::Method);
    noting("Some", {"T_D"}, ProviderType::Method, {"One", "Two"});
    start();
    const struct {
        const char *object, *method;
        std::string called, error;
    } cases[] = {
        {"//h/root/x:T_A.k=\"1\"", "undeclared", "All.invokeMethod " + full("T_A.k=\"1\""), ""},
        {"T_D", "tWO", "Some.invokeMethod " + full("T_D"), ""},
        {"T_D", "Do", "", "16 CIM_ERR_METHOD_NOT_AVAILABLE: Do"},
        {"T_B", "Do", "", "16 CIM_ERR_METHOD_NOT_AVAILABLE: Do"},  // a superclass's does not count
        {"T_No", "Do", "", "6 CIM_ERR_NOT_FOUND: T_No"}};
    Array<CIMParamValue> out;
    for (const auto& c : cases) {
        const std::string error =
            outcome([&] { client.invokeMethod(ns, path(c.object), c.method, {}, out); });
        EXPECT_EQ(error, c.error.empty() ? "ok" : c.error);
        EXPECT_EQ(calls(), c.called.empty() ? "" : c.called + " " + c.method + "\n");
    }
}

TEST_F(Routing, UntypedParametersGetTheDeclaredType) {
    provide("P", {"T_A"}, {ProviderType::Method})->invoke = [](const Call& call, auto& handler) {
        handler.deliver(CIMValue(true));
        handler.deliverParamValue(call.parameters);
    };
    start();
    Array<String> flags(1, "true");
    flags.append("FALSE");
    const struct {
        const char* name;
        CIMValue value;
        std::string arrives;  // empty for a refusal
        bool typed = false;
    } cases[] = {
        {"small", CIMValue(String("200")), "uint8=200"},
        {"Small", CIMValue(Sint64(7)), "uint8=7"},
        {"Small", CIMValue(CIMTYPE_STRING, false), "uint8=null"},
        {"Small", CIMValue(flags), "string=true FALSE "},
        {"Flags", CIMValue(flags), "boolean=TRUE FALSE "},
        {"Peer", CIMValue(String("T_A.k=\"1\"")), "reference=T_A.k=\"1\""},
        {"Numbers", CIMValue(Array<Uint8>(2, 7)), "sint64=7 7 "},
        {"Text", CIMValue(Array<Char16>(1, 'x')), "char16=x "},
        {"other", CIMValue(String("7")), "string=7"},
        {"no name", CIMValue(String("7")), "string=7"},
        {"Small", CIMValue(String("256")), ""},
        {"Small", CIMValue(Sint8(-1)), ""},
        {"Flags", CIMValue(Array<String>(1, "maybe")), ""},
        {"Peer", CIMValue(String("no path")), ""},
        {"Small", CIMValue(String("7")), "string=7", true},
    };
    for (const auto& c : cases) {
        const Array<CIMParamValue> in(1, CIMParamValue(c.name, c.value, c.typed));
        Array<CIMParamValue> out;
        const std::string result =
            answer([&] { return client.invokeMethod(ns, path("T_A"), "Do", in, out); });
        EXPECT_EQ(said(out), c.arrives.empty() ? "" : c.name + (":" + c.arrives + "; "));
        EXPECT_EQ(result.substr(0, result.find(": \"")),
                  c.arrives.empty()
                      ? "4 CIM_ERR_INVALID_PARAMETER: parameter " + std::string(c.name)
                      : "TRUE");
    }
}

TEST_F(Routing, AssociationsAskTheProvidersThatCount) {
    noting("P", {"T_Link", "T_SubLink"}, ProviderType::Association);
    noting("OfB", {"T_BLink"}, ProviderType::Association);
    start();
    const std::string a = "T_A.k=\"1\"", b = "T_B.k=\"1\"", far = "T_Far.k=\"1\"";
    const struct {
        std::string object;
        CIMName association;
        std::vector<std::string> asked;
    } cases[] = {
        {a, CIMName(), {"P. T_Link", "P. T_SubLink"}},  // T_BLink links a subclass only
        {b, CIMName(), {"OfB. T_BLink", "P. T_Link", "P. T_SubLink"}},
        {"//h/root/x:" + far, CIMName(), {"OfB. T_BLink", "P. T_Link", "P. T_SubLink"}},
        {b, "t_link", {"P. T_Link", "P. T_SubLink"}},
        {b, "T_BLink", {"OfB. T_BLink"}},
        {a, "T_BLink", {}},
        {a, "T_Far", {}},        // no association
        {"T_A", CIMName(), {}},  // about the class: the schema knows
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.object + text(c.association));
        const CIMObjectPath object = path(c.object);
        const std::string given =
            full(text(CIMObjectPath("", {}, object.getClassName(), object.getKeyBindings())));
        const std::pair<std::string, std::function<void()>> requests[] = {
            {"associators", [&] { client.associators(ns, object, c.association); }},
            {"associatorNames", [&] { client.associatorNames(ns, object, c.association); }},
            {"references", [&] { client.references(ns, object, c.association); }},
            {"referenceNames", [&] { client.referenceNames(ns, object, c.association); }}};
        for (const auto& [operation, request] : requests) {
            std::string expected;
            for (const std::string& asked : c.asked) {
                const std::size_t dot = asked.find('.') + 1;
                expected +=
                    asked.substr(0, dot) + operation + " " + given + asked.substr(dot) + "\n";
            }
            request();
            EXPECT_EQ(calls(), expected);
        }
    }
}

TEST_F(Routing, AssociationErrorsAndPlaces) {
    Scripted* provider = provide("P", {"T_Link"}, {ProviderType::Association});
    start();
    const CIMName any;
    const CIMObjectPath a = path("T_A.k=\"1\""), unknown = path("T_No.k=\"1\"");
    const std::string parameter = "4 CIM_ERR_INVALID_PARAMETER";
    const std::pair<std::string, std::function<void()>> refused[] = {
        {parameter, [&] { client.associatorNames(ns, CIMObjectPath()); }},
        {parameter + ": T_No", [&] { client.references(ns, unknown); }},
        {parameter + ": T_No", [&] { client.associatorNames(ns, a, "T_No"); }},
        {parameter + ": T_No", [&] { client.references(ns, a, "T_No"); }},
        {"5 CIM_ERR_INVALID_CLASS: T_No", [&] { client.associators(ns, a, any, "T_No"); }},
        {parameter + ": role a b", [&] { client.associatorNames(ns, a, any, any, "a b"); }},
        {parameter + ": role 1", [&] { client.associators(ns, a, any, any, "", "1"); }},
        {"3 CIM_ERR_INVALID_NAMESPACE: root/no", [&] { client.references("root/no", a); }}};
    for (const auto& [error, request] : refused) {
        EXPECT_EQ(outcome(request), error);
    }
    for (const char* place : {"//h/root/PG_InterOp:", "root/nowhere:", ""}) {
        CIMObject object(item(place + std::string("T_Far.k=\"2\"")));
        provider->linkObjects = [&](auto&, auto& handler) { handler.deliver(object); };
        provider->linkPaths = [&](auto&, auto& handler) { handler.deliver(object.getPath()); };
        const std::string name = paths(client.associatorNames(ns, a));
        EXPECT_EQ(outcome([&] { client.associators(ns, a); }),
                  *place == 'r' ? "3 CIM_ERR_INVALID_NAMESPACE: root/nowhere" : "ok");
        EXPECT_EQ(name, text(object.getPath()) + " ") << "the object itself was completed";
        EXPECT_EQ(name, (*place == 'r' ? full("T_Far.k=\"2\"", "root/nowhere")
                         : *place      ? place + std::string("T_Far.k=\"2\"")
                                       : full("T_Far.k=\"2\"")) +
                            " ");
    }
    provider->linkObjects = [](auto&, auto& handler) { handler.deliver(CIMObject()); };
    EXPECT_EQ(code([&] { client.associators(ns, a); }), CIM_ERR_FAILED);

    const CIMInstance kept = item("T_Link.k=\"1\"");  // delivered to many at once
    provider->linkObjects = [&](auto&, auto& handler) { handler.deliver(CIMObject(kept)); };
    inThreads(4, [&](int) {
        CIMClient own;
        own.connectLocal();
        for (int i = 0; i < 20; i++) {
            EXPECT_EQ(paths(own.references(ns, a)), full("T_Link.k=\"1\"") + " ");
        }
    });
}

TEST_F(Routing, StoredAssociationsAndClassLinks) {
    start();
    const auto store = [&](const char* association, const std::string& near, const char* far) {
        CIMInstance link{CIMName(association)};
        add(link, "Near", CIMValue(path(near)));
        add(link, "Far", CIMValue(path(far)));
        client.createInstance(ns, link);
    };
    const std::string b = "T_B.k=\"1\"", far = "T_Far.k=\"1\"";
    store("T_StoredLink", "root/test:" + b, far.c_str());
    store("T_StoredLink", full(b), "T_Far.k=\"2\"");
    store("T_BLink", b, far.c_str());
    store("T_StoredLink", "root/other:" + b, "T_Far.k=\"3\"");
    store("T_StoredLink", "//h/root/test:" + b, "T_Far.k=\"4\"");
    client.createInstance(ns, item(far));
    const CIMName any;
    const std::string one = full(far) + " ", two = full("T_Far.k=\"2\"") + " ";
    const struct {
        std::string object;
        CIMName association, result;
        const char *role, *resultRole;
        std::string associators;
    } cases[] = {
        {b, any, any, "", "", one + one + two},
        {b, "T_StoredLink", "T_Far", "near", "FAR", one + two},
        {b, any, "T_A", "", "", ""},
        {b, any, any, "Far", "", ""},
        {b, any, any, "", "Near", ""},
        {far, "T_BLink", "T_A", "", "", full(b) + " "},
        {"T_A", any, any, "", "", full("T_Far") + " "},
        {"T_A", any, any, "Far", "", ""},
        {"T_Far", any, any, "", "", full("T_A") + " " + full("T_B") + " "},
        {"T_Far", any, "T_B", "", "", full("T_B") + " "},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(paths(client.associatorNames(ns, path(c.object), c.association, c.result, c.role,
                                               c.resultRole)),
                  c.associators)
            << c.object << c.role << c.resultRole;
    }
    EXPECT_EQ(
        said(client.associators(ns, path(b), "T_BLink", any, "", "", false, false, listOf({"n"}))),
        full(far) + " n; ");
    EXPECT_EQ(outcome([&] { client.associators(ns, path(b)); }),
              "6 CIM_ERR_NOT_FOUND: T_Far.k=\"2\"");
    EXPECT_EQ(client.references(ns, path(b)).size(), 3u);
    EXPECT_EQ(client.referenceNames(ns, path(far), any, "Far").size(), 2u);
    const std::string link = full("T_BLink.Far=\"T_Far.k=\\\"1\\\"\",Near=\"T_B.k=\\\"1\\\"\"");
    EXPECT_EQ(said(client.referenceNames(ns, path(far), "T_BLink")), link + "; ");
    EXPECT_EQ(said(client.references(ns, path(far), "T_BLink", "", false, false, listOf({"Near"}))),
              link + " Near; ");
    EXPECT_EQ(said(client.references(ns, path("T_A"), "t_link", "", false, true)),
              full("T_Link") + " Near@T_Link Far@T_Link; " + full("T_SubLink") +
                  " Near@T_Link^ Far@T_Link^; ");
}

}  // namespace
