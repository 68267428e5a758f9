// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/InstanceAssociationProvider.h"

#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <iterator>
#include <mutex>
#include <random>
#include <vector>

#include <velmar_kit/RecordingHandlers.h>
#include "Common/Util.h"
#include "support/FakeServer.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;
using namespace velmar_remote;
using velmar_embedded::Operation;
using velmar_kit::ObjectPathRecorder;
using velmar_kit::ObjectRecorder;

namespace {

/// Each text with a blank after it.
template <class Paths>
std::string joined(const Paths& paths) {
    std::string result;
    for (Uint32 i = 0; i < paths.size(); i++) {
        result += text(paths[i]) + " ";
    }
    return result;
}

/// A provider of T_Link without links, whose upcalls a fake server answers.
class AssociationProvider : public ::testing::Test {
 protected:
    AssociationProvider() { provider->initialize(server.handle); }
    ~AssociationProvider() override { provider->terminate(); }

    void link(const std::string& left, const std::string& right) {
        provider->_cache.insert(makeLink(left, right));
    }
    FakeServer server;
    const OperationContext context = callersContext();
    Links* const provider = new Links("T_Link", "Left", "T_Thing", "Right", "T_Thing", 100);
};

// ---- Which links refer to an object, and what is at their other end ----------------------------

/// Paths in many spellings, out of few values at a time, each beside its like: equal and nearly
/// equal paths meet often.
class Spellings {
 public:
    void takeOtherValues() { _first = _random(); }
    std::string path() {
        static const char* const places[] = {"", "", "//h.d/root/x:", "//H.D/ROOT/x:"};
        static const char* const classes[] = {"T_Thing", "T_Thing", "t_thing", "T_Part"};
        static const char* const values[] = {R"("")",
                                             R"("a")",
                                             R"("A")",
                                             R"("a,l=1")",
                                             R"("a\"b")",
                                             R"("a\\b")",
                                             R"("a\\\"b")",
                                             R"("x.k=\"a")",
                                             R"("k=16")",
                                             R"("16")",
                                             "16",
                                             "0x10",
                                             "0X10",
                                             "17",
                                             "-5",
                                             "TRUE",
                                             "true",
                                             R"("TRUE")",
                                             "FALSE",
                                             R"("T_Part.k=16")",
                                             R"("T_Part.k=0x10")",
                                             R"("t_part.K=16")",
                                             R"("//h/root/y:T_Part.k=\"a\"")",
                                             R"("//H/root/y:T_Part.k=\"a\"")"};
        std::string object = std::string(pick(places)) + pick(classes);
        if (!oneIn(8)) {
            object += oneIn(6) ? ".K=" : ".k=";
            object += values[(_first + _random() % 5) % std::size(values)];
            object += oneIn(6) ? ",A=1" : "";
        }
        return object;
    }
    /// A reference, or a string that holds a path's text.
    CIMKeyBinding key(const char* name) {
        return CIMKeyBinding(name, String(path().c_str()),
                             oneIn(3) ? CIMKeyBinding::STRING : CIMKeyBinding::REFERENCE);
    }
    const char* role() {
        static const char* const roles[] = {"", "", "Left", "Right"};
        return pick(roles);
    }
    const char* resultClass() {
        static const char* const classes[] = {"", "", "T_Thing", "T_Part", "T_Link"};
        return pick(classes);
    }
    bool oneIn(unsigned n) { return _random() % n == 0; }

 private:
    template <size_t N>
    const char* pick(const char* const (&choices)[N]) {
        return choices[_random() % N];
    }
    std::mt19937 _random{20240229};
    size_t _first = 0;
};

struct Question {
    CIMObjectPath object;
    CIMName resultClass;
    String role, resultRole;
};

/// Both ends of every link read as paths, and each of them the pattern of the object in turn.
Array<CIMObjectPath> literally(const Question& q, bool associators, InstanceCache& links,
                               CIMOMHandle& handle, const OperationContext& context) {
    Array<CIMInstance> all;
    links.getInstances(all);
    const Array<CIMClass> classes = getSubclasses(handle, context, q.resultClass);
    Array<CIMObjectPath> found;
    for (Uint32 i = 0; i < all.size(); i++) {
        String texts[2];
        findKey(all[i].getPath().getKeyBindings(), "Left").get(texts[0]);
        findKey(all[i].getPath().getKeyBindings(), "Right").get(texts[1]);
        const CIMObjectPath left(texts[0]), right(texts[1]);
        const auto refers = [&](const CIMObjectPath& end, const char* role, const char* far) {
            return matches(handle, context, end, q.object) && emptyOrEqual(q.role, role) &&
                   (!associators || emptyOrEqual(q.resultRole, far));
        };
        const bool byLeft = refers(left, "Left", "Right");
        if (byLeft || refers(right, "Right", "Left")) {
            const CIMObjectPath result = associators ? (byLeft ? right : left) : all[i].getPath();
            if (findClass(classes, result.getClassName())) {
                found.append(result);
            }
        }
    }
    return found;
}

TEST_F(AssociationProvider, AnswersWhatALiteralReadingOfBothEndsGives) {
    // One name for every class, so that a class path's place in the answer shows.
    server.answer = [](const Request& request, Answer& answer) {
        ASSERT_EQ(request.operation, Operation::EnumerateInstanceNames);
        answer.paths.append(request.path);
    };
    Spellings spellings;
    Uint32 results = 0;
    for (int round = 0; round < 60; round++) {
        provider->_cache.clear();
        spellings.takeOtherValues();
        for (int i = 0; i < 16; i++) {
            Array<CIMKeyBinding> keys;
            keys.append(spellings.key(spellings.oneIn(2) ? "Left" : "LEFT"));
            keys.append(spellings.key("Right"));
            keys.append(CIMKeyBinding("Zone", CIMValue(Uint8(i))));
            CIMInstance any("T_Link");
            any.setPath(CIMObjectPath("", CIMNamespaceName(), "T_Link", keys));
            provider->_cache.insert(any);
        }
        for (int i = 0; i < 8; i++) {
            const std::string to = spellings.resultClass();
            const Question q = {path(spellings.path()),
                                to.empty() ? CIMName() : CIMName(to.c_str()), spellings.role(),
                                spellings.role()};
            SCOPED_TRACE(q.object.toString());
            ObjectPathRecorder far, links;
            provider->associatorNames(context, q.object, "T_Link", q.resultClass, q.role,
                                      q.resultRole, far);
            provider->referenceNames(context, q.object, q.resultClass, q.role, links);
            Array<CIMObjectPath> expected =
                literally(q, true, provider->_cache, server.handle, context);
            for (Uint32 n = 0; n < expected.size(); n++) {
                if (isClass(expected[n])) {
                    expected[n] = CIMObjectPath("", CIMNamespaceName(), expected[n].getClassName());
                }
            }
            ASSERT_EQ(joined(far.delivered), joined(expected));
            results += expected.size();
            expected = literally(q, false, provider->_cache, server.handle, context);
            ASSERT_EQ(joined(links.delivered), joined(expected));
        }
    }
    EXPECT_GT(results, 600u) << "the comparison is about something";
}

// ---- How answers are found and delivered ------------------------------------------------------

class Delivery : public AssociationProvider {
 protected:
    /// Asks about T_Thing a and gives the handler's calls, what was delivered, and the upcalls.
    std::string names(const char* resultClass = "") {
        ObjectPathRecorder handler;
        provider->associatorNames(context, path(thing("a")), "T_Link",
                                  *resultClass ? CIMName(resultClass) : CIMName(), "", "", handler);
        return handler.calls + ": " + joined(handler.delivered) + "\n" + server.taken();
    }
    std::string objects(bool qualifiers, bool origins) {
        ObjectRecorder handler;
        provider->associators(context, path(thing("a")), "T_Link", CIMName(), "Left", "Right",
                              qualifiers, origins, CIMPropertyList(Array<CIMName>(1, "Size")),
                              handler);
        std::string found;
        for (const CIMObject& object : handler.delivered) {
            found += text(object.getPath()) + "[" + propertyNames(CIMInstance(object)) + "] ";
        }
        return handler.calls + ": " + found + "\n" + server.taken();
    }
    Delivery() {
        server.answer = [this](const Request&, Answer& answer) {
            answer.instances = instances;
            answer.paths = paths;
        };
        for (const char* name : {"x", "b", "b", "c"}) {
            instances.append(instanceAt(thing(name)));
            add(instances[instances.size() - 1], "Size", std::to_string(instances.size()).c_str());
            paths.append(path(thing(name)));
        }
        add(instances[1], "First", "");
    }
    const std::string ASKED_FOR_THINGS =
        "enumerateClasses T_Thing qualifiers origins\ngetClass T_Thing qualifiers origins\n";
    Array<CIMInstance> instances;
    Array<CIMObjectPath> paths;
};

TEST_F(Delivery, KeyedEndsOneByOneThroughAClient) {
    link(thing("a"), full(thing("b")));
    EXPECT_EQ(objects(true, false),
              "processing deliver complete: T_Thing.Name=\"b\"[Size,First] \n"
              "enumerateInstances T_Thing qualifiers\n");
    EXPECT_EQ(objects(false, true),
              "processing deliver complete: T_Thing.Name=\"b\"[Size,First] \n"
              "enumerateInstances T_Thing origins\n");
    EXPECT_EQ(names(), "processing deliver complete: " + full(thing("b")) + " \n");
    link(thing("gone"), thing("a"));
    link(thing("a"), thing("gone"));
    EXPECT_EQ(objects(false, false),
              "processing deliver complete: T_Thing.Name=\"b\"[Size,First] \n"
              "enumerateInstances T_Thing\nenumerateInstances T_Thing\n");
}

TEST_F(Delivery, ClassPathEndsThroughTheHandle) {
    link(thing("a"), "root/else:T_Part");
    EXPECT_EQ(objects(true, false),
              "processing deliver deliver deliver deliver complete: T_Thing.Name=\"x\"[Size] "
              "T_Thing.Name=\"b\"[Size,First] T_Thing.Name=\"b\"[Size] T_Thing.Name=\"c\"[Size] \n"
              "enumerateInstances T_Part shallow qualifiers\n");
    EXPECT_EQ(names("T_Thing"),
              "processing deliver[4] complete: T_Thing.Name=\"x\" T_Thing.Name=\"b\" "
              "T_Thing.Name=\"b\" T_Thing.Name=\"c\" \n" +
                  ASKED_FOR_THINGS + "enumerateInstanceNames T_Part\n");
    instances.clear();
    paths.clear();
    EXPECT_EQ(objects(false, true),
              "processing complete: \nenumerateInstances T_Part shallow origins\n");
    EXPECT_EQ(names(), "processing complete: \nenumerateInstanceNames T_Part\n");
    provider->_cache.clear();
    link("root/else:T_Thing", thing("b"));
    EXPECT_EQ(names(), "processing deliver complete: T_Thing.Name=\"b\" \n" + ASKED_FOR_THINGS);
}

// The server writes a missing host or namespace into what is delivered, so a handle that others are
// reading is copied in exactly that case.
TEST_F(Delivery, OnlyHandlesWithIncompletePathsAreCopied) {
    provider->fill = [](const OperationContext& from, Array<CIMInstance>& filled,
                        const CIMPropertyList& list) {
        ASSERT_EQ(filled.size(), 1u);
        add(filled[0], "Filled", asked(from, list).c_str());
    };
    for (const auto& [host, ns] :
         {std::pair("", ""), {"h", ""}, {"", NAMESPACE}, {"h", NAMESPACE}}) {
        SCOPED_TRACE(std::string(host) + "/" + ns);
        const bool copied = !*host || !*ns;
        CIMInstance cached = makeLink(thing("a"), "T_Part");
        const CIMObjectPath at(host, *ns ? CIMNamespaceName(ns) : CIMNamespaceName(), "T_Link",
                               cached.getPath().getKeyBindings());
        cached.setPath(at);
        provider->_cache.clear();
        provider->_cache.insert(cached);
        ObjectRecorder handler;
        provider->references(context, path(thing("a")), CIMName(), "Left", false, false,
                             CIMPropertyList(Array<CIMName>(1, "Note")), handler);
        EXPECT_EQ(handler.calls, "processing deliver complete");
        CIMInstance delivered(handler.delivered.at(0));
        EXPECT_EQ(text(delivered.getPath()), text(at));
        EXPECT_EQ(property(delivered, "Filled"), "caller {Note}");
        EXPECT_EQ(property(cached, "Filled"), "caller {Note}");
        add(delivered, "Mine", "");
        EXPECT_EQ(property(cached, "Mine") == "(none)", copied);

        instances = Array<CIMInstance>(1, CIMInstance("T_Part"));
        instances[0].setPath(CIMObjectPath(host, at.getNameSpace(), "T_Part"));
        ObjectRecorder far;
        provider->associators(context, path(thing("a")), CIMName(), CIMName(), "Left", "", false,
                              false, CIMPropertyList(), far);
        delivered = CIMInstance(far.delivered.at(0));
        add(delivered, "Mine", "");
        EXPECT_EQ(property(instances[0], "Mine") == "(none)", copied);
    }
}

// ---- What is refused ---------------------------------------------------------------------------

TEST_F(AssociationProvider, RolesNameAPropertyAndAreCheckedFirst) {
    const char* const cases[][3] = {{"left", "", "4 invalid role"},
                                    {"Other", "Other", "4 invalid role"},
                                    {"", "RIGHT", "4 invalid resultRole"},
                                    {"Right", "Left", "ok"}};
    for (const auto& [role, resultRole, expected] : cases) {
        ObjectPathRecorder handler;
        EXPECT_EQ(outcome([&, role = role, resultRole = resultRole] {
                      provider->associatorNames(context, path(thing("a")), CIMName(), "T_Unknown",
                                                role, resultRole, handler);
                  }),
                  *resultRole && *role == 'R' ? "6 T_Unknown" : expected)
            << role << "/" << resultRole;
        EXPECT_EQ(handler.calls, "processing");
    }
}

TEST_F(AssociationProvider, WithoutNamesOnlyWhileTheCacheIsEmpty) {
    Links unnamed;
    ObjectPathRecorder handler;
    unnamed.referenceNames(context, path(thing("a")), CIMName(), "", handler);
    EXPECT_EQ(handler.calls, "processing complete");
    const CIMInstance any = makeLink(thing("a"), thing("b"));
    unnamed._cache.insert(any);
    EXPECT_THROW(unnamed.referenceNames(context, path(thing("a")), CIMName(), "", handler),
                 InvalidNameException);
    unnamed._cache.remove(any.getPath());
    link(thing("a"), thing("b"));
    provider->_cache.remove(any.getPath());
    EXPECT_EQ(server.taken(), "") << "no cascade from the cache of associations";
}

TEST_F(AssociationProvider, EndsThatAreMissingAreSkippedThoseThatAreNoPathFail) {
    const char* const cases[][3] = {{"@@", "T_Thing.k=1", "processing"},
                                    {"T_Thing.k=1", "@@", "processing"},
                                    {"T_Thing.k=1", nullptr, "processing complete"},
                                    {nullptr, "T_Thing.k=1", "processing complete"}};
    for (const auto& [left, right, calls] : cases) {
        Array<CIMKeyBinding> keys;
        for (const auto& [name, end] : {std::pair("Left", left), std::pair("Right", right)}) {
            if (end) {
                keys.append(CIMKeyBinding(name, end, CIMKeyBinding::STRING));
            }
        }
        CIMInstance broken("T_Link");
        broken.setPath(CIMObjectPath("", CIMNamespaceName(), "T_Link", keys));
        provider->_cache.clear();
        provider->_cache.insert(broken);
        ObjectPathRecorder handler;
        const std::string result = outcome([&, &object = "T_Thing.k=1"] {
            provider->referenceNames(context, path(object), CIMName(), "", handler);
        });
        EXPECT_EQ(result == "ok", handler.calls == "processing complete") << result;
        EXPECT_EQ(handler.calls, calls);
    }
}

// ---- Through a server --------------------------------------------------------------------------

// Clients link things of their own to one hub, walk, and delete half of them again, while the hook
// completes what is read in the way that its header recommends: once, in a copy, under a mutex. All
// look at all links meanwhile, one without host and namespace included. Under the thread sanitizer
// this also shows that what a client is given shares nothing with a cache.
TEST(AssociationServed, FourClientsKeepLinksAndThingsInStep) {
    LinkServer server;
    std::mutex filling;
    server.things->fill = [&](const OperationContext&, Array<CIMInstance>& instances,
                              const CIMPropertyList&) {
        const std::lock_guard<std::mutex> lock(filling);
        for (Uint32 i = 0; i < instances.size(); i++) {
            if (needsProperty(instances[i], "Note", CIMPropertyList(), false)) {
                CIMInstance edited = instances[i].clone();
                add(edited, "Note", "filled");
                server.things->_cache.replace(edited);
            }
        }
    };
    server.things->_cache.insert(makeThing("hub"));
    CIMInstance bare = makeLink(full(thing("hub")), full(thing("hub")));
    bare.setPath(localize(bare.getPath()));
    server.links->_cache.insert(bare);
    server.forget();
    inThreads(4, [&](int t) {
        Client own;
        for (int i = 0; i < 8; i++) {
            const std::string name = std::to_string(t) + "-" + std::to_string(i);
            CIMInstance mine("T_Thing");
            add(mine, "Name", name.c_str());
            EXPECT_EQ(text(own.createInstance(NAMESPACE, mine)), thing(name));
            CIMInstance got = own.getInstance(NAMESPACE, path(thing(name)));
            EXPECT_EQ(property(got, "Name"), name);
            add(got, "Mine", "edited");
            createAssociation(server.things->_cimom, OperationContext(), "T_Link", "Left",
                              path(full(thing("hub"))), "Right", path(full(thing(name))));
            EXPECT_EQ(paths(own.associators(NAMESPACE, path(thing(name)))),
                      full(thing("hub")) + " ");
            EXPECT_GE(own.references(NAMESPACE, path(thing("hub"))).size(), 2u);
            EXPECT_GE(own.enumerateInstances(NAMESPACE, "T_Thing").size(), 2u);
            if (i % 2) {
                own.deleteInstance(NAMESPACE, path(thing(name)));
                EXPECT_EQ(own.associatorNames(NAMESPACE, path(thing(name))).size(), 0u);
            }
        }
    });
    EXPECT_EQ(server.arrived("referenceNames"), 16) << "deleted links cascade no further";
    EXPECT_EQ(server.arrived("deleteInstance"), 2 * 16);
    deleteAssociatedInstances(server.things->_cimom, OperationContext(), path(full(thing("hub"))),
                              "T_Link");
    EXPECT_EQ(Client().enumerateInstanceNames(NAMESPACE, "T_Thing").size(), 0u);
}

}  // namespace
