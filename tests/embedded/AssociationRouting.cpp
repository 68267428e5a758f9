// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Which association providers are asked, with which arguments, and what stored associations and
// the schema answer.
#include <numeric>

#include "support/ScriptedServer.h"

using namespace support;

namespace {

class AssociationRouting : public ScriptedServer {
 protected:
    // Lets a provider note its calls: "<association> <path>".
    void noting(const std::string& name, const std::vector<std::string>& classes) {
        Scripted* provider = provide(name, classes, {ProviderType::Association});
        auto note = [this](const Scripted::Call& call, auto&) {
            std::lock_guard<std::mutex> guard(_lock);
            const bool names = !call.associationClass.isNull();
            _calls.push_back(text(names ? call.associationClass : call.resultClass) + " " +
                             text(call.path) + " ");
        };
        provider->associatorPaths = provider->referencePaths = note;
        provider->associatorObjects = provider->referenceObjects = note;
    }
    // The calls of one request.
    std::string callsOf(const std::function<void()>& request) {
        _calls.clear();
        request();
        std::sort(_calls.begin(), _calls.end());
        return std::accumulate(_calls.begin(), _calls.end(), std::string());
    }
    void storeLink(const char* className, const char* near, const char* far) {
        CIMInstance link{CIMName(className)};
        add(link, "Near", CIMValue(path(near)));
        add(link, "Far", CIMValue(path(far)));
        client.createInstance(ns, link);
    }
    std::mutex _lock;
    std::vector<std::string> _calls;
};

TEST_F(AssociationRouting, AsksTheProvidersThatCount) {
    noting("P", {"T_Link", "T_SubLink"});
    noting("OfB", {"T_BLink"});
    start();
    auto calls = [](const std::string& object, std::initializer_list<const char*> associations) {
        std::string all;
        for (const char* association : associations) {
            all += association + (" " + full(object)) + " ";
        }
        return all;
    };
    const std::string a = "T_A.k=\"1\"", b = "T_B.k=\"1\"", far = "T_Far.k=\"1\"";
    const struct {
        std::string object;
        CIMName association;
        std::string calls;
    } cases[] = {
        {a, CIMName(), calls(a, {"T_Link", "T_SubLink"})},  // T_BLink links a subclass only
        {b, CIMName(), calls(b, {"T_BLink", "T_Link", "T_SubLink"})},
        {"//h/root/x:" + far, CIMName(), calls(far, {"T_BLink", "T_Link", "T_SubLink"})},
        {b, "t_link", calls(b, {"T_Link", "T_SubLink"})},
        {b, "T_BLink", calls(b, {"T_BLink"})},
        {a, "T_BLink", ""},
        {a, "T_Far", ""},        // no association
        {"T_A", CIMName(), ""},  // about the class: the schema knows
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.object + text(c.association));
        const CIMObjectPath object = path(c.object);
        EXPECT_EQ(callsOf([&] { client.associatorNames(ns, object, c.association); }), c.calls);
        EXPECT_EQ(callsOf([&] { client.associators(ns, object, c.association); }), c.calls);
        EXPECT_EQ(callsOf([&] { client.referenceNames(ns, object, c.association); }), c.calls);
        EXPECT_EQ(callsOf([&] { client.references(ns, object, c.association); }), c.calls);
    }
}

TEST_F(AssociationRouting, ArgumentsAndResults) {
    Scripted* provider = provide("P", {"T_Link"}, {ProviderType::Association});
    CIMInstance kept = item("T_Far.k=\"1\"", 1);
    std::string given;
    provider->associatorObjects = [&](const auto& call, auto& handler) {
        given = text(call.resultClass) + " " + text(call.role) + " " + text(call.resultRole) + " " +
                std::to_string(call.list.size());
        handler.deliver(CIMObject(kept));
        handler.deliver(CIMObject(item("//h/root/PG_InterOp:T_Far.k=\"2\"")));
    };
    provider->referencePaths = [&](const auto& call, auto& handler) {
        given = text(call.resultClass) + " " + text(call.role);
        for (const char* one : {"T_Any.k=\"1\"", "root/nowhere:T_Any.k=\"2\"", "//h/x:T_Any"}) {
            handler.deliver(path(one));
        }
    };
    start();
    const CIMObjectPath a = path("T_A.k=\"1\"");
    const Array<CIMObject> objects =
        client.associators(ns, a, "t_link", "T_A", "norole", "Nonsense", false, false,
                           CIMPropertyList(Array<CIMName>(1, CIMName("K"))));
    EXPECT_EQ(given, "T_A norole Nonsense 1");
    EXPECT_EQ(paths(objects, false), full("T_Far.k=\"1\"") + " //h/root/PG_InterOp:T_Far.k=\"2\" ");
    EXPECT_EQ(propertyNames(CIMInstance(objects[0])) + " " + propertyNames(kept), "k k,n");
    EXPECT_EQ(text(kept.getPath()), full("T_Far.k=\"1\"")) << "completed in the provider's object";
    EXPECT_EQ(
        paths(client.referenceNames(ns, a, CIMName(), "Near"), false),
        full("T_Any.k=\"1\"") + " " + full("T_Any.k=\"2\"", "root/nowhere") + " //h/x:T_Any ");
    EXPECT_EQ(given, "T_Link Near");

    provider->associatorObjects = [&](const auto&, auto& handler) {
        handler.deliver(CIMObject(item("root/nowhere:T_Far.k=\"2\"")));
    };
    EXPECT_EQ(outcome([&] { client.associators(ns, a); }),
              "3 CIM_ERR_INVALID_NAMESPACE: root/nowhere");
    provider->associatorObjects = [&](const auto&, auto& handler) { handler.deliver(CIMObject()); };
    EXPECT_EQ(code([&] { client.associators(ns, a); }), 1);
}

TEST_F(AssociationRouting, OneObjectDeliveredToManyAtOnce) {
    const CIMInstance kept = item("T_Link.k=\"1\"", 1);
    provide("P", {"T_Link"}, {ProviderType::Association})->referenceObjects =
        [&](const auto&, auto& handler) { handler.deliver(CIMObject(kept)); };
    start();
    inThreads(4, [&](int) {
        CIMClient own;
        own.connectLocal();
        for (int j = 0; j < 20; j++) {
            EXPECT_EQ(paths(own.references(ns, path("T_A.k=\"1\""), "T_Link")),
                      full("T_Link.k=\"1\"") + " ");
        }
    });
}

TEST_F(AssociationRouting, Errors) {
    start();
    const CIMName any;
    const CIMObjectPath a = path("T_A.k=\"1\""), unknown = path("T_No.k=\"1\"");
    EXPECT_EQ(code([&] { client.associatorNames(ns, CIMObjectPath()); }), 4);
    EXPECT_EQ(outcome([&] { client.references(ns, unknown); }),
              "4 CIM_ERR_INVALID_PARAMETER: T_No");
    EXPECT_EQ(code([&] { client.associatorNames(ns, a, "T_No"); }), 4);
    EXPECT_EQ(code([&] { client.references(ns, a, "T_No"); }), 4);
    EXPECT_EQ(code([&] { client.associatorNames(ns, a, any, "T_No"); }), 5);
    EXPECT_EQ(outcome([&] { client.associatorNames(ns, a, any, any, "a b"); }),
              "4 CIM_ERR_INVALID_PARAMETER: role a b");
    EXPECT_EQ(code([&] { client.associators(ns, a, any, any, "", "1"); }), 4);
    EXPECT_EQ(code([&] { client.references("root/no", a); }), 3);
}

TEST_F(AssociationRouting, StoredAssociationsAndClasses) {
    noting("P", {"T_Link"});
    start();
    storeLink("T_StoredLink", "root/test:T_B.k=\"1\"", "T_Far.k=\"1\"");
    storeLink("T_StoredLink", "T_B.k=\"1\"", "T_Far.k=\"2\"");
    storeLink("T_BLink", "T_B.k=\"1\"", "T_Far.k=\"1\"");
    storeLink("T_StoredLink", "root/other:T_B.k=\"1\"", "T_Far.k=\"3\"");
    client.createInstance(ns, item("T_Far.k=\"1\""));
    const CIMName any;
    const std::string one = full("T_Far.k=\"1\"") + " ", two = full("T_Far.k=\"2\"") + " ";
    struct {
        const char* object;
        CIMName association, result;
        const char *role, *resultRole;
        std::string associators;
    } const cases[] = {
        {"T_B.k=\"1\"", any, any, "", "", one + one + two},
        {"T_B.k=\"1\"", "T_StoredLink", "T_Far", "near", "FAR", one + two},
        {"T_B.k=\"1\"", any, "T_A", "", "", ""},
        {"T_B.k=\"1\"", any, any, "Far", "", ""},
        {"T_B.k=\"1\"", any, any, "", "Near", ""},
        {"T_Far.k=\"1\"", "T_BLink", "T_A", "", "", full("T_B.k=\"1\"") + " "},
        {"T_A", any, any, "", "", full("T_Far") + " "},
        {"T_Far", any, any, "", "", full("T_A") + " " + full("T_B") + " "},
        {"T_Far", any, "T_B", "", "", full("T_B") + " "},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(paths(client.associatorNames(ns, path(c.object), c.association, c.result, c.role,
                                               c.resultRole)),
                  c.associators)
            << c.object << c.role << c.resultRole;
    }
    const CIMObjectPath b = path("T_B.k=\"1\""), far = path("T_Far.k=\"1\"");
    EXPECT_EQ(paths(client.associators(ns, b, "T_BLink")), one);
    EXPECT_EQ(code([&] { client.associators(ns, b); }), 6) << "the second far end is not stored";
    EXPECT_EQ(client.references(ns, b).size(), 3u);
    EXPECT_EQ(client.referenceNames(ns, far, any, "Far").size(), 2u);
    EXPECT_EQ(paths(client.referenceNames(ns, far, "T_BLink")),
              full("T_BLink.Far=\"T_Far.k=\\\"1\\\"\",Near=\"T_B.k=\\\"1\\\"\"") + " ");
    const Array<CIMObject> classes = client.references(ns, path("T_A"), "T_Link");
    EXPECT_EQ(paths(classes), full("T_Link") + " " + full("T_SubLink") + " ");
    EXPECT_EQ(CIMClass(classes[0]).getPropertyCount(), 2u);
}

}  // namespace
