// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Upcalls: their results and errors, the one at a time of a handle, and the ones that would never
// return.
#include <Pegasus/Provider/CIMOMHandle.h>

#include <atomic>

#include "support/ScriptedServer.h"

using namespace support;

namespace {

class Handle : public ScriptedServer {
 protected:
    CIMInstance getThrough(CIMOMHandle& cimom, const std::string& objectPath) {
        return cimom.getInstance(none, ns, path(objectPath), false, false, false, {});
    }
    // An instance provider whose getInstance makes an upcall for another object.
    Scripted* forwarding(const std::string& name, const char* className, const char* next) {
        Scripted* provider = provide(name, {className});
        provider->get = [this, provider, next](const auto&, auto& handler) {
            handler.deliver(getThrough(provider->cimom, next));
        };
        return provider;
    }
};

TEST_F(Handle, ResultsAreWhatWasDelivered) {
    CIMInstance kept = item("//h/root/x:T_A.k=\"1\"", 1);
    std::string given;
    Scripted* provider = provide("P", {"T_A"}, {ProviderType::Instance, ProviderType::Method});
    provider->get = provider->enumerate = [&](const auto& call, auto& handler) {
        given += text(call.path) + " ";
        handler.deliver(kept);
    };
    provider->create = [&](const auto& call, auto& handler) {
        given += text(call.path) + " ";
        handler.deliver(path("//h/root/y:T_A.k=\"9\""));
    };
    provider->invoke = [&](const auto& call, auto& handler) { handler.deliverParamValue(call.in); };
    bool fromHandle = false;
    server.observeArrivals([&](const auto& arrival) { fromHandle = arrival.fromHandle; });
    start();
    client.enumerateInstanceNames(ns, "T_A");  // loads the provider
    CIMOMHandle& cimom = provider->cimom;
    const CIMPropertyList nothing{Array<CIMName>()};
    cimom.getInstance(none, ns, path("//e/root/z:T_A.k=\"1\""), true, false, false, nothing)
        .getProperty(1)
        .setValue(CIMValue(Uint32(2)));
    EXPECT_EQ(property(kept, "n"), "2") << "the delivered object itself";
    EXPECT_TRUE(fromHandle);
    EXPECT_EQ(paths(cimom.enumerateInstances(none, ns, "T_A", false, false, false, false, {})),
              "//h/root/x:T_A.k=\"1\" ");
    EXPECT_EQ(text(cimom.createInstance(none, ns, item("//e/root/z:T_A.k=\"5\""))),
              "//h/root/y:T_A.k=\"9\"");
    EXPECT_EQ(given, full("T_A.k=\"1\"") + " " + full("T_A") + " " + full("T_A.k=\"5\"") + " ");
    Array<CIMParamValue> in(1, CIMParamValue("Small", CIMValue(String("7")), false)), out;
    cimom.invokeMethod(none, ns, path("T_A"), "Do", in, out);
    EXPECT_EQ(out[0].getValue().getType(), CIMTYPE_STRING);

    // Stored instances are cut down to the list.
    cimom.createInstance(none, ns, item("T_Far.k=\"1\""));
    EXPECT_EQ(propertyNames(
                  cimom.getInstance(none, ns, path("T_Far.k=\"1\""), false, false, false, nothing)),
              "");
    EXPECT_EQ(outcome([&] { cimom.getClass(none, ns, "T_No", false, true, true, {}); }), "6 T_No");
}

TEST_F(Handle, OutsideAServer) {
    CIMOMHandle outside;
    start();
    EXPECT_EQ(outcome([&] { getThrough(outside, "T_No.k=\"1\""); }),
              "5 CIM_ERR_INVALID_CLASS: T_No");
    server.stop();
    EXPECT_EQ(code([&] { getThrough(outside, "T_A.k=\"1\""); }), 28);
}

TEST_F(Handle, OneUpcallAtATime) {
    std::atomic<int> inside{0}, most{0};
    Scripted* provider = provide("P", {"T_A"});
    provider->get = [&](const auto& call, auto& handler) {
        most = std::max<int>(most, ++inside);
        std::this_thread::yield();
        inside--;
        handler.deliver(item(text(call.path)));
    };
    start();
    get("T_A.k=\"1\"");
    inThreads(4, [&, cimom = provider->cimom](int) {
        CIMOMHandle copy = cimom;
        for (int j = 0; j < 20; j++) {
            getThrough(copy, "T_A.k=\"1\"");
        }
    });
    EXPECT_EQ(most, 1);
}

TEST_F(Handle, UpcallIntoItselfFails) {
    forwarding("Self", "T_A", "T_B.k=\"1\"");
    forwarding("Other", "T_B", "T_A.k=\"2\"");
    start();
    // Self's upcall leads through Other back to Self, which would need its handle again.
    EXPECT_EQ(outcome([&] { get("T_A.k=\"1\""); }),
              "1 CIM_ERR_FAILED: getInstance would never return: the CIMOMHandle of provider"
              " \"Self\" is busy with getInstance, which waits for this call in turn");
}

TEST_F(Handle, UpcallIntoItselfThroughAFanOut) {
    // One upcall is served by two providers on two threads; the second needs the caller's handle.
    Scripted* caller = provide("Caller", {"T_A"});
    caller->get = [&](const auto&, auto&) {
        caller->cimom.enumerateInstances(none, ns, "T_B", true, false, false, false, {});
    };
    provide("First", {"T_B"});
    provide("Second", {"T_C"})->enumerate = [&](const auto&, auto&) {
        caller->cimom.getClass(none, ns, "T_A", false, true, true, {});
    };
    start();
    const std::string error = outcome([&] { get("T_A.k=\"1\""); });
    EXPECT_NE(error.find("getClass would never return"), std::string::npos) << error;
}

TEST_F(Handle, CrosswiseUpcallsFail) {
    // Two requests: each holds one handle and, two calls further, needs the other's.
    Count holding;
    Scripted* left = forwarding("Left", "T_A", "T_C.k=\"left\"");
    Scripted* right = forwarding("Right", "T_B", "T_C.k=\"right\"");
    provide("Middle", {"T_C"})->get = [&](const auto& call, auto& handler) {
        holding.up();
        holding.waitFor(2);  // both handles are held
        getThrough((call.key() == "left" ? right : left)->cimom, "T_D.k=\"1\"");
        handler.deliver(item(text(call.path)));
    };
    provide("End", {"T_D"});
    start();
    std::string outcomes[2];
    inThreads(2, [&](int i) {
        outcomes[i] = outcome([&] { getApart(i ? "T_B.k=\"1\"" : "T_A.k=\"1\""); });
    });
    // The one that would close the circle fails; that frees the other's way.
    EXPECT_EQ((outcomes[0] == "ok") + (outcomes[1] == "ok"), 1);
    const std::string failed = outcomes[0] == "ok" ? outcomes[1] : outcomes[0];
    EXPECT_NE(failed.find("would never return: the CIMOMHandle of"), std::string::npos) << failed;
}

TEST_F(Handle, UpcallIntoTheOwnInitializeFails) {
    std::string error;
    provide("P", {"T_A"})->onInitialize = [&](CIMOMHandle& cimom) {
        error = outcome([&] { cimom.enumerateInstanceNames(none, ns, "T_A"); });
    };
    start();
    EXPECT_EQ(outcome([&] { client.enumerateInstances(ns, "T_A"); }), "ok");
    EXPECT_EQ(error,
              "1 enumerateInstanceNames would never return: provider \"P\" in its initialize is"
              " busy with enumerateInstances, which waits for this call in turn");
}

TEST_F(Handle, ClientsBreakTheCircle) {
    Scripted* self = provide("Self", {"T_A"});
    self->get = [&](const auto& call, auto& handler) {
        handler.deliver(call.key() == "2" ? item("T_A.k=\"2\"")
                                          : getThrough(self->cimom, "T_B.k=\"1\""));
    };
    std::atomic<bool> again{false};
    provide("Other", {"T_B"})->get = [&](const auto&, auto& handler) {
        handler.deliver(getApart("T_A.k=\"2\""));
        // A request that needs the busy handle just waits: a client gives up in time.
        if (again.exchange(true)) {
            return;
        }
        EXPECT_THROW(getApart("T_A.k=\"1\"", 1), ConnectionTimeoutException);
    };
    start();
    EXPECT_EQ(property(get("T_A.k=\"1\""), "k"), "2");
    server.stop();  // the request that timed out still uses this test's variables
}

}  // namespace
