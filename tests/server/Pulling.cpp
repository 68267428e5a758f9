// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The pull operations, and those on one property, as a client sees them.
#include <map>
#include <memory>

#include "client/ClientConnection.h"
#include "support/ScriptedServer.h"

using namespace support;
using velmar_embedded::Operation;

namespace {

std::string host() { return "//" + text(System::getHostName()) + "/root/test:"; }

class Pulling : public ScriptedServer {
 protected:
    CIMEnumerationContext context;
    Boolean end = false;
    std::string asked;  // properties that a provider was asked for
    Scripted* const items = provide("Items", {"T_A", "T_B"});
    Scripted* const links = provide("Links", {"T_Link"}, {ProviderType::Association});

    Pulling() {
        items->onCall = [this](const Call& call) {
            if (!call.path.getClassName().equal("T_A")) {
                return;  // asked for on another thread
            }
            asked = call.propertyList.isNull() ? "all" : "";
            for (Uint32 i = 0; i < call.propertyList.size(); i++) {
                asked += text(call.propertyList[i]) + " ";
            }
        };
        items->enumerate = [](const Call& call, InstanceResponseHandler& handler) {
            for (Uint32 n = 1; text(call.path.getClassName()) == "T_A" && n <= 3; n++) {
                handler.deliver(item("T_A.k=\"" + std::to_string(n) + "\"", n));
            }
        };
        items->names = [](const Call& call, ObjectPathResponseHandler& handler) {
            handler.deliver(
                CIMObjectPath(text(call.path.getClassName()).c_str() + String(".k=\"1\"")));
        };
        links->linkObjects = [](const Call&, ObjectResponseHandler& handler) {
            handler.deliver(CIMObject(item("T_Far.k=\"f\"")));
        };
        links->linkPaths = [](const Call&, ObjectPathResponseHandler& handler) {
            handler.deliver(CIMObjectPath("T_Far.k=\"f\""));
        };
    }
    void TearDown() override { client.disconnect(); }

    Array<CIMInstance> open(Uint32 most, const char* filter = "",
                            const CIMPropertyList& list = CIMPropertyList(),
                            const Uint32Arg& timeout = Uint32Arg(), const char* language = "") {
        return client.openEnumerateInstances(context, end, ns, "T_A", true, false, list,
                                             *filter && !*language ? "DMTF:FQL" : language, filter,
                                             timeout, false, most);
    }
    std::string opened(const char* filter) { return paths(open(10, filter)); }
};

TEST_F(Pulling, ObjectsComeWithTheirPathsInPieces) {
    start();
    EXPECT_EQ(open(0).size(), 0u);
    EXPECT_EQ(client.enumerationCount(context).getValue(), 3u);
    EXPECT_EQ(paths(client.pullInstancesWithPath(context, end, 2)),
              host() + "T_A.k=\"1\" " + host() + "T_A.k=\"2\" ");
    EXPECT_FALSE(end);
    EXPECT_EQ(client.enumerationCount(context).getValue(), 1u);
    EXPECT_EQ(paths(client.pullInstancesWithPath(context, end, 2)), host() + "T_A.k=\"3\" ");
    EXPECT_TRUE(end);
    EXPECT_EQ(code([&] { client.pullInstancesWithPath(context, end, 1); }),
              CIM_ERR_INVALID_ENUMERATION_CONTEXT);

    EXPECT_EQ(client.openEnumerateInstancePaths(context, end, ns, "T_A").size(), 0u);
    EXPECT_EQ(paths(client.pullInstancePaths(context, end, 9)),
              host() + "T_A.k=\"1\" " + host() + "T_B.k=\"1\" ");
    const CIMObjectPath a("T_A.k=\"1\"");
    const std::string far = host() + "T_Far.k=\"f\" ";
    const Uint32Arg unsaid;
    EXPECT_EQ(paths(client.openAssociatorInstances(context, end, ns, a, "T_Link", {}, "", "", false,
                                                   {}, "DMTF:FQL", "n = 0", unsaid, false, 9)),
              far);
    EXPECT_EQ(paths(client.openAssociatorInstancePaths(context, end, ns, a, "T_Link", {}, "", "",
                                                       "", "", unsaid, false, 9)),
              far);
    EXPECT_EQ(paths(client.openReferenceInstances(context, end, ns, a, "T_Link", "Near", false, {},
                                                  "DMTF:FQL", "n = 1", unsaid, false, 9)),
              "");
    EXPECT_EQ(paths(client.openReferenceInstancePaths(context, end, ns, a, "T_Link", "Near", "", "",
                                                      unsaid, false, 9)),
              far);
    EXPECT_TRUE(end);
    EXPECT_EQ(code([&] { client.openReferenceInstances(context, end, ns, CIMObjectPath("T_A")); }),
              CIM_ERR_INVALID_PARAMETER);
}

TEST_F(Pulling, AFilterIsACondition) {
    start();
    EXPECT_EQ(opened("n >= 2 AND NOT k = '3'"), host() + "T_A.k=\"2\" ");
    EXPECT_EQ(opened("missing = 1 OR n = 1"), "");
    EXPECT_EQ(asked, "all");
    // The provider is asked for what the filter needs, the client gets what it asked for.
    Array<CIMName> names;
    names.append("k");
    const Array<CIMInstance> filtered = open(10, "n = 3", CIMPropertyList(names));
    EXPECT_EQ(asked, "k n ");
    ASSERT_EQ(filtered.size(), 1u);
    EXPECT_EQ(filtered[0].getPropertyCount(), 1u);
    EXPECT_EQ(paths(client.openEnumerateInstancePaths(context, end, ns, "T_A", "DMTF:FQL", "n < 2",
                                                      Uint32Arg(), false, 9)),
              host() + "T_A.k=\"1\" ");
    for (const char* query : {"n", "n = 1)", "n LIKE '1'", "SELECT * FROM T_A", " "}) {
        EXPECT_EQ(code([&] { opened(query); }), CIM_ERR_INVALID_QUERY) << query;
    }
    EXPECT_EQ(code([&] { open(1, "n = 1", {}, {}, "DMTF:CQL"); }),
              CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED);
    EXPECT_EQ(code([&] { open(1, "", {}, {}, "DMTF:FQL"); }), CIM_ERR_FAILED);
}

TEST_F(Pulling, WhatIsNotAllowedIsRefused) {
    start();
    for (const Uint32 seconds : {0u, 91u}) {
        EXPECT_EQ(code([&] { open(1, "", {}, seconds); }), CIM_ERR_INVALID_OPERATION_TIMEOUT);
    }
    EXPECT_EQ(code([&] { open(10'001); }), CIM_ERR_INVALID_PARAMETER);
    EXPECT_EQ(code([&] {
                  client.openEnumerateInstances(context, end, ns, "T_A", true, false, {}, "", "",
                                                {}, true);
              }),
              CIM_ERR_NOT_SUPPORTED);
    open(1);
    EXPECT_EQ(code([&] { client.pullInstancesWithPath(context, end, 10'001); }),
              CIM_ERR_INVALID_PARAMETER);
    EXPECT_EQ(code([&] { client.pullInstancePaths(context, end, 1); }), CIM_ERR_FAILED);
    EXPECT_EQ(code([&] { client.pullInstancesWithPath(context, end, 1); }),
              CIM_ERR_INVALID_ENUMERATION_CONTEXT);
    open(1);
    CIMEnumerationContext closed = context;
    client.closeEnumeration(context);
    EXPECT_EQ(code([&] { client.closeEnumeration(closed); }), CIM_ERR_INVALID_ENUMERATION_CONTEXT);
    EXPECT_EQ(code([&] {
                  for (int i = 0; i <= 100; i++) {
                      open(1);
                  }
              }),
              CIM_ERR_SERVER_LIMITS_EXCEEDED);
}

TEST_F(Pulling, EnumerationsEndByTimeAndByStop) {
    start();
    open(1, "", {}, 90);
    const CIMEnumerationContext lasting = context;
    open(1, "", {}, 1);
    int ended = -1;
    while (ended == -1) {
        ended = code([&] { client.enumerationCount(context); });
    }
    EXPECT_EQ(ended, CIM_ERR_INVALID_ENUMERATION_CONTEXT);
    context = lasting;
    EXPECT_EQ(client.pullInstancesWithPath(context, end, 0).size(), 0u);
    server.stop();
    EXPECT_NE(outcome([&] { client.pullInstancesWithPath(context, end, 1); }), "ok");
}

TEST_F(Pulling, EachObjectIsPulledOnceByManyClients) {
    items->enumerate = [](const Call& call, InstanceResponseHandler& handler) {
        for (Uint32 n = 0; text(call.path.getClassName()) == "T_A" && n < 1000; n++) {
            handler.deliver(item("T_A.k=\"" + std::to_string(n) + "\"", n));
        }
    };
    start();
    open(0);
    std::mutex lock;
    std::map<std::string, int> pulled;
    inThreads(4, [&](int) {
        CIMClient own;
        connect(own);
        CIMEnumerationContext shared = context;
        Boolean isLast = false;
        const std::string outcomeOfAll = outcome([&] {
            while (!isLast) {
                const auto piece = own.pullInstancesWithPath(shared, isLast, 7);
                const std::lock_guard<std::mutex> guard(lock);
                for (Uint32 i = 0; i < piece.size(); i++) {
                    pulled[text(piece[i].getPath())]++;
                }
            }
        });
        EXPECT_TRUE(isLast || outcomeOfAll.rfind("21 ", 0) == 0) << outcomeOfAll;
    });
    EXPECT_EQ(pulled.size(), 1000u);
    for (const auto& [path, times] : pulled) {
        EXPECT_EQ(times, 1) << path;
    }
}

TEST_F(Pulling, OnePropertyIsAskedForAndSetThroughItsInstance) {
    CIMInstance modified;
    items->onCall = [&modified, note = items->onCall](const Call& call) {
        note(call);
        modified = call.instance;
    };
    start();
    velmar_embedded::ClientConnection connection;
    connect(connection);
    const auto ask = [&](Operation operation, const char* property,
                         const CIMValue& value = CIMValue()) {
        velmar_embedded::Request request(operation, ns, CIMObjectPath("T_A.k=\"1\""));
        request.propertyName = CIMName(property);
        request.propertyValue = value;
        asked.clear();
        String returned;
        const std::string ending =
            outcome([&] { returned = connection.exchange(request).returnValue.toString(); });
        return ending + " " + text(returned);
    };
    EXPECT_EQ(ask(Operation::GetProperty, "N"), "ok 0");
    EXPECT_EQ(asked, "N ");
    EXPECT_EQ(ask(Operation::GetProperty, "z"), "12 CIM_ERR_NO_SUCH_PROPERTY: z ");
    EXPECT_EQ(ask(Operation::SetProperty, "N", String("7")), "ok ");
    EXPECT_EQ(asked, "N ");
    EXPECT_EQ(text(modified.getPath()), "T_A.k=\"1\"");
    EXPECT_EQ(modified.getProperty(0).getValue(), CIMValue(Uint32(7)));
    EXPECT_EQ(ask(Operation::SetProperty, "n", String("x")),
              "13 CIM_ERR_TYPE_MISMATCH: n: expected uint32, got \"x\" ");
    EXPECT_EQ(ask(Operation::SetProperty, "n", Array<String>(2, "1")).substr(0, 3), "13 ");
    EXPECT_EQ(ask(Operation::SetProperty, "z", String("x")), "12 CIM_ERR_NO_SUCH_PROPERTY: z ");
    EXPECT_EQ(asked, "");
}

}  // namespace
