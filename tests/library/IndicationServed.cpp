// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Alerts on their whole way: sendIndication, "send" at the provider, enrichment from the model,
// delivery to subscribers.
#include <gtest/gtest.h>

#include <set>

#include "support/AlertSite.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;

namespace {

const char PARTITION[] = "QORP_LPAR_CS.Name=\"part\"";
const char POINT[] = "QOR_HWCtrlPoint.UUID=\"cp-1\"";
#ifdef __SANITIZE_THREAD__
const int ALERTS = 100;
#else
const int ALERTS = 500;
#endif
const int SENDERS = 8;

class IndicationServed : public testing::Test {
 protected:
    Uint32 subscriptions = 0;
    AlertSite site{new velmar_remote::IndicationMethodProvider("QOR_SiteAlert", &subscriptions)};

    IndicationServed() {
        site.addTypicalSystem();
        site.server.start();
    }
    ~IndicationServed() override { site.server.stop(); }
    std::string subscribe(std::function<void(const CIMInstance&)> subscriber) {
        return site.server.subscribe("SELECT * FROM CIM_AlertIndication", {NAMESPACE},
                                     std::move(subscriber), SENDERS * ALERTS);
    }
};

TEST_F(IndicationServed, EnrichedOnTheirWay) {
    std::vector<CIMInstance> seen;
    subscribe([&](const CIMInstance& i) { seen.push_back(i); });
    raise(POINT);
    EXPECT_EQ(code([] { raise("QORP_CEC_CS.Name=\"astray\""); }), 4) << "in no domain";
    raise(PARTITION);
    site.server.drain();
    ASSERT_EQ(seen.size(), 2u);
    const std::pair<const char*, std::string> expected[] = {{"AlertingManagedElement", PARTITION},
                                                            {"SenderUUID", "cp-1"},
                                                            {"UUID", "(null)"},
                                                            {"Type", "9117"},
                                                            {"Model", "MMC"},
                                                            {"SerialNumber", "06B4"},
                                                            {"LPARID", "3"}};
    for (const auto& [name, value] : expected) {
        EXPECT_EQ(property(seen[1], name), value) << name;
    }
    EXPECT_EQ(property(seen[0], "UUID"), "cp-1");
    // The failed one has used up an identifier.
    EXPECT_EQ(std::stoi(property(seen[1], "IndicationIdentifier")),
              std::stoi(property(seen[0], "IndicationIdentifier")) + 2);
}

// First beside a permanent subscriber, who must get everything; then with none, so that the
// provider is disabled again and again: the sanitizers see a delivery to a handler that has gone.
TEST_F(IndicationServed, NothingLostOrDoubledWhileSubscriptionsComeAndGo) {
    for (const bool permanent : {true, false}) {
        std::set<std::string> identifiers;
        const std::string id = permanent ? subscribe([&](const CIMInstance& alert) {
            EXPECT_TRUE(identifiers.insert(property(alert, "IndicationIdentifier")).second);
        })
                                         : "";
        std::atomic<int> sending{SENDERS};
        inThreads(SENDERS + 1, [&](int i) {
            for (int n = 0; i > 0 && n < ALERTS; n++) {
                raise(n % 100 == i ? PARTITION : POINT);
            }
            while (i == 0 && sending > 0) {
                Count received;
                const std::string guest = subscribe([&](const CIMInstance&) { received.up(); });
                while (received.value() < 5 && sending > 0) {
                    std::this_thread::yield();
                }
                site.server.unsubscribe(guest);
            }
            sending -= i > 0;
        });
        site.server.drain();
        EXPECT_EQ(identifiers.size(), permanent ? size_t(SENDERS * ALERTS) : 0u);
        if (permanent) {
            site.server.unsubscribe(id);
        }
        EXPECT_EQ(subscriptions, 0u);
    }
    EXPECT_EQ(site.server.indicationCounts().overflowed, 0u);
}

}  // namespace
