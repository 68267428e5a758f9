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
    const CIMValue value = parameter.getValue();
    return text(parameter.getParameterName()) + ":" + cimTypeToString(value.getType()) + "=" +
           said(value);
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
        all +=
            said(method, method.getQualifierCount() + method.getParameter(0).getQualifierCount());
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
    for (const String& each : {call.associationClass.getString(), call.resultClass.getString(),
                               call.role, call.resultRole, call.methodName.getString()}) {
        all += each.size() == 0 ? "" : " " + text(each);
    }
    all += call.includeQualifiers ? " qualifiers" : "";
    all += call.includeClassOrigin ? " origins" : "";
    if (!call.propertyList.isNull()) {
        all += " [" + said(call.propertyList.getPropertyNameArray()) + "]";
    }
    all += call.instance.isUninitialized() ? "" : " {" + said(call.instance) + "}";
    return all + (call.parameters.size() == 0 ? "" : " (" + said(call.parameters) + ")") + "\n";
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
    const CIMPropertyList all;
    CIMOMHandle cimom;

    Routing() {
        observer.begin = [this](const Step& step) {
            if (step.kind == Step::Kind::Request || step.kind == Step::Kind::Upcall) {
                _fromHandle = step.kind == Step::Kind::Upcall;
            }
        };
    }
    /// A provider whose calls are noted.
    Scripted* noting(const std::string& name, const std::vector<std::string>& classes,
                     ProviderType type, const std::vector<std::string>& methods = {}) {
        Scripted* provider = provide(name, classes, {type}, methods);
        provider->onCall = [this, name](const Call& call) {
            const std::lock_guard<std::mutex> guard(_lock);
            _calls.insert(name + "." + said(call));
            _context = call.context;
        };
        return provider;
    }
    /// Those since the last question, sorted.
    std::string calls() {
        const std::string noted = std::accumulate(_calls.begin(), _calls.end(), std::string());
        _calls.clear();
        return noted;
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
        EXPECT_EQ(calls(), call.empty() ? "" : call + "\n");
        EXPECT_EQ(_fromHandle, fromHandle);
        if (!call.empty()) {
            const IdentityContainer identity(_context.get(IdentityContainer::NAME));
            EXPECT_EQ(text(identity.getUserName()) == "caller", fromHandle);
        }
    }
    std::mutex _lock;
    std::multiset<std::string> _calls;
    OperationContext _context;
    std::atomic<bool> _fromHandle{false};
};

#define BOTH(operation) &CIMClient::operation, &CIMOMHandle::operation

TEST_F(Routing, WhatProvidersAreGivenAndCallersGet) {
    // One class may have a provider of each type.
    Scripted* instances = noting("I", {"T_A", "T_Link"}, ProviderType::Instance);
    Scripted* methods = noting("M", {"T_A"}, ProviderType::Method);
    Scripted* links = noting("L", {"T_Link", "T_SubLink"}, ProviderType::Association);
    CIMInstance kept = item("//h/root/x:T_A.k=\"9\"", 1), linked = item("T_Far.k=\"9\"");
    kept.addQualifier(CIMQualifier("Q", true));
    kept.getProperty(1).addQualifier(CIMQualifier("Q", true));
    kept.getProperty(1).setClassOrigin("T_A");
    instances->get = instances->enumerate = [&](auto&, auto& h) { h.deliver(kept); };
    instances->names = instances->create = [&](auto&, auto& h) { h.deliver(kept.getPath()); };
    links->linkObjects = [&](auto&, auto& h) { h.deliver(CIMObject(linked)); };
    links->linkPaths = [](auto&, auto& h) { h.deliver(path("T_Far.k=\"9\"")); };
    methods->invoke = [](auto&, auto& h) { h.deliver(CIMValue(Uint32(7))); };
    start();
    client.enumerateInstanceNames(ns, "T_A");  // loads the provider
    cimom = instances->cimom;
    calls();

    const CIMPropertyList list = listOf({"N", "x"}), key = listOf({"K"});
    const CIMObjectPath one = path("//elsewhere/root/other:" + A1);
    const std::string given = full(A1), there = text(kept.getPath()), whole = there + "* k n@T_A*";
    const std::string farther = full("T_Far.k=\"9\""), here = "T_A.k=\"9\"";
    ask("I.getInstance " + given + " qualifiers [N; x; ]", "T_A* n*", whole, BOTH(getInstance), one,
        true, true, false, list);
    ask("I.enumerateInstances " + full("t_a") + " origins [N; x; ]", here + " n@T_A; ",
        whole + "; ", BOTH(enumerateInstances), "t_a", true, true, false, true, list);
    ask("I.enumerateInstanceNames " + full("T_A"), here + "; ", there + "; ",
        BOTH(enumerateInstanceNames), "T_A");
    ask("I.modifyInstance " + given + " qualifiers [N; x; ] {T_A.k=\"1\" k n}", "", "",
        BOTH(modifyInstance), item(A1), true, list);
    ask("I.deleteInstance " + given, "", "", BOTH(deleteInstance), one);
    ask("L.associators " + given + " T_SubLink T_Far no Far qualifiers [N; x; ]", farther + " n; ",
        farther + " k n; ", BOTH(associators), one, "t_sublink", "T_Far", "no", "Far", true, false,
        list);
    EXPECT_EQ(text(linked.getPath()), farther) << "completed in the provider's own object";
    ask("L.associatorNames " + given + " T_SubLink T_B Near x", farther + "; ", farther + "; ",
        BOTH(associatorNames), one, "T_SubLink", "T_B", "Near", "x");
    ask("L.references " + given + " T_SubLink far origins [N; x; ]", farther + " n; ",
        farther + " k n; ", BOTH(references), one, "t_sublink", "far", false, true, list);
    ask("L.referenceNames " + given + " T_SubLink Near", farther + "; ", farther + "; ",
        BOTH(referenceNames), one, "t_sublink", "Near");
    Array<CIMParamValue> in(1, CIMParamValue("Small", String("7"))), out;
    ask("M.invokeMethod " + given + " undeclared (Small:string=7; )", "7", "7", BOTH(invokeMethod),
        one, "undeclared", in, std::ref(out));
    // A client sends no path of a new instance, and neither shows the other's place.
    const CIMInstance created = item("//e/root/z:" + A1);
    EXPECT_EQ(answer([&] { return client.createInstance(ns, created); }), here);
    EXPECT_EQ(calls(), "I.createInstance " + full("T_A") + " {T_A k n}\n");
    EXPECT_EQ(answer([&] { return cimom.createInstance(none, ns, created); }), there);
    EXPECT_EQ(calls(), "I.createInstance " + given + " {//e/root/z:" + A1 + " k n}\n");
    client.modifyInstance(ns, created);
    EXPECT_EQ(calls(), "I.modifyInstance " + given + " qualifiers {" + A1 + " k n}\n");

    // Stored instances are cut down to the list for both, classes are the same for both.
    client.createInstance(ns, item(FAR1, 1));
    const CIMInstance change = item(FAR1, 2);
    cimom.modifyInstance(none, ns, change, false, key);
    EXPECT_EQ(property(get(FAR1), "n") + property(change, "n"), "12");
    ask("", "T_Far k", FAR1 + " k@T_Far", BOTH(getInstance), path(FAR1), true, false, false, key);
    ask("", FAR1 + " k; ", FAR1 + " k@T_Far; ", BOTH(enumerateInstances), "T_Far", true, true,
        false, false, key);
    CIMInstance link{CIMName("T_BLink")};
    add(link, "Near", CIMValue(path(B1)));
    add(link, "Far", CIMValue(path(FAR1)));
    const std::string stored = full(text(client.createInstance(ns, link)));
    ask("", full(FAR1) + " k; ", full(FAR1) + " k@T_Far; ", BOTH(associators), path(B1), "T_BLink",
        CIMName(), "", "", false, false, key);
    ask("", stored + " Far; ", stored + " Far@T_BLink; ", BOTH(references), path(B1), "T_BLink", "",
        false, false, listOf({"Far"}));
    const std::string inherited = " k@T_A^* n@T_A^ s@T_A^ extra@T_B",
                      b1 = "T_B" + inherited + " Do@T_A^*", c1 = "T_C" + inherited + "^ Do@T_A^*; ";
    ask("", b1, b1, BOTH(getClass), "t_b", false, true, true, all);
    ask("", "T_B k^ Do^", "T_B k^ Do^", BOTH(getClass), "T_B", false, false, false, key);
    ask("", "T_B extra", "T_B extra", BOTH(getClass), "T_B", true, true, false, all);
    ask("", c1, c1, BOTH(enumerateClasses), "T_B", false, false, true, true);
    for (const bool deep : {false, true}) {
        const std::string last = deep ? "T_C; " : "", found = "T_B extra; T_D note; " + last;
        ask("", found, found, BOTH(enumerateClasses), "T_A", deep, true, false, false);
        ask("", "T_B; T_D; " + last, "T_B; T_D; " + last, BOTH(enumerateClassNames), "T_A", deep);
    }
    ask("", "5 CIM_ERR_INVALID_CLASS: T_No", "5 T_No", BOTH(enumerateClassNames), "T_No", true);
}

TEST_F(Routing, ClientsShareNothingWithProviders) {
    CIMInstance kept = item(A1, 1), received, sent = item(A1, 1);
    Array<CIMParamValue> in(1, CIMParamValue("Small", CIMValue(String("7")))), out, given;
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
        given[0].setIsTyped(!given[0].isTyped());
        handler.deliverParamValue(given);
    };
    start();
    CIMInstance got = get(A1);
    EXPECT_EQ(property(got, "n"), "2");
    got.getProperty(1).setValue(CIMValue(Uint32(7)));
    EXPECT_EQ(property(kept, "n"), "2");
    client.createInstance(ns, sent);
    sent.getProperty(1).setValue(CIMValue(Uint32(8)));
    EXPECT_EQ(property(received, "n"), "1");
    client.invokeMethod(ns, path("T_A"), "Do", in, out);
    out[0].setIsTyped(true);
    EXPECT_TRUE(in[0].isTyped() && !given[0].isTyped());
    // A handle gives and gets the objects themselves, and no parameter gets another type.
    provider->cimom.getInstance(none, ns, path(A1), true, false, false, {}).setPath(path("T_A"));
    EXPECT_EQ(text(kept.getPath()), "T_A");
    in[0].setIsTyped(false);
    out.clear();
    provider->cimom.invokeMethod(none, ns, path("T_A"), "Do", in, out);
    EXPECT_EQ(said(out), "Small:string=7; ");
    EXPECT_TRUE(in[0].isTyped());
}

TEST_F(Routing, EnumerationsReachEverySubclass) {
    Count inside;
    std::atomic<bool> fail{false};
    Scripted* providers[] = {noting("P", {"T_A", "T_C"}, ProviderType::Instance),
                             noting("Q", {"T_B"}, ProviderType::Instance)};
    for (Scripted* provider : providers) {
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
              A1 + " " + B1 + " T_C.k=\"1\" T_D.k=\"d\" ");
    fail = true;
    EXPECT_EQ(outcome([&] { client.enumerateInstanceNames(ns, "T_A"); }), "2 sorry");
    calls();
    // Shallow ones ask every provider for the properties of the class.
    const struct {
        bool deep;
        CIMPropertyList list;
        std::string asked, b, d;  // the list given to the provider of T_B, and what comes of it
    } cases[] = {{true, {}, "", " k n extra", " k^ n^ s^ note"},
                 {false, {}, " [k; n; s; ]", " k n", " k^ n^ s^"},
                 {false, listOf({"extra"}), " [extra; ]", " extra", ""},
                 {true, listOf({"s", "n", "N", "k"}), " [s; n; N; k; ]", " n k", " s^ n^ k^"}};
    for (const auto& c : cases) {
        std::string found =
            said(client.enumerateInstances(ns, "T_A", c.deep, true, false, false, c.list));
        found += calls();
        for (const std::string& part : {B1 + c.b + ";", "T_D.k=\"d\"" + c.d + ";",
                                        "Q.enumerateInstances " + full("T_B") + c.asked + "\n"}) {
            EXPECT_NE(found.find(part), std::string::npos) << part << " in " << found;
        }
    }
}

// What a provider does in getInstance, and what its client sees.
TEST_F(Routing, DeliveriesAndExceptions) {
    using Handler = InstanceResponseHandler;
    const CIMInstance one = item(A1);
    const std::string failed = "1 CIM_ERR_FAILED: ",
                      empty = failed + "The object is not initialized.";
    const std::pair<std::string, std::function<void(Handler&)>> cases[] = {
        {"ok", [&](Handler& h) { h.deliver(one), h.complete(); }},
        {failed + "Too few objects delivered.", [](Handler&) {}},
        {failed + "Too many objects delivered.",
         [&](Handler& h) { h.deliver(Array<CIMInstance>(2, one)); }},
        {empty, [](Handler& h) { h.deliver(CIMInstance()); }},
        {"6 CIM_ERR_NOT_FOUND", [](Handler&) { throw CIMException(CIM_ERR_NOT_FOUND, ""); }},
        {failed + "type mismatch",
         [&](Handler& h) { h.deliver(one), h.complete(), throw TypeMismatchException(); }},
        {failed + "w?hat", [](Handler&) { throw std::runtime_error("w\xe4hat"); }},
        {failed + "Unknown error.", [](Handler&) { throw 5; }}};
    Scripted* provider = provide("P", {"T_A"}, {ProviderType::Instance, ProviderType::Method});
    start();
    for (const auto& [expected, behave] : cases) {
        provider->get = [behave = behave](auto&, auto& handler) { behave(handler); };
        EXPECT_EQ(outcome([&] { get(A1); }), expected);
    }
    Array<CIMParamValue> out;
    const auto create = [&] { client.createInstance(ns, one); };
    const auto invoke = [&] {
        const CIMValue value = client.invokeMethod(ns, path("T_A"), "Do", {}, out);
        return said(value) + " " + said(out);
    };
    EXPECT_EQ(outcome(create), failed + "Too few objects delivered.");
    provider->create = [](auto&, auto& handler) { handler.deliver(CIMObjectPath()); };
    EXPECT_EQ(outcome(create), empty);
    provider->invoke = [](auto&, auto& handler) {
        handler.deliverParamValue(CIMParamValue("late", CIMValue(true)));
        handler.deliver(CIMValue(Uint32(1)));
        handler.deliver(CIMValue(Uint32(2)));
    };
    EXPECT_EQ(answer(invoke), "2 late:boolean=TRUE; ");
    provider->completes = false;
    provider->get = [&](auto&, auto& handler) { handler.deliver(one); };
    provider->names = provider->create = [](const Call& call, auto& h) { h.deliver(call.path); };
    EXPECT_EQ(answer(invoke), "null ");
    EXPECT_EQ(client.enumerateInstanceNames(ns, "T_A").size(), 0u);
    EXPECT_THROW(get(A1), CIMClientXmlException);
    EXPECT_THROW(create(), CIMClientXmlException);
    provider->invoke = [](auto&, auto& handler) { handler.deliver(CIMValue()); };
    EXPECT_EQ(answer(invoke), empty);
}

TEST_F(Routing, UntypedParametersGetTheDeclaredType) {
    provide("P", {"T_A"}, {ProviderType::Method})->invoke = [](const Call& call, auto& handler) {
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
    } cases[] = {{"small", String("200"), "uint8=200"},
                 {"Small", Sint64(7), "uint8=7"},
                 {"Small", CIMValue(CIMTYPE_STRING, false), "uint8=null"},
                 {"Small", flags, "string=true FALSE "},
                 {"Flags", flags, "boolean=TRUE FALSE "},
                 {"Peer", String("T_A.k=\"1\""), "reference=T_A.k=\"1\""},
                 {"Numbers", Array<Uint8>(2, 7), "sint8=7 7 "},
                 {"Texts", Array<Char16>(1, 'x'), "string=x "},
                 {"Ratio", String("1.5"), "real32=1.5000000000000000e+00"},
                 {"no name", String("7"), "string=7"},
                 {"Ratio", String("1.5x"), ""},
                 {"Letter", String("xy"), ""},
                 {"Small", String("256"), ""},
                 {"Small", Sint8(-1), ""},
                 {"Numbers", Array<Sint16>(1, -129), ""},
                 {"Flags", Array<String>(1, "maybe"), ""},
                 {"Peer", String("no path"), ""},
                 {"Small", String("7"), "string=7", true}};
    for (const auto& c : cases) {
        Array<CIMParamValue> in(1, CIMParamValue(c.name, c.value, c.typed)), out;
        const std::string error =
            outcome([&] { client.invokeMethod(ns, path("T_A"), "Do", in, out); });
        EXPECT_EQ(said(out), c.arrives.empty() ? "" : c.name + (":" + c.arrives + "; "));
        EXPECT_EQ(error.substr(0, error.find(": \"")),
                  c.arrives.empty()
                      ? "4 CIM_ERR_INVALID_PARAMETER: parameter " + std::string(c.name)
                      : "ok");
    }
}

TEST_F(Routing, Errors) {
    noting("M", {"T_D"}, ProviderType::Method, {"One", "Two"});
    provide("L", {"T_Link"}, {ProviderType::Association})->linkObjects = [](auto&, auto& h) {
        h.deliver(CIMObject());
    };
    start();
    Array<CIMParamValue> out;
    const auto invoke = [&](const char* object, const char* method) {
        return [&, object, method] { client.invokeMethod(ns, path(object), method, {}, out); };
    };
    const CIMName any;
    const CIMObjectPath one = path(A1), no = path("T_No.k=\"1\"");
    const std::string parameter = "4 CIM_ERR_INVALID_PARAMETER",
                      missing = "16 CIM_ERR_METHOD_NOT_AVAILABLE: Do";
    const std::pair<std::string, std::function<void()>> errors[] = {
        {"5 CIM_ERR_INVALID_CLASS: T_No", [&] { client.getInstance(ns, no); }},
        {"3 CIM_ERR_INVALID_NAMESPACE: root/no",
         [&] { client.enumerateInstances("root/no", "T_A"); }},
        {"ok", invoke("T_D", "tWO")},
        {missing, invoke("T_D", "Do")},
        {missing, invoke("T_B", "Do")},  // a superclass's provider does not count
        {"6 CIM_ERR_NOT_FOUND: T_No", invoke("T_No", "Do")},
        {parameter + (overHttp ? ": Required parameter \"ObjectName\" missing from request." : ""),
         [&] { client.associatorNames(ns, CIMObjectPath()); }},
        {parameter + ": T_No", [&] { client.references(ns, no); }},
        {parameter + ": T_No", [&] { client.associatorNames(ns, one, "T_No"); }},
        {parameter + ": T_No", [&] { client.references(ns, one, "T_No"); }},
        {"5 CIM_ERR_INVALID_CLASS: T_No", [&] { client.associators(ns, one, any, "T_No"); }},
        {parameter + ": role a b", [&] { client.associatorNames(ns, one, any, any, "a b"); }},
        {parameter + ": role 1", [&] { client.associators(ns, one, any, any, "", "1"); }},
        {"1 CIM_ERR_FAILED: The object is not initialized.", [&] { client.associators(ns, one); }}};
    for (const auto& [error, request] : errors) {
        EXPECT_EQ(outcome(request), error);
    }
    EXPECT_EQ(calls(), "M.invokeMethod " + full("T_D") + " tWO\n");
}

TEST_F(Routing, AssociationProvidersThatCount) {
    Scripted* provider = noting("P", {"T_Link", "T_SubLink", "T_BLink"}, ProviderType::Association);
    start();
    provider->linkObjects = [](auto&, auto&) {
        throw CIMException(CIM_ERR_INVALID_PARAMETER, "invalid role");
    };
    EXPECT_EQ(outcome([&] { client.references(ns, path(A1)); }),
              "4 CIM_ERR_INVALID_PARAMETER: invalid role")
        << "from two at once";
    provider->linkObjects = nullptr;
    calls();
    const struct {
        std::string object;
        CIMName association;
        std::vector<const char*> asked;
    } cases[] = {{A1, {}, {"T_Link", "T_SubLink"}},  // T_BLink links a subclass only
                 {B1, {}, {"T_BLink", "T_Link", "T_SubLink"}},
                 {FAR1, {}, {"T_BLink", "T_Link", "T_SubLink"}},
                 {B1, "t_link", {"T_Link", "T_SubLink"}},
                 {B1, "T_BLink", {"T_BLink"}},
                 {A1, "T_BLink", {}},
                 {A1, "T_Far", {}},  // no association
                 {"T_A", {}, {}}};   // about the class: the schema knows
    for (const auto& c : cases) {
        std::string names, objects;
        for (const char* association : c.asked) {
            names += "P.associatorNames " + full(c.object) + " " + association + "\n";
            objects += "P.references " + full(c.object) + " " + association + "\n";
        }
        client.associatorNames(ns, path("//h/root/x:" + c.object), c.association);
        EXPECT_EQ(calls(), names);
        client.references(ns, path(c.object), c.association);
        EXPECT_EQ(calls(), objects);
    }
    // What a path lacks is completed, in the delivered object itself.
    const std::string places[][2] = {{"//h/root/PG_InterOp:" + FAR1, "//h/root/PG_InterOp:" + FAR1},
                                     {FAR1, full(FAR1)},
                                     {"root/no:" + FAR1, full(FAR1, "root/no")}};
    for (const auto& [place, whole] : places) {
        const CIMObject object(item(place));
        provider->linkObjects = [&](auto&, auto& handler) { handler.deliver(object); };
        provider->linkPaths = [&](auto&, auto& handler) { handler.deliver(object.getPath()); };
        EXPECT_EQ(paths(client.referenceNames(ns, path(A1), "T_SubLink")), whole + " ");
        EXPECT_EQ(outcome([&] { client.references(ns, path(A1), "T_SubLink"); }),
                  place[0] == 'r' ? "3 CIM_ERR_INVALID_NAMESPACE: root/no" : "ok");
        EXPECT_EQ(text(object.getPath()), whole);
    }
}

// Run under the thread sanitizer.
TEST_F(Routing, ClientsShareTheRepository) {
    start();
    inThreads(4, [&](int t) {
        CIMClient own;
        connect(own);
        for (int i = 0; i < 20; i++) {
            const std::string name = "T_" + std::to_string(t) + "_" + std::to_string(i);
            own.createClass(ns, CIMClass(CIMName(name.c_str()), "T_D"));
            own.createInstance(ns, item("T_D.k=\"" + name + "\""));
            own.modifyInstance(ns, item("T_D.k=\"" + name + "\"", 2));
            own.enumerateInstances(ns, "T_D");
            own.deleteInstance(ns, path("T_D.k=\"" + name + "\""));
        }
    });
    EXPECT_EQ(client.enumerateInstances(ns, "T_D").size(), 0u);
}

TEST_F(Routing, StoredAssociationsAndClassLinks) {
    server.compileMofText("root/test", R"(
        class T_NoLink { [Key] T_Far REF One; [Key] T_D REF Two; };
        [Association] class T_Self { [Key] T_C REF One; [Key] T_C REF Two; T_A REF Three; };)");
    server.compileMofText("root/other", R"(Qualifier Key : boolean = false, Scope(property),
            Flavor(DisableOverride, ToSubclass);
        class T_Far { [Key] string k; }; instance of T_Far { k = "5"; };)");
    start();
    const std::string far2 = "T_Far.k=\"2\"";
    const std::string stored[][3] = {{"T_StoredLink", "root/test:" + B1, FAR1},
                                     {"T_StoredLink", full(B1), far2},
                                     {"T_BLink", B1, FAR1},
                                     {"T_StoredLink", "root/other:" + B1, "T_Far.k=\"3\""},
                                     {"T_StoredLink", "//h/root/test:" + B1, "T_Far.k=\"4\""},
                                     {"T_StoredLink", "T_B.k=\"2\"", "root/other:T_Far.k=\"5\""}};
    for (const auto& [association, near, end] : stored) {
        CIMInstance link{CIMName(association.c_str())};
        add(link, "Near", CIMValue(path(near)));
        add(link, "Far", CIMValue(path(end)));
        client.createInstance(ns, link);
    }
    client.createInstance(ns, item(FAR1));
    const CIMName any;
    const std::string one = full(FAR1) + " ", two = full(far2) + " ";
    const struct {
        std::string object;
        CIMName association, result;
        const char *role, *resultRole;
        std::string associators;
    } cases[] = {{B1, any, any, "", "", one + one + two},
                 {B1, "T_StoredLink", "T_Far", "near", "FAR", one + two},
                 {B1, any, "T_A", "", "", ""},
                 {B1, any, any, "Far", "", ""},
                 {B1, any, any, "", "Near", ""},
                 {FAR1, "T_BLink", "T_A", "", "", full(B1) + " "},
                 {"T_A", any, any, "", "", full("T_C") + " " + full("T_Far") + " "},
                 {"T_A", any, any, "Far", "", ""},
                 {"T_Far", any, any, "", "", full("T_A") + " " + full("T_B") + " "},
                 {"T_Far", any, "T_B", "", "", full("T_B") + " "}};
    for (const auto& c : cases) {
        EXPECT_EQ(paths(client.associatorNames(ns, path(c.object), c.association, c.result, c.role,
                                               c.resultRole)),
                  c.associators)
            << c.object << c.role << c.resultRole;
    }
    EXPECT_EQ(outcome([&] { client.associators(ns, path(B1)); }), "6 CIM_ERR_NOT_FOUND: " + far2);
    EXPECT_EQ(paths(client.associators(ns, path("T_B.k=\"2\""))),
              full("T_Far.k=\"5\"", "root/other") + " ");
    EXPECT_EQ(client.references(ns, path(B1)).size(), 3u);
    EXPECT_EQ(client.referenceNames(ns, path(FAR1), any, "Far").size(), 2u);
    const std::string link = full("T_BLink.Far=\"T_Far.k=\\\"1\\\"\",Near=\"T_B.k=\\\"1\\\"\"");
    EXPECT_EQ(said(client.referenceNames(ns, path(FAR1), "T_BLink")), link + "; ");
    EXPECT_EQ(said(client.references(ns, path("T_A"), "t_link", "", false, true)),
              full("T_Link") + " Near@T_Link Far@T_Link; " + full("T_SubLink") +
                  " Near@T_Link^ Far@T_Link^; ");
    // An object that is linked to itself.
    const std::string c = "T_C.k=\"1\"";
    CIMInstance self{CIMName("T_Self")};
    add(self, "One", CIMValue(path(c)));
    add(self, "Two", CIMValue(path(c)));
    client.createInstance(ns, self);
    EXPECT_EQ(client.references(ns, path(c)).size(), 1u);
    EXPECT_EQ(paths(client.associatorNames(ns, path(c))), full(c) + " " + full(c) + " ");
}

}  // namespace
