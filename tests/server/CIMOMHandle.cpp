// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A handle and its copies serve one upcall at a time: those that would wait for themselves.
#include <Pegasus/Provider/CIMOMHandle.h>

#include <atomic>

#include "support/ScriptedServer.h"

using namespace support;

namespace {

class Handle : public ScriptedServer {
 protected:
    CIMInstance getThrough(CIMOMHandle copy, const std::string& objectPath) {
        return copy.getInstance(none, ns, path(objectPath), false, false, false, {});
    }
    // An instance provider whose getInstance makes an upcall for another object.
    Scripted* forwarding(const std::string& name, const char* className, const char* next) {
        Scripted* provider = provide(name, {className});
        provider->get = [this, provider, next](auto&, auto& handler) {
            handler.deliver(getThrough(provider->cimom, next));
        };
        return provider;
    }
};

TEST_F(Handle, UpcallsIntoTheirOwnProviderFail) {
    // Self's upcall leads through Other back to Self, which would need its handle again.
    forwarding("Self", "T_A", "T_D.k=\"1\"");
    forwarding("Other", "T_D", "T_A.k=\"2\"");
    // One upcall is served by two providers on two threads; the second needs the caller's handle.
    Scripted* caller = provide("Caller", {"T_Far"});
    caller->get = [&](auto&, auto&) {
        caller->cimom.enumerateInstances(none, ns, "T_B", true, false, false, false, {});
    };
    provide("First", {"T_B"});
    provide("Second", {"T_C"})->enumerate = [&](auto&, auto&) {
        caller->cimom.getClass(none, ns, "T_A", false, true, true, {});
    };
    std::string inInitialize;
    provide("Early", {"T_Link"})->onInitialize = [&](CIMOMHandle& cimom) {
        inInitialize = outcome([&] { cimom.enumerateInstanceNames(none, ns, "T_Link"); });
    };
    start();
    EXPECT_EQ(outcome([&] { get(A1); }),
              "1 CIM_ERR_FAILED: getInstance would never return: the CIMOMHandle of provider"
              " \"Self\" is busy with getInstance, which waits for this call in turn");
    EXPECT_EQ(outcome([&] { get(FAR1); }),
              "1 CIM_ERR_FAILED: getClass would never return: the CIMOMHandle of provider"
              " \"Caller\" is busy with enumerateInstances, which waits for this call in turn");
    client.enumerateInstances(ns, "T_Link");
    EXPECT_EQ(inInitialize,
              "1 enumerateInstanceNames would never return: provider \"Early\" in its initialize is"
              " busy with enumerateInstances, which waits for this call in turn");
}

TEST_F(Handle, CrosswiseUpcallsFail) {
    // Two requests: each holds one handle and, two calls further, needs the other's.
    Count holding;
    Scripted* left = forwarding("Left", "T_A", "T_C.k=\"left\"");
    Scripted* right = forwarding("Right", "T_B", "T_C.k=\"right\"");
    provide("Middle", {"T_C"})->get = [&](const Call& call, auto& handler) {
        holding.up();
        holding.waitFor(2);  // both handles are held
        const bool fromLeft = text(call.path).find("left") != std::string::npos;
        getThrough((fromLeft ? right : left)->cimom, "T_D.k=\"1\"");
        handler.deliver(item(text(call.path)));
    };
    provide("End", {"T_D"});
    start();
    std::string outcomes[2];
    inThreads(2, [&](int i) { outcomes[i] = outcome([&] { getApart(i ? B1 : A1); }); });
    // The one that would close the circle fails; that frees the other's way.
    EXPECT_EQ((outcomes[0] == "ok") + (outcomes[1] == "ok"), 1);
    EXPECT_NE((outcomes[0] + outcomes[1]).find("would never return: the CIMOMHandle of"),
              std::string::npos);
}

TEST_F(Handle, ClientsBreakTheCircle) {
    Scripted* self = provide("Self", {"T_A"});
    self->get = [&](const Call& call, auto& handler) {
        const bool inner = text(call.path).find('2') != std::string::npos;
        handler.deliver(inner ? item("T_A.k=\"2\"") : getThrough(self->cimom, B1));
    };
    std::atomic<bool> again{false};
    provide("Other", {"T_B"})->get = [&](auto&, auto& handler) {
        handler.deliver(getApart("T_A.k=\"2\""));
        // A request that needs the busy handle just waits: a client gives up in time.
        if (!again.exchange(true)) {
            EXPECT_THROW(getApart(A1, 1), ConnectionTimeoutException);
        }
    };
    start();
    EXPECT_EQ(property(get(A1), "k"), "2");
    server.stop();  // the request that timed out still uses this test's variables
}

}  // namespace
