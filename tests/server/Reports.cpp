// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Problems that no caller hears of: what is reported, on which thread, and what callers hear.
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include "support/ScriptedServer.h"

using namespace support;
using velmar_embedded::MofError;

namespace {

class Reports : public ScriptedServer {
 protected:
    const char *const query = "SELECT * FROM T_Alert", *const alertPath = "root/test:T_Alert";
    std::function<void(const std::string&)> onProblem = [](const std::string&) {};

    explicit Reports(const velmar_embedded::ServerOptions& options = {}) : ScriptedServer(options) {
        server.compileMofText("root/test", "class T_Alert { string Note; };");
        observer.problem = [this](const std::string& problem) {
            onProblem(problem);
            std::lock_guard<std::mutex> guard(_lock);
            _problems += problem + "\n";
            _told.notify_all();
        };
    }
    void TearDown() override { server.stop(); }  // before what providers use goes

    /// The problems since the last time, each on a line of its own.
    std::string take() {
        server.drain();
        std::lock_guard<std::mutex> guard(_lock);
        return std::exchange(_problems, "");
    }
    /// Waits until a problem with this text was told.
    void await(const std::string& text) {
        std::unique_lock<std::mutex> guard(_lock);
        _told.wait(guard, [&] { return _problems.find(text) != std::string::npos; });
    }
    Alerts* source(const std::string& name) {
        auto* provider = new Alerts;
        server.registerProvider(name, provider,
                                {{"T_Alert", {"root/test"}, {ProviderType::Indication}, {}}});
        return provider;
    }
    std::string subscribe() {
        return server.subscribe(query, {"root/test"}, [](const CIMInstance&) {});
    }

 private:
    std::mutex _lock;
    std::condition_variable _told;
    std::string _problems;
};

TEST_F(Reports, InitializeAndTerminateThatFail) {
    Scripted* once = provide("Once", {"T_A"});
    once->onInitialize = [](CIMOMHandle&) { throw std::runtime_error("no device"); };
    once->onTerminate = [] { throw 7; };
    const std::unique_ptr<Scripted> leaked(once);  // its terminate comes to nothing
    Scripted* good = provide("Good", {"T_B"});
    good->onTerminate = [&] { throw CIMException(CIM_ERR_NOT_FOUND, "disk"); };
    const std::unique_ptr<Scripted> kept(good);
    start();
    const char* const heard = "1 provider initialization failed";
    EXPECT_EQ(outcome([&] { get(A1); }), heard);
    EXPECT_EQ(take(),
              "provider \"Once\": initialize for getInstance of T_A failed: std::runtime_error: no"
              " device\nprovider \"Once\": terminate failed: int: Unknown error.\n");
    // The object is gone: nothing can be tried, and callers hear the same.
    EXPECT_EQ(outcome([&] { client.enumerateInstances(ns, "T_A"); }), heard);
    EXPECT_EQ(
        take().find("provider \"Once\": could not be re-created for enumerateInstances of T_A "
                    "after its initialize failed: std::runtime_error: the object"),
        0u);
    get(B1);
    server.stop();
    EXPECT_EQ(take(),
              "provider \"Good\": terminate failed: Pegasus::CIMException: CIM_ERR_NOT_FOUND:"
              " disk\n");
}

TEST_F(Reports, ErrorsAreNotMarkedTwice) {
    provide("P", {"T_A"})->get = [this](const auto& call, auto& handler) {
        if (text(call.path) == full("T_A.k=\"2\"")) {
            throw CIMException(CIM_ERR_FAILED, "deep");
        }
        handler.deliver(getApart("T_A.k=\"2\""));
    };
    start();
    EXPECT_EQ(outcome([&] { get(A1); }), "1 CIM_ERR_FAILED: deep");
}

TEST_F(Reports, ClientsThatWaitInVain) {
    Count begun, mayEnd;
    auto slow = [&](const auto&, auto&) {
        begun.up();
        mayEnd.waitFor(1);
    };
    provide("P", {"T_A"})->enumerate = slow;
    provide("Q", {"T_B"})->enumerate = slow;
    provide("Other", {"T_Far"})->enumerate = slow;
    start();
    std::thread other([this] {
        CIMClient own;
        own.connectLocal();
        own.enumerateInstances(ns, "T_Far");
    });
    begun.waitFor(1);
    std::string problem;
    // Until both providers have begun before the time is up.
    for (Uint32 time = 1;
         problem.find("\"P\"") == std::string::npos ||
         problem.find("enumerateInstances of T_B in provider \"Q\"") == std::string::npos;
         time *= 2) {
        client.setTimeout(time);
        EXPECT_THROW(client.enumerateInstances(ns, "T_A"), ConnectionTimeoutException);
        problem = take();
        EXPECT_EQ(problem.find("a client timed out after " + std::to_string(time) +
                               " ms in enumerateInstances of T_A; "),
                  0u)
            << problem;
        EXPECT_EQ(problem.find("Other"), std::string::npos) << problem;
        if (HasFailure()) {
            break;
        }
    }
    mayEnd.up();
    other.join();
    server.stop();
}

struct ReportsAtOnce : Reports {
    ReportsAtOnce() : Reports({nullptr, true, false, std::chrono::milliseconds(0)}) {}
};

TEST_F(ReportsAtOnce, StopSaysWhatItWaitsFor) {
    Count begun, mayEnd;
    Scripted* provider = provide("P", {"T_A", "T_B"});
    provider->get = [&](const auto& call, auto& handler) {
        if (text(call.path).find("quick") == std::string::npos) {
            begun.up();
            mayEnd.waitFor(1);
        }
        handler.deliver(item(text(call.path)));
    };
    provider->onTerminate = [&] { mayEnd.waitFor(4); };
    Alerts* alerts = source("S");
    alerts->onCall = [&](const std::string& call) { mayEnd.waitFor(call == "disable" ? 2 : 0); };
    start();
    server.subscribe(query, {"root/test"}, [&](const CIMInstance&) { mayEnd.waitFor(3); });
    alerts->alert(alertPath);
    std::thread first([&] { EXPECT_EQ(outcome([&] { getApart(A1); }), "ok"); });
    begun.waitFor(1);
    get("T_A.k=\"quick\"");
    std::thread second([&] { EXPECT_EQ(outcome([&] { getApart("T_B.k=\"2\""); }), "ok"); });
    begun.waitFor(2);
    std::thread stopping([&] { server.stop(); });
    for (const char* waited :
         {"getInstance of T_A in provider \"P\", getInstance of T_B in provider \"P\"",
          "disableIndications in provider \"S\"",
          "handing over indications of T_Alert in subscription 1 (SELECT * FROM T_Alert)",
          "terminate in provider \"P\""}) {
        await(std::string("stop waits for ") + waited + "\n");
        mayEnd.up();
    }
    stopping.join();
    first.join();
    second.join();
}

TEST_F(Reports, ObserversRunOnAThreadOfTheirOwnAndMayCallTheServer) {
    Alerts* alerts = source("S");
    Count mayGoOn;
    std::thread::id teller;
    std::string outcomes;
    start();
    const std::string id = server.subscribe(
        query, {"root/test"}, [&](const CIMInstance&) { mayGoOn.waitFor(1); }, 1);
    // Disabling waits for the delivery, as a provider's should; the observer waits for both.
    std::mutex delivering;
    alerts->onCall = [&](const std::string& call) {
        if (call == "disable") {
            std::lock_guard<std::mutex> guard(delivering);
        }
    };
    onProblem = [&](const std::string& problem) {
        teller = std::this_thread::get_id();
        if (problem.find("new ones are dropped") != std::string::npos) {
            mayGoOn.up();
            server.drain();
            server.unsubscribe(id);
            outcomes += outcome([&] { getApart(A1); }) + " ";
            EXPECT_THROW(server.stop(), std::logic_error);
            throw std::runtime_error("an observer's fault stays with it");
        }
    };
    {
        std::lock_guard<std::mutex> guard(delivering);
        for (int i = 0; i < 3; i++) {  // one is handed over, one waits, one is dropped
            alerts->alert(alertPath);
        }
        EXPECT_EQ(outcomes, "");
    }
    server.drain();
    EXPECT_EQ(code([&] { server.unsubscribe(id); }), 6);
    EXPECT_EQ(outcomes, "6 CIM_ERR_NOT_FOUND: T_A.k=\"1\" ");
    EXPECT_NE(teller, std::this_thread::get_id());
}

TEST_F(Reports, DeliveriesAfterDisabling) {
    Alerts* alerts = source("S");
    start();
    server.unsubscribe(subscribe());
    IndicationResponseHandler* const before = alerts->handler;
    subscribe();
    EXPECT_NE(before, alerts->handler) << "each enabling brings a handler of its own";
    for (int i = 0; i < 2; i++) {
        before->deliver(instanceAt(alertPath));
    }
    EXPECT_EQ(take(),
              "provider \"S\": an indication was delivered after disableIndications had"
              " returned, which ends a real server's process\n");
    alerts->alert(alertPath);
    server.drain();
    EXPECT_EQ(server.indicationCounts().delivered, 1u);
    EXPECT_EQ(server.indicationCounts().unmatched, 2u);
}

TEST_F(Reports, DeliveriesDuringDisabling) {
    Alerts* alerts = source("S");
    start();
    server.unsubscribe(subscribe());
    std::atomic<bool> over{false};
    std::thread delivering([&] {
        const Array<CIMIndication> many(100, instanceAt(alertPath));
        while (!over) {
            alerts->handler.load()->deliver(many);
        }
    });
    // A provider that does not wait for its deliveries: sooner or later one runs at the wrong time.
    const char* const fault =
        "provider \"S\": disableIndications returned during a delivery, which ends a real";
    while (take().find(fault) == std::string::npos) {
        server.unsubscribe(subscribe());
    }
    over = true;
    delivering.join();
}

TEST_F(Reports, RefusedSubscriptions) {
    source("A")->onCall = [](const std::string& call) {
        if (call == "create") {
            throw std::invalid_argument("policy");
        }
    };
    server.subscribe("SELECT * FROM T_A", {"root/test"}, [](const CIMInstance&) {});
    start();
    EXPECT_EQ(outcome([&] { subscribe(); }), "7 No providers accepted the subscription.");
    EXPECT_EQ(take(),
              "subscription 1 (SELECT * FROM T_A) failed: CIM_ERR_NOT_SUPPORTED: No providers are"
              " capable of servicing the subscription.\n"
              "provider \"A\": createSubscription of T_Alert failed: std::invalid_argument:"
              " policy\n");
}

TEST_F(Reports, CirclesThroughClientsEnd) {
    // Through a client, a fan-out to two providers, and a handle of one's own, back to the first.
    Scripted* first = provide("First", {"T_A"});
    std::atomic<int> deepest{0};
    first->get = [&](const auto&, auto& handler) {
        if (++deepest > 100) {
            throw CIMException(CIM_ERR_FAILED, "nobody ends this");
        }
        CIMClient own;
        own.connectLocal();
        own.enumerateInstances(ns, "T_B");
        handler.deliver(item(A1));
    };
    provide("Second", {"T_B"});
    provide("Third", {"T_C"})->enumerate = [&](const auto&, auto&) {
        CIMOMHandle().getInstance(none, ns, path(A1), false, false, false, {});
    };
    start();
    const std::string error = outcome([&] { get(A1); });
    EXPECT_EQ(error,
              "1 CIM_ERR_FAILED: getInstance of T_A in provider \"First\" is nested 101 requests"
              " deep: its providers ask each other, or themselves, without end");
    EXPECT_EQ(deepest, 50);
    EXPECT_EQ(outcome([&] { get("T_D.k=\"1\""); }), "6 CIM_ERR_NOT_FOUND: T_D.k=\"1\"");
}

TEST_F(Reports, RegistrationErrorsNameTheLine) {
    const std::string begin = "instance of PG_ProviderModule {\n Name = \"M";
    const std::string end =
        "\"; Location = \"L\";\n Vendor = \"V\"; Version = \"1\"; InterfaceVersion = \"2\";\n"
        " InterfaceType = \"C++Default\"; };\n";
    try {
        server.compileMofText("root/PG_InterOp",
                              begin + "1" + end + "\n" + begin + "2" + end +
                                  "instance of PG_Provider { ProviderModuleName = \"M3\";"
                                  " Name = \"P\"; };",
                              "reg.mof");
        ADD_FAILURE() << "accepted";
    } catch (const MofError& e) {
        EXPECT_EQ(std::string(e.what()).find("reg.mof:10: instance PG_Provider."), 0u) << e.what();
    }
}

}  // namespace
