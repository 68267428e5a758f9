// Which association providers are asked, with which arguments, and what stored associations and
// the schema answer.
#include <algorithm>
#include <mutex>
#include <thread>

#include "support/ScriptedServer.h"

using namespace support;

namespace {

class AssociationRouting : public ScriptedServer {
 protected:
    // Lets a provider note its calls: "<association> <path>;".
    Scripted* noting(const std::string& name, const std::vector<std::string>& classes) {
        Scripted* provider = provide(name, classes, {ProviderType::Association});
        auto note = [this](const Scripted::Call& call, auto&) {
            std::lock_guard<std::mutex> guard(_lock);
            const CIMName& asked =
                call.associationClass.isNull() ? call.resultClass : call.associationClass;
            _calls.push_back(text(asked) + " " + text(call.path));
        };
        provider->associatorPaths = provider->referencePaths = note;
        provider->associatorObjects = provider->referenceObjects = note;
        return provider;
    }
    // Both families as names and as objects; they must route alike.
    std::vector<std::string> callsFor(const CIMObjectPath& object, const CIMName& association) {
        std::vector<std::string> first;
        for (int i = 0; i < 4; i++) {
            _calls.clear();
            if (i == 0)
                client.associatorNames(ns, object, association);
            else if (i == 1)
                client.associators(ns, object, association);
            else if (i == 2)
                client.referenceNames(ns, object, association);
            else
                client.references(ns, object, association);
            std::sort(_calls.begin(), _calls.end());
            if (i == 0)
                first = _calls;
            EXPECT_EQ(_calls, first) << i;
        }
        return first;
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

template <class T>
std::string show(const Array<T>& found, bool sorted = true) {
    std::vector<std::string> texts;
    for (Uint32 i = 0; i < found.size(); i++) {
        if constexpr (std::is_same_v<T, CIMObjectPath>)
            texts.push_back(text(found[i]));
        else
            texts.push_back(text(found[i].getPath()));
    }
    if (sorted)
        std::sort(texts.begin(), texts.end());
    std::string all;
    for (const std::string& one : texts)
        all += one + "\n";
    return all;
}

TEST_F(AssociationRouting, AsksTheProvidersThatCount) {
    noting("P", {"T_Link", "T_SubLink"});
    noting("OfB", {"T_BLink"});
    start();
    const std::string a = full("T_A.k=\"1\""), b = full("T_B.k=\"1\""), far = full("T_Far.k=\"1\"");
    const CIMName any;
    using Calls = std::vector<std::string>;
    struct {
        const char* object;
        CIMName association;
        Calls calls;
    } const cases[] = {
        // Not T_BLink: it links a subclass only.
        {"T_A.k=\"1\"", any, {"T_Link " + a, "T_SubLink " + a}},
        {"T_B.k=\"1\"", any, {"T_BLink " + b, "T_Link " + b, "T_SubLink " + b}},
        {"//h/root/x:T_Far.k=\"1\"", any, {"T_BLink " + far, "T_Link " + far, "T_SubLink " + far}},
        {"T_B.k=\"1\"", "t_link", {"T_Link " + b, "T_SubLink " + b}},
        {"T_B.k=\"1\"", "T_BLink", {"T_BLink " + b}},
        {"T_B.k=\"1\"", "T_StoredLink", {}},
        {"T_A.k=\"1\"", "T_BLink", {}},
        {"T_A.k=\"1\"", "T_Far", {}},  // no association
        {"T_A", any, {}},              // about the class: the schema knows
    };
    for (const auto& one : cases)
        EXPECT_EQ(callsFor(path(one.object), one.association), one.calls)
            << one.object << " " << text(one.association);
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
        handler.deliver(path("T_Any.k=\"1\""));
        handler.deliver(path("root/nowhere:T_Any.k=\"2\""));
        handler.deliver(path("//h/x:T_Any"));
    };
    start();
    Array<CIMName> list;
    list.append("K");
    const Array<CIMObject> objects =
        client.associators(ns, path("T_A.k=\"1\""), "t_link", "T_A", "norole", "Nonsense", false,
                           false, CIMPropertyList(list));
    EXPECT_EQ(given, "T_A norole Nonsense 1");
    EXPECT_EQ(show(objects, false),
              full("T_Far.k=\"1\"") + "\n//h/root/PG_InterOp:T_Far.k=\"2\"\n");
    EXPECT_EQ(propertyNames(CIMInstance(objects[0])), "k");
    EXPECT_EQ(propertyNames(kept), "k,n");
    EXPECT_EQ(text(kept.getPath()), full("T_Far.k=\"1\"")) << "completed in the provider's object";
    EXPECT_EQ(
        show(client.referenceNames(ns, path("T_A.k=\"1\""), CIMName(), "Near"), false),
        full("T_Any.k=\"1\"") + "\n" + full("T_Any.k=\"2\"", "root/nowhere") + "\n//h/x:T_Any\n");
    EXPECT_EQ(given, "T_Link Near");

    provider->associatorObjects = [&](const auto&, auto& handler) {
        handler.deliver(CIMObject(item("root/nowhere:T_Far.k=\"2\"")));
    };
    EXPECT_EQ(outcome([&] { client.associators(ns, path("T_A.k=\"1\"")); }),
              "3 CIM_ERR_INVALID_NAMESPACE: root/nowhere");
    provider->associatorObjects = [&](const auto&, auto& handler) { handler.deliver(CIMObject()); };
    EXPECT_EQ(outcome([&] { client.associators(ns, path("T_A.k=\"1\"")); }),
              "1 CIM_ERR_FAILED: The object is not initialized.");
}

TEST_F(AssociationRouting, OneObjectDeliveredToManyAtOnce) {
    const CIMInstance kept = item("T_Link.k=\"1\"", 1);
    provide("P", {"T_Link"}, {ProviderType::Association})->referenceObjects =
        [&](const auto&, auto& handler) { handler.deliver(CIMObject(kept)); };
    start();
    std::vector<std::thread> clients;
    for (int i = 0; i < 4; i++) {
        clients.emplace_back([&] {
            CIMClient own;
            own.connectLocal();
            for (int j = 0; j < 20; j++)
                EXPECT_EQ(show(own.references(ns, path("T_A.k=\"1\""), "T_Link")),
                          full("T_Link.k=\"1\"") + "\n");
        });
    }
    for (std::thread& client : clients)
        client.join();
}

TEST_F(AssociationRouting, Errors) {
    start();
    const CIMObjectPath one = path("T_A.k=\"1\""), unknown = path("T_No.k=\"1\"");
    struct {
        std::function<void()> call;
        const char* outcome;
    } const cases[] = {
        {[&] { client.associatorNames(ns, CIMObjectPath()); }, "4 CIM_ERR_INVALID_PARAMETER"},
        {[&] { client.associators(ns, unknown); }, "4 CIM_ERR_INVALID_PARAMETER: T_No"},
        {[&] { client.referenceNames(ns, unknown); }, "4 CIM_ERR_INVALID_PARAMETER: T_No"},
        {[&] { client.associatorNames(ns, one, "T_No"); }, "4 CIM_ERR_INVALID_PARAMETER: T_No"},
        {[&] { client.references(ns, one, "T_No"); }, "4 CIM_ERR_INVALID_PARAMETER: T_No"},
        {[&] { client.associatorNames(ns, one, CIMName(), "T_No"); },
         "5 CIM_ERR_INVALID_CLASS: T_No"},
        {[&] { client.associatorNames(ns, one, CIMName(), CIMName(), "a b"); },
         "4 CIM_ERR_INVALID_PARAMETER: role a b"},
        {[&] { client.associators(ns, one, CIMName(), CIMName(), "", "1"); },
         "4 CIM_ERR_INVALID_PARAMETER: role 1"},
        {[&] { client.references("root/no", one); }, "3 CIM_ERR_INVALID_NAMESPACE: root/no"},
        {[&] { client.references(ns, one); }, "ok"},
    };
    for (const auto& one : cases)
        EXPECT_EQ(outcome(one.call), one.outcome);
}

TEST_F(AssociationRouting, StoredAssociations) {
    noting("P", {"T_Link"});
    start();
    storeLink("T_StoredLink", "root/test:T_B.k=\"1\"", "T_Far.k=\"1\"");
    storeLink("T_StoredLink", "T_B.k=\"1\"", "T_Far.k=\"2\"");
    storeLink("T_BLink", "T_B.k=\"1\"", "T_Far.k=\"1\"");
    storeLink("T_StoredLink", "root/other:T_B.k=\"1\"", "T_Far.k=\"3\"");
    client.createInstance(ns, item("T_Far.k=\"1\""));
    const CIMObjectPath b = path("T_B.k=\"1\""), far = path("T_Far.k=\"1\"");
    const std::string one = full("T_Far.k=\"1\"") + "\n", two = full("T_Far.k=\"2\"") + "\n";
    EXPECT_EQ(show(client.associatorNames(ns, b)), one + one + two);
    EXPECT_EQ(show(client.associatorNames(ns, b, "T_StoredLink", "T_Far", "near", "FAR")),
              one + two);
    EXPECT_EQ(show(client.associatorNames(ns, b, CIMName(), "T_A")), "");
    EXPECT_EQ(show(client.associatorNames(ns, b, CIMName(), CIMName(), "Far")), "");
    EXPECT_EQ(show(client.associatorNames(ns, b, CIMName(), CIMName(), "", "Near")), "");
    EXPECT_EQ(show(client.associatorNames(ns, far, "T_BLink", "T_A")), full("T_B.k=\"1\"") + "\n");
    const Array<CIMObject> objects = client.associators(ns, b, "T_BLink");
    EXPECT_EQ(show(objects), one);
    EXPECT_EQ(property(CIMInstance(objects[0]), "k"), "1");
    EXPECT_EQ(outcome([&] { client.associators(ns, b); }).substr(0, 2), "6 ")
        << "the second far end is not stored";
    EXPECT_EQ(client.references(ns, b).size(), 3u);
    EXPECT_EQ(client.referenceNames(ns, far, CIMName(), "Far").size(), 2u);
    EXPECT_EQ(show(client.referenceNames(ns, far, "T_BLink")),
              full("T_BLink.Far=\"T_Far.k=\\\"1\\\"\",Near=\"T_B.k=\\\"1\\\"\"") + "\n");
}

TEST_F(AssociationRouting, ClassesOfTheSchema) {
    start();
    const std::string far = full("T_Far") + "\n";
    EXPECT_EQ(show(client.associatorNames(ns, path("T_A"))), far);
    EXPECT_EQ(show(client.associatorNames(ns, path("T_Far"))),
              full("T_A") + "\n" + full("T_B") + "\n");
    EXPECT_EQ(show(client.associatorNames(ns, path("T_Far"), CIMName(), "T_B")),
              full("T_B") + "\n");
    EXPECT_EQ(show(client.associatorNames(ns, path("T_A"), CIMName(), CIMName(), "Far")), "");
    EXPECT_EQ(show(client.referenceNames(ns, path("T_A"), "T_Link")),
              full("T_Link") + "\n" + full("T_SubLink") + "\n");
    const Array<CIMObject> classes = client.references(ns, path("T_A"), "T_SubLink");
    ASSERT_EQ(classes.size(), 1u);
    EXPECT_EQ(text(classes[0].getPath()), full("T_SubLink"));
    EXPECT_EQ(CIMClass(classes[0]).getPropertyCount(), 2u);
    EXPECT_EQ(show(client.associators(ns, path("T_A"))), far);
}

}  // namespace
