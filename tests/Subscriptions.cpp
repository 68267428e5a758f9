// How the server drives indication providers and hands their indications to subscribers.
#include <Pegasus/Common/CIMIndication.h>
#include <Pegasus/Provider/CIMIndicationProvider.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "support/ScriptedServer.h"

using namespace support;
using velmar_embedded::IndicationCounts;

namespace {

/// Notes what the server does with it in a log, which several may share.
class Alerts : public CIMIndicationProvider {
 public:
    Alerts(const std::string& name, std::string& log) : _name(name), _log(log) {}

    IndicationResponseHandler* handler = nullptr;
    bool refuses = false;
    std::function<void()> onInitialize, onEnable, onDisable;
    OperationContext context;    ///< of the last subscription
    CIMObjectPath subscription;  ///< the last one
    std::string classNames;      ///< of the last subscription
    bool allProperties = false;

    void initialize(CIMOMHandle&) override { run("initialize", onInitialize); }
    void terminate() override {
        note("terminate");
        delete this;
    }
    void enableIndications(IndicationResponseHandler& given) override {
        handler = &given;
        run("enable", onEnable);
    }
    void disableIndications() override {
        run("disable", onDisable);
        handler = nullptr;
    }
    void createSubscription(const OperationContext& with, const CIMObjectPath& path,
                            const Array<CIMObjectPath>& classes, const CIMPropertyList& list,
                            const Uint16) override {
        note("create");
        if (refuses)
            throw CIMException(CIM_ERR_FAILED, "not today");
        context = with;
        subscription = path;
        classNames = join(classes);
        allProperties = list.isNull();
    }
    void modifySubscription(const OperationContext&, const CIMObjectPath&,
                            const Array<CIMObjectPath>&, const CIMPropertyList&,
                            const Uint16) override {}
    void deleteSubscription(const OperationContext&, const CIMObjectPath& path,
                            const Array<CIMObjectPath>& classes) override {
        const bool same = path == subscription && join(classes) == classNames;
        note(same ? "delete" : "delete-other");
    }
    /// Delivers an indication of this class with a text.
    void alert(const std::string& classPath, const char* note = "") {
        CIMInstance indication = instanceAt(classPath);
        add(indication, "Note", note);
        handler->deliver(indication);
    }

 private:
    static std::string join(const Array<CIMObjectPath>& paths) {
        std::string all;
        for (Uint32 i = 0; i < paths.size(); i++)
            all += text(paths[i]) + " ";
        return all;
    }
    void note(const std::string& call) { _log += _name + "." + call + " "; }
    void run(const char* call, const std::function<void()>& script) {
        note(call);
        if (script)
            script();
    }

    const std::string _name;
    std::string& _log;
};

class Subscriptions : public ScriptedServer {
 protected:
    const char* const base = "select * From t_base";
    const char* const alertPath = "root/test:T_Alert";
    std::string log;
    std::vector<std::string> problems;
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
            problems.push_back(problem);
        });
    }
    void TearDown() override { server.stop(); }  // before what providers and subscribers use goes

    Alerts* alerts(const std::string& name, const std::vector<const char*>& classes = {"T_Alert"}) {
        auto* provider = new Alerts(name, log);
        std::vector<velmar_embedded::Capabilities> capabilities;
        for (const char* cimClass : classes)
            capabilities.push_back(
                {cimClass, {"root/test", "root/other"}, {ProviderType::Indication}, {}});
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
        for (const CIMInstance& indication : seen)
            all += property(indication, "Note") + " ";
        return all;
    }
    /// delivered/overflowed/unmatched/discarded
    static std::string show(const IndicationCounts& counts) {
        return std::to_string(counts.delivered) + "/" + std::to_string(counts.overflowed) + "/" +
               std::to_string(counts.unmatched) + "/" + std::to_string(counts.discarded);
    }
    std::string take() {
        std::string result;
        result.swap(log);
        return result;
    }

 private:
    std::mutex _mutex;
};

TEST_F(Subscriptions, ProvidersAreDrivenByTheFirstAndTheLast) {
    Alerts* a = alerts("A", {"T_SubAlert", "T_Alert"});
    Alerts* b = alerts("B", {"T_Base"});
    start();
    EXPECT_EQ(take(), "");
    const std::string first = subscribe("SELECT * FROM T_Alert");
    EXPECT_EQ(take(), "A.initialize A.create A.enable ");
    EXPECT_EQ(a->classNames, full("T_Alert") + " " + full("T_SubAlert") + " ");
    EXPECT_TRUE(a->allProperties);
    EXPECT_FALSE(IdentityContainer(a->context.get(IdentityContainer::NAME)).getUserName().size() ==
                 0);
    EXPECT_TRUE(a->context.contains(AcceptLanguageListContainer::NAME));
    EXPECT_TRUE(a->context.contains(ContentLanguageListContainer::NAME));
    const SubscriptionInstanceContainer given(a->context.get(SubscriptionInstanceContainer::NAME));
    EXPECT_EQ(given.getInstance().getPath(), a->subscription);
    EXPECT_EQ(given.getInstance().getClassName(), CIMName("CIM_IndicationSubscription"));
    const SubscriptionFilterQueryContainer query(
        a->context.get(SubscriptionFilterQueryContainer::NAME));
    EXPECT_EQ(query.getFilterQuery(), "SELECT * FROM T_Alert");
    EXPECT_EQ(query.getSourceNameSpace(), CIMNamespaceName("root/test"));
    EXPECT_TRUE(a->context.contains(SubscriptionFilterConditionContainer::NAME));

    const std::string second = subscribe(base, {"root/Test", "root/other"});
    const std::string order = take();
    EXPECT_NE(order.find("A.create"), std::string::npos);
    EXPECT_NE(order.find("B.initialize B.create B.enable"), std::string::npos);
    EXPECT_EQ(order.find("A.enable"), std::string::npos);
    EXPECT_EQ(b->classNames,
              full("T_Base", "root/Test") + " " + full("T_Base", "root/other") + " ");
    EXPECT_EQ(a->classNames, full("T_Alert", "root/Test") + " " + full("T_SubAlert", "root/Test") +
                                 " " + full("T_Alert", "root/other") + " ");
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
    auto refused = [&](const char* query, const std::vector<std::string>& from) {
        return outcome([&] { subscribe(query, from); });
    };
    for (const char* query : {"", "SELECT * FROM", "SELECT Note FROM T_Alert",
                              "SELECT * FROM T_Alert WHERE Level > 1", "SELECT * FROM 1x"}) {
        const std::string error = refused(query, {"root/test"});
        EXPECT_EQ(error.substr(0, 3), "15 ") << query;
        EXPECT_NE(error.find("\"" + std::string(query) + "\""), std::string::npos) << error;
    }
    EXPECT_EQ(refused(base, {}).substr(0, 2), "4 ");
    EXPECT_EQ(refused(base, {"root/no"}), "3 root/no");
    EXPECT_EQ(refused("SELECT * FROM T_No", {"root/test"}), "5 T_No");
    EXPECT_EQ(refused("SELECT * FROM T_A", {"root/test"}),
              "7 No providers are capable of servicing the subscription.");
    EXPECT_EQ(take(), "");
}

TEST_F(Subscriptions, ProviderThatRefusesIsCountedAndEnabled) {
    Alerts* a = alerts("A");
    Alerts* b = alerts("B", {"T_SubAlert"});
    alerts("C", {"T_SubAlert"})->onInitialize = [] { throw std::runtime_error("no"); };
    start();
    a->refuses = true;
    const char* const none = "7 No providers accepted the subscription.";
    EXPECT_EQ(outcome([&] { subscribe("SELECT * FROM T_Alert"); }).substr(0, 2), "ok");
    EXPECT_EQ(problems.size(), 2u);  // A's and C's
    a->alert(alertPath, "not accepted");
    b->alert(alertPath, "accepted");
    server.drain();
    EXPECT_EQ(notes(), "accepted ");
    EXPECT_EQ(show(server.indicationCounts()), "1/0/1/0");
    b->refuses = true;
    problems.clear();
    EXPECT_EQ(outcome([&] { subscribe("SELECT * FROM T_SubAlert"); }), none);
    ASSERT_EQ(problems.size(), 2u);
    EXPECT_NE(
        (problems[0] + problems[1]).find("provider \"B\": createSubscription failed: not today"),
        std::string::npos);
    take();
    a->refuses = false;
    server.unsubscribe(subscribe("SELECT * FROM T_Alert", {"root/other"}));
    EXPECT_EQ(take().find("A.disable"), std::string::npos) << "the refused one still counts";
    server.stop();
    EXPECT_NE(take().find("A.disable"), std::string::npos);
}

TEST_F(Subscriptions, MatchesByClassAndNamespace) {
    Alerts* a = alerts("A");
    start();
    const std::string id = subscribe("SELECT * FROM T_ALERT", {"root/test"});
    struct {
        const char* path;
        bool matches;
    } const cases[] = {
        {"root/test:T_Alert", true},
        {"ROOT/Test:t_alert", true},
        {"//other.host/root/test:T_Alert", true},
        {"root/test:T_SubAlert", true},
        {"root/test:T_Base", false},
        {"root/other:T_Alert", false},
        {"T_Alert", false},
        {"root/no:T_Alert", false},
        {"root/test:T_No", false},
    };
    IndicationCounts expected;
    for (const auto& one : cases) {
        a->alert(one.path);
        server.drain();
        (one.matches ? expected.delivered : expected.unmatched)++;
        EXPECT_EQ(show(server.indicationCounts(id)), show(expected)) << one.path;
    }
    EXPECT_EQ(seen.size(), 4u);
    server.unsubscribe(id);
    EXPECT_EQ(show(server.indicationCounts()), "4/0/5/0");
    EXPECT_EQ(outcome([&] { server.indicationCounts(id); }), "6 subscription " + id);
}

TEST_F(Subscriptions, SubscribersGetCopiesOfWhatIsDeclared) {
    Alerts* a = alerts("A");
    start();
    subscribe("SELECT * FROM T_Alert");
    subscribe("SELECT * FROM T_Alert");
    CIMInstance indication = instanceAt("root/test:T_Alert");
    add(indication, "also", "1");
    add(indication, "Undeclared", "2");
    add(indication, "Note", CIMValue(Uint8(3)));
    CIMInstance sub = instanceAt("root/test:T_SubAlert");
    Array<CIMIndication> both(1, indication);
    both.append(sub);
    a->handler->deliver(indication);
    a->handler->deliver(both);
    a->handler->deliver(OperationContext(), sub);
    a->handler->deliver(OperationContext(), both);
    indication.getProperty(0).setValue(CIMValue(String("edited")));
    server.drain();
    ASSERT_EQ(seen.size(), 12u);
    for (const CIMInstance& one : seen) {
        const bool isSub = one.getClassName() == CIMName("T_SubAlert");
        EXPECT_EQ(propertyNames(one), isSub ? "" : "also,Note");
        EXPECT_EQ(property(one, "Also") + property(one, "Note"), isSub ? "(none)(none)" : "13");
    }
    seen[0].setPath(path("T_Alert.k=1"));
    for (size_t i = 1; i < seen.size(); i++)
        EXPECT_EQ(seen[i].getPath().getKeyBindings().size(), 0u) << "shared by two subscribers";
    EXPECT_EQ(outcome([&] { a->handler->deliver(CIMIndication()); }),
              "1 The object is not initialized.");
}

TEST_F(Subscriptions, SlowSubscriberLosesTheNewestVisibly) {
    Alerts* a = alerts("A");
    start();
    Count begun, mayGoOn;
    const std::string slow = server.subscribe(
        base, {"root/test"},
        [&](const CIMInstance& indication) {
            begun.up();
            mayGoOn.waitFor(1);
            seen.push_back(indication);
            if (property(indication, "Note") == "2")
                throw std::runtime_error("cannot");
        },
        2);
    a->alert(alertPath, "1");
    begun.waitFor(1);
    for (const char* note : {"2", "3", "lost", "lost"})
        a->alert(alertPath, note);
    EXPECT_EQ(show(server.indicationCounts(slow)), "1/2/0/0");
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_NE(problems[0].find("subscription " + slow), std::string::npos) << problems[0];
    mayGoOn.up();
    server.drain();
    EXPECT_EQ(show(server.indicationCounts(slow)), "3/2/0/0");
    ASSERT_EQ(problems.size(), 2u);
    EXPECT_NE(problems[1].find("cannot"), std::string::npos) << problems[1];
    a->alert(alertPath, "4");
    server.drain();
    EXPECT_EQ(notes(), "1 2 3 4 ");
}

TEST_F(Subscriptions, UnsubscribingWaitsForARunningSubscriberAndDiscardsTheRest) {
    Alerts* a = alerts("A");
    start();
    Count begun, mayEnd;
    std::atomic<bool> returned{false};
    const std::string id = server.subscribe(base, {"root/test"}, [&](const CIMInstance&) {
        begun.up();
        mayEnd.waitFor(1);
        for (int i = 0; i < 1000 && !returned; i++)
            std::this_thread::yield();
        EXPECT_FALSE(returned);
    });
    a->onDisable = [&] { mayEnd.up(); };  // the end of the subscription is under way by then
    a->alert(alertPath);
    a->alert(alertPath);
    begun.waitFor(1);
    server.unsubscribe(id);
    returned = true;
    const IndicationCounts counts = server.indicationCounts();
    EXPECT_EQ(counts.delivered + counts.discarded, 2u);
    EXPECT_EQ(counts.delivered, static_cast<uint64_t>(begun.value()));
}

TEST_F(Subscriptions, SubscribersEndSubscriptions) {
    Alerts* a = alerts("A");
    start();
    // Each ends the other's subscription while the other runs: nobody waits for the other.
    std::string ids[2];
    std::string failures;
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
    const std::string end = "A.disable ";
    const std::string order = take();
    ASSERT_GE(order.size(), end.size());
    EXPECT_EQ(order.substr(order.size() - end.size()), end);
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
    const std::string never = subscribe(base);
    subscribe("SELECT * FROM T_No");
    server.unsubscribe(never);
    EXPECT_EQ(take(), "");
    a->onEnable = [&] { a->alert(alertPath, "at once"); };
    start();
    EXPECT_EQ(take(), "A.initialize A.create A.create A.enable ");
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_NE(problems[0].find("T_No"), std::string::npos) << problems[0];
    a->onDisable = [&] { a->alert(alertPath, "last"); };
    server.stop();
    EXPECT_EQ(take(), "A.disable A.terminate ");
    EXPECT_EQ(seen.size(), 4u) << "what was delivered before the end is handed over";
    EXPECT_EQ(outcome([&] { subscribe(base); }).substr(0, 2), "28");
}

}  // namespace
