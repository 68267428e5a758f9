// Where instance and class operations go, what a provider gets, and what a client gets back.
#include <algorithm>
#include <atomic>
#include <stdexcept>

#include "support/ScriptedServer.h"

using namespace support;

namespace {

class InstanceRouting : public ScriptedServer {
 protected:
    std::vector<std::function<void()>> allOperations(const CIMNamespaceName& in,
                                                     const std::string& className) {
        const std::string one = className + ".k=\"1\"";
        const CIMName name(className.c_str());
        return {[=] { client.getInstance(in, path(one)); },
                [=] { client.enumerateInstances(in, name); },
                [=] { client.enumerateInstanceNames(in, name); },
                [=] { client.createInstance(in, item(one)); },
                [=] { client.modifyInstance(in, item(one)); },
                [=] { client.deleteInstance(in, path(one)); }};
    }
};

template <class T>
std::vector<std::string> pathTexts(const Array<T>& objects) {
    std::vector<std::string> texts;
    for (Uint32 i = 0; i < objects.size(); i++) {
        if constexpr (std::is_same_v<T, CIMObjectPath>)
            texts.push_back(text(objects[i]));
        else
            texts.push_back(text(objects[i].getPath()));
    }
    std::sort(texts.begin(), texts.end());
    return texts;
}

TEST_F(InstanceRouting, PathsGivenToTheProvider) {
    Scripted* provider = provide("P", {"T_A"});
    std::vector<std::string> given;
    auto note = [&](const Scripted::Call& call) { given.push_back(text(call.path)); };
    provider->get = [&](const auto& call, auto& handler) {
        note(call);
        handler.deliver(item(text(call.path)));
    };
    provider->enumerate = [&](const auto& call, auto&) { note(call); };
    provider->names = [&](const auto& call, auto&) { note(call); };
    provider->create = [&](const auto& call, auto& handler) {
        note(call);
        given.push_back(text(call.instance.getPath()));
        handler.deliver(path("//other/root/x:T_A.k=\"9\""));
    };
    provider->modify = provider->remove = [&](const auto& call, auto&) { note(call); };
    std::vector<std::string> arrived, observed;
    server.observeArrivals([&](const auto& arrival) { arrived.push_back(arrival.operation); });
    server.observeCalls([&](const auto& call) {
        observed.push_back(call.operation);
        EXPECT_EQ(call.provider, "P");
        EXPECT_FALSE(call.fromHandle);
    });
    start();
    const CIMNamespaceName spelled("Root/TEST");
    const std::string one = "//elsewhere/root/other:t_a.k=\"1\"";
    EXPECT_EQ(text(client.getInstance(spelled, path(one)).getPath()), "t_a");
    client.enumerateInstances(spelled, "T_A", false);
    client.enumerateInstanceNames(spelled, "T_A");
    EXPECT_EQ(text(client.createInstance(spelled, item(one))), "T_A.k=\"9\"");
    client.modifyInstance(spelled, item(one));
    client.deleteInstance(spelled, path(one));
    const std::string instancePath = full("t_a.k=\"1\"", "Root/TEST");
    const std::string classPath = full("T_A", "Root/TEST");
    EXPECT_EQ(given, (std::vector<std::string>{instancePath, classPath, classPath,
                                               full("t_a", "Root/TEST"), "t_a", instancePath,
                                               instancePath}));
    EXPECT_EQ(observed, arrived);
    EXPECT_EQ(observed, (std::vector<std::string>{"getInstance", "enumerateInstances",
                                                  "enumerateInstanceNames", "createInstance",
                                                  "modifyInstance", "deleteInstance"}));
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
        handler.deliver(path("T_A.k=\"1\""));
    };
    start();
    CIMInstance got = get("T_A.k=\"1\"");
    EXPECT_EQ(property(got, "n"), "2");
    EXPECT_EQ(propertyNames(got), "k,n,s");
    EXPECT_EQ(got.getQualifierCount() + got.getProperty(0).getQualifierCount(), 0u);
    got.getProperty(1).setValue(CIMValue(Uint32(7)));
    EXPECT_EQ(property(kept, "n"), "2") << "a client's answer is its own";

    Array<CIMName> list;
    EXPECT_EQ(propertyNames(client.getInstance(ns, path("T_A.k=\"1\""), true, false, false,
                                               CIMPropertyList(list))),
              "");
    list.append("S");
    list.append("unknown");
    const Array<CIMInstance> all =
        client.enumerateInstances(ns, "T_A", true, true, true, false, CIMPropertyList(list));
    EXPECT_EQ(pathTexts(all), (std::vector<std::string>{"T_A.k=\"1\"", "T_Far"}));
    EXPECT_EQ(propertyNames(all[0]), "s");
    EXPECT_EQ(all[0].getQualifierCount(), 1u);

    CIMInstance sent = item("T_A.k=\"1\"", 1);
    client.createInstance(ns, sent);
    sent.getProperty(1).setValue(CIMValue(Uint32(8)));
    EXPECT_EQ(property(received, "n"), "1") << "a request is a copy";
}

TEST_F(InstanceRouting, EnumerationReachesEverySubclass) {
    Scripted* provider = provide("P", {"T_A", "T_C"});
    Scripted* other = provide("Other", {"T_B"});
    Count inside;
    std::atomic<bool> fail{false};
    auto answer = [&](const std::string& key) {
        return [&, key](const auto& call, auto& handler) {
            inside.up();
            inside.waitFor(3);  // the three calls run at once
            if (fail && key == "b")
                throw CIMException(CIM_ERR_ACCESS_DENIED, "sorry");
            handler.deliver(path(text(call.path) + ".k=\"" + key + "\""));
        };
    };
    provider->names = answer("ac");
    other->names = answer("b");
    start();
    client.createInstance(ns, item("T_D.k=\"d\""));
    EXPECT_EQ(
        pathTexts(client.enumerateInstanceNames(ns, "T_A")),
        (std::vector<std::string>{"T_A.k=\"ac\"", "T_B.k=\"b\"", "T_C.k=\"ac\"", "T_D.k=\"d\""}));
    EXPECT_EQ(pathTexts(client.enumerateInstanceNames(ns, "T_D")),
              (std::vector<std::string>{"T_D.k=\"d\""}));
    fail = true;
    EXPECT_EQ(outcome([&] { client.enumerateInstanceNames(ns, "T_A"); }),
              "2 CIM_ERR_ACCESS_DENIED: sorry");
}

TEST_F(InstanceRouting, ShallowEnumerationListsTheClassesProperties) {
    Scripted* provider = provide("P", {"T_B"});
    std::string lists;
    provider->enumerate = [&](const auto& call, auto& handler) {
        lists += call.list.isNull() ? "null" : "";
        for (Uint32 i = 0; i < call.list.size(); i++)
            lists += text(call.list[i]) + " ";
        lists += ";";
        CIMInstance instance = item("T_B.k=\"1\"");
        add(instance, "extra", "x");
        handler.deliver(instance);
    };
    start();
    client.createInstance(ns, item("T_D.k=\"2\""));
    client.enumerateInstances(ns, "T_A", true);
    const Array<CIMInstance> shallow = client.enumerateInstances(ns, "T_A", false);
    Array<CIMName> list;
    list.append("extra");
    client.enumerateInstances(ns, "T_A", false, true, false, false, CIMPropertyList(list));
    EXPECT_EQ(lists, "null;k n s ;extra ;");
    ASSERT_EQ(shallow.size(), 2u);
    for (Uint32 i = 0; i < 2; i++) {
        EXPECT_EQ(property(shallow[i], "extra"), "(none)");
        EXPECT_EQ(property(shallow[i], "note"), "(none)");
    }
}

TEST_F(InstanceRouting, UnknownPlaces) {
    start();
    for (const auto& call : allOperations(ns, "T_None"))
        EXPECT_EQ(outcome(call), "5 CIM_ERR_INVALID_CLASS: T_None");
    for (const auto& call : allOperations(CIMNamespaceName("root/none"), "T_A"))
        EXPECT_EQ(outcome(call), "3 CIM_ERR_INVALID_NAMESPACE: root/none");
}

TEST_F(InstanceRouting, StoredInstances) {
    start();
    const CIMObjectPath one = path("T_D.k=\"1\"");
    EXPECT_EQ(text(client.createInstance(ns, item("T_D.k=\"1\"", 5))), "T_D.k=\"1\"");
    EXPECT_EQ(outcome([&] { client.createInstance(ns, item("T_D.k=\"1\"")); }).substr(0, 3), "11 ");
    EXPECT_EQ(property(client.getInstance(ns, one), "note"), "none");
    EXPECT_EQ(text(client.getInstance(ns, one).getPath()), "T_D");
    CIMInstance change = item("T_D.k=\"1\"", 6);
    add(change, "s", "new");
    Array<CIMName> list;
    list.append("s");
    client.modifyInstance(ns, change, false, CIMPropertyList(list));
    EXPECT_EQ(property(client.getInstance(ns, one), "s"), "new");
    EXPECT_EQ(property(client.getInstance(ns, one), "n"), "5");
    EXPECT_EQ(client.enumerateInstances(ns, "T_A").size(), 1u);
    client.deleteInstance(ns, one);
    for (const auto& call : std::vector<std::function<void()>>{
             [&] { client.getInstance(ns, one); }, [&] { client.deleteInstance(ns, one); },
             [&] { client.modifyInstance(ns, change); }})
        EXPECT_EQ(outcome(call).substr(0, 2), "6 ");
}

// What a provider does in getInstance, and what its client sees.
TEST_F(InstanceRouting, DeliveriesAndExceptions) {
    Scripted* provider = provide("P", {"T_A"});
    using Handler = InstanceResponseHandler;
    const CIMInstance one = item("T_A.k=\"1\"");
    Array<CIMInstance> two;
    two.append(one);
    two.append(one);
    struct {
        std::function<void(Handler&)> behave;
        const char* outcome;
    } const cases[] = {
        {[&](Handler& h) { h.deliver(one); }, "ok"},
        {[&](Handler& h) {
             h.deliver(one);
             h.complete();
         },
         "ok"},
        {[&](Handler&) {}, "1 CIM_ERR_FAILED: Too few objects delivered."},
        {[&](Handler& h) { h.deliver(two); }, "1 CIM_ERR_FAILED: Too many objects delivered."},
        {[&](Handler& h) { h.deliver(CIMInstance()); },
         "1 CIM_ERR_FAILED: The object is not initialized."},
        {[&](Handler&) { throw CIMException(CIM_ERR_NOT_FOUND, ""); }, "6 CIM_ERR_NOT_FOUND"},
        {[&](Handler& h) {
             h.deliver(one);
             throw CIMException(CIM_ERR_ACCESS_DENIED, "later");
         },
         "2 CIM_ERR_ACCESS_DENIED: later"},
        {[&](Handler& h) {
             h.deliver(one);
             h.complete();
             throw TypeMismatchException();
         },
         "1 CIM_ERR_FAILED: type mismatch"},
        {[&](Handler&) { throw std::runtime_error("w\xe4hat"); }, "1 CIM_ERR_FAILED: w?hat"},
        {[&](Handler&) { throw std::runtime_error("w\xc3\xa4hat"); },
         "1 CIM_ERR_FAILED: w\xc3\xa4hat"},
        {[&](Handler&) { throw 5; }, "1 CIM_ERR_FAILED: Unknown error."},
    };
    const std::function<void(Handler&)>* behave = nullptr;
    provider->get = [&](const auto&, auto& handler) { (*behave)(handler); };
    start();
    for (const auto& one : cases) {
        behave = &one.behave;
        EXPECT_EQ(outcome([&] { get("T_A.k=\"1\""); }), one.outcome);
    }
    provider->create = [&](const auto&, auto& h) { h.deliver(CIMObjectPath()); };
    EXPECT_EQ(outcome([&] { client.createInstance(ns, one); }),
              "1 CIM_ERR_FAILED: The object is not initialized.");
    provider->create = nullptr;
    EXPECT_EQ(outcome([&] { client.createInstance(ns, one); }),
              "1 CIM_ERR_FAILED: Too few objects delivered.");
}

TEST_F(InstanceRouting, WithoutComplete) {
    struct Incomplete : Scripted {
        void getInstance(const OperationContext&, const CIMObjectPath& p, Boolean, Boolean,
                         const CIMPropertyList&, InstanceResponseHandler& h) override {
            h.deliver(instanceAt(text(p)));
        }
        void enumerateInstanceNames(const OperationContext&, const CIMObjectPath& p,
                                    ObjectPathResponseHandler& h) override {
            h.deliver(p);
        }
    };
    server.registerProvider("P", new Incomplete,
                            {{"T_A", {"root/test"}, {ProviderType::Instance}, {}}});
    start();
    EXPECT_THROW(get("T_A.k=\"1\""), CIMClientXmlException);
    EXPECT_EQ(client.enumerateInstanceNames(ns, "T_A").size(), 0u);
}

TEST_F(InstanceRouting, Classes) {
    start();
    const CIMClass own = client.getClass(ns, "t_b");
    EXPECT_EQ(text(own.getPath()), "T_B");
    EXPECT_EQ(own.getPropertyCount(), 1u);
    EXPECT_EQ(own.getMethodCount(), 0u);
    Array<CIMName> list;
    list.append("K");
    CIMClass whole = client.getClass(ns, "T_B", false, true, true, CIMPropertyList(list));
    ASSERT_EQ(whole.getPropertyCount(), 1u);
    EXPECT_TRUE(whole.hasKeys());
    EXPECT_TRUE(whole.getProperty(0).getPropagated());
    EXPECT_EQ(text(whole.getProperty(0).getClassOrigin()), "T_A");
    whole = client.getClass(ns, "T_B", false, false, false);
    EXPECT_FALSE(whole.hasKeys());
    EXPECT_EQ(whole.getMethodCount(), 1u);
    EXPECT_TRUE(whole.getProperty(0).getClassOrigin().isNull());

    auto names = [&](const char* of, bool deep) {
        std::string all;
        const Array<CIMName> found =
            client.enumerateClassNames(ns, of ? CIMName(of) : CIMName(), deep);
        const Array<CIMClass> classes =
            client.enumerateClasses(ns, of ? CIMName(of) : CIMName(), deep);
        EXPECT_EQ(found.size(), classes.size());
        for (Uint32 i = 0; i < found.size(); i++) {
            EXPECT_EQ(found[i], classes[i].getClassName());
            all += text(found[i]) + " ";
        }
        return all;
    };
    EXPECT_EQ(names("T_A", false), "T_B T_D ");
    EXPECT_EQ(names("T_B", true), "T_C ");
    EXPECT_EQ(names(nullptr, false), "T_A T_Far T_Link T_BLink T_StoredLink ");
    EXPECT_EQ(outcome([&] { client.getClass(ns, "T_No"); }), "6 CIM_ERR_NOT_FOUND: T_No");
    EXPECT_EQ(outcome([&] { client.enumerateClassNames(ns, "T_No"); }).substr(0, 2), "5 ");
    EXPECT_EQ(outcome([&] { client.getClass("root/no", "T_A"); }),
              "3 CIM_ERR_INVALID_NAMESPACE: root/no");

    client.createClass(ns, CIMClass("T_New", "T_B"));
    EXPECT_EQ(client.getClass(ns, "T_New", false).getPropertyCount(), 4u);
    EXPECT_EQ(outcome([&] { client.createClass(ns, CIMClass("T_New")); }).substr(0, 3), "11 ");
    EXPECT_EQ(outcome([&] { client.createClass(ns, CIMClass("T_X", "T_No")); }).substr(0, 3),
              "10 ");
    client.deleteClass(ns, "T_New");
    EXPECT_EQ(outcome([&] { client.deleteClass(ns, "T_New"); }).substr(0, 2), "6 ");
}

}  // namespace
