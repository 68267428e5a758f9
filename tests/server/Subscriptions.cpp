// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// How the server drives indication providers and hands their indications to subscribers.
#include <atomic>
#include <functional>
#include <map>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "indications/IndicationQueue.h"
#include "requests/Query.h"
#include "support/ScriptedServer.h"

using namespace support;

namespace {

class Subscriptions : public ScriptedServer {
 protected:
    const char *const alertQuery = "SELECT * FROM T_Alert", *const alertPath = "root/test:T_Alert";
    std::string log, problems;
    std::map<std::string, std::function<void()>> on;  // what a provider does in "A.create"
    Count reports;
    std::vector<CIMInstance> seen;

    Subscriptions() {
        server.compileMofText("root/test", R"(
            class T_Base { string Note; };
            class T_Alert : T_Base { uint32 Level; string Also; };
            class T_SubAlert : T_Alert { };
        )");
        server.compileMofText("root/other", "class T_Base { }; class T_Alert : T_Base { };");
        observer.problem = [this](const std::string& problem) {
            {
                const std::lock_guard<std::mutex> lock(_mutex);
                problems += problem + "\n";
            }
            reports.up();
        };
    }
    void TearDown() override { server.stop(); }  // before what providers and subscribers use goes

    Alerts* alerts(const std::string& name, const std::vector<std::string>& classes = {"T_Alert"}) {
        auto* provider = new Alerts;
        provider->onCall = [this, name](const std::string& call) {
            log += name + "." + call + " ";
            if (const auto& hook = on[name + "." + call]) {
                hook();
            }
        };
        std::vector<velmar_embedded::Capabilities> capabilities;
        for (const std::string& cimClass : classes) {
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
    /// The texts handed over so far.
    std::string notes() {
        server.drain();
        std::string all;
        for (const CIMInstance& indication : seen) {
            all += property(indication, "Note") + " ";
        }
        return all;
    }
    /// delivered/overflowed/unmatched/discarded
    static std::string show(const velmar_embedded::IndicationCounts& counts) {
        return std::to_string(counts.delivered) + "/" + std::to_string(counts.overflowed) + "/" +
               std::to_string(counts.unmatched) + "/" + std::to_string(counts.discarded);
    }
    std::string take() { return std::exchange(log, ""); }
    /// Waits for so many problems; the text must be in one of them.
    void expectProblem(int count, const std::string& text) {
        reports.waitFor(count);
        const std::lock_guard<std::mutex> lock(_mutex);
        EXPECT_NE(problems.find(text), std::string::npos) << problems;
        EXPECT_EQ(std::count(problems.begin(), problems.end(), '\n'), count) << problems;
    }

 private:
    std::mutex _mutex;
};

TEST_F(Subscriptions, ProvidersAreDrivenByTheFirstAndTheLast) {
    Alerts* a = alerts("A", {"T_SubAlert", "T_Alert"});
    Alerts* b = alerts("B", {"T_Base"});
    start();
    EXPECT_EQ(take(), "");
    const std::string first = subscribe("select * From t_alert");
    EXPECT_EQ(take(), "A.initialize A.create A.enable ");
    EXPECT_EQ(a->classNames, full("T_Alert") + " " + full("T_SubAlert") + " ");
    const SubscriptionInstanceContainer given(a->context.get(SubscriptionInstanceContainer::NAME));
    EXPECT_EQ(given.getInstance().getPath(), a->subscription);
    const SubscriptionFilterQueryContainer query(
        a->context.get(SubscriptionFilterQueryContainer::NAME));
    EXPECT_EQ(query.getFilterQuery(), "select * From t_alert");
    EXPECT_EQ(query.getSourceNameSpace(), CIMNamespaceName("root/test"));
    for (const String& name :
         {IdentityContainer::NAME, AcceptLanguageListContainer::NAME,
          ContentLanguageListContainer::NAME, SubscriptionFilterConditionContainer::NAME}) {
        EXPECT_TRUE(a->context.contains(name)) << name;
    }
    const std::string second = subscribe("SELECT * FROM T_Base", {"root/Test", "root/other"});
    const std::string order = take();  // of the two providers is open
    EXPECT_EQ(order.size(), std::string("A.create B.initialize B.create B.enable ").size());
    EXPECT_NE(order.find("B.initialize B.create B.enable"), std::string::npos) << order;
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

TEST_F(Subscriptions, ConditionsAndSelectedPropertiesOfQueries) {
    Alerts* a = alerts("A");
    start();
    const struct {
        const char *condition, *notes;
    } cases[] = {{"Level > 4", "six "},
                 {"level >= 4 AND NOT Level = 6", "four "},
                 {"Level < 5 OR Note = 'six'", "four six "},
                 {"(Level = 4 OR Level = 6) AND Note <> \"four\"", "six "},
                 {"Level IS NULL", "null "},
                 {"Level IS NOT NULL AND Level <> -4", "four six "},
                 {"NOT Level = 4", "six "},
                 {"Level > Limit AND Limit = Limit", "six "},
                 {"Source ISA T_Base AND NOT Source ISA T_SubAlert", "four six "},
                 {"Source ISA T_SubAlert", "null "},
                 {"Note ISA T_Base", ""},
                 {"Note = 'none' OR NOT Also = 'x'", ""}};
    for (const auto& each : cases) {
        seen.clear();
        const std::string query = std::string("SELECT Note FROM T_Alert WHERE ") + each.condition;
        const std::string id = subscribe(query.c_str());
        for (const auto& [note, level] :
             std::map<std::string, CIMValue>{{"four", CIMValue(Uint32(4))},
                                             {"six", CIMValue(Uint32(6))},
                                             {"null", CIMValue(CIMTYPE_UINT32, false)}}) {
            CIMInstance indication = instanceAt(alertPath);
            add(indication, "Note", note.c_str());
            indication.addProperty(CIMProperty("Level", level));
            add(indication, "Limit", CIMValue(Uint8(5)));
            const char* const className = level.isNull() ? "T_SubAlert" : "T_Alert";
            add(indication, "Source", CIMValue(CIMObject(instanceAt(className))));
            a->handler.load()->deliver(indication);
        }
        a->alert(alertPath, {"no level"});
        EXPECT_EQ(notes(), each.notes) << query;
        for (const CIMInstance& indication : seen) {
            EXPECT_EQ(indication.getPropertyCount(), 1u) << query;
        }
        server.unsubscribe(id);
    }
}

TEST_F(Subscriptions, RefusedOnes) {
    const auto refuse = [] { throw CIMException(CIM_ERR_FAILED, "not today"); };
    Alerts* a = alerts("A");
    Alerts* b = alerts("B", {"T_SubAlert"});
    alerts("C", {"T_SubAlert"});
    on["A.create"] = on["C.initialize"] = refuse;
    start();
    const std::string query = "SELECT * FROM T_Alert WHERE Level >";
    EXPECT_EQ(outcome([&] { subscribe(query.c_str()); }).find("15 \"" + query + "\""), 0u);
    const std::string where = "SELECT * FROM T_Alert WHERE ";
    const auto deep = [&](size_t levels) {
        return where + std::string(levels, '(') + "Level = 1" + std::string(levels, ')');
    };
    EXPECT_EQ(outcome([&] { velmar_embedded::Query(deep(50)); }), "ok");
    for (const std::string& bad :
         {std::string("SELECT * FROM 1x"), std::string("SELECT FROM T_Alert"), where, deep(1000),
          where + "Level = 1x", where + "Level = 1 2", where + std::string(100000, ' ')}) {
        EXPECT_EQ(code([&] { subscribe(bad.c_str()); }), CIM_ERR_INVALID_QUERY) << bad;
    }
    EXPECT_EQ(outcome([&] { subscribe((where + "Note LIKE 'a%'").c_str()); }),
              "4 parse error: syntax error");
    EXPECT_EQ(code([&] { subscribe(alertQuery, {}); }), CIM_ERR_INVALID_PARAMETER);
    EXPECT_EQ(code([&] {
                  server.subscribe(
                      alertQuery, {"root/test"}, [](auto&) {}, 0);
              }),
              4);
    EXPECT_EQ(outcome([&] { subscribe(alertQuery, {"root/no"}); }), "3 root/no");
    EXPECT_EQ(outcome([&] { subscribe("SELECT * FROM T_No"); }), "5 T_No");
    EXPECT_EQ(outcome([&] { subscribe("SELECT * FROM T_A"); }),
              "7 No providers are capable of servicing the subscription.");
    EXPECT_EQ(take(), "");
    // A provider that refuses is enabled, but what it delivers does not count.
    subscribe(alertQuery);
    expectProblem(3, "provider \"A\": createSubscription");  // and C's two
    a->alert(alertPath, {"not accepted"});
    b->alert(alertPath, {"accepted"});
    EXPECT_EQ(notes(), "accepted ");
    EXPECT_EQ(show(server.indicationCounts()), "1/0/1/0");
    on["B.create"] = refuse;
    EXPECT_EQ(outcome([&] { subscribe("SELECT * FROM T_SubAlert"); }),
              "7 No providers accepted the subscription.");
    expectProblem(6, "provider \"B\"");
    on["A.create"] = nullptr;
    take();
    server.unsubscribe(subscribe(alertQuery, {"root/other"}));
    EXPECT_EQ(take(), "A.create A.delete ") << "the refused one still counts";
}

TEST_F(Subscriptions, SubscribersGetCopiesOfWhatMatches) {
    Alerts* a = alerts("A");
    start();
    const std::string id = subscribe("SELECT * FROM T_ALERT"), other = subscribe(alertQuery);
    for (const char* matching : {"ROOT/Test:t_alert", "//other.host/root/test:T_SubAlert"}) {
        a->alert(matching, {"right"});
    }
    for (const char* wrong : {"root/test:T_Base", "root/other:T_Alert", "T_Alert",
                              "root/no:T_Alert", "root/test:T_No"}) {
        a->alert(wrong, {"wrong"});
    }
    EXPECT_EQ(notes(), "right right right right ");
    EXPECT_EQ(show(server.indicationCounts(id)), "2/0/5/0");
    seen.clear();
    CIMInstance indication = instanceAt(alertPath);
    add(indication, "also", "1");
    add(indication, "Undeclared", "2");
    add(indication, "Note", CIMValue(Uint8(3)));  // of another type than declared
    const Array<CIMIndication> both(2, indication);
    a->handler.load()->deliver(indication);
    a->handler.load()->deliver(both);
    a->handler.load()->deliver(OperationContext(), indication);
    a->handler.load()->deliver(OperationContext(), both);
    indication.getProperty(0).setValue(CIMValue(String("edited")));
    EXPECT_EQ(notes(), "3 3 3 3 3 3 3 3 3 3 3 3 ");
    for (CIMInstance& one : seen) {
        EXPECT_EQ(propertyNames(one) + property(one, "Also"), "also,Note1");
        one.getProperty(0).setValue(CIMValue(String("kept apart from the others")));
    }
    EXPECT_EQ(outcome([&] { a->handler.load()->deliver(CIMIndication()); }),
              "1 The object is not initialized.");
    server.unsubscribe(id);
    EXPECT_EQ(show(server.indicationCounts()), "16/0/10/0") << "with those of the ended one";
    EXPECT_EQ(code([&] { server.indicationCounts(id); }), CIM_ERR_NOT_FOUND);
}

TEST_F(Subscriptions, AreDisturbedByFaults) {
    Alerts* a = alerts("A");
    start();
    subscribe(alertQuery);
    for (const char* rule : {"alert class=T_Alert nth=1 lose", "alert nth=2 double",
                             "queue nth=5 full", "alert provider=B lose"}) {
        server.faults().add(rule);
    }
    a->alert(alertPath, {"1", "2", "3", "4", "5"});
    EXPECT_EQ(notes(), "2 2 3 4 ");
    EXPECT_EQ(show(server.indicationCounts()), "4/1/0/0");
    expectProblem(1, "new ones are dropped");
}

TEST_F(Subscriptions, SlowSubscriberLosesTheNewestVisibly) {
    Alerts* a = alerts("A");
    start();
    Count begun, mayGoOn;
    const auto slow = [&](const CIMInstance& indication) {
        begun.up();
        mayGoOn.waitFor(begun.value() > 3 ? 2 : 1);
        seen.push_back(indication);
        if (property(indication, "Note") == "2") {
            throw std::runtime_error("cannot");
        }
    };
    const std::string id = server.subscribe(alertQuery, {"root/test"}, slow, 2);
    a->alert(alertPath, {"1"});
    begun.waitFor(1);
    a->alert(alertPath, {"2", "3", "lost", "lost"});
    EXPECT_EQ(show(server.indicationCounts(id)), "1/2/0/0");
    expectProblem(1, "subscription " + id);
    mayGoOn.up();
    EXPECT_EQ(notes(), "1 2 3 ");
    expectProblem(2, "cannot");
    // It takes again, and the first of a second run is reported.
    a->alert(alertPath, {"4"});
    begun.waitFor(4);
    a->alert(alertPath, {"5", "6", "lost", "lost"});
    expectProblem(3, "cannot");
    mayGoOn.up();
    EXPECT_EQ(notes(), "1 2 3 4 5 6 ");
    EXPECT_EQ(show(server.indicationCounts(id)), "6/4/0/0");
}

TEST_F(Subscriptions, DrainingAndUnsubscribingWaitForARunningSubscriber) {
    Alerts* a = alerts("A");
    start();
    for (const bool drains : {true, false}) {
        Count begun, returned;
        bool finished = false;
        const std::string id = server.subscribe(alertQuery, {"root/test"}, [&](const CIMInstance&) {
            begun.up();
            while (!drains && server.indicationCounts().discarded == 0) {
                std::this_thread::yield();  // until the end is under way
            }
            EXPECT_FALSE(returned.reaches(1));
            finished = true;
        });
        a->alert(alertPath);
        begun.waitFor(1);
        if (drains) {
            server.drain();
        } else {
            a->alert(alertPath, {"is discarded"});
            server.unsubscribe(id);
        }
        returned.up();
        EXPECT_TRUE(finished);
        if (drains) {
            server.unsubscribe(id);
        }
    }
    EXPECT_EQ(show(server.indicationCounts()), "2/0/0/1");
}

TEST_F(Subscriptions, SubscribersEndSubscriptions) {
    Alerts* a = alerts("A");
    start();
    // Each ends the other's subscription while the other runs: nobody waits for the other.
    std::string ids[2];
    Count inside;
    for (int i : {0, 1}) {
        ids[i] = server.subscribe(alertQuery, {"root/test"}, [&, i](const CIMInstance&) {
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
    // And one its own, with more to come.
    std::string own = server.subscribe(alertQuery, {"root/test"}, [&](const CIMInstance&) {
        inside.waitFor(5);
        server.unsubscribe(own);
        inside.up();
    });
    a->alert(alertPath, {"", "discarded", "discarded"});
    inside.up();
    inside.waitFor(6);
    EXPECT_EQ(take(), "A.create A.enable A.delete A.disable ");
    EXPECT_EQ(show(server.indicationCounts()), "3/0/0/2");
}

TEST_F(Subscriptions, StoredOnesAreCreatedBeforeAnythingIsEnabled) {
    Alerts* a = alerts("A");
    subscribe("SELECT * FROM T_Base");
    subscribe(alertQuery);
    server.unsubscribe(subscribe(alertQuery));
    subscribe("SELECT * FROM T_No");
    EXPECT_EQ(take(), "");
    on["A.enable"] = [&] { a->alert(alertPath, {"at once"}); };
    start();
    EXPECT_EQ(take(), "A.initialize A.create A.create A.enable ");
    expectProblem(1, "T_No");
    on["A.disable"] = [&] { a->alert(alertPath, std::vector<const char*>(100, "last")); };
    server.stop();
    EXPECT_EQ(take(), "A.disable A.terminate ");
    EXPECT_EQ(seen.size(), 202u) << "what was delivered before the end is handed over";
    EXPECT_EQ(code([&] { subscribe(alertQuery); }), CIM_ERR_SERVER_IS_SHUTTING_DOWN);
}

// An indication may be on its way to a queue that is closed meanwhile.
TEST(IndicationQueue, TakesNothingOnceItIsClosed) {
    velmar_embedded::WorkerPool workers;
    const auto fail = [](const auto&) { ADD_FAILURE(); };
    support::TestObserver told;
    told.problem = fail;
    velmar_embedded::Notices notices(&told);
    const auto queue =
        std::make_shared<velmar_embedded::IndicationQueue>(workers, "queue", 1, fail, notices);
    queue->close();
    queue->push(CIMInstance("T_Alert"));
    workers.stop();
    EXPECT_EQ(queue->counts().discarded, 0u);
}

struct Exit {
    static inline std::atomic<int> count{0};
    ~Exit() { count++; }
};

TEST(WorkerPool, ThreadsEndAfterTheirShareOfTasks) {
    velmar_embedded::WorkerPool workers(10);
    Count done;
    for (int i = 0; i < 1000 && Exit::count == 0; i++) {
        workers.run([&] {
            static thread_local Exit exit;
            done.up();
        });
        done.waitFor(i + 1);
    }
    EXPECT_GT(Exit::count, 0);
}

// Threads come and go while tasks wait for other tasks.
TEST(WorkerPool, RunsAllWhateverItsThreadsMayRun) {
    for (const size_t tasksPerThread : {1, 2, 1000}) {
        std::atomic<int> ran{0};
        velmar_embedded::WorkerPool workers(tasksPerThread);
        for (int i = 0; i < 50; i++) {
            workers.run(
                [&] { workers.runAll(std::vector<std::function<void()>>(4, [&] { ran++; })); });
        }
        workers.runAll(std::vector<std::function<void()>>(50, [&] { ran++; }));
        while (ran < 250) {
            std::this_thread::yield();
        }
        workers.stop();
    }
}

}  // namespace
