// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The provider against recording handlers, without a server: enrichment is overridden.
#include "Common/IndicationMethodProvider.h"

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <set>
#include <vector>

#include <velmar_kit/RecordingHandlers.h>
#include "support/FakeServer.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;
using velmar_kit::IndicationRecorder;
using velmar_kit::MethodResultRecorder;

namespace {

class Alerts : public velmar_remote::IndicationMethodProvider {
 public:
    using IndicationMethodProvider::_enabled;
    using IndicationMethodProvider::_handler;
    using IndicationMethodProvider::_ID;
    using IndicationMethodProvider::IndicationMethodProvider;

    std::function<Boolean(CIMInstance&)> generate = [](CIMInstance&) { return true; };

    /// What the caller of "send" gets: the return value, or the exception that leaves.
    std::string send(
        const char* method = "send", std::function<void()> answered = [] {}) {
        struct Caller : MethodResultRecorder {
            void complete() override {
                MethodResultRecorder::complete();
                answered();
            }
            std::function<void()> answered;
        } handler;
        handler.answered = std::move(answered);
        const std::string result = outcome([&] {
            invokeMethod(callersContext(), CIMObjectPath(), method,
                         Array<CIMParamValue>(1, CIMParamValue("X", CIMValue(true))), handler);
        });
        const CIMValue& value = handler.returnValue;
        return handler.calls + " " + result +
               (value.isNull() ? "" : std::string(" ") + cimTypeToString(value.getType()) + " ") +
               text(value.toString());
    }
    void subscribe() {
        createSubscription(OperationContext(), CIMObjectPath(), Array<CIMObjectPath>(),
                           CIMPropertyList(), 1);
    }
    void unsubscribe() {
        deleteSubscription(OperationContext(), CIMObjectPath(), Array<CIMObjectPath>());
    }

 protected:
    Boolean generateIndication(const OperationContext& context, CIMInstance& inst,
                               const Array<CIMParamValue>& parameters) override {
        EXPECT_EQ(asked(context, CIMPropertyList()), "caller");
        EXPECT_EQ(text(parameters[0].getParameterName()), "X");
        // The object may end in here, and its function with it.
        const auto own = generate;
        return own(inst);
    }
};

/// Notes which form of delivery it gets.
class FormRecorder : public IndicationRecorder {
 public:
    using IndicationRecorder::deliver;
    void deliver(const OperationContext& context, const CIMIndication& indication) override {
        note("with context:");
        IndicationRecorder::deliver(context, indication);
    }
};

const char SENT[] = "processing deliver complete ok sint32 1";
const char REFUSED[] = "processing deliver complete ok sint32 0";

TEST(IndicationMethodProvider, OnlySendAndOnlyWhileEnabled) {
    Alerts alerts("T_Alert", nullptr);
    FormRecorder handler;
    const Uint32 before = Alerts::_ID;
    alerts.disableIndications();  // never enabled: there is nobody to complete
    EXPECT_EQ(alerts.send(), REFUSED);
    alerts.enableIndications(handler);
    EXPECT_EQ(alerts.send("Sendx"), "processing 17 Sendx");
    EXPECT_EQ(Alerts::_ID, before);
    EXPECT_EQ(alerts.send("SEND"), SENT);
    alerts.disableIndications();
    EXPECT_EQ(alerts.send(), REFUSED);
    EXPECT_EQ(handler.calls, "deliver complete");
    EXPECT_EQ(Alerts::_ID, before + 1);
    EXPECT_EQ(alerts._handler, &handler) << "it stays stored";
}

TEST(IndicationMethodProvider, CompleteIndicationInOrder) {
    System::setFullyQualifiedHostName("host.in.full");
    Alerts alerts("T_Alert", nullptr);
    IndicationRecorder handler;
    alerts.enableIndications(handler);
    alerts.generate = [](CIMInstance& inst) {
        add(inst, "perceivedseverity", CIMValue(Uint16(6)));
        add(inst, "Own", "mine");
        return true;
    };
    alerts.send();
    const CIMInstance indication = handler.delivered.at(0);
    EXPECT_EQ(text(indication.getPath()), "root/velmar_remote:T_Alert");
    std::string all;
    for (Uint32 i = 0; i < indication.getPropertyCount(); i++) {
        const CIMConstProperty p = indication.getProperty(i);
        const std::string value = text(p.getValue().toString());
        all += text(p.getName()) + " " + cimTypeToString(p.getType()) + (p.isArray() ? "[]" : "") +
               (p.getValue().isNull() ? "" : "=" + (i < 2 ? "..." : value)) + "\n";
    }
    EXPECT_EQ(all,
              "IndicationIdentifier string=...\nIndicationTime datetime=...\n"
              "SystemName string=host.in.full\nSystemCreationClassName string=CIM_ComputerSystem\n"
              "UniqueSystemID string=0\nperceivedseverity uint16=6\nOwn string=mine\n"
              "AlertType uint16\nAlertingElementFormat uint16\n"
              "AlertingManagedElement string\nCorrelatedIndications string[]\n"
              "Description string\nEventID string\nEventTime datetime\nLPARID string\n"
              "Model string\nOtherAlertType string\nOtherAlertingElementFormat string\n"
              "OtherSeverity string\nProbableCause uint16\n"
              "ProbableCauseDescription string\nProviderName string\n"
              "RecommendedActions string[]\nSenderUUID string\nSerialNumber string\n"
              "Trending uint16\nType string\nUUID string\n");
}

TEST(IndicationMethodProvider, IdentifiersAreTakenOnceAcrossObjects) {
    Alerts one("T_Alert", nullptr), two("T_Alert", nullptr);
    IndicationRecorder handler;
    one.enableIndications(handler);
    two.enableIndications(handler);
    const Uint32 first = Alerts::_ID;
    one.send();
    two.generate = [](CIMInstance&) { return false; };
    EXPECT_EQ(two.send(), SENT);  // the caller is not told that nothing was delivered
    two.generate = [](CIMInstance&) -> Boolean { throw CIMException(CIM_ERR_NOT_FOUND, "gone"); };
    EXPECT_EQ(two.send(), "processing deliver complete 6 gone sint32 1");
    one.send();
    ASSERT_EQ(handler.delivered.size(), 2u);
    EXPECT_EQ(property(handler.delivered[0], "IndicationIdentifier"), std::to_string(first));
    EXPECT_EQ(property(handler.delivered[1], "IndicationIdentifier"), std::to_string(first + 3));
}

TEST(IndicationMethodProvider, SharedCounterDisablesTheLastOneOnly) {
    Uint32 count = 0;
    Alerts one("T_Alert", &count), two("T_Alert", &count), uncounted;
    IndicationRecorder handler;
    one.subscribe();
    EXPECT_FALSE(one._enabled);  // a subscription alone enables nothing
    two.subscribe();
    one.enableIndications(handler);
    two.enableIndications(handler);
    uncounted.enableIndications(handler);
    one.unsubscribe();
    EXPECT_EQ(count, 1u);
    EXPECT_TRUE(one._enabled);
    two.modifySubscription(OperationContext(), CIMObjectPath(), Array<CIMObjectPath>(),
                           CIMPropertyList(), 1);
    EXPECT_EQ(count, 1u);
    two.unsubscribe();
    EXPECT_EQ(count, 0u);
    EXPECT_TRUE(one._enabled);
    EXPECT_FALSE(two._enabled);
    one.unsubscribe();
    EXPECT_EQ(count, 0u);
    EXPECT_FALSE(one._enabled);
    uncounted.subscribe();
    uncounted.unsubscribe();
    EXPECT_TRUE(uncounted._enabled);
    EXPECT_EQ(handler.calls, "");  // nobody completed the handler
}

// Enough of either that an update lost between two threads is sure to happen.
TEST(IndicationMethodProvider, CountsAreExactOnManyThreads) {
    const int THREADS = 8, SENDS = 3000, SUBSCRIPTIONS = 30000;
    std::vector<std::set<std::string>> taken(THREADS);
    Uint32 count = 0;
    std::vector<std::unique_ptr<Alerts>> alerts;
    IndicationRecorder handler;
    for (std::set<std::string>& own : taken) {
        alerts.push_back(std::make_unique<Alerts>("T_Alert", &count));
        alerts.back()->enableIndications(handler);
        alerts.back()->generate = [&own](CIMInstance& inst) {
            own.insert(property(inst, "IndicationIdentifier"));
            return false;
        };
    }
    const Uint32 first = Alerts::_ID;
    inThreads(THREADS, [&](int i) {
        for (int n = 0; n < SENDS; n++) {
            alerts[i]->send();
        }
        for (int n = 0; n < SUBSCRIPTIONS; n++) {
            alerts[i]->subscribe();
        }
    });
    for (int i = 1; i < THREADS; i++) {
        taken[0].merge(taken[i]);
    }
    EXPECT_EQ(taken[0].size(), size_t(THREADS * SENDS));
    EXPECT_EQ(Alerts::_ID - first, Uint32(THREADS * SENDS));
    EXPECT_EQ(count, Uint32(THREADS * SUBSCRIPTIONS));
    inThreads(THREADS, [&](int i) {
        for (int n = 0; n < SUBSCRIPTIONS - 1; n++) {
            alerts[i]->unsubscribe();
        }
    });
    EXPECT_EQ(count, Uint32(THREADS));
}

// A server deletes the handler as soon as disableIndications has returned. The sanitizers see any
// delivery that comes later.
TEST(IndicationMethodProvider, NoDeliveryOutlivesDisabling) {
    struct Mortal : IndicationRecorder {
        using IndicationRecorder::deliver;
        explicit Mortal(std::atomic<int>& counted) : total(counted) {}
        void deliver(const CIMIndication&) override {
            EXPECT_TRUE(alive);
            total++;
        }
        ~Mortal() override { alive = false; }
        std::atomic<int>& total;
        std::atomic<bool> alive{true};
    };
    Uint32 count = 0;
    Alerts alerts("T_Alert", &count);
    std::atomic<int> delivered{0};
    std::atomic<bool> stop{false};
    inThreads(4, [&](int i) {
        while (i > 0 && !stop) {
            alerts.send();
        }
        for (int round = 0; i == 0 && round < 20; round++) {
            auto handler = std::make_unique<Mortal>(delivered);
            const int before = delivered;
            alerts.subscribe();
            alerts.enableIndications(*handler);
            while (delivered == before) {
                std::this_thread::yield();
            }
            if (round % 2) {
                alerts.unsubscribe();
            }
            alerts.disableIndications();
        }
        stop = true;
    });
}

TEST(IndicationMethodProvider, DisablingWaitsForItsOwnDeliveriesOnly) {
    struct Slow : IndicationRecorder {
        using IndicationRecorder::deliver;
        void deliver(const CIMIndication&) override {
            delivering.set_value();
            goOn.get_future().wait();
            finished = true;
        }
        void complete() override { early = !finished, completed = true; }
        std::promise<void> delivering, goOn;
        std::atomic<bool> finished{false}, early{false}, completed{false};
    } slow;
    Alerts busy("T_Alert", nullptr);
    busy.enableIndications(slow);
    std::thread sender([&] { busy.send(); });
    slow.delivering.get_future().wait();

    std::vector<std::unique_ptr<Alerts>> others;  // enough of them to meet any shared lock
    for (int i = 0; i < 64; i++) {
        others.push_back(std::make_unique<Alerts>("T_Alert", nullptr));
        IndicationRecorder handler;
        others.back()->enableIndications(handler);
        others.back()->disableIndications();  // would never return
    }
    auto disabled = std::async(std::launch::async, [&] { busy.disableIndications(); });
    while (__atomic_load_n(&busy._enabled, __ATOMIC_ACQUIRE)) {
        std::this_thread::yield();
    }
    // One that did not wait would complete the handler now.
    for (int i = 0; i < 10000 && !slow.completed; i++) {
        std::this_thread::yield();
    }
    slow.goOn.set_value();
    disabled.get();
    EXPECT_TRUE(slow.completed);
    EXPECT_FALSE(slow.early);
    sender.join();
}

// Whomever a "send" calls may disable the object, end it, or both: it must not wait for itself, and
// what goes on afterwards must not need the object.
TEST(IndicationMethodProvider, EndsInsideItsOwnWork) {
    struct Caller : MethodResultRecorder {
        using MethodResultRecorder::deliver;
        void processing() override { MethodResultRecorder::processing(), at(0); }
        void deliver(const CIMValue& value) override {
            MethodResultRecorder::deliver(value), at(1);
        }
        void complete() override { MethodResultRecorder::complete(), at(2); }
        std::function<void(int)> at;
    };
    struct Subscribers : IndicationRecorder {
        using IndicationRecorder::deliver;
        void deliver(const CIMIndication& i) override { IndicationRecorder::deliver(i), at(4); }
        std::function<void(int)> at;
    };
    for (int place = 0; place < 5; place++) {
        for (const bool disables : {false, true}) {
            for (const bool terminates : {false, true}) {
                SCOPED_TRACE(place);
                auto* const alerts = new Alerts("T_Alert", nullptr);
                const auto act = [=](int here) {
                    if (here == place && disables) {
                        alerts->disableIndications();
                    }
                    if (here == place && terminates) {
                        alerts->terminate();
                    }
                };
                Caller caller;
                Subscribers subscribers;
                caller.at = subscribers.at = act;
                alerts->generate = [act](CIMInstance&) { return act(3), true; };
                alerts->enableIndications(subscribers);
                alerts->invokeMethod(callersContext(), CIMObjectPath(), "send",
                                     Array<CIMParamValue>(1, CIMParamValue("X", CIMValue(true))),
                                     caller);
                const bool ended = disables || terminates;
                EXPECT_EQ(caller.calls, "processing deliver complete");
                EXPECT_EQ(text(caller.returnValue.toString()), ended && place == 0 ? "0" : "1");
                EXPECT_EQ(subscribers.calls,
                          std::string(!ended || place == 4 ? "deliver" : "") +
                              (disables ? place == 4 ? " complete" : "complete" : ""));
                if (!terminates) {
                    alerts->disableIndications();  // nothing is running any more
                    alerts->terminate();
                }
            }
        }
    }
}

// Two threads, both inside a delivery, that disable the provider of either: neither can wait.
TEST(IndicationMethodProvider, DisabledInTwoDeliveriesAtOnce) {
    struct Meeting : IndicationRecorder {
        using IndicationRecorder::deliver;
        void deliver(const CIMIndication&) override {
            inside->up();
            inside->waitFor(2);
            other->disableIndications();
        }
        void complete() override {}
        Count* inside;
        Alerts* other;
    } handlers[2];
    for (const int other : {0, 1}) {  // its own, or the other's
        Count inside;
        Alerts alerts[] = {{"T_Alert", nullptr}, {"T_Alert", nullptr}};
        for (int i = 0; i < 2; i++) {
            handlers[i].inside = &inside;
            handlers[i].other = &alerts[other ? 1 - i : 0];
            alerts[i].enableIndications(handlers[i]);
        }
        inThreads(2, [&](int i) { EXPECT_EQ(alerts[other ? i : 0].send(), SENT); });
        EXPECT_FALSE(alerts[0]._enabled);
    }
}

}  // namespace
