// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Life cycle of server and providers, loading and registration, threads, shutdown.
#include <velmar_embedded/Server.h>

#include <dlfcn.h>

#include <stdexcept>

#include "support/ScriptedServer.h"

using namespace support;
using velmar_embedded::MofError;

namespace {

class Server : public ScriptedServer {};

TEST_F(Server, LifeCycle) {
    EXPECT_THROW(client.connectLocal(), CannotConnectException);
    EXPECT_THROW(client.getClass(ns, "T_A"), NotConnectedException);
    std::string calls;
    Scripted* provider = provide("P", {"T_A"});
    provider->onInitialize = [&](CIMOMHandle&) { calls += "initialize "; };
    provider->onTerminate = [&] { calls += "terminate "; };
    // No request asks for the other: it is deleted, not driven.
    Scripted* idle = provide("Idle", {"T_B"});
    idle->onInitialize = [&](CIMOMHandle&) { calls += "driven "; };
    idle->onTerminate = [&] { calls += "driven "; };
    idle->onDestroy = [&] { calls += "deleted "; };
    server.stop();  // not started: quiet, and no end
    start();
    EXPECT_THROW(client.connectLocal(), AlreadyConnectedException);
    velmar_embedded::Server second;
    EXPECT_THROW(second.start(), std::logic_error);
    EXPECT_EQ(calls, "");
    get("T_A.k=\"1\"");
    get("T_A.k=\"2\"");
    server.stop();
    EXPECT_EQ(calls, "initialize terminate deleted ");
    EXPECT_EQ(code([&] { get("T_A.k=\"1\""); }), 28);
    EXPECT_THROW(CIMClient().connectLocal(), CannotConnectException);
    EXPECT_THROW(server.start(), std::logic_error);
    EXPECT_NO_THROW(second.start());
}

TEST_F(Server, FirstRequestsWaitForOneInitializeAndRunAtOnce) {
    const int threads = 8;
    Count arrived, inside;
    int initialized = 0;
    std::vector<int> seen(threads);
    std::vector<std::thread::id> workers(threads);
    server.observeArrivals([&](const velmar_embedded::Arrival&) { arrived.up(); });
    Scripted* provider = provide("P", {"T_A", "T_B"});
    provider->onInitialize = [&](CIMOMHandle&) {
        arrived.waitFor(threads);
        for (int i = 0; i < 1000; i++) {  // the others get to wait for this
            std::this_thread::yield();
        }
        initialized++;
    };
    provider->get = [&](const auto& call, auto& handler) {
        seen[std::stoi(call.key())] = initialized;
        workers[std::stoi(call.key())] = std::this_thread::get_id();
        inside.up();
        inside.waitFor(threads);
        handler.deliver(item(text(call.path)));
    };
    start();
    inThreads(threads, [&](int i) {
        getApart((i % 2 ? "T_A.k=\"" : "T_B.k=\"") + std::to_string(i) + "\"");
        EXPECT_NE(workers[i], std::this_thread::get_id());
    });
    EXPECT_EQ(seen, std::vector<int>(threads, 1));
}

TEST_F(Server, FailedInitializeStartsOver) {
    int made = 0, terminated = 0;
    auto make = [&] {
        auto* provider = new Scripted;
        if (made++ == 0) {
            provider->onInitialize = [](CIMOMHandle&) { throw std::runtime_error("no"); };
        }
        provider->onTerminate = [&] { terminated++; };
        return provider;
    };
    server.registerProvider("P", make, {{"T_A", {"root/test"}, {ProviderType::Instance}, {}}});
    start();
    EXPECT_EQ(outcome([&] { get("T_A.k=\"1\""); }),
              "1 CIM_ERR_FAILED: provider initialization failed");
    EXPECT_EQ(terminated, 1);
    EXPECT_EQ(outcome([&] { get("T_A.k=\"1\""); }), "ok");
    EXPECT_EQ(made, 2);
    server.stop();
    EXPECT_EQ(terminated, 2);
}

TEST_F(Server, OperationWithoutItsInterface) {
    struct Bare : CIMProvider {
        void initialize(CIMOMHandle&) override {}
        void terminate() override { delete this; }
    };
    server.registerProvider("Bare", new Bare,
                            {{"T_A", {"root/test"}, {ProviderType::Instance}, {}}});
    start();
    EXPECT_EQ(code([&] { get("T_A.k=\"1\""); }), 7);
}

// Instances of the registration classes; ' stands for ".
std::string registration(const std::string& kind, std::string properties) {
    std::replace(properties.begin(), properties.end(), '\'', '"');
    return "instance of PG_" + kind + " { " + properties + " };";
}
std::string module(const std::string& name, const std::string& location,
                   const std::string& interface = "C++Default") {
    return registration("ProviderModule", "Vendor = 'V'; Version = '1'; InterfaceVersion = '2';" +
                                              (" Name = '" + name) + "'; Location = '" + location +
                                              "'; InterfaceType = '" + interface + "';");
}
std::string provider(const std::string& name, const std::string& module = "M") {
    return registration("Provider",
                        "ProviderModuleName = '" + module + "'; Name = '" + name + "';");
}
std::string capabilities(const std::string& provider, const std::string& className,
                         const std::string& types = "{2}", const std::string& module = "M") {
    return registration("ProviderCapabilities",
                        "Namespaces = {'root/test'}; ProviderModuleName = '" + module +
                            "'; CapabilityID = '" + className + "'; ProviderName = '" + provider +
                            "'; ClassName = '" + className + "'; ProviderType = " + types + ";");
}

TEST_F(Server, LoadsModulesByRegistration) {
    server.addProviderDirectory("/nonexistent");
    server.addProviderDirectory(TEST_MODULE_DIR);
    // A registration counts once, whatever is compiled after it.
    server.compileMofText("root/PG_InterOp", module("M", "TestModule") +
                                                 provider("ModuleProvider") +
                                                 capabilities("ModuleProvider", "T_A"));
    server.compileMofText("root/PG_InterOp", provider("Unknown") + capabilities("Unknown", "T_B") +
                                                 module("Gone", "NoModule") +
                                                 provider("P", "Gone") +
                                                 capabilities("P", "T_C", "{2}", "Gone"));
    const char* const file = TEST_MODULE_DIR "/libTestModule.so";
    start();
    EXPECT_EQ(dlopen(file, RTLD_NOW | RTLD_NOLOAD), nullptr);
    EXPECT_EQ(property(get("T_A.k=\"1\""), "n"), "1");
    EXPECT_EQ(property(get("T_A.k=\"1\""), "n"), "1");
    const std::string errors =
        outcome([&] { get("T_B.k=\"1\""); }) + outcome([&] { get("T_C.k=\"1\""); });
    for (const char* reason : {"know the provider Unknown",
                               "libNoModule.so is not found: it is in none of the folders "
                               "/nonexistent, " TEST_MODULE_DIR}) {
        EXPECT_NE(errors.find(reason), std::string::npos) << errors;
    }
    server.stop();
    if (TEST_SHARED) {  // the loader keeps a module that brings its own copy of the SDK
        EXPECT_EQ(dlopen(file, RTLD_NOW | RTLD_NOLOAD), nullptr) << "library still open";
    }
}

TEST_F(Server, RefusedRegistrations) {
    provide("InProcess", {"T_C"});
    server.compileMofText("root/PG_InterOp", module("M", "TestModule") + provider("P"));
    struct {
        std::string text, property, detail;
    } const cases[] = {
        {"instance of PG_ProviderModule { Name = \"X\"; };", "PG_ProviderModule", "Vendor"},
        {module("X", "L", "CMPI"), "InterfaceType", "\"CMPI\""},
        {provider("P", "Y"), "ProviderModuleName", "\"Y\""},
        {capabilities("Q", "T_A"), "ProviderName", "\"Q\""},
        {capabilities("P", "T_A", "{2, 9}"), "ProviderType", "9 is none of"},
        {capabilities("P", "T_A", "NULL"), "ProviderType", "no value"},
        {capabilities("P", "1A"), "ClassName", "1A"},
        {capabilities("P", "T_C"), "T_C", "already served by provider InProcess"},
    };
    for (const auto& one : cases) {
        try {
            server.compileMofText("root/PG_InterOp", one.text, "bad.mof");
            ADD_FAILURE() << "accepted: " << one.text;
        } catch (const MofError& e) {
            EXPECT_EQ(e.file(), "bad.mof");
            EXPECT_NE(e.reason().find(one.property), std::string::npos) << e.what();
            EXPECT_NE(e.reason().find(one.detail), std::string::npos) << e.what();
        }
    }
    // A refused one does not stay in the way of the next.
    server.compileMofText("root/PG_InterOp", capabilities("P", "T_A"));
}

TEST_F(Server, TimedOutOperationGoesOnAndShutdownWaits) {
    Count begun, mayEnd;
    std::string upcall, order;
    Scripted* provider = provide("P", {"T_A"});
    provider->get = [&](const auto& call, auto& handler) {
        begun.up();
        mayEnd.waitFor(1);
        upcall = outcome([&] { provider->cimom.getClass(none, ns, "T_A", false, true, true, {}); });
        order += "operation ";
        handler.deliver(item(text(call.path)));
    };
    provider->onTerminate = [&] { order += "terminate"; };
    start();
    client.setTimeout(1);
    EXPECT_EQ(client.getTimeout(), 1u);
    EXPECT_THROW(get("T_A.k=\"1\""), ConnectionTimeoutException);
    begun.waitFor(1);
    std::thread stopping([&] { server.stop(); });
    // The end has begun once nobody can connect any more.
    while (outcome([&] { CIMClient().connectLocal(); }) == "ok") {
        std::this_thread::yield();
    }
    int refused;
    while ((refused = code([&] { client.enumerateClassNames(ns); })) == -1) {
        std::this_thread::yield();
    }
    EXPECT_EQ(refused, 28);
    mayEnd.up();
    stopping.join();
    EXPECT_EQ(upcall, "ok") << "a running operation may finish its work";
    EXPECT_EQ(order, "operation terminate");
}

}  // namespace
