// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Alerts on their whole way: sendIndication, "send" at the provider, enrichment, delivery to
// subscribers.
#include <gtest/gtest.h>

#include <set>

#include "Common/IndicationMethodProvider.h"
#include "Common/Util.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;

namespace {

const char NAMESPACE[] = "root/velmar_remote";

// First beside a permanent subscriber, who must get everything; then with none, so that the
// provider is disabled again and again: the sanitizers see a delivery to a handler that has gone.
TEST(IndicationServed, NothingLostOrDoubledWhileSubscriptionsComeAndGo) {
    const int SENDERS = 8, ALERTS = 100;
    Uint32 subscriptions = 0;
    velmar_embedded::Server server;
    server.compileMof(NAMESPACE, SITE_SCHEMA);
    server.registerProvider(
        "Alerts", new velmar_remote::IndicationMethodProvider("QOR_SiteAlert", &subscriptions),
        {{"QOR_SiteAlert", {NAMESPACE}, {ProviderType::Indication, ProviderType::Method}, {}}});
    server.start();
    const auto subscribe = [&](std::function<void(const CIMInstance&)> subscriber) {
        return server.subscribe("SELECT * FROM CIM_AlertIndication", {NAMESPACE},
                                std::move(subscriber), SENDERS * ALERTS);
    };
    for (const bool permanent : {true, false}) {
        std::set<std::string> identifiers;
        const std::string id = permanent ? subscribe([&](const CIMInstance& alert) {
            EXPECT_TRUE(identifiers.insert(property(alert, "IndicationIdentifier")).second);
            EXPECT_EQ(property(alert, "SenderUUID"), "cp-1");
        })
                                         : "";
        std::atomic<int> sending{SENDERS};
        inThreads(SENDERS + 1, [&](int i) {
            for (int n = 0; i > 0 && n < ALERTS; n++) {
                CIMOMHandle unused;
                Array<CIMParamValue> parameters;
                velmar_remote::sendIndication(unused, OperationContext(),
                                              path("QOR_HWCtrlPoint.UUID=\"cp-1\""),
                                              "QOR_SiteAlert", parameters);
            }
            while (i == 0 && sending > 0) {
                Count received;
                const std::string guest = subscribe([&](const CIMInstance&) { received.up(); });
                while (received.value() < 5 && sending > 0) {
                    std::this_thread::yield();
                }
                server.unsubscribe(guest);
            }
            sending -= i > 0;
        });
        server.drain();
        EXPECT_EQ(identifiers.size(), permanent ? size_t(SENDERS * ALERTS) : 0u);
        if (permanent) {
            server.unsubscribe(id);
        }
        EXPECT_EQ(subscriptions, 0u);
    }
    EXPECT_EQ(server.indicationCounts().overflowed, 0u);
}

}  // namespace
