// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// How the server drives indication providers and hands their indications to subscribers.
#include <Pegasus/Common/CIMIndication.h>
#include <Pegasus/Provider/CIMIndicationProvider.h>

#include <atomic>
#include <stdexcept>
#include <utility>

#include "support/ScriptedServer.h"

using namespace support;
using velmar_embedded::IndicationCounts;

namespace {

typedef Array<CIMObjectPath> ClassPaths;

/// Notes what the server does with it in a log, which several may share.
class Alerts : public CIMIndicationProvider {
 public:
    Alerts(const std::string& name, std::string& log) : _name(name), _log(log) {}

    IndicationResponseHandler* handler = nullptr;
    std::function<void()> onInitialize = [] {}, onCreate = [] {}, onEnable = [] {},
                          onDisable = [] {};
    // Of the last subscription.
    OperationContext context;
    CIMObjectPath subscription;
    std::string classNames;

    void initialize(CIMOMHandle&) override { note("initialize"), onInitialize(); }
    void terminate() override {
        note("terminate");
        delete this;
    }
    void enableIndications(IndicationResponseHandler& given) override {
        handler = &given;
        note("enable"), onEnable();
    }
    void disableIndications() override { note("disable"), onDisable(); }
    void createSubscription(const OperationContext& with, const CIMObjectPath& path,
                            const ClassPaths& classes, const CIMPropertyList& list,
                            const Uint16) override {
        note("create"), onCreate();
        EXPECT_TRUE(list.isNull());
        context = with;
        subscription = path;
        classNames = paths(classes, false);
    }
    void modifySubscription(const OperationContext&, const CIMObjectPath&, const ClassPaths&,
                            const CIMPropertyList&, const Uint16) override {}
    void deleteSubscription(const OperationContext&, const CIMObjectPath& path,
                            const ClassPaths& classes) override {
        note(path == subscription && paths(classes, false) == classNames ? "delete"
                                                                         : "delete-other");
    }
    /// Delivers an indication of this class with a text.
    void alert(const std::string& classPath, const char* note = "") {
        CIMInstance indication = instanceAt(classPath);
        add(indication, "Note", note);
        handler->deliver(indication);
    }

 private:
    void note(const std::string& call) { _log += _name + "." + call + " "; }

    const std::string _name;
    std::string& _log;
};

class Subscriptions : public ScriptedServer {
 protected:
    const char* const base = "select * From t_base";
    const char* const alertPath = "root/test:T_Alert";
    std::string log, problems;
    std::vector<CIMInstance> seen;

    Subscriptions() {
        server.compileMofText("root/test", R"(
            class T_Base { string Note; };
            class T_Alert : T_Base { uint32 Level; string Also; };
            class T_SubAlert : T_Alert { };
        )");
        server.compileMofText("root/other", "class T_Base { }; class T_Alert : T_Base { };");
        server.observeProblems([this](const std::string& problem) {
            const std::lock_guard<std::mutex> lock(_mutex);
            problems += problem + "\n";
            _told.notify_all();
        });
    }
    void TearDown() override { server.stop(); }  // before what providers and subscribers use goes

    Alerts* alerts(const std::string& name, const std::vector<const char*>& classes = {"T_Alert"}) {
        auto* provider = new Alerts(name, log);
        std::vector<velmar_embedded::Capabilities> capabilities;
        for (const char* cimClass : classes) {
            capabilities.push_back(
                {cimClass, {"root/test", "root/other"}, {ProviderType::Indication}, {}});
        }
        server.registerProvider(name, provider, capabilities);
        return provider;
    }
    std::string subscribe(const char* query, const std::vector<std::string>& from = {"root/test"}) {
        return server.subscribe(query, from, [this](const CIMInstance& indication) {
            const std::lock_guard<std::mutex> lock(_mutex);
            seen.push_back(indication);
        });
    }
    std::string notes() const {
        std::string all;
        for (const CIMInstance& indication : seen) {
            all += property(indication, "Note") + " ";
        }
        return all;
    }
    /// delivered/overflowed/unmatched/discarded
    static std::string show(const IndicationCounts& counts) {
        return std::to_string(counts.delivered) + "/" + std::to_string(counts.overflowed) + "/" +
               std::to_string(counts.unmatched) + "/" + std::to_string(counts.discarded);
    }
    std::string take() { return std::exchange(log, ""); }
    /// Waits until a problem with this text was reported; how many were by then.
    int reported(const std::string& text) {
        std::unique_lock<std::mutex> lock(_mutex);
        _told.wait(lock, [&] { return problems.find(text) != std::string::npos; });
        return static_cast<int>(std::count(problems.begin(), problems.end(), '\n'));
    }

 private:
    std::mutex _mutex;
    std::condition_variable _told;
};

TEST_F(Subscriptions, ProvidersAreDrivenByTheFirstAndTheLast) {
    Alerts* a = alerts("A", {"T_SubAlert", "T_Alert"});
    Alerts* b = alerts("B", {"T_Base"});
    start();
    EXPECT_EQ(take(), "");
    const std::string first = subscribe("SELECT * FROM T_Alert");
    EXPECT_EQ(take(), "A.initialize A.create A.enable ");
    EXPECT_EQ(a->classNames, full("T_Alert") + " " + full("T_SubAlert") + " ");
    const SubscriptionInstanceContainer given(a->context.get(SubscriptionInstanceContainer::NAME));
    EXPECT_EQ(given.getInstance().getPath(), a->subscription);
    const SubscriptionFilterQueryContainer query(
        a->context.get(SubscriptionFilterQueryContainer::NAME));
    EXPECT_EQ(query.getFilterQuery(), "SELECT * FROM T_Alert");
    EXPECT_EQ(query.getSourceNameSpace(), CIMNamespaceName("root/test"));
    for (const String& name :
         {IdentityContainer::NAME, AcceptLanguageListContainer::NAME,
          ContentLanguageListContainer::NAME, SubscriptionFilterConditionContainer::NAME}) {
        EXPECT_TRUE(a->context.contains(name)) << name;
    }

    const std::string second = subscribe(base, {"root/Test", "root/other"});
    const std::string order = take();  // of the two providers is open
    EXPECT_EQ(order.size(), std::string("A.create B.initialize B.create B.enable ").size());
    EXPECT_NE(order.find("B.initialize B.create B.enable"), std::string::npos) << order;
    EXPECT_EQ(b->classNames,
              full("T_Base", "root/Test") + " " + full("T_Base", "root/other") + " ");
    server.unsubscribe(first);
    EXPECT_EQ(take(), "A.delete-other ");
    EXPECT_EQ(outcome([&] { server.unsubscribe(first); }), "6 subscription " + first);
    server.unsubscribe(second);
    const std::string last = take();
    EXPECT_NE(last.find("A.delete A.disable"), std::string::npos) << last;
    EXPECT_NE(last.find("B.delete B.disable"), std::string::npos) << last;
    subscribe("SELECT * FROM T_SubAlert");
    EXPECT_EQ(take(), "A.create A.enable ");
    server.stop();
    EXPECT_EQ(take(), "A.disable A.terminate B.terminate ");
}

TEST_F(Subscriptions, RefusedOnes) {
    alerts("A", {"T_SubAlert"});
    start();
    for (const char* query : {"", "SELECT * FROM", "SELECT Note FROM T_Alert",
                              "SELECT * FROM T_Alert WHERE Level > 1", "SELECT * FROM 1x"}) {
        EXPECT_EQ(outcome([&] { subscribe(query); }).find("15 \"" + std::string(query) + "\""), 0u);
    }
    EXPECT_EQ(code([&] { subscribe(base, {}); }), 4);
    EXPECT_EQ(outcome([&] { subscribe(base, {"root/no"}); }), "3 root/no");
    EXPECT_EQ(outcome([&] { subscribe("SELECT * FROM T_No"); }), "5 T_No");
    EXPECT_EQ(outcome([&] { subscribe("SELECT * FROM T_A"); }),
              "7 No providers are capable of servicing the subscription.");
    EXPECT_EQ(take(), "");
}

TEST_F(Subscriptions, ProviderThatRefusesIsCountedAndEnabled) {
    auto refuse = [] { throw CIMException(CIM_ERR_FAILED, "not today"); };
    Alerts* a = alerts("A");
    Alerts* b = alerts("B", {"T_SubAlert"});
    a->onCreate = refuse;
    alerts("C", {"T_SubAlert"})->onInitialize = refuse;
    start();
    subscribe("SELECT * FROM T_Alert");
    server.drain();
    EXPECT_EQ(reported("provider \"A\": createSubscription of T_Alert failed: "
                       "Pegasus::CIMException: not today"),
              3);  // and C's two
    a->alert(alertPath, "not accepted");
    b->alert(alertPath, "accepted");
    server.drain();
    EXPECT_EQ(notes() + show(server.indicationCounts()), "accepted 1/0/1/0");
    b->onCreate = refuse;
    EXPECT_EQ(outcome([&] { subscribe("SELECT * FROM T_SubAlert"); }),
              "7 No providers accepted the subscription.");
    server.drain();
    EXPECT_EQ(reported("provider \"B\""), 6);
    a->onCreate = [] {};
    take();
    server.unsubscribe(subscribe("SELECT * FROM T_Alert", {"root/other"}));
    EXPECT_EQ(take(), "A.create A.delete ") << "the refused one still counts";
}

TEST_F(Subscriptions, MatchesByClassAndNamespace) {
    Alerts* a = alerts("A");
    start();
    const std::string id = subscribe("SELECT * FROM T_ALERT");
    for (const char* matching : {"root/test:T_Alert", "ROOT/Test:t_alert",
                                 "//other.host/root/test:T_Alert", "root/test:T_SubAlert"}) {
        a->alert(matching);
    }
    for (const char* other : {"root/test:T_Base", "root/other:T_Alert", "T_Alert",
                              "root/no:T_Alert", "root/test:T_No"}) {
        a->alert(other, "wrong");
    }
    server.drain();
    EXPECT_EQ(show(server.indicationCounts(id)), "4/0/5/0");
    EXPECT_EQ(notes().find("wrong"), std::string::npos);
    server.unsubscribe(id);
    EXPECT_EQ(show(server.indicationCounts()), "4/0/5/0");
    EXPECT_EQ(code([&] { server.indicationCounts(id); }), 6);
}

TEST_F(Subscriptions, SubscribersGetCopiesOfWhatIsDeclared) {
    Alerts* a = alerts("A");
    start();
    subscribe("SELECT * FROM T_Alert");
    subscribe("SELECT * FROM T_Alert");
    CIMInstance indication = instanceAt(alertPath);
    add(indication, "also", "1");
    add(indication, "Undeclared", "2");
    add(indication, "Note", CIMValue(Uint8(3)));
    const Array<CIMIndication> both(2, indication);
    a->handler->deliver(indication);
    a->handler->deliver(both);
    a->handler->deliver(OperationContext(), indication);
    a->handler->deliver(OperationContext(), both);
    indication.getProperty(0).setValue(CIMValue(String("edited")));
    server.drain();
    ASSERT_EQ(seen.size(), 12u);
    for (const CIMInstance& one : seen) {
        EXPECT_EQ(propertyNames(one) + property(one, "Also") + property(one, "Note"),
                  "also,Note13");
    }
    seen[0].setPath(path("T_Alert.k=1"));
    for (size_t i = 1; i < seen.size(); i++) {
        EXPECT_EQ(seen[i].getPath().getKeyBindings().size(), 0u) << "shared by two subscribers";
    }
    EXPECT_EQ(outcome([&] { a->handler->deliver(CIMIndication()); }),
              "1 The object is not initialized.");
}

TEST_F(Subscriptions, SlowSubscriberLosesTheNewestVisibly) {
    Alerts* a = alerts("A");
    start();
    Count begun, mayGoOn;
    auto slow = [&](const CIMInstance& indication) {
        begun.up();
        mayGoOn.waitFor(1);
        seen.push_back(indication);
        if (property(indication, "Note") == "2") {
            throw std::runtime_error("cannot");
        }
    };
    const std::string id = server.subscribe(base, {"root/test"}, slow, 2);
    a->alert(alertPath, "1");
    begun.waitFor(1);
    for (const char* note : {"2", "3", "lost", "lost"}) {
        a->alert(alertPath, note);
    }
    EXPECT_EQ(show(server.indicationCounts(id)), "1/2/0/0");
    EXPECT_EQ(reported("subscription " + id), 1);
    mayGoOn.up();
    server.drain();
    EXPECT_EQ(show(server.indicationCounts(id)), "3/2/0/0");
    EXPECT_EQ(reported("cannot"), 2);
    a->alert(alertPath, "4");
    server.drain();
    EXPECT_EQ(notes(), "1 2 3 4 ");
}

TEST_F(Subscriptions, UnsubscribingWaitsForARunningSubscriberAndDiscardsTheRest) {
    Alerts* a = alerts("A");
    start();
    Count begun;
    std::atomic<bool> returned{false};
    const std::string id = server.subscribe(base, {"root/test"}, [&](const CIMInstance&) {
        begun.up();
        while (server.indicationCounts().discarded == 0) {  // the end is under way after that
            std::this_thread::yield();
        }
        for (int i = 0; i < 20000 && !returned; i++) {
            std::this_thread::yield();
        }
        EXPECT_FALSE(returned);
    });
    a->alert(alertPath);
    begun.waitFor(1);
    a->alert(alertPath);
    server.unsubscribe(id);
    returned = true;
    EXPECT_EQ(show(server.indicationCounts()), "1/0/0/1");
}

TEST_F(Subscriptions, SubscribersEndSubscriptions) {
    Alerts* a = alerts("A");
    start();
    // Each ends the other's subscription while the other runs: nobody waits for the other.
    std::string ids[2];
    Count inside;
    for (int i : {0, 1}) {
        ids[i] = server.subscribe(base, {"root/test"}, [&, i](const CIMInstance&) {
            inside.up();
            inside.waitFor(2);
            EXPECT_THROW(server.drain(), std::logic_error);
            server.unsubscribe(ids[1 - i]);
            inside.up();
        });
    }
    a->alert(alertPath);
    inside.waitFor(4);
    EXPECT_EQ(show(server.indicationCounts()), "2/0/0/0");
    const std::string order = take();
    EXPECT_EQ(order.find("A.disable "), order.size() - 10) << order;
    // And one its own.
    std::string own = server.subscribe(base, {"root/test"}, [&](const CIMInstance&) {
        server.unsubscribe(own);
        inside.up();
    });
    a->alert(alertPath);
    inside.waitFor(5);
    EXPECT_EQ(take(), "A.create A.enable A.delete A.disable ");
}

TEST_F(Subscriptions, StoredOnesAreCreatedBeforeAnythingIsEnabled) {
    Alerts* a = alerts("A");
    subscribe(base);
    subscribe("SELECT * FROM T_Alert");
    server.unsubscribe(subscribe(base));
    subscribe("SELECT * FROM T_No");
    EXPECT_EQ(take(), "");
    a->onEnable = [&] { a->alert(alertPath, "at once"); };
    start();
    EXPECT_EQ(take(), "A.initialize A.create A.create A.enable ");
    EXPECT_EQ(reported("T_No"), 1);
    a->onDisable = [&] {
        for (int i = 0; i < 100; i++) {
            a->alert(alertPath, "last");
        }
    };
    server.stop();
    EXPECT_EQ(take(), "A.disable A.terminate ");
    EXPECT_EQ(seen.size(), 202u) << "what was delivered before the end is handed over";
    EXPECT_EQ(code([&] { subscribe(base); }), 28);
}

}  // namespace
