// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Life cycle of server and providers, loading and registration, threads, shutdown.
#include <velmar_embedded/Server.h>

#include <dlfcn.h>

#include <stdexcept>

#include "support/ScriptedServer.h"

using namespace support;

namespace {

class Server : public ScriptedServer {};

TEST_F(Server, LifeCycle) {
    EXPECT_THROW(client.connectLocal(), CannotConnectException);
    EXPECT_THROW(client.getClass(ns, "T_A"), NotConnectedException);
    CIMOMHandle own;  // as a program's: a client that connects by itself
    const auto ask = [&] { own.getClass(none, ns, "T_No", false, true, true, {}); };
    EXPECT_THROW(ask(), CannotConnectException);
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
    EXPECT_EQ(outcome(ask), "6 CIM_ERR_NOT_FOUND: T_No");
    velmar_embedded::Server second;
    EXPECT_THROW(second.start(), std::logic_error);
    EXPECT_EQ(calls, "");
    second.stop();  // leaves the started one alone
    CIMClient().connectLocal();
    get(A1);
    get("T_A.k=\"2\"");
    server.stop();
    EXPECT_EQ(calls, "initialize terminate deleted ");
    EXPECT_EQ(code([&] { get(A1); }), CIM_ERR_SERVER_IS_SHUTTING_DOWN);
    EXPECT_EQ(code(ask), CIM_ERR_SERVER_IS_SHUTTING_DOWN);
    EXPECT_THROW(CIMClient().connectLocal(), CannotConnectException);
    EXPECT_THROW(server.start(), std::logic_error);
    EXPECT_NO_THROW(second.start());
    EXPECT_EQ(outcome(ask), "3 CIM_ERR_INVALID_NAMESPACE: root/test") << "the next server's";
}

TEST_F(Server, FirstRequestsWaitForOneInitializeAndRunAtOnce) {
    const int threads = 8;
    Count arrived, initialized, inside;
    observer.begin = [&](const Step& step) {
        if (step.kind == Step::Kind::Request) {
            arrived.up();
        }
    };
    Scripted* provider = provide("P", {"T_A", "T_B"});
    provider->onInitialize = [&](CIMOMHandle&) {
        arrived.waitFor(threads);
        EXPECT_FALSE(inside.reaches(1)) << "not while it is initialized";
        initialized.up();
    };
    provider->get = [&](const Call& call, auto& handler) {
        inside.up();
        inside.waitFor(threads);
        handler.deliver(item(text(call.path)));
    };
    start();
    inThreads(threads, [&](int i) { getApart(i % 2 ? A1 : B1); });
    EXPECT_EQ(initialized.value(), 1);
}

TEST_F(Server, ProvidersThatCannotServe) {
    int made = 0, terminated = 0;
    const auto make = [&] {
        auto* provider = new Scripted;
        if (made++ == 0) {
            provider->onInitialize = [](CIMOMHandle&) { throw std::runtime_error("no"); };
        }
        provider->onTerminate = [&] { terminated++; };
        return provider;
    };
    struct Bare : CIMProvider {
        void initialize(CIMOMHandle&) override {}
        void terminate() override { delete this; }
    };
    server.registerProvider("P", make, {{"T_A", {"root/test"}, {ProviderType::Instance}, {}}});
    server.registerProvider("Bare", new Bare,
                            {{"T_B", {"root/test"}, {ProviderType::Instance}, {}}});
    start();
    EXPECT_EQ(outcome([&] { get(A1); }), "1 provider initialization failed");
    EXPECT_EQ(terminated, 1);
    EXPECT_EQ(outcome([&] { get(A1); }), "ok") << "with a new object";
    EXPECT_EQ(code([&] { get(B1); }), CIM_ERR_NOT_SUPPORTED);
    server.stop();
    EXPECT_EQ(made + terminated, 4);
}

// Instances of the registration classes; ' stands for ".
std::string registration(const std::string& kind, std::string properties) {
    std::replace(properties.begin(), properties.end(), '\'', '"');
    return "instance of PG_" + kind + " { " + properties + " };";
}
std::string module(const std::string& name, const std::string& location,
                   const std::string& interface = "C++Default") {
    return registration("ProviderModule",
                        "Description = 'd'; UserContext = 2; ModuleGroupName = "
                        "'G'; Vendor = 'V'; Version = '1'; InterfaceVersion = '2';" +
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
                        "Caption = 'c'; Namespaces = {'root', 'root/test'}; "
                        "ProviderModuleName = '" +
                            module + "'; CapabilityID = '" + className + "'; ProviderName = '" +
                            provider + "'; ClassName = '" + className +
                            "'; SupportedMethods = {'Do'};" + " ProviderType = " + types + ";");
}

TEST_F(Server, LoadsModulesByRegistration) {
    server.addProviderDirectory("/nonexistent");
    server.addProviderDirectory(TEST_MODULE_DIR);
    std::string problems;
    Count reported;
    observer.problem = [&](const std::string& problem) {
        problems += problem;
        reported.up();
    };
    // A registration counts once, whatever is compiled after it.
    server.compileMofText("root/PG_InterOp",
                          module("M", "TestModule") + provider("ModuleProvider") +
                              capabilities("ModuleProvider", "T_A", "{2, 5, 6}"));
    server.compileMofText("root/PG_InterOp", provider("Unknown") + capabilities("Unknown", "T_B") +
                                                 module("Gone", "NoModule") +
                                                 provider("P", "Gone") +
                                                 capabilities("P", "T_C", "{2}", "Gone"));
    reported.waitFor(1);
    EXPECT_EQ(problems,
              "provider \"ModuleProvider\", class T_A: this server does not use it as indication "
              "consumer (ProviderType 6)");
    const char* const file = TEST_MODULE_DIR "/libTestModule.so";
    start();
    EXPECT_EQ(dlopen(file, RTLD_NOW | RTLD_NOLOAD), nullptr);
    for (int i = 0; i < 2; i++) {
        EXPECT_EQ(property(get(A1), "n"), "1") << "initialized once";
    }
    const auto invoke = [&](const char* method) {
        Array<CIMParamValue> out;
        return code([&] { client.invokeMethod(ns, path("T_A"), method, {}, out); });
    };
    EXPECT_EQ(invoke("Do"), CIM_ERR_NOT_SUPPORTED);  // by the object
    EXPECT_EQ(invoke("Other"), CIM_ERR_METHOD_NOT_AVAILABLE);
    const std::string errors = outcome([&] { get(B1); }) + outcome([&] { get("T_C.k=\"1\""); });
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
    const struct {
        std::string mof, property, detail;
    } cases[] = {
        {registration("ProviderModule", "Name = 'X';"), "PG_ProviderModule", "Vendor"},
        {module("X", "L", "CMPI"), "InterfaceType", "\"CMPI\""},
        {provider("P", "Y"), "ProviderModuleName", "\"Y\""},
        {capabilities("Q", "T_A"), "ProviderName", "\"Q\""},
        {capabilities("P", "T_A", "{2, 8}"), "ProviderType", "8 is unknown"},
        {capabilities("P", "T_A", "{1}"), "ProviderType", "1 is unknown"},
        {capabilities("P", "T_A", "{}"), "ProviderType", "is empty"},
        {capabilities("P", "T_A", "NULL"), "ProviderType", "no value"},
        {capabilities("P", "1A"), "ClassName", "1A"},
        {capabilities("P", "T_C"), "T_C", "already served by provider InProcess"},
    };
    for (const auto& one : cases) {
        const std::string error =
            outcome([&] { server.compileMofText("root/PG_InterOp", one.mof, "bad.mof"); });
        for (const std::string& part : {std::string("bad.mof:"), one.property, one.detail}) {
            EXPECT_NE(error.find(part), std::string::npos) << error;
        }
    }
    // A refused one does not stay in the way of the next, nor registers a part of it.
    server.compileMofText("root/PG_InterOp", capabilities("P", "T_A"));
    server.compileMofText("root/PG_InterOp", capabilities("P", "T_C", "{5}"));
}

TEST_F(Server, TimedOutOperationGoesOnAndShutdownWaits) {
    Count begun, mayEnd;
    std::string upcall, order;
    Scripted* provider = provide("P", {"T_A"});
    provider->get = [&](const Call& call, auto& handler) {
        begun.up();
        mayEnd.waitFor(1);
        upcall = outcome([&] { provider->cimom.getClass(none, ns, "T_A", false, true, true, {}); });
        order += "operation ";
        handler.deliver(item(text(call.path)));
    };
    provider->onTerminate = [&] { order += "terminate"; };
    start();
    client.setTimeout(1);
    EXPECT_THROW(get(A1), ConnectionTimeoutException);
    client.setTimeout(20000);
    begun.waitFor(1);
    std::thread stopping([&] { server.stop(); });
    int refused = -1;
    while (refused == -1) {  // the end has not begun
        refused = code([&] { client.enumerateClassNames(ns); });
    }
    EXPECT_EQ(refused, CIM_ERR_SERVER_IS_SHUTTING_DOWN);
    mayEnd.up();
    stopping.join();
    EXPECT_EQ(upcall, "ok") << "a running operation may finish its work";
    EXPECT_EQ(order, "operation terminate");
}

}  // namespace
