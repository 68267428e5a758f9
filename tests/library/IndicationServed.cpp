// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Alerts on their whole way: sendIndication, "send" at the provider, enrichment from the model,
// delivery to subscribers.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <set>

#include <velmar_kit/RecordingHandlers.h>
#include "support/AlertSite.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;

namespace {

const char PARTITION[] = "QORP_LPAR_CS.Name=\"part\"";
const char HOST[] = "QORP_CEC_CS.Name=\"host\"";
const char SENSOR[] = "T_Sensor.UUID=\"s-1\"";
const char HALL[] = "QOR_MAPAdminDomain.Name=\"hall\"";
const char QUERY[] = "SELECT * FROM T_Alert";

class Alerts : public velmar_remote::IndicationMethodProvider {
 public:
    using IndicationMethodProvider::_ID;
    using IndicationMethodProvider::IndicationMethodProvider;

    std::function<void(CIMInstance&)> before = [](CIMInstance&) {};  ///< enrichment
    IndicationResponseHandler* instead = nullptr;                    ///< of the server's handler

    void enableIndications(IndicationResponseHandler& handler) override {
        IndicationMethodProvider::enableIndications(instead ? *instead : handler);
    }

 protected:
    Boolean generateIndication(const OperationContext& context, CIMInstance& inst,
                               const Array<CIMParamValue>& parameters) override {
        before(inst);
        return IndicationMethodProvider::generateIndication(context, inst, parameters);
    }
};

/// A stored site, so that enrichment is the only one who asks the server.
class IndicationServed : public testing::Test {
 protected:
    Alerts* alerts = new Alerts("T_Alert", nullptr);
    std::atomic<int> upcalls{0};
    std::vector<CIMInstance> seen;
    AlertSite site{alerts, true};

    void start() {
        site.server.observeArrivals([this](const velmar_embedded::Arrival& arrival) {
            upcalls += arrival.fromHandle ? 1 : 0;
        });
        site.server.start();
    }
    std::string subscribe() {
        return site.server.subscribe("SELECT * FROM CIM_AlertIndication", {NAMESPACE},
                                     [this](const CIMInstance& i) { seen.push_back(i); });
    }
    void TearDown() override { site.server.stop(); }
};

TEST_F(IndicationServed, EnrichmentByElement) {
    site.addTypicalSystem();
    site.element("T_VIOS.Name=\"vios\"", {{"LPARID", "1"}});
    site.element("QORP_LPAR_CS.Name=\"alone\"");
    site.element("QORP_LPAR_CS.Name=\"bare\"", {{"LPARID", "7"}});
    site.element("QORP_LPAR_CS.Name=\"nowhere\"", {{"LPARID", "8"}});
    site.element("QOR_PhysicalPackage.Tag=\"own\"",
                 {{"VendorEquipmentType", "T"}, {"Model", ""}, {"SerialNumber", "S"}});
    for (const char* part :
         {"T_VIOS.Name=\"vios\"", "QORP_LPAR_CS.Name=\"alone\"", "QORP_LPAR_CS.Name=\"bare\""}) {
        site.component(HALL, part);
    }
    site.host(HOST, "T_VIOS.Name=\"vios\"");
    site.package("QOR_PhysicalPackage.Tag=\"own\"", "QORP_LPAR_CS.Name=\"alone\"");
    // A second of everything that the partition is looked up by: the first counts.
    site.element("QOR_MAPAdminDomain.Name=\"annex\"");
    site.component("QOR_MAPAdminDomain.Name=\"annex\"", PARTITION);
    site.element("QOR_HWCtrlPoint.UUID=\"cp-2\"");
    site.component(HALL, "QOR_HWCtrlPoint.UUID=\"cp-2\"");
    site.element("QORP_CEC_CS.Name=\"second\"");
    site.host("QORP_CEC_CS.Name=\"second\"", PARTITION);
    site.package("QOR_PhysicalPackage.Tag=\"own\"", HOST);
    start();
    subscribe();
    struct {
        const char* element;
        std::vector<std::pair<const char*, const char*>> before;
        const char* enriched;  // sender, own UUID, type, model, serial number, partition number
        int upcalls;
    } const cases[] = {
        {"T_VIOS.Name=\"vios\"", {}, "cp-1 (null) 9117 MMC 06B4 1 ", 10},
        {"QORP_LPAR_CS.Name=\"alone\"", {}, "cp-1 (null) T  S 0 ", 10},
        {"QORP_LPAR_CS.Name=\"bare\"", {}, "cp-1 (null) (null) (null) (null) 7 ", 9},
        {HOST, {}, "cp-1 (null) 9117 MMC 06B4 0 ", 9},
        {SENSOR, {}, "s-1 s-1 (null) (null) (null) (null) ", 4},
        {"QOR_MAPAdminDomain.Name=\"hall\"", {}, "  (null) (null) (null) (null) ", 4},
        // What an override has set first stays, and is not looked for.
        {"QORP_LPAR_CS.Name=\"nowhere\"",
         {{"SenderUUID", "mine"}, {"lparid", "99"}},
         "mine (null) (null) (null) (null) 99 ",
         6},
        {PARTITION, {{"Model", "mine"}, {"UUID", "own"}}, "cp-1 own 9117 mine 06B4 3 ", 10},
        {SENSOR, {{"UUID", "own"}}, "s-1 own (null) (null) (null) (null) ", 4},
        {SENSOR, {{"AlertingManagedElement", PARTITION}}, "cp-1 (null) 9117 MMC 06B4 3 ", 10},
        {"//elsewhere/root/other:QORP_LPAR_CS.Name=\"part\"",
         {{"Own", "not declared"}},
         "cp-1 (null) 9117 MMC 06B4 3 ",
         10},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.element);
        alerts->before = [&](CIMInstance& inst) {
            for (const auto& p : c.before) {
                add(inst, p.first, p.second);
            }
        };
        upcalls = 0;
        seen.clear();
        raise(c.element);
        site.server.drain();
        ASSERT_EQ(seen.size(), 1u);
        std::string all;
        for (const char* name : {"SenderUUID", "UUID", "Type", "Model", "SerialNumber", "LPARID"}) {
            all += property(seen[0], name) + " ";
        }
        EXPECT_EQ(all, c.enriched);
        EXPECT_EQ(upcalls, c.upcalls);
        // An override's own stays the string that it is.
        const Uint32 element = seen[0].findProperty(CIMName("AlertingManagedElement"));
        const bool own = c.before.size() == 1 && c.before[0].second == PARTITION;
        EXPECT_EQ(seen[0].getProperty(element).getType(), own ? CIMTYPE_STRING : CIMTYPE_REFERENCE);
    }
    EXPECT_EQ(property(seen[0], "AlertingManagedElement"), PARTITION);
    EXPECT_EQ(text(seen[0].getPath()), "root/velmar_remote:T_Alert");
    EXPECT_EQ(propertyNames(seen[0]),
              "IndicationIdentifier,IndicationTime,SystemName,SystemCreationClassName,"
              "UniqueSystemID,AlertingManagedElement,SenderUUID,Type,Model,SerialNumber,LPARID,"
              "AlertType,AlertingElementFormat,CorrelatedIndications,Description,EventID,EventTime,"
              "OtherAlertType,OtherAlertingElementFormat,OtherSeverity,PerceivedSeverity,"
              "ProbableCause,ProbableCauseDescription,ProviderName,RecommendedActions,Trending,"
              "UUID");
}

TEST_F(IndicationServed, UnknownClassesAndOtherRefusals) {
    start();
    const std::string id = subscribe();
    for (const char* name : {"T_VIOS", "QORP_LPAR_CS"}) {
        site.server.repository().deleteClass(CIMNamespaceName(NAMESPACE), name);
    }
    const std::string unknown = outcome([&] { raise(SENSOR); });
    EXPECT_NE(unknown.find("QORP_LPAR_CS"), std::string::npos) << unknown;
    site.server.unsubscribe(id);
    const Uint32 before = Alerts::_ID;
    EXPECT_EQ(outcome([&] { raise(SENSOR); }), "ok") << "nobody subscribes: nothing is looked up";
    EXPECT_EQ(Alerts::_ID, before);
    EXPECT_EQ(seen.size(), 0u);
}

// A server deletes the handler as soon as disableIndications has returned.
TEST_F(IndicationServed, EnrichedTooLateToBeDelivered) {
    velmar_kit::IndicationRecorder recorder;
    alerts->instead = &recorder;
    start();
    const std::string id = subscribe();
    alerts->before = [&](CIMInstance&) { site.server.unsubscribe(id); };
    raise(SENSOR);
    EXPECT_EQ(recorder.calls, "complete");
}

#ifdef __SANITIZE_THREAD__
const int ALERTS = 100;
#else
const int ALERTS = 1000;
#endif
const int SENDERS = 8;

/// A site that is served by cached providers.
class Served : public testing::Test {
 protected:
    Uint32 subscriptions = 0;
    AlertSite site{new velmar_remote::IndicationMethodProvider("T_Alert", &subscriptions), false};

    Served() {
        site.addTypicalSystem();
        site.element(SENSOR);
        site.server.start();
    }
    ~Served() override { site.server.stop(); }
};

// Nothing is delivered, the caller of "send" sees why, and the identifier is used up.
TEST_F(Served, FailuresReachTheCaller) {
    site.element("QORP_LPAR_CS.Name=\"nowhere\"");
    site.element("QORP_LPAR_CS.Name=\"unruled\"");
    site.element("QOR_MAPAdminDomain.Name=\"yard\"");
    site.component("QOR_MAPAdminDomain.Name=\"yard\"", "QORP_LPAR_CS.Name=\"unruled\"");
    site.component(HALL, "QORP_LPAR_CS.Name=\"ghost\"");
    site.element("QORP_CEC_CS.Name=\"half\"");
    site.element("QOR_PhysicalPackage.Tag=\"half\"", {{"VendorEquipmentType", "9117"}});
    site.component(HALL, "QORP_CEC_CS.Name=\"half\"");
    site.package("QOR_PhysicalPackage.Tag=\"half\"", "QORP_CEC_CS.Name=\"half\"");
    std::vector<CIMInstance> seen;
    site.server.subscribe(QUERY, {NAMESPACE}, [&](const CIMInstance& i) { seen.push_back(i); });
    struct {
        const char* parameter;
        CIMValue value;
        int code;
    } const cases[] = {
        {"AlertingManagedElement", CIMValue(String("QORP_LPAR_CS.Name=\"nowhere\"")), 4},
        {"AlertingManagedElement", CIMValue(String("QORP_LPAR_CS.Name=\"ghost\"")), 6},
        {"AlertingManagedElement", CIMValue(String("QORP_LPAR_CS.Name=\"unruled\"")), 1},
        {"AlertingManagedElement", CIMValue(String("QORP_CEC_CS.Name=\"half\"")), 1},
        {"AlertingManagedElement", CIMValue(path(PARTITION)), 1},
        {"alertingManagedElement", CIMValue(String(PARTITION)), 1},
        {"AlertingManagedElement", CIMValue(String("no path")), 1},
    };
    const Uint32 before = Alerts::_ID;
    Client client;
    Array<CIMParamValue> out;
    for (const auto& c : cases) {
        const Array<CIMParamValue> in(1, CIMParamValue(c.parameter, c.value));
        EXPECT_EQ(code([&] { client.invokeMethod(NAMESPACE, path("T_Alert"), "send", in, out); }),
                  c.code)
            << c.value.toString();
    }
    raise(PARTITION);
    site.server.drain();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(property(seen[0], "IndicationIdentifier"), std::to_string(before + std::size(cases)));
}

// First beside a permanent subscriber, who must get everything; then with none, so that the
// provider is disabled again and again: the sanitizers see a delivery to a handler that has gone.
TEST_F(Served, NothingLostOrDoubledWhileSubscriptionsComeAndGo) {
    const size_t all = SENDERS * ALERTS;
    struct Received {
        std::set<std::string> identifiers;
        Count count;
        void take(const CIMInstance& indication) {
            EXPECT_TRUE(identifiers.insert(property(indication, "IndicationIdentifier")).second);
            count.up();
        }
    } permanent;
    std::atomic<bool> stop{false};
    auto guest = [&](int wanted) {
        Received received;
        const std::string id = site.server.subscribe(
            QUERY, {NAMESPACE}, [&](const CIMInstance& i) { received.take(i); }, all);
        while (!stop && received.count.value() < wanted) {
            std::this_thread::yield();
        }
        site.server.unsubscribe(id);
    };
    const std::string id = site.server.subscribe(
        QUERY, {NAMESPACE}, [&](const CIMInstance& i) { permanent.take(i); }, all);
    std::thread guests([&] {
        while (!stop) {
            guest(10);
        }
    });
    inThreads(SENDERS, [&](int i) {
        for (int n = 0; n < ALERTS; n++) {
            raise(n % 100 == i ? PARTITION : SENSOR);
        }
    });
    stop = true;
    guests.join();
    site.server.drain();
    EXPECT_EQ(permanent.identifiers.size(), all);
    EXPECT_EQ(site.server.indicationCounts().overflowed, 0u);

    site.server.unsubscribe(id);
    EXPECT_EQ(subscriptions, 0u);
    stop = false;
    inThreads(SENDERS + 1, [&](int i) {
        while (i > 0 && !stop) {
            raise(SENSOR);
        }
        for (int round = 0; i == 0 && round < ALERTS / 20; round++) {
            guest(1);
        }
        stop = true;
    });
    EXPECT_EQ(subscriptions, 0u);
}

}  // namespace
