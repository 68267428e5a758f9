// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The provider against recording handlers, without a server: enrichment is overridden.
#include "Common/IndicationMethodProvider.h"

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>
#include <gtest/gtest.h>

#include <mutex>
#include <set>

#include <velmar_testing/RecordingHandlers.h>
#include "support/FakeServer.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;
using velmar_testing::IndicationRecorder;
using velmar_testing::MethodResultRecorder;

namespace {

/// Notes which form of delivery it gets, and calls back. Takes single deliveries, and their end, on
/// any thread.
struct Subscribers : IndicationRecorder {
    void deliver(const CIMIndication& one) override {
        locked([&] { IndicationRecorder::deliver(one); });
        at(4);
    }
    void deliver(const Array<CIMIndication>& many) override { IndicationRecorder::deliver(many); }
    void deliver(const OperationContext&, const CIMIndication&) override { note("context"); }
    void deliver(const OperationContext&, const Array<CIMIndication>&) override { note("both"); }
    void complete() override {
        locked([&] { IndicationRecorder::complete(); });
        at(5);
    }
    std::function<void(int)> at = [](int) {};

 private:
    void locked(const std::function<void()>& work) {
        const std::lock_guard<std::mutex> lock(_mutex);
        work();
    }
    std::mutex _mutex;
};

class Alerts : public velmar_remote::IndicationMethodProvider {
 public:
    using IndicationMethodProvider::_enabled;
    using IndicationMethodProvider::_handler;
    using IndicationMethodProvider::_ID;
    using IndicationMethodProvider::IndicationMethodProvider;

    std::function<Boolean(CIMInstance&)> generate = [](CIMInstance&) { return true; };

    /// What the caller of "send" gets: the return value, and the exception that leaves.
    std::string send(const char* method = "send") {
        MethodResultRecorder caller;
        const std::string result = outcome([&] {
            invokeMethod(callersContext(), CIMObjectPath(), method,
                         Array<CIMParamValue>(1, CIMParamValue("X", CIMValue(true))), caller);
        });
        return caller.calls + " " + cimTypeToString(caller.returnValue.getType()) + " " +
               text(caller.returnValue.toString()) + " " + result;
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
        return generate(inst);
    }
};

const char SENT[] = "processing deliver complete sint32 1 ok";
const char REFUSED[] = "processing deliver complete sint32 0 ok";

TEST(IndicationMethodProvider, OnlySendAndOnlyWhileEnabled) {
    Alerts alerts("T_Alert", nullptr);
    Subscribers handler;
    const Uint32 before = Alerts::_ID;
    alerts.disableIndications();  // never enabled: there is nobody to complete
    EXPECT_EQ(alerts.send(), REFUSED);
    alerts.enableIndications(handler);
    EXPECT_EQ(alerts.send("Sendx"), "processing boolean  17 Sendx");
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
    Subscribers handler;
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
        const std::string value = i < 2 ? "..." : text(p.getValue().toString());
        all += (i ? "," : "") + text(p.getName()) + " " + cimTypeToString(p.getType()) +
               (p.isArray() ? "[]" : "") + (p.getValue().isNull() ? "" : "=" + value);
    }
    EXPECT_EQ(all,
              "IndicationIdentifier string=...,IndicationTime datetime=...,SystemName string=host."
              "in.full,SystemCreationClassName string=CIM_ComputerSystem,UniqueSystemID string=0,"
              "perceivedseverity uint16=6,Own string=mine,AlertType uint16,AlertingElementFormat "
              "uint16,AlertingManagedElement string,CorrelatedIndications string[],Description "
              "string,EventID string,EventTime datetime,LPARID string,Model string,OtherAlertType "
              "string,OtherAlertingElementFormat string,OtherSeverity string,ProbableCause uint16,"
              "ProbableCauseDescription string,ProviderName string,RecommendedActions string[],"
              "SenderUUID string,SerialNumber string,Trending uint16,Type string,UUID string");
}

TEST(IndicationMethodProvider, IdentifiersAreTakenOnceAcrossObjects) {
    Alerts one("T_Alert", nullptr), two("T_Alert", nullptr);
    Subscribers handler;
    one.enableIndications(handler);
    two.enableIndications(handler);
    const Uint32 first = Alerts::_ID;
    one.send();
    two.generate = [](CIMInstance&) { return false; };
    EXPECT_EQ(two.send(), SENT);  // the caller is not told that nothing was delivered
    two.generate = [](CIMInstance&) -> Boolean { throw CIMException(CIM_ERR_NOT_FOUND, "gone"); };
    EXPECT_EQ(two.send(), "processing deliver complete sint32 1 6 gone");
    one.send();
    ASSERT_EQ(handler.delivered.size(), 2u);
    EXPECT_EQ(property(handler.delivered[0], "IndicationIdentifier"), std::to_string(first));
    EXPECT_EQ(property(handler.delivered[1], "IndicationIdentifier"), std::to_string(first + 3));
}

TEST(IndicationMethodProvider, SharedCounterDisablesTheLastOneOnly) {
    Uint32 count = 0;
    Alerts one("T_Alert", &count), two("T_Alert", &count), uncounted;
    Subscribers handler;
    one.subscribe();
    EXPECT_FALSE(one._enabled);  // a subscription alone enables nothing
    two.subscribe();
    for (Alerts* alerts : {&one, &two, &uncounted}) {
        alerts->enableIndications(handler);
    }
    one.unsubscribe();
    two.modifySubscription(OperationContext(), CIMObjectPath(), Array<CIMObjectPath>(),
                           CIMPropertyList(), 1);
    uncounted.subscribe();
    uncounted.unsubscribe();
    EXPECT_EQ(count, 1u);
    EXPECT_TRUE(one._enabled && two._enabled && uncounted._enabled);
    two.unsubscribe();
    EXPECT_EQ(count, 0u);
    EXPECT_TRUE(one._enabled && !two._enabled);
    one.unsubscribe();
    EXPECT_EQ(count, 0u);
    EXPECT_FALSE(one._enabled);
    EXPECT_EQ(handler.calls, "");  // nobody completed the handler
}

thread_local std::set<std::string> takenHere;

// Enough of either that an update lost between two threads is sure to happen.
TEST(IndicationMethodProvider, CountsAreExactOnManyThreads) {
    const Uint32 SENDS = 20000, SUBSCRIPTIONS = 200000;
    Uint32 count = 0;
    Alerts alerts("T_Alert", &count);
    Subscribers handler;
    alerts.enableIndications(handler);
    alerts.generate = [](CIMInstance& inst) {
        takenHere.insert(property(inst, "IndicationIdentifier"));
        return false;
    };
    std::set<std::string> taken[4];
    const Uint32 first = Alerts::_ID;
    inThreads(4, [&](int i) {
        for (Uint32 n = 0; n < SENDS; n++) {
            alerts.send();
        }
        for (Uint32 n = 0; n < SUBSCRIPTIONS; n++) {
            alerts.subscribe();
        }
        taken[i] = takenHere;
    });
    for (int i = 1; i < 4; i++) {
        taken[0].merge(taken[i]);
    }
    EXPECT_EQ(taken[0].size(), size_t(4 * SENDS));
    EXPECT_EQ(Alerts::_ID - first, 4 * SENDS);
    EXPECT_EQ(count, 4 * SUBSCRIPTIONS);
    inThreads(4, [&](int) {
        for (Uint32 n = 1; n < SUBSCRIPTIONS; n++) {
            alerts.unsubscribe();
        }
    });
    EXPECT_EQ(count, 4u);
}

// A server deletes the handler as soon as disableIndications has returned.
TEST(IndicationMethodProvider, DisablingWaitsForItsOwnDeliveriesOnly) {
    Alerts busy("T_Alert", nullptr), idle("T_Alert", nullptr);
    Subscribers slow, none;
    Count delivering, goOn, completed;
    slow.at = [&](int place) {
        if (place == 4) {
            delivering.up();
            goOn.waitFor(1);
        } else {
            completed.up();
        }
    };
    busy.enableIndications(slow);
    idle.enableIndications(none);
    std::thread sender([&] { busy.send(); });
    delivering.waitFor(1);
    idle.disableIndications();  // would never return
    // Being inside a delivery of another object makes no difference.
    none.at = [&](int place) {
        if (place == 4) {
            busy.disableIndications();
        }
    };
    idle.enableIndications(none);
    std::thread disabler([&] { idle.send(); });
    EXPECT_FALSE(completed.reaches(1));
    goOn.up();
    sender.join();
    disabler.join();
    EXPECT_EQ(completed.value(), 1);
}

// What is delivered may disable the object, end it, or both: it must not wait for itself, and what
// goes on afterwards must not need the object.
TEST(IndicationMethodProvider, EndsInsideItsOwnDelivery) {
    for (const bool terminates : {false, true}) {
        auto* const alerts = new Alerts("T_Alert", nullptr);
        Subscribers subscribers;
        int nested = 0;
        subscribers.at = [&](int place) {
            if (place == 4 && nested++ == 0) {
                alerts->send();  // a delivery inside the delivery
                alerts->disableIndications();
                if (terminates) {
                    alerts->terminate();
                }
            }
        };
        alerts->enableIndications(subscribers);
        EXPECT_EQ(alerts->send(), SENT);
        EXPECT_EQ(subscribers.calls, "deliver deliver complete");
        if (!terminates) {
            EXPECT_EQ(alerts->send(), REFUSED);
            alerts->disableIndications();  // nothing is running any more
            alerts->terminate();
        }
    }
}

}  // namespace
