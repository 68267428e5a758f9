// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Where instance and class operations go, what a provider gets, and what a client gets back.
#include <atomic>
#include <stdexcept>

#include "support/ScriptedServer.h"

using namespace support;

namespace {

class InstanceRouting : public ScriptedServer {
 protected:
    /// About a class and an instance of it, whose path names another place.
    std::vector<std::function<void()>> allOperations(const CIMNamespaceName& in,
                                                     const std::string& className) {
        const std::string one = "//elsewhere/root/other:" + className + ".k=\"1\"";
        const CIMName name(className.c_str());
        return {[=] { client.getInstance(in, path(one)); },
                [=] { client.enumerateInstances(in, name, false); },
                [=] { client.enumerateInstanceNames(in, name); },
                [=] { client.createInstance(in, item(one)); },
                [=] { client.modifyInstance(in, item(one)); },
                [=] { client.deleteInstance(in, path(one)); }};
    }
};

CIMPropertyList listOf(std::initializer_list<const char*> names) {
    Array<CIMName> list;
    for (const char* name : names) {
        list.append(name);
    }
    return CIMPropertyList(list);
}

TEST_F(InstanceRouting, PathsGivenToTheProvider) {
    Scripted* provider = provide("P", {"T_A"});
    std::string given, observed;
    auto note = [&](const auto& call, auto&) { given += text(call.path) + " "; };
    provider->enumerate = note;
    provider->names = note;
    provider->modify = provider->remove = note;
    provider->get = [&](const auto& call, auto& handler) {
        note(call, handler);
        handler.deliver(item(text(call.path)));
    };
    provider->create = [&](const auto& call, auto& handler) {
        note(call, handler);
        given += text(call.instance.getPath()) + " ";
        handler.deliver(path("T_A.k=\"9\""));
    };
    server.observeCalls([&](const auto& call) {
        observed += call.operation + " ";
        EXPECT_TRUE(call.provider == "P" && !call.fromHandle);
    });
    start();
    for (const auto& call : allOperations(CIMNamespaceName("Root/TEST"), "t_a")) {
        call();
    }
    const std::string one = full("t_a.k=\"1\"", "Root/TEST") + " ";
    const std::string whole = full("t_a", "Root/TEST") + " ";
    EXPECT_EQ(given, one + whole + whole + whole + "t_a " + one + one);
    EXPECT_EQ(observed,
              "getInstance enumerateInstances enumerateInstanceNames createInstance "
              "modifyInstance deleteInstance ");
}

TEST_F(InstanceRouting, ClientGetsTrimmedCopies) {
    CIMInstance kept = item("//h/root/x:T_A.k=\"1\"", 1);
    add(kept, "s", "text");
    kept.addQualifier(CIMQualifier("Q", CIMValue(true)));
    kept.getProperty(0).addQualifier(CIMQualifier("Q", CIMValue(true)));
    Scripted* provider = provide("P", {"T_A"});
    auto deliver = [&](const auto&, auto& handler) {
        handler.deliver(kept);
        kept.getProperty(1).setValue(CIMValue(Uint32(2)));  // still goes out: handles are kept
    };
    provider->get = deliver;
    provider->enumerate = [&](const auto& call, auto& handler) {
        deliver(call, handler);
        handler.deliver(CIMInstance(CIMName("T_Far")));  // nobody checks the class
    };
    CIMInstance received;
    provider->create = [&](const auto& call, auto& handler) {
        received = call.instance;
        handler.deliver(path("//h/root/x:T_A.k=\"9\""));
    };
    start();
    CIMInstance got = get("T_A.k=\"1\"");
    EXPECT_EQ(text(got.getPath()) + " " + propertyNames(got), "T_A k,n,s");
    EXPECT_EQ(property(got, "n"), "2");
    EXPECT_EQ(got.getQualifierCount() + got.getProperty(0).getQualifierCount(), 0u);
    got.getProperty(1).setValue(CIMValue(Uint32(7)));
    EXPECT_EQ(property(kept, "n"), "2") << "a client's answer is its own";

    const Array<CIMInstance> all =
        client.enumerateInstances(ns, "T_A", true, true, true, false, listOf({"S", "unknown"}));
    EXPECT_EQ(paths(all), "T_A.k=\"1\" T_Far ");
    EXPECT_EQ(propertyNames(all[0]), "s");
    EXPECT_EQ(all[0].getQualifierCount(), 1u);

    CIMInstance sent = item("T_A.k=\"1\"", 1);
    EXPECT_EQ(text(client.createInstance(ns, sent)), "T_A.k=\"9\"");
    sent.getProperty(1).setValue(CIMValue(Uint32(8)));
    EXPECT_EQ(property(received, "n"), "1") << "a request is a copy";
}

TEST_F(InstanceRouting, EnumerationReachesEverySubclass) {
    Count inside;
    std::atomic<bool> fail{false};
    auto answer = [&](const auto& call, auto& handler) {
        inside.up();
        inside.waitFor(3);  // the three calls run at once
        if (fail && call.path.getClassName() == CIMName("T_B")) {
            throw CIMException(CIM_ERR_ACCESS_DENIED, "sorry");
        }
        handler.deliver(path(text(call.path) + ".k=\"1\""));
    };
    provide("P", {"T_A", "T_C"})->names = answer;
    provide("Other", {"T_B"})->names = answer;
    start();
    client.createInstance(ns, item("T_D.k=\"d\""));
    EXPECT_EQ(paths(client.enumerateInstanceNames(ns, "T_A")),
              "T_A.k=\"1\" T_B.k=\"1\" T_C.k=\"1\" T_D.k=\"d\" ");
    EXPECT_EQ(paths(client.enumerateInstanceNames(ns, "T_D")), "T_D.k=\"d\" ");
    fail = true;
    EXPECT_EQ(outcome([&] { client.enumerateInstanceNames(ns, "T_A"); }),
              "2 CIM_ERR_ACCESS_DENIED: sorry");
}

TEST_F(InstanceRouting, ShallowEnumerationListsTheClassesProperties) {
    CIMInstance instance = item("T_B.k=\"1\"");
    add(instance, "extra", "x");
    std::string lists;
    provide("P", {"T_B"})->enumerate = [&](const auto& call, auto& handler) {
        lists += call.list.isNull() ? "null" : "";
        for (Uint32 i = 0; i < call.list.size(); i++) {
            lists += text(call.list[i]) + " ";
        }
        handler.deliver(instance);
    };
    start();
    client.createInstance(ns, item("T_D.k=\"2\""));
    client.enumerateInstances(ns, "T_A", true);
    const Array<CIMInstance> shallow = client.enumerateInstances(ns, "T_A", false);
    client.enumerateInstances(ns, "T_A", false, true, false, false, listOf({"extra"}));
    EXPECT_EQ(lists, "nullk n s extra ");
    EXPECT_EQ(propertyNames(shallow[0]) + " " + propertyNames(shallow[1]), "k,n k,n,s");
}

TEST_F(InstanceRouting, StoredInstancesAndUnknownPlaces) {
    start();
    for (const auto& call : allOperations(ns, "T_None")) {
        EXPECT_EQ(outcome(call), "5 CIM_ERR_INVALID_CLASS: T_None");
    }
    for (const auto& call : allOperations(CIMNamespaceName("root/none"), "T_A")) {
        EXPECT_EQ(outcome(call), "3 CIM_ERR_INVALID_NAMESPACE: root/none");
    }

    const std::string one = "T_D.k=\"1\"";
    EXPECT_EQ(text(client.createInstance(ns, item(one, 5))), one);
    CIMInstance change = item(one, 6);
    add(change, "s", "new");
    client.modifyInstance(ns, change, false, listOf({"s"}));
    EXPECT_EQ(property(get(one), "s") + property(get(one), "n"), "new5");
    client.deleteInstance(ns, path(one));
    EXPECT_EQ(code([&] { get(one); }), 6);
}

// What a provider does in getInstance, and what its client sees.
TEST_F(InstanceRouting, DeliveriesAndExceptions) {
    using Handler = InstanceResponseHandler;
    const CIMInstance one = item("T_A.k=\"1\"");
    auto delivered = [&one](Handler& h, bool complete = false) {
        h.deliver(one);
        if (complete) {
            h.complete();
        }
    };
    struct {
        std::function<void(Handler&)> behave;
        const char* outcome;
    } const cases[] = {
        {[&](Handler& h) { delivered(h, true); }, "ok"},
        {[](Handler&) {}, "1 CIM_ERR_FAILED: Too few objects delivered."},
        {[&](Handler& h) { h.deliver(Array<CIMInstance>(2, one)); },
         "1 CIM_ERR_FAILED: Too many objects delivered."},
        {[](Handler& h) { h.deliver(CIMInstance()); },
         "1 CIM_ERR_FAILED: The object is not initialized."},
        {[](Handler&) { throw CIMException(CIM_ERR_NOT_FOUND, ""); }, "6 CIM_ERR_NOT_FOUND"},
        {[&](Handler& h) { delivered(h), throw CIMException(CIM_ERR_ACCESS_DENIED, "later"); },
         "2 CIM_ERR_ACCESS_DENIED: later"},
        {[&](Handler& h) { delivered(h, true), throw TypeMismatchException(); },
         "1 CIM_ERR_FAILED: type mismatch"},
        {[](Handler&) { throw std::runtime_error("w\xe4hat"); }, "1 CIM_ERR_FAILED: w?hat"},
        {[](Handler&) { throw 5; }, "1 CIM_ERR_FAILED: Unknown error."},
    };
    Scripted* provider = provide("P", {"T_A"});
    start();
    for (const auto& c : cases) {
        provider->get = [&](const auto&, auto& handler) { c.behave(handler); };
        EXPECT_EQ(outcome([&] { get("T_A.k=\"1\""); }), c.outcome);
    }
    EXPECT_EQ(outcome([&] { client.createInstance(ns, one); }),
              "1 CIM_ERR_FAILED: Too few objects delivered.");
    provider->create = [&](const auto&, auto& h) { h.deliver(CIMObjectPath()); };
    EXPECT_EQ(outcome([&] { client.createInstance(ns, one); }),
              "1 CIM_ERR_FAILED: The object is not initialized.");

    provider->completes = false;
    provider->get = [&](const auto&, auto& handler) { handler.deliver(one); };
    provider->names = [&](const auto& call, auto& handler) { handler.deliver(call.path); };
    EXPECT_THROW(get("T_A.k=\"1\""), CIMClientXmlException);
    EXPECT_EQ(client.enumerateInstanceNames(ns, "T_A").size(), 0u);
}

TEST_F(InstanceRouting, Classes) {
    start();
    const CIMClass own = client.getClass(ns, "t_b");
    EXPECT_EQ(text(own.getPath()), "T_B");
    EXPECT_EQ(own.getPropertyCount() + own.getMethodCount(), 1u);
    CIMClass whole = client.getClass(ns, "T_B", false, true, true, listOf({"K"}));
    ASSERT_EQ(whole.getPropertyCount(), 1u);
    EXPECT_TRUE(whole.hasKeys() && whole.getProperty(0).getPropagated());
    EXPECT_EQ(text(whole.getProperty(0).getClassOrigin()), "T_A");
    whole = client.getClass(ns, "T_B", false, false, false);
    EXPECT_FALSE(whole.hasKeys());
    EXPECT_EQ(whole.getMethodCount(), 1u);
    EXPECT_TRUE(whole.getProperty(0).getClassOrigin().isNull());

    EXPECT_EQ(client.enumerateClassNames(ns, "T_A", false).size(), 2u);
    EXPECT_EQ(client.enumerateClasses(ns, "T_A", true).size(), 3u);
    EXPECT_EQ(client.enumerateClasses(ns, CIMName(), false).size(), 5u);
    client.createClass(ns, CIMClass("T_New", "T_B"));
    EXPECT_EQ(client.getClass(ns, "T_New", false).getPropertyCount(), 4u);
    client.deleteClass(ns, "T_New");
    EXPECT_EQ(outcome([&] { client.getClass(ns, "T_New"); }), "6 CIM_ERR_NOT_FOUND: T_New");
    EXPECT_EQ(code([&] { client.enumerateClassNames(ns, "T_New"); }), 5);
    EXPECT_EQ(code([&] { client.getClass("root/no", "T_A"); }), 3);
}

}  // namespace
