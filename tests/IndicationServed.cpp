// Alerts on their whole way: sendIndication, "send" at the provider, enrichment from the model,
// delivery to subscribers.
#include <Pegasus/Common/CIMParamValue.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <set>
#include <thread>

#include "support/AlertSite.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;

namespace {

const char PARTITION[] = "QORP_LPAR_CS.Name=\"part\"";
const char HOST[] = "QORP_CEC_CS.Name=\"host\"";
const char SENSOR[] = "T_Sensor.UUID=\"s-1\"";
const char HALL[] = "QOR_MAPAdminDomain.Name=\"hall\"";
const char BOX[] = "QOR_PhysicalPackage.Tag=\"box\"";

/// Sees each indication as the provider hands it over.
class Alerts : public velmar_remote::IndicationMethodProvider {
 public:
    using IndicationMethodProvider::_ID;
    using IndicationMethodProvider::IndicationMethodProvider;

    std::function<void(CIMInstance&)> before;  ///< sets properties before the base class does
    std::function<void()> during;              ///< runs while an alert is being handed over
    std::vector<CIMInstance> handedOver;

    void enableIndications(IndicationResponseHandler& handler) override {
        _tap.reset(new Tap(*this, handler));
        IndicationMethodProvider::enableIndications(*_tap);
    }

 protected:
    Boolean generateIndication(const OperationContext& context, CIMInstance& inst,
                               const Array<CIMParamValue>& parameters) override {
        if (before) {
            before(inst);
        }
        return IndicationMethodProvider::generateIndication(context, inst, parameters);
    }

 private:
    struct Tap : IndicationResponseHandler {
        Tap(Alerts& owner, IndicationResponseHandler& to) : owner(owner), to(to) {}
        void processing() override { to.processing(); }
        void complete() override { to.complete(); }
        void deliver(const CIMIndication& indication) override {
            owner.handedOver.push_back(indication.clone());
            if (owner.during) {
                owner.during();
            }
            to.deliver(indication);
        }
        void deliver(const Array<CIMIndication>& all) override { to.deliver(all); }
        void deliver(const OperationContext& c, const CIMIndication& i) override {
            to.deliver(c, i);
        }
        void deliver(const OperationContext& c, const Array<CIMIndication>& all) override {
            to.deliver(c, all);
        }
        Alerts& owner;
        IndicationResponseHandler& to;
    };
    std::unique_ptr<Tap> _tap;
};

/// A site whose alerts are tapped and kept by a subscriber. Stored, so that enrichment is the only
/// one who asks the server.
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

    /// The last alert's sender, own UUID, type, model, serial number and partition number.
    std::string enriched() {
        site.server.drain();
        if (seen.empty()) {
            return "no alert";
        }
        std::string all;
        for (const char* name : {"SenderUUID", "UUID", "Type", "Model", "SerialNumber", "LPARID"}) {
            all += property(seen.back(), name) + " ";
        }
        return all;
    }
};

std::string shape(const CIMInstance& instance) {
    std::string all;
    for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
        const CIMConstProperty p = instance.getProperty(i);
        all += std::string(p.getValue().isNull() ? "-" : "") + text(p.getName()) + ":" +
               cimTypeToString(p.getType()) + (p.isArray() ? "[] " : " ");
    }
    return all;
}

TEST_F(IndicationServed, CompleteAlertOfAPartition) {
    site.addTypicalSystem();
    start();
    subscribe();
    alerts->before = [](CIMInstance& inst) {
        add(inst, "Own", "not declared");
        add(inst, "PerceivedSeverity", CIMValue(Uint16(6)));
    };
    raise("//elsewhere/root/other:" + std::string(PARTITION));
    EXPECT_EQ(enriched(), "cp-1 (null) 9117 MMC 06B4 3 ");
    EXPECT_EQ(property(seen.back(), "AlertingManagedElement"), PARTITION);
    const std::string begin =
        "IndicationIdentifier:string IndicationTime:datetime SystemName:string "
        "SystemCreationClassName:string UniqueSystemID:string ";
    const std::string rest =
        "PerceivedSeverity:uint16 AlertingManagedElement:reference SenderUUID:string Type:string "
        "Model:string SerialNumber:string LPARID:string -AlertType:uint16 "
        "-AlertingElementFormat:uint16 -CorrelatedIndications:string[] -Description:string "
        "-EventID:string -EventTime:datetime -OtherAlertType:string "
        "-OtherAlertingElementFormat:string -OtherSeverity:string -ProbableCause:uint16 "
        "-ProbableCauseDescription:string -ProviderName:string -RecommendedActions:string[] "
        "-Trending:uint16 -UUID:string ";
    ASSERT_EQ(alerts->handedOver.size(), 1u);
    EXPECT_EQ(shape(alerts->handedOver[0]), begin + "Own:string " + rest);
    EXPECT_EQ(shape(seen[0]), begin + rest);
    EXPECT_EQ(text(seen[0].getPath()), "root/velmar_remote:T_Alert");
}

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
    start();
    subscribe();
    struct {
        const char* element;
        std::vector<std::pair<const char*, const char*>> before;
        const char* enriched;
        int upcalls;
    } const cases[] = {
        {PARTITION, {}, "cp-1 (null) 9117 MMC 06B4 3 ", 10},
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
    };
    for (const auto& one : cases) {
        alerts->before = [&](CIMInstance& inst) {
            for (const auto& p : one.before) {
                add(inst, p.first, p.second);
            }
        };
        upcalls = 0;
        raise(one.element);
        EXPECT_EQ(enriched(), one.enriched) << one.element;
        EXPECT_EQ(upcalls, one.upcalls) << one.element;
    }
    EXPECT_EQ(shape(seen.back()).find("AlertingManagedElement:reference"), std::string::npos)
        << "an override's own stays a string";
}

TEST_F(IndicationServed, FirstOfSeveralCounts) {
    site.addTypicalSystem();
    site.element("QOR_MAPAdminDomain.Name=\"annex\"");
    for (const char* uuid : {"cp-2", "cp-3"}) {
        site.element(std::string("QOR_HWCtrlPoint.UUID=\"") + uuid + "\"");
    }
    site.component("QOR_MAPAdminDomain.Name=\"annex\"", PARTITION);
    site.component("QOR_MAPAdminDomain.Name=\"annex\"", "QOR_HWCtrlPoint.UUID=\"cp-2\"");
    site.component(HALL, "QOR_HWCtrlPoint.UUID=\"cp-3\"");
    site.element("QORP_CEC_CS.Name=\"second\"");
    site.host("QORP_CEC_CS.Name=\"second\"", PARTITION);
    for (const char* tag : {"a", "b"}) {
        const std::string box = std::string("QOR_PhysicalPackage.Tag=\"") + tag + "\"";
        site.element(box, {{"VendorEquipmentType", tag}, {"Model", tag}, {"SerialNumber", tag}});
        site.package(box, tag[0] == 'a' ? HOST : "QORP_CEC_CS.Name=\"second\"");
    }
    start();
    subscribe();
    Client client;
    const CIMNamespaceName ns(NAMESPACE);
    auto first = [&](const CIMObjectPath& of, const char* by, const char* result) {
        const Array<CIMObjectPath> all = client.associatorNames(ns, of, by, result);
        EXPECT_GE(all.size(), 2u) << result;
        return all[0];
    };
    const CIMObjectPath domain =
        first(path(PARTITION), "QOR_SystemComponent", "QOR_MAPAdminDomain");
    const Array<CIMObjectPath> points =
        client.associatorNames(ns, domain, "QOR_SystemComponent", "QOR_HWCtrlPoint");
    const CIMObjectPath host = first(path(PARTITION), "QOR_HostedDependency", "QORP_CEC_CS");
    const CIMObjectPath box =
        client.associatorNames(ns, host, "QOR_ComputerSystemPackage", "QOR_PhysicalPackage")[0];
    raise(PARTITION);
    const CIMInstance package = client.getInstance(ns, box);
    EXPECT_EQ(enriched(), text(points[0].getKeyBindings()[0].getValue()) + " (null) " +
                              property(package, "VendorEquipmentType") + " " +
                              property(package, "Model") + " " + property(package, "SerialNumber") +
                              " 3 ");
}

TEST_F(IndicationServed, UnknownClassesAndOtherRefusals) {
    start();
    const std::string id = subscribe();
    Client client;
    Array<CIMParamValue> none;
    auto send = [&](const char* method) {
        return outcome(
            [&] { client.invokeMethod(NAMESPACE, path("T_Alert"), method, none, none); });
    };
    EXPECT_EQ(send("sendx"), "17 CIM_ERR_METHOD_NOT_FOUND: sendx");
    EXPECT_EQ(outcome([&] {
                  velmar_remote::sendIndication(*std::make_unique<CIMOMHandle>(),
                                                OperationContext(), path(SENSOR),
                                                "CIM_AlertIndication", none);
              }),
              "16 CIM_ERR_METHOD_NOT_AVAILABLE: send");
    site.server.schema().deleteClass(CIMNamespaceName(NAMESPACE), "T_VIOS");
    site.server.schema().deleteClass(CIMNamespaceName(NAMESPACE), "QORP_LPAR_CS");
    const std::string unknown = outcome([&] { raise(SENSOR); });
    EXPECT_NE(unknown.find("QORP_LPAR_CS"), std::string::npos) << unknown;
    site.server.unsubscribe(id);
    const Uint32 before = Alerts::_ID;
    EXPECT_EQ(outcome([&] { raise(SENSOR); }), "ok") << "nobody subscribes: nothing is looked up";
    EXPECT_EQ(Alerts::_ID, before);
    EXPECT_EQ(seen.size(), 0u);
}

// A server deletes the handler as soon as disableIndications has returned.
TEST_F(IndicationServed, DisablingWaitsForADeliveryButNotForEnrichment) {
    start();
    Count enriching, disabled;
    alerts->before = [&](CIMInstance&) {
        enriching.up();
        disabled.waitFor(1);
    };
    std::string id = subscribe();
    std::thread late([&] { raise(SENSOR); });
    enriching.waitFor(1);
    site.server.unsubscribe(id);
    disabled.up();
    late.join();
    EXPECT_EQ(alerts->handedOver.size(), 0u) << "too late to be delivered";

    alerts->before = nullptr;
    Count delivering;
    std::atomic<bool> ended{false};
    alerts->during = [&] {
        delivering.up();
        for (int i = 0; i < 1000 && !ended; i++) {
            std::this_thread::yield();
        }
        EXPECT_FALSE(ended);
    };
    id = subscribe();
    std::thread sender([&] { raise(SENSOR); });
    delivering.waitFor(1);
    site.server.unsubscribe(id);
    ended = true;
    sender.join();
    EXPECT_EQ(alerts->handedOver.size(), 1u);
}

#ifdef __SANITIZE_THREAD__
const int ALERTS = 100;
#else
const int ALERTS = 1000;
#endif
const int SENDERS = 8;

/// What one subscriber got: identifiers, and whether one came twice.
struct Received {
    std::set<std::string> identifiers;
    bool twice = false;
    void take(const CIMInstance& indication) {
        twice |= !identifiers.insert(property(indication, "IndicationIdentifier")).second;
    }
};

class Served : public testing::Test {
 protected:
    Uint32 subscriptions = 0;
    AlertSite site{new velmar_remote::IndicationMethodProvider("T_Alert", &subscriptions), false};
    std::atomic<bool> stop{false};

    Served() {
        site.addTypicalSystem();
        site.element(SENSOR);
        site.server.start();
    }
    ~Served() override { site.server.stop(); }
    std::vector<std::thread> inParallel(const std::function<void(int)>& work) {
        std::vector<std::thread> threads;
        for (int i = 0; i < SENDERS; i++) {
            threads.emplace_back(work, i);
        }
        return threads;
    }
    static void join(std::vector<std::thread>& threads) {
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
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
    site.server.subscribe("SELECT * FROM T_Alert", {NAMESPACE},
                          [&](const CIMInstance& i) { seen.push_back(i); });
    const std::string name = "AlertingManagedElement";
    const std::string mismatch = "1 CIM_ERR_FAILED";
    struct {
        std::string parameter;
        CIMValue value;
        std::string error;
    } const cases[] = {
        {name, CIMValue(String("QORP_LPAR_CS.Name=\"nowhere\"")), "4 CIM_ERR_INVALID_PARAMETER"},
        {name, CIMValue(String("QORP_LPAR_CS.Name=\"ghost\"")), "6 CIM_ERR_NOT_FOUND"},
        {name, CIMValue(String("QORP_LPAR_CS.Name=\"unruled\"")), mismatch},
        {name, CIMValue(String("QORP_CEC_CS.Name=\"half\"")), mismatch},
        {name, CIMValue(path(PARTITION)), mismatch},
        {"alertingManagedElement", CIMValue(String(PARTITION)), mismatch},
        {name, CIMValue(String("no path")), "1 CIM_ERR_FAILED"},
    };
    const Uint32 before = Alerts::_ID;
    Uint32 failures = 0;
    Client client;
    Array<CIMParamValue> out;
    for (const auto& one : cases) {
        const Array<CIMParamValue> in(1, CIMParamValue(one.parameter.c_str(), one.value));
        const std::string result =
            outcome([&] { client.invokeMethod(NAMESPACE, path("T_Alert"), "send", in, out); });
        EXPECT_EQ(result.substr(0, one.error.size()), one.error) << one.value.toString();
        failures++;
    }
    raise(PARTITION);
    site.server.drain();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(property(seen[0], "IndicationIdentifier"), std::to_string(before + failures));
}

TEST_F(Served, NothingLostOrDoubledWhileSubscriptionsComeAndGo) {
    const size_t all = SENDERS * ALERTS;
    const char* const query = "SELECT * FROM T_Alert";
    Received permanent;
    site.server.subscribe(
        query, {NAMESPACE}, [&](const CIMInstance& i) { permanent.take(i); }, all);
    std::vector<std::thread> senders = inParallel([&](int i) {
        for (int n = 0; n < ALERTS; n++) {
            raise(n % 100 == i ? PARTITION : SENSOR);
        }
    });
    std::thread guests([&] {
        while (!stop) {
            Received guest;
            Count got;
            const std::string id = site.server.subscribe(
                query, {NAMESPACE},
                [&](const CIMInstance& indication) {
                    guest.take(indication);
                    got.up();
                },
                all);
            while (!stop && got.value() < 10) {
                std::this_thread::yield();
            }
            site.server.unsubscribe(id);
            EXPECT_FALSE(guest.twice);
        }
    });
    join(senders);
    stop = true;
    guests.join();
    site.server.drain();
    EXPECT_EQ(permanent.identifiers.size(), all);
    EXPECT_FALSE(permanent.twice);
    EXPECT_EQ(site.server.indicationCounts().overflowed, 0u);
}

// The server deletes the handler when disableIndications has returned: the sanitizers see a
// delivery that comes later.
TEST_F(Served, HandlersDieUnderConcurrentSends) {
    std::vector<std::thread> senders = inParallel([&](int) {
        while (!stop) {
            raise(SENSOR);
        }
    });
    for (int round = 0; round < ALERTS / 20; round++) {
        Count got;
        const std::string id = site.server.subscribe("SELECT * FROM T_Alert", {NAMESPACE},
                                                     [&](const CIMInstance&) { got.up(); });
        got.waitFor(1);
        site.server.unsubscribe(id);
    }
    stop = true;
    join(senders);
    const velmar_embedded::IndicationCounts counts = site.server.indicationCounts();
    EXPECT_GE(counts.delivered, static_cast<uint64_t>(ALERTS / 20));
    EXPECT_EQ(subscriptions, 0u);
}

}  // namespace
