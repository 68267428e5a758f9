// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/InstanceAssociationProvider.h"

#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>
#include <string.h>

#include <iterator>
#include <mutex>
#include <random>
#include <vector>

#include <velmar_testing/RecordingHandlers.h>
#include "Common/Util.h"
#include "support/FakeServer.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;
using namespace velmar_remote;
using velmar_embedded::Operation;
using velmar_testing::ObjectPathRecorder;
using velmar_testing::ObjectRecorder;

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
    FakeServer server;
    const OperationContext context = callersContext();
    Links* const provider = new Links("T_Link", "Left", "T_Thing", "Right", "T_Thing");
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
    CIMName resultClass() {
        static const char* const classes[] = {"T_Thing", "T_Part", "T_Link"};
        return oneIn(2) ? CIMName() : CIMName(pick(classes));
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

/// What a request is answered by the words of the description: both ends of every link read as
/// paths, and each in turn the pattern of the object.
class Literally {
 public:
    CIMOMHandle& handle;
    const OperationContext& context;
    CIMObjectPath object;
    CIMName resultClass;
    String role, resultRole;

    Array<CIMObjectPath> answer(InstanceCache& links, bool associators) const {
        Array<CIMInstance> all;
        links.getInstances(all);
        const Array<CIMClass> classes = getSubclasses(handle, context, resultClass);
        Array<CIMObjectPath> found;
        for (Uint32 i = 0; i < all.size(); i++) {
            const CIMObjectPath link = all[i].getPath(), left = end(link, "Left"),
                                right = end(link, "Right");
            const bool byLeft = refers(left, "Left", associators ? "Right" : "");
            if (byLeft || refers(right, "Right", associators ? "Left" : "")) {
                const CIMObjectPath& result = !associators ? link : byLeft ? right : left;
                if (findClass(classes, result.getClassName())) {
                    found.append(result);
                }
            }
        }
        return found;
    }

 private:
    static CIMObjectPath end(const CIMObjectPath& link, const char* name) {
        String key;
        findKey(link.getKeyBindings(), name).get(key);
        return CIMObjectPath(key);
    }
    bool refers(const CIMObjectPath& end, const char* own, const char* far) const {
        return matches(handle, context, end, object) && emptyOrEqual(role, own) &&
               (!*far || emptyOrEqual(resultRole, far));
    }
};

TEST_F(AssociationProvider, AnswersWhatALiteralReadingOfBothEndsGives) {
    server.answer = [](const Request& request, Answer& answer) {
        ASSERT_EQ(request.operation, Operation::EnumerateInstanceNames);
        answer.paths.append(request.path);  // one name for the class, which shows its place
    };
    Spellings spellings;
    size_t results = 0;
    for (int round = 0; round < 480; round++) {
        for (int i = 0; round % 8 == 0 && i < 16; i++) {
            if (i == 0) {
                provider->_cache.clear();
                spellings.takeOtherValues();
            }
            Array<CIMKeyBinding> keys(1, CIMKeyBinding("Zone", CIMValue(Uint8(i))));
            keys.append(spellings.key(i % 2 ? "Left" : "LEFT"));
            keys.append(spellings.key("Right"));
            CIMInstance any("T_Link");
            any.setPath(CIMObjectPath("", CIMNamespaceName(), "T_Link", keys));
            provider->_cache.insert(any);
        }
        const Literally q{server.handle,           context,          path(spellings.path()),
                          spellings.resultClass(), spellings.role(), spellings.role()};
        SCOPED_TRACE(q.object.toString());
        ObjectPathRecorder far, links;
        provider->associatorNames(context, q.object, "T_Link", q.resultClass, q.role, q.resultRole,
                                  far);
        provider->referenceNames(context, q.object, q.resultClass, q.role, links);
        Array<CIMObjectPath> expected = q.answer(provider->_cache, true);
        for (Uint32 n = 0; n < expected.size(); n++) {
            expected[n] = isClass(expected[n]) ? localize(expected[n]) : expected[n];
        }
        ASSERT_EQ(joined(far.delivered), joined(expected));
        ASSERT_EQ(joined(links.delivered), joined(q.answer(provider->_cache, false)));
        results += far.delivered.size();
    }
    EXPECT_GT(results, 600u) << "the comparison is about something";
}

// ---- How answers are found and delivered ------------------------------------------------------

TEST_F(AssociationProvider, FormOrderAndUpcallsOfDeliveries) {
    const std::string things =
        "enumerateClasses T_Thing qualifiers origins\ngetClass T_Thing qualifiers origins\n";
    const std::string parts =
        "enumerateClasses T_Part qualifiers origins\ngetClass T_Part qualifiers origins\n";
    const std::string all = "T_Part.k=1[] T_Part.k=2[First] T_Part.k=2[] \nenumerateInstances ";
    const struct {
        const char *left, *right, *resultClass;
        // Names, with the role of an end or without, or objects with qualifiers or class origins.
        char operation;
        std::string expected;
    } cases[] = {
        {"T_Part.k=1", "root/x:T_Part.k=2", "", 'n', "deliver complete: root/x:T_Part.k=2 \n"},
        {"T_Part.k=1", "root/x:T_Part.k=2", "T_Thing", 'q',
         "deliver complete: T_Part.k=2[First] \n" + things +
             "enumerateInstances T_Part qualifiers\n"},
        {"T_Part.k=1", "T_Part.k=2", "", 'o',
         "deliver complete: T_Part.k=2[First] \nenumerateInstances T_Part origins\n"},
        {"T_Part.k=1", "T_Part.k=9", "", 'q', "complete: \nenumerateInstances T_Part qualifiers\n"},
        {"T_Part.k=1", "root/x:T_Thing", "", 'n',
         "deliver[3] complete: T_Part.k=1 T_Part.k=2 T_Part.k=2 \nenumerateInstanceNames "
         "T_Thing\n"},
        {"T_Part.k=1", "root/x:T_Thing", "", 'q',
         "deliver deliver deliver complete: " + all + "T_Thing shallow qualifiers\n"},
        {"T_Part.k=1", "root/x:T_Thing", "", 'o',
         "deliver deliver deliver complete: " + all + "T_Thing shallow origins\n"},
        {"T_Part.k=1", "T_Other", "", 'n', "complete: \nenumerateInstanceNames T_Other\n"},
        {"T_Thing", "T_Part.k=3", "", 'n', "deliver complete: T_Part.k=3 \n" + things},
        // An end is compared before the role is asked, and the other one as well.
        {"T_Thing", "T_Part.k=2", "", 'r', "complete: \n" + things},
        {"T_Part.k=9", "T_Thing", "", 'l', "complete: \n" + things},
        // Both ends match; the far one of the first is no part, and so the second is not tried.
        {"T_Part", "T_Thing", "T_Part", 'n', "complete: \n" + parts + parts}};
    server.answer = [&](const Request& request, Answer& answer) {
        for (const char* at : {"T_Part.k=1", "T_Part.k=2", "T_Part.k=2"}) {
            if (request.path.getClassName() != CIMName("T_Other")) {
                answer.instances.append(instanceAt(at));
                answer.paths.append(path(at));
            }
        }
        if (answer.instances.size() > 0) {
            add(answer.instances[1], "First", "");
        }
    };
    for (const auto& c : cases) {
        provider->_cache.clear();
        provider->_cache.insert(makeLink(c.left, c.right));
        const CIMName to = *c.resultClass ? CIMName(c.resultClass) : CIMName();
        ObjectPathRecorder names;
        ObjectRecorder objects;
        std::string found;
        if (strchr("nlr", c.operation)) {
            const char* const role = c.operation == 'n'   ? ""
                                     : c.operation == 'l' ? "Left"
                                                          : "Right";
            provider->associatorNames(context, path("T_Part.k=1"), "T_Other", to, role, "", names);
            found = joined(names.delivered);
        } else {
            provider->associators(context, path("T_Part.k=1"), "T_Other", to, "Left", "Right",
                                  c.operation == 'q', c.operation == 'o',
                                  CIMPropertyList(Array<CIMName>(1, "Size")), objects);
            for (const CIMObject& o : objects.delivered) {
                found += text(o.getPath()) + "[" + propertyNames(CIMInstance(o)) + "] ";
            }
        }
        EXPECT_EQ(names.calls + objects.calls + ": " + found + "\n" + server.taken(),
                  "processing " + c.expected)
            << &c - cases;
    }
}

// The server writes a missing host or namespace into what is delivered, so a handle that others are
// reading is copied in exactly that case.
TEST_F(AssociationProvider, OnlyHandlesWithIncompletePathsAreCopied) {
    provider->fill = [](const OperationContext& from, Array<CIMInstance>& filled,
                        const CIMPropertyList& list) {
        ASSERT_EQ(filled.size(), 1u);
        add(filled[0], "Filled", asked(from, list).c_str());
    };
    CIMInstance cached, far("T_Part");
    server.answer = [&](const Request&, Answer& answer) { answer.instances.append(far); };
    for (const auto& [host, ns] :
         {std::pair("", ""), {"h", ""}, {"", NAMESPACE}, {"h", NAMESPACE}}) {
        const CIMNamespaceName place = *ns ? CIMNamespaceName(ns) : CIMNamespaceName();
        cached = makeLink(thing("a"), "T_Part");
        cached.setPath(CIMObjectPath(host, place, "T_Link", cached.getPath().getKeyBindings()));
        far.setPath(CIMObjectPath(host, place, "T_Part"));
        provider->_cache.clear();
        provider->_cache.insert(cached);
        ObjectRecorder handler;
        provider->references(context, path(thing("a")), CIMName(), "Left", false, false,
                             CIMPropertyList(Array<CIMName>(1, "Note")), handler);
        provider->associators(context, path(thing("a")), CIMName(), CIMName(), "Left", "", false,
                              false, CIMPropertyList(), handler);
        EXPECT_EQ(handler.calls, "processing deliver complete processing deliver complete");
        CIMInstance link(handler.delivered.at(0)), end(handler.delivered.at(1));
        add(link, "Mine", "");
        add(end, "Mine", "");
        const bool shared = *host && *ns;
        EXPECT_EQ(property(link, "Filled"), "caller {Note}");
        EXPECT_EQ(propertyNames(cached), shared ? "Left,Right,Filled,Mine" : "Left,Right,Filled");
        EXPECT_EQ(propertyNames(far), shared ? "Mine" : "");
        deleteProp(far, "Mine");
    }
}

// ---- What is refused ---------------------------------------------------------------------------

TEST_F(AssociationProvider, RolesAreCheckedFirstEndsOneByOne) {
    const struct {
        const char *left, *right, *resultClass, *role, *resultRole, *expected;
    } cases[] = {{"T_Thing.k=1", "T_Thing.k=2", "T_Unknown", "left", "", "4 invalid role"},
                 {"T_Thing.k=1", "T_Thing.k=2", "T_Unknown", "Odd", "Odd", "4 invalid role"},
                 {"T_Thing.k=1", "T_Thing.k=2", "T_Unknown", "", "RIGHT", "4 invalid resultRole"},
                 {"T_Thing.k=1", "T_Thing.k=2", "T_Unknown", "Right", "Left", "6 T_Unknown"},
                 {"T_Thing.k=1", nullptr, "T_Thing", "", "", "ok"},  // skipped
                 {nullptr, "T_Thing.k=1", "T_Thing", "", "", "ok"},
                 {"T_Thing.k=1", "@@", "T_Part", "", "", "malformed object name: @@"},
                 {"@@", "T_Thing.k=1", "T_Part", "", "", "malformed object name: @@"}};
    for (const auto& c : cases) {
        Array<CIMKeyBinding> keys;
        for (const auto& [name, end] : {std::pair("Left", c.left), std::pair("Right", c.right)}) {
            if (end) {
                keys.append(CIMKeyBinding(name, end, CIMKeyBinding::STRING));
            }
        }
        CIMInstance link("T_Link");
        link.setPath(CIMObjectPath("", CIMNamespaceName(), "T_Link", keys));
        provider->_cache.clear();
        provider->_cache.insert(link);
        ObjectPathRecorder handler;
        const std::string result = outcome([&] {
            if (*c.resultRole) {
                provider->associatorNames(context, path("T_Thing.k=1"), CIMName(), c.resultClass,
                                          c.role, c.resultRole, handler);
            } else {
                provider->referenceNames(context, path("T_Thing.k=1"), c.resultClass, c.role,
                                         handler);
            }
        });
        EXPECT_EQ(result.substr(0, result.find(',')), c.expected) << &c - cases;
        EXPECT_EQ(handler.calls, result == "ok" ? "processing complete" : "processing");
    }
}

TEST_F(AssociationProvider, WithoutNamesOnlyWhileTheCacheIsEmpty) {
    Links unnamed, usual("T_Link", "Left", "T_Thing", "Right", "T_Thing");
    ObjectPathRecorder handler;
    unnamed.referenceNames(context, path(thing("a")), CIMName(), "", handler);
    EXPECT_EQ(handler.calls, "processing complete");
    const CIMInstance any = makeLink(thing("a"), thing("b"));
    unnamed._cache.insert(any);
    EXPECT_THROW(unnamed.referenceNames(context, path(thing("a")), CIMName(), "", handler),
                 InvalidNameException);
    struct Named : InstanceAssociationProvider {
        using InstanceAssociationProvider::InstanceAssociationProvider;
        std::string classes() const { return text(_leftClassName) + text(_rightClassName); }
    };
    EXPECT_EQ(Named("T_Link", "Left", "T_L", "Right", "T_R").classes(), "T_LT_R");
    for (Links* const links : {&unnamed, &usual, provider}) {
        links->_cache.insert(any);
        links->_cache.remove(any.getPath());
    }
    EXPECT_EQ(server.taken(), "") << "no cascade from the cache of associations";
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
            if (needsProperty(instances[i], "Size", CIMPropertyList(), false)) {
                CIMInstance edited = instances[i].clone();
                add(edited, "Size", CIMValue(Uint32(1)));
                server.things->_cache.replace(edited);
            }
        }
    };
    server.things->_cache.insert(makeThing("hub"));
    CIMInstance bare = makeLink(full(thing("hub")), full(thing("hub")));
    bare.setPath(localize(bare.getPath()));
    server.links->_cache.insert(bare);
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
    deleteAssociatedInstances(server.things->_cimom, OperationContext(), path(full(thing("hub"))),
                              "T_Link");
    EXPECT_EQ(Client().enumerateInstanceNames(NAMESPACE, "T_Thing").size(), 0u);
}

}  // namespace
