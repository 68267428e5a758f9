// Life cycle of server and providers, loading and registration, threads, shutdown.
#include "server/Server.h"

#include <dlfcn.h>

#include <stdexcept>
#include <thread>

#include "support/ScriptedServer.h"

using namespace support;
using velmar_embedded::MofError;

namespace {

class Server : public ScriptedServer {};

void inParallel(int threads, const std::function<void(int)>& work) {
    std::vector<std::thread> running;
    for (int i = 0; i < threads; i++)
        running.emplace_back(work, i);
    for (std::thread& thread : running)
        thread.join();
}

TEST_F(Server, LifeCycle) {
    EXPECT_THROW(client.connectLocal(), CannotConnectException);
    EXPECT_THROW(client.getClass(ns, "T_A"), NotConnectedException);
    std::string calls;
    Scripted* provider = provide("P", {"T_A"});
    provider->onInitialize = [&](CIMOMHandle&) { calls += "initialize "; };
    provider->get = [&](const auto& call, auto& handler) {
        calls += "get ";
        handler.deliver(item(text(call.path)));
    };
    provider->onTerminate = [&] { calls += "terminate"; };
    server.stop();  // not started: quiet, and no end
    start();
    EXPECT_THROW(client.connectLocal(), AlreadyConnectedException);
    EXPECT_THROW(client.connect("localhost", 5988, "", ""), AlreadyConnectedException);
    velmar_embedded::Server second;
    EXPECT_THROW(second.start(), std::logic_error);
    EXPECT_EQ(calls, "");
    get("T_A.k=\"1\"");
    get("T_A.k=\"2\"");
    client.disconnect();
    client.disconnect();
    EXPECT_THROW(get("T_A.k=\"1\""), NotConnectedException);
    client.connectLocal();
    server.stop();
    EXPECT_EQ(calls, "initialize get get terminate");
    EXPECT_EQ(outcome([&] { get("T_A.k=\"1\""); }).substr(0, 2), "28");
    EXPECT_THROW(CIMClient().connectLocal(), CannotConnectException);
    EXPECT_THROW(server.start(), std::logic_error);
    EXPECT_NO_THROW(second.start());
}

TEST_F(Server, FirstRequestsWaitForOneInitialize) {
    const int threads = 8;
    Count arrived;
    int initialized = 0;
    Scripted* provider = provide("P", {"T_A", "T_B"});
    provider->onInitialize = [&](CIMOMHandle&) {
        arrived.waitFor(threads);
        initialized++;
    };
    std::vector<int> seen(threads);
    server.observeArrivals([&](const velmar_embedded::Arrival&) { arrived.up(); });
    provider->get = [&](const auto& call, auto& handler) {
        seen[std::stoi(text(call.path.getKeyBindings()[0].getValue()))] = initialized;
        handler.deliver(item(text(call.path)));
    };
    start();
    inParallel(threads, [&](int i) {
        CIMClient own;
        own.connectLocal();
        own.getInstance(ns, path((i % 2 ? "T_A.k=\"" : "T_B.k=\"") + std::to_string(i) + "\""));
    });
    EXPECT_EQ(seen, std::vector<int>(threads, 1));
}

TEST_F(Server, FailedInitializeStartsOver) {
    int made = 0, terminated = 0;
    server.registerProvider("P",
                            [&] {
                                auto* provider = new Scripted;
                                made++;
                                provider->onInitialize = [&](CIMOMHandle&) {
                                    if (made == 1)
                                        throw std::runtime_error("no");
                                };
                                provider->onTerminate = [&] { terminated++; };
                                return provider;
                            },
                            {{"T_A", {"root/test"}, {ProviderType::Instance}, {}}});
    start();
    EXPECT_EQ(outcome([&] { client.enumerateInstances(ns, "T_A"); }),
              "1 CIM_ERR_FAILED: provider initialization failed");
    EXPECT_EQ(terminated, 1);
    EXPECT_EQ(outcome([&] { client.enumerateInstances(ns, "T_A"); }), "ok");
    EXPECT_EQ(made, 2);
    server.stop();
    EXPECT_EQ(terminated, 2);
}

TEST_F(Server, ObjectWithoutRequestIsDeletedNotDriven) {
    bool deleted = false, driven = false;
    Scripted* provider = provide("P", {"T_A"});
    provider->onInitialize = [&](CIMOMHandle&) { driven = true; };
    provider->onTerminate = [&] { driven = true; };
    provider->onDestroy = [&] { deleted = true; };
    start();
    server.stop();
    EXPECT_TRUE(deleted);
    EXPECT_FALSE(driven);
}

TEST_F(Server, OperationWithoutItsInterface) {
    struct Bare : CIMProvider {
        void initialize(CIMOMHandle&) override {}
        void terminate() override { delete this; }
    };
    const auto all = {ProviderType::Instance, ProviderType::Method, ProviderType::Association};
    server.registerProvider("Bare", new Bare,
                            {{"T_A", {"root/test"}, all, {}}, {"T_Link", {"root/test"}, all, {}}});
    start();
    Array<CIMParamValue> out;
    const CIMObjectPath one = path("T_A.k=\"1\"");
    for (const auto& call : std::vector<std::function<void()>>{
             [&] { client.getInstance(ns, one); },
             [&] { client.enumerateInstanceNames(ns, "T_A"); },
             [&] { client.invokeMethod(ns, one, "Do", Array<CIMParamValue>(), out); },
             [&] { client.referenceNames(ns, one); }})
        EXPECT_EQ(outcome(call).substr(0, 2), "7 ");
}

const char* const module =
    "instance of PG_ProviderModule { Name = \"M\"; Vendor = \"V\"; Version = \"1\";"
    " InterfaceType = \"C++Default\"; InterfaceVersion = \"2.6.0\"; Location = \"TestModule\"; };";

std::string provider(const char* name) {
    return std::string("instance of PG_Provider { ProviderModuleName = \"M\"; Name = \"") + name +
           "\"; };";
}

std::string capabilities(const char* provider, const char* className, const char* types = "{2}") {
    return std::string("instance of PG_ProviderCapabilities { ProviderModuleName = \"M\";") +
           " CapabilityID = \"" + className + "\"; Namespaces = {\"root/test\"};" +
           " ProviderName = \"" + provider + "\"; ClassName = \"" + className +
           "\"; ProviderType = " + types + "; };";
}

TEST_F(Server, LoadsModuleByRegistration) {
    server.addProviderDirectory("/nonexistent");
    server.addProviderDirectory(TEST_MODULE_DIR);
    // A registration counts once, whatever is compiled after it.
    server.compileMofText("root/PG_InterOp", module + provider("ModuleProvider") +
                                                 capabilities("ModuleProvider", "T_A"));
    server.compileMofText("root/PG_InterOp", provider("Unknown") + capabilities("Unknown", "T_B"));
    const char* const file = TEST_MODULE_DIR "/libTestModule.so";
    start();
    EXPECT_EQ(dlopen(file, RTLD_NOW | RTLD_NOLOAD), nullptr);
    EXPECT_EQ(property(get("T_A.k=\"1\""), "n"), "1");
    EXPECT_EQ(property(get("T_A.k=\"1\""), "n"), "1");
    const std::string unknown = outcome([&] { get("T_B.k=\"1\""); });
    EXPECT_EQ(unknown.substr(0, 2), "1 ");
    EXPECT_NE(unknown.find("Unknown"), std::string::npos) << unknown;
    server.stop();
    EXPECT_EQ(dlopen(file, RTLD_NOW | RTLD_NOLOAD), nullptr) << "library still open";
}

TEST_F(Server, MissingLibraryNamesFile) {
    server.addProviderDirectory("/nonexistent");
    server.compileMofText("root/PG_InterOp", module + provider("ModuleProvider") +
                                                 capabilities("ModuleProvider", "T_A"));
    start();
    const std::string error = outcome([&] { get("T_A.k=\"1\""); });
    EXPECT_EQ(error.substr(0, 2), "1 ");
    EXPECT_NE(error.find("/nonexistent/libTestModule.so: cannot open"), std::string::npos) << error;
}

TEST_F(Server, RefusedRegistrations) {
    provide("InProcess", {"T_C"});
    server.compileMofText("root/PG_InterOp", module + provider("P"));
    struct {
        std::string text;
        std::vector<const char*> fragments;
    } const cases[] = {
        {"instance of PG_ProviderModule { Name = \"X\"; };", {"PG_ProviderModule", "Vendor"}},
        {"instance of PG_ProviderModule { Name = \"X\"; Vendor = \"V\"; Version = \"1\";"
         " InterfaceType = \"CMPI\"; InterfaceVersion = \"2\"; Location = \"L\"; };",
         {"InterfaceType", "\"CMPI\""}},
        {"instance of PG_Provider { ProviderModuleName = \"Y\"; Name = \"P\"; };", {"\"Y\""}},
        {capabilities("Q", "T_A"), {"ProviderName", "\"Q\""}},
        {capabilities("P", "T_A", "{2, 9}"), {"ProviderType", "9 is none of"}},
        {capabilities("P", "T_A", "NULL"), {"ProviderType", "no value"}},
        {capabilities("P", "1A"), {"ClassName", "1A"}},
        {capabilities("P", "T_C"), {"T_C", "already served by provider InProcess"}},
    };
    for (const auto& one : cases) {
        try {
            server.compileMofText("root/PG_InterOp", one.text, "bad.mof");
            ADD_FAILURE() << "accepted: " << one.text;
        } catch (const MofError& e) {
            EXPECT_EQ(e.file(), "bad.mof");
            for (const char* fragment : one.fragments)
                EXPECT_NE(e.reason().find(fragment), std::string::npos) << e.what();
        }
    }
    // A refused one does not stay in the way of the next.
    server.compileMofText("root/PG_InterOp", capabilities("P", "T_A"));
}

TEST_F(Server, RequestsRunAtOnceOffTheCallersThread) {
    const int threads = 16;
    Count inside;
    std::vector<std::thread::id> workers(threads);
    Scripted* provider = provide("P", {"T_A"});
    provider->get = [&](const auto& call, auto& handler) {
        workers[std::stoi(text(call.path.getKeyBindings()[0].getValue()))] =
            std::this_thread::get_id();
        inside.up();
        inside.waitFor(threads);
        handler.deliver(item(text(call.path)));
    };
    start();
    inParallel(threads, [&](int i) {
        CIMClient own;
        own.connectLocal();
        own.getInstance(ns, path("T_A.k=\"" + std::to_string(i) + "\""));
        EXPECT_NE(workers[i], std::this_thread::get_id());
    });
}

TEST_F(Server, ReentrantRequestsThroughClients) {
    Scripted* provider = provide("P", {"T_A"});
    provider->get = [&](const auto& call, auto& handler) {
        const int depth = std::stoi(text(call.path.getKeyBindings()[0].getValue()));
        CIMInstance instance = item(text(call.path), depth);
        if (depth > 0) {
            CIMClient own;
            own.connectLocal();
            const CIMInstance inner =
                own.getInstance(ns, path("T_A.k=\"" + std::to_string(depth - 1) + "\""));
            Uint32 sum = 0;
            inner.getProperty(inner.findProperty("n")).getValue().get(sum);
            instance.getProperty(1).setValue(CIMValue(Uint32(sum + depth)));
        }
        handler.deliver(instance);
    };
    start();
    EXPECT_EQ(property(get("T_A.k=\"30\""), "n"), "465");
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
    while (outcome([&] { CIMClient().connectLocal(); }) == "ok")
        std::this_thread::yield();
    std::string refused;
    while ((refused = outcome([&] { client.enumerateClassNames(ns); })) == "ok")
        std::this_thread::yield();
    EXPECT_EQ(refused.substr(0, 2), "28");
    mayEnd.up();
    stopping.join();
    EXPECT_EQ(upcall, "ok") << "a running operation may finish its work";
    EXPECT_EQ(order, "operation terminate");
}

}  // namespace
