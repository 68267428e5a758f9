// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The provider against recording handlers, without a server: enrichment is overridden.
#include "Common/IndicationMethodProvider.h"

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include <velmar_kit/RecordingHandlers.h>
#include "support/Objects.h"
#include "support/TraceFile.h"

using namespace Pegasus;
using namespace support;
using velmar_kit::IndicationRecorder;
using velmar_kit::MethodResultRecorder;

namespace {

class Alerts : public velmar_remote::IndicationMethodProvider {
 public:
    using IndicationMethodProvider::_enabled;
    using IndicationMethodProvider::_ID;
    using IndicationMethodProvider::IndicationMethodProvider;

    std::function<Boolean(CIMInstance&, const Array<CIMParamValue>&)> generate;

    /// What the caller of "send" gets: the return value, or the exception that leaves.
    std::string send(const char* method = "send") {
        MethodResultRecorder handler;
        try {
            invokeMethod(OperationContext(), CIMObjectPath(), method, Array<CIMParamValue>(),
                         handler);
        } catch (const CIMException& e) {
            return handler.calls + " throws " + std::to_string(e.getCode()) + " " +
                   text(e.getMessage());
        }
        EXPECT_EQ(handler.returnValue.getType(), CIMTYPE_SINT32);
        return handler.calls + " -> " + text(handler.returnValue.toString());
    }
    void subscribe() {
        createSubscription(OperationContext(), CIMObjectPath(), Array<CIMObjectPath>(),
                           CIMPropertyList(), 1);
    }
    void unsubscribe() {
        deleteSubscription(OperationContext(), CIMObjectPath(), Array<CIMObjectPath>());
    }

 protected:
    Boolean generateIndication(const OperationContext&, CIMInstance& inst,
                               const Array<CIMParamValue>& parameters) override {
        return generate ? generate(inst, parameters) : true;
    }
};

const char SENT[] = "processing deliver complete -> 1";
const char REFUSED[] = "processing deliver complete -> 0";

}  // namespace

TEST(IndicationMethodProvider, OnlySendAndOnlyWhileEnabled) {
    Alerts alerts("T_Alert", nullptr);
    IndicationRecorder handler;
    const Uint32 before = Alerts::_ID;
    EXPECT_EQ(alerts.send(), REFUSED);
    alerts.enableIndications(handler);
    EXPECT_EQ(alerts.send("Sendx"), "processing throws 17 Sendx");
    EXPECT_EQ(Alerts::_ID, before);
    EXPECT_EQ(alerts.send("SEND"), SENT);
    alerts.disableIndications();
    EXPECT_EQ(alerts.send(), REFUSED);
    EXPECT_EQ(handler.calls, "deliver complete");
    EXPECT_EQ(Alerts::_ID, before + 1);
}

TEST(IndicationMethodProvider, CompleteIndicationInOrder) {
    Alerts alerts("T_Alert", nullptr);
    IndicationRecorder handler;
    alerts.enableIndications(handler);
    alerts.generate = [](CIMInstance& inst, const Array<CIMParamValue>&) {
        add(inst, "perceivedseverity", CIMValue(Uint16(6)));
        add(inst, "Own", "mine");
        return true;
    };
    alerts.send();
    const CIMInstance indication = handler.delivered.at(0);
    EXPECT_EQ(text(indication.getPath()), "root/velmar_remote:T_Alert");
    EXPECT_EQ(propertyNames(indication),
              "IndicationIdentifier,IndicationTime,SystemName,SystemCreationClassName,"
              "UniqueSystemID,perceivedseverity,Own,AlertType,AlertingElementFormat,"
              "AlertingManagedElement,CorrelatedIndications,Description,EventID,EventTime,LPARID,"
              "Model,OtherAlertType,OtherAlertingElementFormat,OtherSeverity,ProbableCause,"
              "ProbableCauseDescription,ProviderName,RecommendedActions,SenderUUID,SerialNumber,"
              "Trending,Type,UUID");
    EXPECT_EQ(property(indication, "PerceivedSeverity"), "6");
    EXPECT_EQ(property(indication, "SystemName"), text(System::getFullyQualifiedHostName()));
    EXPECT_EQ(property(indication, "SystemCreationClassName"), "CIM_ComputerSystem");
    EXPECT_EQ(property(indication, "UniqueSystemID"), "0");
    std::string types;
    for (Uint32 i = 0; i < indication.getPropertyCount(); i++) {
        const CIMConstProperty p = indication.getProperty(i);
        types += std::string(p.getValue().isNull() ? "-" : "") + cimTypeToString(p.getType()) +
                 (p.isArray() ? "[] " : " ");
    }
    EXPECT_EQ(types,
              "string datetime string string string uint16 string -uint16 -uint16 -string "
              "-string[] -string -string -datetime -string -string -string -string -string "
              "-uint16 -string -string -string[] -string -string -uint16 -string -string ");
}

TEST(IndicationMethodProvider, IdentifiersAreTakenOnceAcrossObjects) {
    Alerts one("T_Alert", nullptr);
    Alerts two("T_Alert", nullptr);
    IndicationRecorder handler;
    one.enableIndications(handler);
    two.enableIndications(handler);
    const Uint32 first = Alerts::_ID;
    one.send();
    two.generate = [](CIMInstance&, const Array<CIMParamValue>&) { return false; };
    EXPECT_EQ(two.send(), SENT);  // the caller is not told that nothing was delivered
    two.generate = [](CIMInstance&, const Array<CIMParamValue>&) -> Boolean {
        throw CIMException(CIM_ERR_NOT_FOUND, "gone");
    };
    EXPECT_EQ(two.send(), "processing deliver complete throws 6 gone");
    one.send();
    ASSERT_EQ(handler.delivered.size(), 2u);
    EXPECT_EQ(property(handler.delivered[0], "IndicationIdentifier"), std::to_string(first));
    EXPECT_EQ(property(handler.delivered[1], "IndicationIdentifier"), std::to_string(first + 3));
}

TEST(IndicationMethodProvider, SharedCounterDisablesTheLastOneOnly) {
    Uint32 count = 0;
    Alerts one("T_Alert", &count);
    Alerts two("T_Alert", &count);
    IndicationRecorder handler;
    one.subscribe();
    EXPECT_FALSE(one._enabled);  // a subscription alone enables nothing
    two.subscribe();
    one.enableIndications(handler);
    two.enableIndications(handler);
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
    EXPECT_EQ(handler.calls, "");  // nobody completed the handler

    Alerts uncounted("T_Alert", nullptr);
    uncounted.enableIndications(handler);
    uncounted.unsubscribe();
    EXPECT_TRUE(uncounted._enabled);
}

TEST(IndicationMethodProvider, DisablingWithoutHandlerOnlyDisables) {
    Alerts alerts;
    TraceFile trace;
    alerts.disableIndications();
    EXPECT_FALSE(alerts._enabled);
    EXPECT_EQ(trace.texts(), (std::vector<std::string>{
                                 "Entering method IndicationMethodProvider::disableIndications",
                                 "Exiting method IndicationMethodProvider::disableIndications"}));
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
    std::vector<std::thread> senders;
    for (int i = 0; i < 4; i++) {
        senders.emplace_back([&] {
            while (!stop) {
                alerts.send();
            }
        });
    }
    for (int round = 0; round < 50; round++) {
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
    for (auto& sender : senders) {
        sender.join();
    }
    EXPECT_GE(delivered, 50);
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

TEST(IndicationMethodProvider, ConcurrentSendsNeverShareAnIdentifier) {
    Alerts alerts("T_Alert", nullptr);
    struct Locked : IndicationRecorder {
        using IndicationRecorder::deliver;
        void deliver(const CIMIndication& indication) override {
            const std::lock_guard<std::mutex> lock(mutex);
            IndicationRecorder::deliver(indication);
        }
        std::mutex mutex;
    } handler;
    alerts.enableIndications(handler);
    std::vector<std::thread> senders;
    for (int i = 0; i < 8; i++) {
        senders.emplace_back([&] {
            for (int n = 0; n < 200; n++) {
                alerts.send();
            }
        });
    }
    for (auto& sender : senders) {
        sender.join();
    }
    std::set<std::string> identifiers;
    for (const CIMInstance& indication : handler.delivered) {
        identifiers.insert(property(indication, "IndicationIdentifier"));
    }
    EXPECT_EQ(identifiers.size(), 1600u);
}

// Whoever a "send" calls may disable or terminate the provider. The sanitizers see what is touched
// afterwards.
TEST(IndicationMethodProvider, IsDisabledOrTerminatedInsideASend) {
    struct Subscribers : IndicationRecorder {
        using IndicationRecorder::deliver;
        void deliver(const CIMIndication& indication) override {
            IndicationRecorder::deliver(indication);
            delivering();
        }
        std::function<void()> delivering = [] {};
    };
    struct Caller : MethodResultRecorder {
        using MethodResultRecorder::deliver;
        void processing() override { MethodResultRecorder::processing(), at(0); }
        void deliver(const CIMValue& value) override {
            MethodResultRecorder::deliver(value), at(1);
        }
        void complete() override { MethodResultRecorder::complete(), at(2); }
        std::function<void(int)> at;
    };
    for (int place = 0; place < 5; place++) {
        for (const bool terminates : {false, true}) {
            Alerts* const alerts = new Alerts("T_Alert", nullptr);
            Subscribers subscribers;
            Caller caller;
            const auto act = [&](int here) {
                if (here == place) {
                    terminates ? alerts->terminate() : alerts->disableIndications();
                }
            };
            caller.at = act;
            alerts->generate = [&](CIMInstance&, const Array<CIMParamValue>&) {
                act(3);
                return true;
            };
            subscribers.delivering = [&] { act(4); };
            alerts->enableIndications(subscribers);
            alerts->invokeMethod(OperationContext(), CIMObjectPath(), "send",
                                 Array<CIMParamValue>(), caller);
            EXPECT_EQ(caller.calls, "processing deliver complete");
            EXPECT_EQ(text(caller.returnValue.toString()), place == 0 ? "0" : "1");
            EXPECT_EQ(subscribers.delivered.size(), place == 4 ? 1u : 0u);
            if (!terminates) {
                alerts->terminate();
            }
        }
    }
}

// Two threads, each inside a delivery of one provider, disable the other one: neither can wait.
TEST(IndicationMethodProvider, DisablingCrosswiseInsideDeliveriesEnds) {
    struct Meeting : IndicationRecorder {
        using IndicationRecorder::deliver;
        void deliver(const CIMIndication&) override {
            (*inside)++;
            while (*inside < 2) {
                std::this_thread::yield();
            }
            other->disableIndications();
        }
        std::atomic<int>* inside;
        Alerts* other;
    } first, second;
    for (int round = 0; round < 20; round++) {
        std::atomic<int> inside{0};
        Alerts one("T_Alert", nullptr), two("T_Alert", nullptr);
        first.inside = second.inside = &inside;
        first.other = &two;
        second.other = &one;
        one.enableIndications(first);
        two.enableIndications(second);
        std::thread sender([&] { one.send(); });
        two.send();
        sender.join();
    }
}
