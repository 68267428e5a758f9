// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/InstanceAssociationProvider.h"

#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include <velmar_kit/RecordingHandlers.h>
#include "Common/Util.h"
#include "support/LinkServer.h"
#include "support/TraceFile.h"

using namespace Pegasus;
using namespace support;
using velmar_kit::ObjectPathRecorder;
using velmar_kit::ObjectRecorder;

namespace {

typedef std::vector<std::string> Texts;

template <class Paths>
Texts texts(const Paths& paths) {
    Texts result;
    for (Uint32 i = 0; i < paths.size(); i++) {
        result.push_back(text(paths[i]));
    }
    return result;
}

Texts sorted(Texts t) {
    std::sort(t.begin(), t.end());
    return t;
}

Texts pathsOf(const Array<CIMObject>& objects) {
    Texts result;
    for (Uint32 i = 0; i < objects.size(); i++) {
        result.push_back(text(objects[i].getPath()));
    }
    return sorted(result);
}

std::string linkText(const std::string& left, const std::string& right) {
    return text(makeLink(left, right).getPath());
}

}  // namespace

// ---- Against recording handlers: no upcall is needed while ends have keys --------------------

class AssociationProviderTest : public ::testing::Test {
 protected:
    AssociationProviderTest() : provider("T_Link", "Left", "T_Thing", "Right", "T_Thing") {
        provider._cache.insert(makeLink(thing("a"), thing("b")));
        provider._cache.insert(makeLink(thing("c"), thing("a")));
        provider._cache.insert(makeLink(thing("b"), thing("c")));
        provider._cache.insert(makeLink(thing("d"), thing("d")));
        provider._cache.insert(instanceAt("T_Link.Left=\"T_Thing.Name=\\\"a\\\"\""));  // one end
    }
    Texts associatorNames(const std::string& object, const char* role = "",
                          const char* resultRole = "") {
        ObjectPathRecorder handler;
        provider.associatorNames(context, path(object), CIMName("Ignored"), CIMName(), role,
                                 resultRole, handler);
        calls = handler.calls;
        return sorted(texts(handler.delivered));
    }
    Texts referenceNames(const std::string& object, const char* role = "") {
        ObjectPathRecorder handler;
        provider.referenceNames(context, path(object), CIMName(), role, handler);
        calls = handler.calls;
        return sorted(texts(handler.delivered));
    }
    OperationContext context;
    Links provider;
    std::string calls;
};

TEST_F(AssociationProviderTest, FarEndsByRole) {
    EXPECT_EQ(associatorNames(thing("a")), (Texts{thing("b"), thing("c")}));
    EXPECT_EQ(calls, "processing deliver deliver complete");
    EXPECT_EQ(associatorNames(thing("a"), "Left"), Texts{thing("b")});
    EXPECT_EQ(associatorNames(thing("a"), "", "Left"), Texts{thing("c")});
    EXPECT_EQ(associatorNames(thing("a"), "Left", "Left"), Texts{});
    EXPECT_EQ(calls, "processing complete");
    EXPECT_EQ(associatorNames(thing("d")), Texts{thing("d")});
    EXPECT_EQ(associatorNames(thing("d"), "Right"), Texts{thing("d")});
    // Only an equal path matches, host and namespace included.
    EXPECT_EQ(associatorNames(full(thing("a"))), Texts{});
}

TEST_F(AssociationProviderTest, ReferencesOncePerInstance) {
    EXPECT_EQ(referenceNames(thing("d")), Texts{linkText(thing("d"), thing("d"))});
    EXPECT_EQ(referenceNames(thing("a")),
              (Texts{linkText(thing("a"), thing("b")), linkText(thing("c"), thing("a"))}));
    EXPECT_EQ(referenceNames(thing("a"), "Right"), Texts{linkText(thing("c"), thing("a"))});
    EXPECT_EQ(referenceNames(thing("z")), Texts{});
}

TEST_F(AssociationProviderTest, DuplicatesStay) {
    CIMInstance twin = makeLink(thing("a"), thing("b"));
    CIMObjectPath p = twin.getPath();
    Array<CIMKeyBinding> keys = p.getKeyBindings();
    keys.append(CIMKeyBinding("Zone", CIMValue(Uint8(1))));
    p.setKeyBindings(keys);
    twin.setPath(p);
    provider._cache.insert(twin);
    EXPECT_EQ(associatorNames(thing("a"), "Left"), (Texts{thing("b"), thing("b")}));
}

TEST_F(AssociationProviderTest, RolesAreCheckedBeforeAnythingElse) {
    const struct {
        const char* role;
        const char* resultRole;
        const char* message;
    } cases[] = {{"left", "", "invalid role"},
                 {"Other", "Other", "invalid role"},
                 {"", "RIGHT", "invalid resultRole"}};
    for (const auto& c : cases) {
        ObjectPathRecorder handler;
        try {
            provider.associatorNames(context, path(thing("a")), CIMName(), CIMName(), c.role,
                                     c.resultRole, handler);
            ADD_FAILURE() << c.role << "/" << c.resultRole;
        } catch (const CIMException& e) {
            EXPECT_EQ(e.getCode(), CIM_ERR_INVALID_PARAMETER);
            EXPECT_EQ(text(e.getMessage()), c.message);
        }
        EXPECT_EQ(handler.calls, "processing");
    }
}

TEST_F(AssociationProviderTest, EmptyCacheAndMissingNames) {
    Links unnamed;
    ObjectPathRecorder handler;
    unnamed.referenceNames(context, path(thing("a")), CIMName(), "", handler);
    EXPECT_EQ(handler.calls, "processing complete");
    unnamed._cache.insert(makeLink(thing("a"), thing("b")));
    EXPECT_THROW(unnamed.referenceNames(context, path(thing("a")), CIMName(), "", handler),
                 InvalidNameException);
}

TEST_F(AssociationProviderTest, AnEndThatIsNoPathFailsEvenWhereTheOtherOneDecides) {
    for (const bool leftIsBroken : {true, false}) {
        Links own("T_Link", "Left", "T_Thing", "Right", "T_Thing");
        const String good(thing("a").c_str());
        Array<CIMKeyBinding> keys;
        keys.append(CIMKeyBinding("Left", leftIsBroken ? "@@" : good, CIMKeyBinding::STRING));
        keys.append(CIMKeyBinding("Right", leftIsBroken ? good : "@@", CIMKeyBinding::STRING));
        CIMInstance broken(CIMName("T_Link"));
        broken.setPath(CIMObjectPath("", CIMNamespaceName(), "T_Link", keys));
        own._cache.insert(broken);
        ObjectPathRecorder handler;
        EXPECT_THROW(own.referenceNames(context, path(thing("a")), CIMName(), "", handler),
                     MalformedObjectNameException);
        EXPECT_EQ(handler.calls, "processing");
    }
}

TEST_F(AssociationProviderTest, ReferencesFillAndShareTheCachedInstance) {
    Array<CIMName> names;
    names.append("Note");
    provider.fill = [](Array<CIMInstance>& instances, const CIMPropertyList& list) {
        EXPECT_TRUE(list.contains("Note"));
        add(instances[0], "Note", "filled");
    };
    ObjectRecorder handler;
    provider.references(context, path(thing("d")), CIMName(), "", false, false,
                        CIMPropertyList(names), handler);
    EXPECT_EQ(handler.calls, "processing deliver complete");
    CIMInstance cached;
    provider._cache.lookup(makeLink(thing("d"), thing("d")).getPath(), cached);
    EXPECT_EQ(property(cached, "Note"), "filled");
}

TEST_F(AssociationProviderTest, TracesTheWorkRoutine) {
    TraceFile trace;
    associatorNames(thing("a"));
    const Texts written = trace.texts();
    ASSERT_GE(written.size(), 4u);
    EXPECT_EQ(written[0], "Entering method InstanceAssociationProvider::associatorNames");
    EXPECT_EQ(written[1], "Entering method InstanceAssociationProvider::go");
    EXPECT_EQ(written[written.size() - 2], "Exiting method InstanceAssociationProvider::go");
    EXPECT_EQ(written.back(), "Exiting method InstanceAssociationProvider::associatorNames");
}

// ---- Through the server ----------------------------------------------------------------------

class AssociationProviderServed : public ::testing::Test {
 protected:
    AssociationProviderServed() {
        for (const char* name : {"a", "b", "c"}) {
            things().insert(makeThing(name));
        }
    }
    velmar_remote::InstanceCache& things() { return server.things->_cache; }
    velmar_remote::InstanceCache& links() { return server.links->_cache; }
    void link(const std::string& left, const std::string& right) {
        links().insert(makeLink(left, right));
    }
    Texts names(const std::string& object, const char* resultClass = "") {
        const CIMName result = *resultClass ? CIMName(resultClass) : CIMName();
        return sorted(texts(client.associatorNames(NAMESPACE, path(object), CIMName(), result)));
    }
    LinkServer server;
    Client client;
};

TEST_F(AssociationProviderServed, KeyedFarEndsThroughOneConnectionEach) {
    link(full(thing("a")), full(thing("b")));
    link(full(thing("a")), full(thing("c")));
    link(full(thing("a")), full(thing("gone")));
    server.forget();
    const Array<CIMObject> found = client.associators(NAMESPACE, path(thing("a")));
    EXPECT_EQ(pathsOf(found), (Texts{full(thing("b")), full(thing("c"))}));
    EXPECT_EQ(server.arrived("enumerateInstances"), 3);  // one per keyed end, the lost one too
    EXPECT_EQ(server.arrived("enumerateClasses"), 0);    // no class asked for: no upcall
    EXPECT_EQ(server.arrived("getClass"), 0);
    server.forget();
    EXPECT_EQ(names(thing("a")).size(), 3u);
    EXPECT_EQ(server.arrived("enumerateInstances"), 0);
}

TEST_F(AssociationProviderServed, ResultClassFilters) {
    things().insert(makeThing("p", "T_Part"));
    link(full(thing("a")), full(thing("b")));
    link(full(thing("a")), full(thing("p", "T_Part")));
    server.forget();
    EXPECT_EQ(names(thing("a"), "T_Part"), Texts{full(thing("p", "T_Part"))});
    EXPECT_EQ(server.arrived("enumerateClasses"), 1);
    EXPECT_EQ(server.arrived("getClass"), 1);
    EXPECT_EQ(names(thing("a"), "T_Thing").size(), 2u);  // subclasses count
    EXPECT_EQ(names(thing("a"), "T_Other"), Texts{});
    EXPECT_EQ(client.referenceNames(NAMESPACE, path(thing("a")), "T_Link").size(), 2u);
}

TEST_F(AssociationProviderServed, AnEndOutsideTheResultClassHidesTheOther) {
    link(full(thing("a")), full("T_Thing"));  // the object matches both ends
    link(full("T_Thing"), full(thing("q", "T_Part")));
    // For a, the first link's left end matches and its right end's class is no T_Part.
    EXPECT_EQ(names(thing("a"), "T_Part"), Texts{full(thing("q", "T_Part"))});
}

TEST_F(AssociationProviderServed, ClassPathEnds) {
    link(full(thing("a")), full("T_Part"));
    ObjectPathRecorder handler;  // no part yet: nothing is delivered, not even an empty array
    client.enumerateInstanceNames(NAMESPACE, "T_Link");  // loads the provider
    server.links->associatorNames(OperationContext(), path(full(thing("a"))), CIMName(), CIMName(),
                                  "", "", handler);
    EXPECT_EQ(handler.calls, "processing complete");
    things().clear();
    server.things->_cache.insert(makeThing("p", "T_Part"));
    // The provider serves T_Thing only: parts come from stored instances.
    for (const char* name : {"x", "y"}) {
        CIMInstance part(CIMName("T_Part"));
        add(part, "Name", name);
        client.createInstance(NAMESPACE, part);
    }
    links().clear();
    link(full(thing("a")), full("T_Part"));
    server.forget();
    EXPECT_EQ(names(thing("a")), (Texts{full(thing("x", "T_Part")), full(thing("y", "T_Part"))}));
    EXPECT_EQ(server.arrived("enumerateInstanceNames"), 1);
    EXPECT_EQ(pathsOf(client.associators(NAMESPACE, path(thing("a")))),
              (Texts{full(thing("x", "T_Part")), full(thing("y", "T_Part"))}));
    EXPECT_EQ(server.arrived("enumerateInstances"), 1);
    // A class-path end as the pattern costs two upcalls, and matches the subclass's instances.
    server.forget();
    EXPECT_EQ(names(thing("x", "T_Part")), Texts{full(thing("a"))});
    EXPECT_EQ(server.arrived("enumerateClasses"), 1);
    EXPECT_EQ(server.arrived("getClass"), 1);
}

// The server completes the paths of what is delivered; those of another provider's cache must not
// change by that.
TEST_F(AssociationProviderServed, ClassPathEndsLeaveTheOtherProvidersInstancesAlone) {
    things().insert(instanceAt(thing("bare")));
    link(full(thing("z", "T_Part")), full("T_Thing"));
    EXPECT_EQ(client.associators(NAMESPACE, path(thing("z", "T_Part"))).size(), 4u);
    CIMInstance cached;
    ASSERT_TRUE(things().lookup(path(thing("bare")), cached));
    EXPECT_EQ(text(cached.getPath()), thing("bare"));
}

TEST_F(AssociationProviderServed, AssociatorsGiveAllPropertiesReferencesFillTheAskedOnes) {
    link(full(thing("a")), full(thing("b")));
    Array<CIMName> wanted;
    wanted.append("Note");
    std::atomic<bool> asked{false};
    server.links->fill = [&](Array<CIMInstance>&, const CIMPropertyList& list) {
        asked = !list.isNull() && list.contains("Note");
    };
    client.references(NAMESPACE, path(thing("a")), CIMName(), "", false, false,
                      CIMPropertyList(wanted));
    EXPECT_TRUE(asked);
    std::atomic<bool> all{false};
    server.things->fill = [&](Array<CIMInstance>&, const CIMPropertyList& list) {
        all = list.isNull();
    };
    client.associators(NAMESPACE, path(thing("a")), CIMName(), CIMName(), "", "", false, false,
                       CIMPropertyList(wanted));
    EXPECT_TRUE(all);
}

TEST_F(AssociationProviderServed, FailuresReachTheClient) {
    link(full(thing("a")), full(thing("b")));
    const struct {
        const char* what;
        std::function<void()> call;
        int code;
    } cases[] = {
        {"role", [&] { client.referenceNames(NAMESPACE, path(thing("a")), CIMName(), "Odd"); }, 4},
        {"far end",
         [&] {
             server.things->fill = [](Array<CIMInstance>&, const CIMPropertyList&) {
                 throw CIMException(CIM_ERR_ACCESS_DENIED, "locked");
             };
             client.associators(NAMESPACE, path(thing("a")));
         },
         2},
    };
    for (const auto& c : cases) {
        try {
            c.call();
            ADD_FAILURE() << c.what;
        } catch (const CIMException& e) {
            EXPECT_EQ(e.getCode(), c.code) << c.what << ": " << text(e.getMessage());
        }
    }
}

TEST_F(AssociationProviderServed, CreatedThroughTheServerAndDeletedWithTheirInstance) {
    // An association created by a provider: its handle is what createAssociation is given.
    client.getInstance(NAMESPACE, path(thing("a")));  // loads and initializes the provider
    const OperationContext context;
    velmar_remote::createAssociation(server.things->_cimom, context, "T_Link", "Left",
                                     path(full(thing("a"))), "Right", path(full(thing("b"))));
    velmar_remote::createAssociation(server.things->_cimom, context, "T_Link", "Left",
                                     path(full(thing("b"))), "Right", path(full(thing("c"))));
    EXPECT_EQ(names(thing("b")), (Texts{full(thing("a")), full(thing("c"))}));
    server.forget();
    client.deleteInstance(NAMESPACE, path(thing("a")));
    EXPECT_EQ(server.arrived("referenceNames"), 1);  // the deleted association cascades no further
    EXPECT_EQ(server.arrived("deleteInstance"), 2);
    EXPECT_EQ(names(thing("b")), Texts{full(thing("c"))});
    velmar_remote::deleteAssociatedInstances(server.things->_cimom, context, path(full(thing("b"))),
                                             "T_Link");
    EXPECT_FALSE(things().contains(path(thing("c"))));
    EXPECT_TRUE(things().contains(path(thing("b"))));
    EXPECT_EQ(client.enumerateInstanceNames(NAMESPACE, "T_Link").size(), 0u);
}

// Each client makes things, links them to the hub, walks, and deletes half of them again.
// In the end the links are exactly those of the things that are left.
TEST_F(AssociationProviderServed, FourClientsKeepLinksAndThingsInStep) {
    std::vector<std::thread> clients;
    std::atomic<int> wrong{0};
    for (int t = 0; t < 4; t++) {
        clients.emplace_back([&, t] {
            Client own;
            for (int i = 0; i < 10; i++) {
                const std::string name = std::to_string(t) + "-" + std::to_string(i);
                CIMInstance mine(CIMName("T_Thing"));
                add(mine, "Name", name.c_str());
                own.createInstance(NAMESPACE, mine);
                own.createInstance(NAMESPACE, makeLink(full(thing("a")), full(thing(name))));
                wrong += own.associatorNames(NAMESPACE, path(thing(name))).size() != 1;
                own.associatorNames(NAMESPACE, path(thing("a")));
                if (i % 2) {
                    own.deleteInstance(NAMESPACE, path(thing(name)));
                    wrong += own.associatorNames(NAMESPACE, path(thing(name))).size() != 0;
                }
            }
        });
    }
    for (auto& thread : clients) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    Texts left = names(thing("a"));
    EXPECT_EQ(left.size(), 20u);
    for (const std::string& p : left) {
        EXPECT_TRUE(things().contains(path(p))) << p;
    }
}
