// Upcalls: their results and errors, the one at a time of a handle, and the ones that would never
// return.
#include <Pegasus/Provider/CIMOMHandle.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "support/ScriptedServer.h"

using namespace support;

namespace {

class Handle : public ScriptedServer {
 protected:
    // Runs a test's code inside an operation of a provider of its own.
    void inProvider(const std::function<void(CIMOMHandle&)>& code) {
        Scripted* caller = provide("Caller", {"T_D"}, {ProviderType::Method});
        caller->invoke = [caller, &code](const auto&, const CIMName&, const auto&, auto& handler) {
            code(caller->cimom);
            handler.complete();
        };
        start();
        invokeCaller();
    }
    void invokeCaller() {
        Array<CIMParamValue> out;
        client.invokeMethod(ns, path("T_D"), "x", Array<CIMParamValue>(), out);
    }
    CIMInstance getThrough(CIMOMHandle& cimom, const std::string& objectPath) {
        return cimom.getInstance(none, ns, path(objectPath), false, false, false, {});
    }
    // An instance provider whose getInstance makes an upcall for another object.
    Scripted* forwarding(const std::string& name, const std::string& className,
                         const std::string& next) {
        Scripted* provider = provide(name, {className});
        provider->get = [this, provider, next](const auto&, auto& handler) {
            handler.deliver(getThrough(provider->cimom, next));
        };
        return provider;
    }
};

TEST_F(Handle, ResultsAreWhatWasDelivered) {
    CIMInstance kept = item("//h/root/x:T_A.k=\"1\"", 1);
    Scripted* provider = provide("P", {"T_A"}, {ProviderType::Instance, ProviderType::Method});
    CIMInstance received;
    std::string given;
    provider->get = provider->enumerate = [&](const auto& call, auto& handler) {
        given += text(call.path) + " ";
        handler.deliver(kept);
    };
    provider->create = [&](const auto& call, auto& handler) {
        given += text(call.path) + " ";
        received = call.instance;
        handler.deliver(path("//h/root/y:T_A.k=\"9\""));
    };
    provider->invoke = [&](const auto&, const CIMName&, const auto& in, auto& handler) {
        handler.deliver(CIMValue(Uint32(in.size())));
        handler.deliverParamValue(in);
        handler.complete();
    };
    bool fromHandle = false;
    server.observeArrivals([&](const auto& arrival) { fromHandle = arrival.fromHandle; });
    inProvider([&](CIMOMHandle& cimom) {
        Array<CIMName> empty;
        cimom
            .getInstance(none, ns, path("//e/root/z:T_A.k=\"1\""), true, false, false,
                         CIMPropertyList(empty))
            .getProperty(1)
            .setValue(CIMValue(Uint32(2)));
        EXPECT_EQ(property(kept, "n"), "2") << "the delivered object itself";
        EXPECT_TRUE(fromHandle);
        const Array<CIMInstance> all =
            cimom.enumerateInstances(none, ns, "T_A", false, false, false, false, {});
        ASSERT_EQ(all.size(), 1u);
        EXPECT_EQ(text(all[0].getPath()), "//h/root/x:T_A.k=\"1\"");
        EXPECT_EQ(text(cimom.createInstance(none, ns, item("//e/root/z:T_A.k=\"5\""))),
                  "//h/root/y:T_A.k=\"9\"");
        EXPECT_EQ(text(received.getPath()), "//e/root/z:T_A.k=\"5\"");
        EXPECT_EQ(given, full("T_A.k=\"1\"") + " " + full("T_A") + " " + full("T_A.k=\"5\"") + " ");

        Array<CIMParamValue> in, out;
        in.append(CIMParamValue("Small", CIMValue(String("7")), false));
        EXPECT_EQ(cimom.invokeMethod(none, ns, path("T_A"), "Do", in, out), CIMValue(Uint32(1)));
        EXPECT_EQ(out[0].getValue().getType(), CIMTYPE_STRING);
        EXPECT_EQ(cimom.enumerateClasses(none, ns, "T_A", true, false, true, true).size(), 3u);
        EXPECT_EQ(cimom.enumerateClassNames(none, ns, "T_A", false).size(), 2u);

        // Stored instances are cut down to the list.
        cimom.createInstance(none, ns, item("T_Far.k=\"1\""));
        EXPECT_EQ(propertyNames(cimom.getInstance(none, ns, path("T_Far.k=\"1\""), false, false,
                                                  false, CIMPropertyList(empty))),
                  "");
        EXPECT_EQ(cimom.enumerateInstanceNames(none, ns, "T_Far").size(), 1u);
        cimom.deleteInstance(none, ns, path("T_Far.k=\"1\""));

        EXPECT_EQ(outcome([&] { cimom.getClass(none, ns, "T_No", false, true, true, {}); }),
                  "6 T_No");
        EXPECT_EQ(outcome([&] { cimom.enumerateInstanceNames(none, ns, "T_No"); }), "5 T_No");
        EXPECT_EQ(outcome([&] {
                      cimom.associatorNames(none, ns, CIMObjectPath(), CIMName(), CIMName(), "",
                                            "");
                  }),
                  "4 ");
    });
}

TEST_F(Handle, OutsideAServer) {
    CIMOMHandle outside;
    CIMOMHandle copy(outside);
    EXPECT_THROW(outside.enumerateClassNames(none, ns, CIMName(), true), CannotConnectException);
    copy.disallowProviderUnload();
    copy.allowProviderUnload();
    provide("P", {"T_A"})->get = [&](const auto&, auto& handler) {
        handler.deliver(item("//h/root/x:T_A.k=\"1\""));
    };
    start();
    EXPECT_EQ(text(getThrough(copy, "T_A.k=\"1\"").getPath()), "T_A");
    EXPECT_EQ(outcome([&] { getThrough(copy, "T_No.k=\"1\""); }), "5 CIM_ERR_INVALID_CLASS: T_No");
    server.stop();
    EXPECT_EQ(outcome([&] { getThrough(copy, "T_A.k=\"1\""); }).substr(0, 2), "28");
    EXPECT_THROW(getThrough(outside, "T_A.k=\"1\""), CannotConnectException);
}

TEST_F(Handle, OneUpcallAtATime) {
    std::atomic<int> inside{0}, most{0};
    provide("Target", {"T_A"})->get = [&](const auto& call, auto& handler) {
        most = std::max<int>(most, ++inside);
        std::this_thread::yield();
        inside--;
        handler.deliver(item(text(call.path)));
    };
    inProvider([&](CIMOMHandle& cimom) {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; i++) {
            threads.emplace_back([this, copy = cimom]() mutable {
                for (int j = 0; j < 20; j++)
                    getThrough(copy, "T_A.k=\"1\"");
            });
        }
        for (std::thread& thread : threads)
            thread.join();
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
    EXPECT_NE(error.find("busy with enumerateInstances"), std::string::npos) << error;
}

TEST_F(Handle, CrosswiseUpcallsFail) {
    // Two requests: each holds one handle and, two calls further, needs the other's.
    Count holding;
    Scripted* left = forwarding("Left", "T_A", "T_C.k=\"left\"");
    Scripted* right = forwarding("Right", "T_B", "T_C.k=\"right\"");
    provide("Middle", {"T_C"})->get = [&](const auto& call, auto& handler) {
        holding.up();
        holding.waitFor(2);  // both handles are held
        const bool fromLeft = call.path.getKeyBindings()[0].getValue() == String("left");
        CIMOMHandle& crossed = fromLeft ? right->cimom : left->cimom;
        getThrough(crossed, "T_D.k=\"1\"");
        handler.deliver(item(text(call.path)));
    };
    provide("End", {"T_D"})->get = [&](const auto& call, auto& handler) {
        handler.deliver(item(text(call.path)));
    };
    start();
    std::string outcomes[2];
    std::thread other([&] {
        CIMClient own;
        own.connectLocal();
        outcomes[1] = outcome([&] { own.getInstance(ns, path("T_B.k=\"1\"")); });
    });
    outcomes[0] = outcome([&] { get("T_A.k=\"1\""); });
    other.join();
    // The one that would close the circle fails; that frees the other's way.
    EXPECT_EQ((outcomes[0] == "ok") + (outcomes[1] == "ok"), 1);
    const std::string& failed = outcomes[outcomes[0] == "ok" ? 1 : 0];
    EXPECT_NE(failed.find("getInstance would never return: the CIMOMHandle of provider \""),
              std::string::npos)
        << failed;
}

TEST_F(Handle, UpcallIntoTheOwnInitializeFails) {
    std::string error;
    Scripted* provider = provide("P", {"T_A"});
    provider->onInitialize = [&](CIMOMHandle& cimom) {
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
        if (call.path.getKeyBindings()[0].getValue() == String("2"))
            return handler.deliver(item("T_A.k=\"2\""));
        handler.deliver(getThrough(self->cimom, "T_B.k=\"1\""));
    };
    std::atomic<bool> again{false};
    provide("Other", {"T_B"})->get = [&](const auto&, auto& handler) {
        CIMClient own;
        own.connectLocal();
        handler.deliver(own.getInstance(ns, path("T_A.k=\"2\"")));
        if (again.exchange(true))
            return;
        // A request that needs the busy handle just waits: a client gives up in time.
        own.setTimeout(1);
        EXPECT_THROW(own.getInstance(ns, path("T_A.k=\"1\"")), ConnectionTimeoutException);
    };
    start();
    EXPECT_EQ(property(get("T_A.k=\"1\""), "k"), "2");
    server.stop();  // the request that timed out still uses this test's variables
}

}  // namespace
