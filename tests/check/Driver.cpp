// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What velmar check compares: a package that answers in agreement with itself, and one mistake at a
// time in it.
#include "check/Driver.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <random>
#include <set>
#include <utility>

#include "check/Driver.h"
#include "support/ScriptedServer.h"

using namespace support;
using velmar_driver::RegisteredClass;

namespace {

// Two instances of T_A, a far end and a link between them, each operation served from one store.
class Package : public ScriptedServer {
 protected:
    typedef std::map<std::string, CIMInstance> Store;
    Store as, fars, links;
    Scripted* a = serve("A", "T_A", as);
    Scripted* far = serve("Far", "T_Far", fars);
    Scripted* link = serve("Link", "T_Link", links);
    velmar_driver::DriveOptions options;

    Package() {
        put(as, item(A1, 1));
        put(as, item("T_A.k=\"2\"", 2));
        put(fars, item(FAR1));
        putLink(full(A1));
        options.write = options.call = true;
        options.tries = 5;
    }
    static void put(Store& store, const CIMInstance& instance) {
        store[velmar_driver::shortText(instance.getPath())] = instance;
    }
    void putLink(const std::string& near) {
        CIMInstance one(CIMName("T_Link"));
        Array<CIMKeyBinding> keys;
        const std::pair<const char*, std::string> ends[] = {{"Near", near}, {"Far", full(FAR1)}};
        for (const auto& [role, end] : ends) {
            const CIMValue value(path(end));
            one.addProperty(CIMProperty(CIMName(role), value));
            keys.append(CIMKeyBinding(CIMName(role), value));
        }
        one.setPath(CIMObjectPath(String(), CIMNamespaceName(), CIMName("T_Link"), keys));
        put(links, one);
    }

    // The ids of what the driver finds.
    std::set<std::string> find() {
        start();
        std::vector<RegisteredClass> classes;
        const std::set<ProviderType> all = {ProviderType::Instance, ProviderType::Association,
                                            ProviderType::Method};
        for (const char* name : {"T_A", "T_Far", "T_Link"}) {
            classes.push_back({ns, name, server.repository().getClass(ns, name), all});
        }
        velmar_checks::Findings findings;
        velmar_driver::EmbeddedAccess access(server);
        reports = velmar_driver::drive(access, classes, options, findings);
        std::set<std::string> ids;
        for (const velmar_checks::Finding& one : findings.all()) {
            ids.insert(one.id);
        }
        return ids;
    }

    // Like hardware that moves: each request finds one of several instances of T_A plugged or
    // pulled, or a link that follows it.
    void startMoving() {
        options.tries = 10;
        for (const char* bay : bays) {
            put(as, item(bay, 1));
            putLink(full(bay));
        }
        for (Scripted* one : {a, far, link}) {
            one->onCall = [this, before = one->onCall](const Call& call) {
                move();
                before(call);
            };
        }
    }

    std::vector<velmar_driver::ClassReport> reports;

 private:
    void move() {
        if (follow) {
            return std::exchange(follow, nullptr)();
        }
        const std::string bay = bays[random() % bays.size()];
        if (as.erase(bay) == 0) {
            put(as, item(bay, 1));
            follow = [this, bay] { putLink(full(bay)); };
        } else {
            follow = [this, bay] { removeWithLinks(as, path(bay)); };
        }
    }
    const std::vector<const char*> bays{"T_A.k=\"b1\"", "T_A.k=\"b2\"", "T_A.k=\"b3\"",
                                        "T_A.k=\"b4\"", "T_A.k=\"b5\"", "T_A.k=\"b6\""};
    std::minstd_rand random{1};
    std::function<void()> follow;

    Scripted* serve(const char* name, const char* className, Store& store) {
        Scripted* const provider =
            provide(name, {className},
                    {ProviderType::Instance, ProviderType::Association, ProviderType::Method});
        provider->get = [&store](const Call& call, auto& handler) {
            const auto found = store.find(velmar_driver::shortText(call.path));
            if (found == store.end()) {
                throw CIMException(CIM_ERR_NOT_FOUND);
            }
            handler.deliver(found->second.clone());
        };
        provider->enumerate = [&store](const Call&, auto& handler) {
            for (const auto& one : store) {
                handler.deliver(one.second.clone());
            }
        };
        provider->names = [&store](const Call&, auto& handler) {
            for (const auto& one : store) {
                handler.deliver(one.second.getPath());
            }
        };
        provider->create = [&store, this](const Call& call, auto& handler) {
            CIMInstance copy = call.instance.clone();
            copy.setPath(copy.buildPath(
                server.repository().getClass(call.path.getNameSpace(), copy.getClassName())));
            put(store, copy);
            handler.deliver(copy.getPath());
        };
        provider->onCall = [&store, this](const Call& call) {
            if (call.operation == velmar_embedded::Operation::DeleteInstance) {
                removeWithLinks(store, call.path);
            }
        };
        provider->invoke = [](const Call&, auto& handler) { handler.deliver(CIMValue(Uint32(0))); };
        provider->linkPaths = [this](const Call& call, auto& handler) {
            answer(call, [&](const CIMObjectPath& path) { handler.deliver(path); });
        };
        provider->linkObjects = [this](const Call& call, auto& handler) {
            answer(call, [&](const CIMObjectPath& path) {
                const std::string shown = velmar_driver::shortText(path);
                for (Store* one : {&as, &fars, &links}) {
                    if (one->count(shown) != 0) {
                        handler.deliver(CIMObject((*one)[shown].clone()));
                    }
                }
            });
        };
        return provider;
    }

    void removeWithLinks(Store& store, const CIMObjectPath& path) {
        store.erase(velmar_driver::shortText(path));
        for (auto one = links.begin(); cascades && one != links.end();) {
            const std::string gone = velmar_driver::shortText(path);
            const bool refers = end(one->second, "Near") == gone || end(one->second, "Far") == gone;
            one = refers ? links.erase(one) : std::next(one);
        }
    }

    static std::string end(const CIMInstance& one, const char* role) {
        CIMObjectPath path;
        one.getProperty(one.findProperty(CIMName(role))).getValue().get(path);
        return velmar_driver::shortText(path);
    }

    // The other ends, or the links themselves.
    void answer(const Call& call, const std::function<void(const CIMObjectPath&)>& deliver) {
        const bool associators = call.operation == velmar_embedded::Operation::Associators ||
                                 call.operation == velmar_embedded::Operation::AssociatorNames;
        for (const auto& [shown, one] : links) {
            for (const auto& [role, other] : {std::pair("Near", "Far"), std::pair("Far", "Near")}) {
                if (end(one, role) == velmar_driver::shortText(call.path) &&
                    (call.role.size() == 0 || call.role == String(role) || anyRole)) {
                    deliver(associators ? path(full(end(one, other))) : one.getPath());
                }
            }
        }
    }

 protected:
    bool cascades = true;
    bool anyRole = false;
};

TEST_F(Package, ThatAgreesWithItselfGivesNothing) {
    options.clients = 2;
    options.seconds = 0;
    const size_t before = as.size() + links.size();
    // The declared method needs parameters, so nobody calls it.
    EXPECT_EQ(find(), std::set<std::string>());
    EXPECT_EQ(as.size() + links.size(), before) << "what was created is deleted again";
    EXPECT_FALSE(reports[0].changes);
}

TEST_F(Package, WhoseObjectsComeAndGoGivesNothing) {
    startMoving();
    EXPECT_EQ(find(), std::set<std::string>());
    EXPECT_TRUE(reports[0].changes);
    EXPECT_TRUE(reports[2].changes);
}

// 50 objects linked to one: what the one is asked does not grow with its links.
TEST_F(Package, IsAskedEachQuestionOnce) {
    for (int i = 3; i <= 50; i++) {
        const std::string one = "T_A.k=\"" + std::to_string(i) + "\"";
        put(as, item(one, 1));
        putLink(full(one));
    }
    options.write = options.call = false;
    std::atomic<int> ofOne{0}, ofAll{0};
    far->onCall = [&](const Call&) { ofOne++; };
    a->onCall = [&](const Call&) { ofAll++; };
    link->onCall = [&](const Call& call) { ofOne += call.path.identical(path(full(FAR1))); };
    EXPECT_EQ(find(), std::set<std::string>());
    EXPECT_LT(ofOne, 40);
    EXPECT_LT(ofAll, 3 * 50);
}

// Each rule of the driver by one mistake that it alone explains or explains too.
class Mistakes : public Package {
 public:
    void expect(const char* id) { EXPECT_EQ(find().count(id), 1u) << id; }
};

TEST_F(Mistakes, EnumerationThatFails) {
    a->enumerate = [](const Call&, auto&) { throw CIMException(CIM_ERR_FAILED, "broken"); };
    expect("driver.fails");
}

TEST_F(Mistakes, NamesOfOthers) {
    a->names = [](const Call&, auto& handler) { handler.deliver(path("T_A.k=\"3\"")); };
    const std::set<std::string> found = find();
    EXPECT_TRUE(found.count("driver.names") && found.count("driver.get"));
}

TEST_F(Mistakes, ValueThatOnlyTheEnumerationGives) {
    a->get = [this, get = a->get](const Call& call, auto& handler) {
        const auto found = as.find(velmar_driver::shortText(call.path));
        if (found == as.end()) {
            return get(call, handler);
        }
        CIMInstance one = found->second.clone();
        one.removeProperty(one.findProperty(CIMName("n")));
        handler.deliver(one);
    };
    const std::set<std::string> found = find();
    EXPECT_TRUE(found.count("driver.get-values") && found.count("driver.create"));
}

TEST_F(Mistakes, ValueThatComesAndGoes) {
    int asked = 0;
    a->get = [&asked, get = a->get](const Call& call, auto& handler) {
        if (call.path.toString().find(String("absent")) != PEG_NOT_FOUND) {
            handler.deliver(item(text(call.path)));
            return;
        }
        CIMInstance one = item(text(call.path));
        if (!call.propertyList.isNull()) {
            one.removeProperty(one.findProperty(CIMName("k")));
        } else if (asked++ % 2 == 0) {
            one.removeProperty(one.findProperty(CIMName("n")));
        }
        handler.deliver(one);
    };
    const std::set<std::string> found = find();
    for (const char* id :
         {"driver.unsteady", "driver.absent", "driver.property-list", "driver.delete"}) {
        EXPECT_EQ(found.count(id), 1u) << id;
    }
}

TEST_F(Mistakes, EndThatIsNotThere) {
    as.erase(A1);
    expect("driver.far-end");
}

TEST_F(Mistakes, LinksThatNobodyAnswers) {
    link->linkPaths = [](const Call&, auto&) {};
    const std::set<std::string> found = find();
    EXPECT_TRUE(found.count("driver.reference") && found.count("driver.associator"));
}

TEST_F(Mistakes, ObjectsThatAreMissingAmongTheirNames) {
    link->linkObjects = [](const Call&, auto&) {};
    expect("driver.objects");
}

// Whoever calls a method has subscribed, so that the checks see the alerts that it raises.
TEST_F(Package, AlertsOfMethodsAreListenedTo) {
    server.compileMofText("root/test", "class T_Alert { string Note; };");
    auto* const alerts = new Alerts;
    server.registerProvider("Alerts", alerts,
                            {{"T_Alert", {"root/test"}, {ProviderType::Indication}, {}}});
    std::atomic<bool> isEnabled{false};
    alerts->onCall = [&](const std::string& what) {
        isEnabled = what == "enable" || (isEnabled && what != "disable");
    };
    unsigned called = 0, enabled = 0;
    a->invoke = [&, invoke = a->invoke](const Call& call, auto& handler) {
        called++;
        enabled += isEnabled ? 1 : 0;
        invoke(call, handler);
    };
    start();
    const std::vector<RegisteredClass> classes = {
        {ns, "T_A", server.repository().getClass(ns, "T_A"), {ProviderType::Method}},
        {ns, "T_Alert", server.repository().getClass(ns, "T_Alert"), {ProviderType::Indication}}};
    velmar_checks::Findings ignored;
    velmar_driver::EmbeddedAccess access(server);
    velmar_driver::drive(access, classes, options, ignored);
    EXPECT_GT(called, 0u);
    EXPECT_EQ(enabled, called);
    EXPECT_FALSE(isEnabled);
    server.stop();  // while there is what its providers say to
}

// What comes and goes hides no mistake.
TEST_F(Mistakes, NamesWithoutAnInstanceAmongWhatMoves) {
    startMoving();
    a->names = [names = a->names](const Call& call, auto& handler) {
        names(call, handler);
        handler.deliver(path("T_A.k=\"ghost\""));
    };
    const std::set<std::string> found = find();
    EXPECT_EQ(found, (std::set<std::string>{"driver.get", "driver.names"}));
}

TEST_F(Mistakes, LinksThatOutliveTheirEndsAmongWhatMoves) {
    startMoving();
    options.write = cascades = false;
    EXPECT_EQ(find().count("driver.far-end"), 1u);
}

TEST_F(Mistakes, FarEndsThatDifferAmongWhatMoves) {
    startMoving();
    link->linkPaths = [](const Call& call, auto& handler) {
        if (call.operation == velmar_embedded::Operation::AssociatorNames) {
            handler.deliver(path(full("T_Far.k=\"2\"")));
        }
    };
    EXPECT_EQ(find().count("driver.associator"), 1u);
}

TEST_F(Mistakes, ObjectOfTwoClasses) {
    Scripted* const b = provide("B", {"T_B"});
    b->names = [](const Call&, auto& handler) { handler.deliver(path("T_B.k=\"2\"")); };
    b->enumerate = [](const Call&, auto& handler) { handler.deliver(item("T_B.k=\"2\"")); };
    EXPECT_EQ(find(), std::set<std::string>{"driver.twice"});
}

TEST_F(Mistakes, RoleThatIsNotLookedAt) {
    anyRole = true;
    expect("driver.role");
}

TEST_F(Mistakes, LinkThatOutlivesItsEnd) {
    cascades = false;
    expect("driver.cascade");
}

// What one client alone would get, and several do not.
TEST_F(Mistakes, AnswersThatLackSomethingNowAndThen) {
    options = {};
    options.clients = 2;
    options.seconds = 1;
    std::atomic<int> asked{0};
    a->names = [&asked](const Call&, auto& handler) {
        handler.deliver(path(A1));
        if (asked++ % 5 != 4) {
            handler.deliver(path("T_A.k=\"2\""));
        }
    };
    expect("driver.load");
}

}  // namespace
