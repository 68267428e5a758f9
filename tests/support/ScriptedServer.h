// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// An embedded server whose providers do what a test tells them.
#ifndef VELMAR_TESTS_SUPPORT_SCRIPTEDSERVER_H
#define VELMAR_TESTS_SUPPORT_SCRIPTEDSERVER_H

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMIndication.h>
#include <Pegasus/Common/System.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMIndicationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include <velmar_embedded/Server.h>
#include "client/Request.h"
#ifdef VELMAR_TEST_OVER_HTTP
#include <velmar_wire/WireServer.h>
#endif
#include "support/HeldLocks.h"
#include "support/Objects.h"
#include "support/TestObserver.h"

namespace support {

using namespace Pegasus;
using velmar_embedded::ProviderType;
using velmar_embedded::Step;

/// Instances of the classes that every ScriptedServer has.
const std::string A1 = "T_A.k=\"1\"", B1 = "T_B.k=\"1\"", FAR1 = "T_Far.k=\"1\"";

/// What threads wait for: a count that is reached.
class Count {
 public:
    void up() {
        std::lock_guard<std::mutex> guard(_lock);
        _count++;
        _changed.notify_all();
    }
    void waitFor(int count) {
        std::unique_lock<std::mutex> guard(_lock);
        _changed.wait(guard, [&] { return _count >= count; });
    }
    /// For a count that must not be reached: whether it is, within a moment.
    bool reaches(int count) {
        std::unique_lock<std::mutex> guard(_lock);
        return _changed.wait_for(guard, std::chrono::milliseconds(50),
                                 [&] { return _count >= count; });
    }
    int value() const { return _count; }

 private:
    std::mutex _lock;
    std::condition_variable _changed;
    std::atomic<int> _count{0};
};

/// The code of the CIMException that the call throws; -1 without an exception.
inline int code(const std::function<void()>& call) {
    try {
        call();
    } catch (const CIMException& e) {
        return e.getCode();
    }
    return -1;
}

inline CIMObjectPath pathOf(const CIMObjectPath& path) { return path; }
template <class T>
CIMObjectPath pathOf(const T& object) {
    return object.getPath();
}
/// The sorted paths of objects, each with a blank after it.
template <class T>
std::string paths(const Array<T>& objects, bool sorted = true) {
    std::vector<std::string> texts;
    for (Uint32 i = 0; i < objects.size(); i++) {
        texts.push_back(text(pathOf(objects[i])) + " ");
    }
    if (sorted) {
        std::sort(texts.begin(), texts.end());
    }
    return std::accumulate(texts.begin(), texts.end(), std::string());
}

/// T_A.k="1" and the like, with key property k and n.
inline CIMInstance item(const std::string& objectPath, Uint32 n = 0) {
    CIMInstance instance = instanceAt(objectPath);
    add(instance, "k", instance.getPath().getKeyBindings()[0].getValue());
    add(instance, "n", CIMValue(n));
    return instance;
}

/// What a provider was called with, apart from its namespace. For references the association class
/// is that of the call.
typedef velmar_embedded::Request Call;

/// Every operation is a function of a test. One that is not set answers nothing, but getInstance
/// an item at the path asked for.
class Scripted : public CIMInstanceProvider,
                 public CIMMethodProvider,
                 public CIMAssociationProvider {
    typedef const OperationContext& Context;
    typedef const CIMObjectPath& Path;
    typedef const CIMInstance& Instance;
    typedef const CIMPropertyList& List;
    typedef const CIMName& Name;
    typedef const String& Role;
    typedef Boolean Flag;
    typedef InstanceResponseHandler Instances;
    typedef ObjectPathResponseHandler Paths;
    typedef ObjectResponseHandler Objects;
    typedef MethodResultResponseHandler Results;
    typedef velmar_embedded::Operation Is;
    template <class Handler>
    using Answer = std::function<void(const Call&, Handler&)>;

 public:
    std::function<void(CIMOMHandle&)> onInitialize = [](CIMOMHandle&) {};
    std::function<void()> onTerminate = [] {}, onDestroy = [] {};
    std::function<void(const Call&)> onCall = [](const Call&) {};
    Answer<Instances> get = [](const Call& c, Instances& h) { h.deliver(item(text(c.path))); };
    Answer<Instances> enumerate;
    Answer<Paths> names, create, linkPaths;  // those of associators and of references
    Answer<Objects> linkObjects;
    Answer<Results> invoke;
    bool completes = true;
    CIMOMHandle cimom;

    ~Scripted() override { onDestroy(); }
    void initialize(CIMOMHandle& handle) override {
        EXPECT_EQ(heldLocks(), 0);
        cimom = handle;
        onInitialize(handle);
    }
    void terminate() override {
        EXPECT_EQ(heldLocks(), 0);
        onTerminate();
        delete this;
    }

    void getInstance(Context c, Path p, Flag q, Flag o, List l, Instances& h) override {
        run(get, c, Call(Is::GetInstance, {}, p).contents(q, o, l), h);
    }
    void enumerateInstances(Context c, Path p, Flag q, Flag o, List l, Instances& h) override {
        run(enumerate, c, Call(Is::EnumerateInstances, {}, p).contents(q, o, l), h);
    }
    void enumerateInstanceNames(Context c, Path p, Paths& h) override {
        run(names, c, Call(Is::EnumerateInstanceNames, {}, p), h);
    }
    void modifyInstance(Context c, Path p, Instance i, Flag q, List l,
                        ResponseHandler& h) override {
        run(_nothing, c, Call(Is::ModifyInstance, {}, p).contents(q, false, l).object(i), h);
    }
    void createInstance(Context c, Path p, Instance i, Paths& h) override {
        run(create, c, Call(Is::CreateInstance, {}, p).object(i), h);
    }
    void deleteInstance(Context c, Path p, ResponseHandler& h) override {
        run(_nothing, c, Call(Is::DeleteInstance, {}, p), h);
    }
    void invokeMethod(Context c, Path p, Name name, const Array<CIMParamValue>& in,
                      Results& h) override {
        run(invoke, c, Call(Is::InvokeMethod, {}, p).method(name, in), h);
    }
    void associators(Context c, Path p, Name a, Name r, Role n, Role f, Flag q, Flag o, List l,
                     Objects& h) override {
        run(linkObjects, c, Call(Is::Associators, {}, p).association(a, r, n, f).contents(q, o, l),
            h);
    }
    void associatorNames(Context c, Path p, Name a, Name r, Role n, Role f, Paths& h) override {
        run(linkPaths, c, Call(Is::AssociatorNames, {}, p).association(a, r, n, f), h);
    }
    void references(Context c, Path p, Name a, Role n, Flag q, Flag o, List l,
                    Objects& h) override {
        run(linkObjects, c, Call(Is::References, {}, p).association(a, {}, n, {}).contents(q, o, l),
            h);
    }
    void referenceNames(Context c, Path p, Name a, Role n, Paths& h) override {
        run(linkPaths, c, Call(Is::ReferenceNames, {}, p).association(a, {}, n, {}), h);
    }

 private:
    Answer<ResponseHandler> _nothing;

    template <class Handler>
    void run(const Answer<Handler>& operation, Context context, Call call, Handler& handler) {
        EXPECT_EQ(heldLocks(), 0);
        call.context = context;
        onCall(call);
        handler.processing();
        if (operation) {
            operation(call, handler);
        }
        if (completes) {
            handler.complete();
        }
    }
};

/// An indication provider that says what the server does with it: "initialize", "create" and
/// "delete" for subscriptions, "enable", "disable", "terminate".
class Alerts : public CIMIndicationProvider {
    typedef const OperationContext& Context;
    typedef const CIMObjectPath& Path;
    typedef const Array<CIMObjectPath>& Classes;
    typedef const CIMPropertyList& List;

 public:
    std::function<void(const std::string&)> onCall = [](const std::string&) {};
    std::atomic<IndicationResponseHandler*> handler{nullptr};
    // Of the last subscription.
    OperationContext context;
    CIMObjectPath subscription;
    std::string classNames;
    CIMOMHandle cimom;

    void initialize(CIMOMHandle& handle) override {
        cimom = handle;
        called("initialize");
    }
    void terminate() override {
        called("terminate");
        delete this;
    }
    void enableIndications(IndicationResponseHandler& given) override {
        handler = &given;
        called("enable");
    }
    void disableIndications() override { called("disable"); }
    void createSubscription(Context with, Path path, Classes classes, List list,
                            const Uint16) override {
        context = with;
        subscription = path;
        classNames = paths(classes, false);
        called(list.isNull() ? "create" : "create with a list");
    }
    void modifySubscription(Context, Path, Classes, List, const Uint16) override {}
    void deleteSubscription(Context, Path path, Classes classes) override {
        const bool last = path == subscription && paths(classes, false) == classNames;
        called(last ? "delete" : "delete-other");
    }
    /// Delivers indications of this class, one for each text.
    void alert(const std::string& classPath, const std::vector<const char*>& notes = {""}) {
        for (const char* note : notes) {
            CIMInstance indication = instanceAt(classPath);
            add(indication, "Note", note);
            handler.load()->deliver(indication);
        }
    }

 private:
    void called(const char* operation) {
        EXPECT_EQ(heldLocks(), 0) << operation;
        onCall(operation);
    }
};

/// A server with the namespace root/test; start it once the providers are there.
class ScriptedServer : public ::testing::Test {
 protected:
    const CIMNamespaceName ns{"root/test"};
    TestObserver observer;
    velmar_embedded::Server server;
    CIMClient client;
    OperationContext none;

    explicit ScriptedServer(const velmar_embedded::ServerOptions& options = {})
        : server(observer.with(options)) {
        server.compileMofText("root/test", R"(
            Qualifier Key : boolean = false, Scope(property, reference),
                Flavor(DisableOverride, ToSubclass);
            Qualifier Association : boolean = false, Scope(association),
                Flavor(DisableOverride, ToSubclass);
            Qualifier Description : string = null, Scope(any);
            class T_A { [Key, Description("d")] string k; uint32 n; string s;
                        [Description("m")] uint32 Do([Description("p")] uint8 Small,
                            string Text, boolean Flags[], T_A REF Peer, sint8 Numbers[], string Texts[],
                            real32 Ratio, char16 Letter); };
            class T_B : T_A { string extra; };
            class T_C : T_B { };
            class T_D : T_A { string note = "none"; };
            class T_Far { [Key] string k; uint32 n; };
            [Association] class T_Link { [Key] T_A REF Near; [Key] T_Far REF Far; };
            [Association] class T_SubLink : T_Link { };
            [Association] class T_BLink { [Key] T_B REF Near; [Key] T_Far REF Far; };
            [Association] class T_StoredLink { [Key] T_A REF Near; [Key] T_Far REF Far; };
        )");
    }
    void start() {
        server.start();
        connect(client);
    }
    /// Whether the client's requests go over HTTP, as they do in tests that are built for it.
#ifdef VELMAR_TEST_OVER_HTTP
    static constexpr bool overHttp = true;
#else
    static constexpr bool overHttp = false;
#endif
    template <class Client>
    void connect(Client& to) {
#ifdef VELMAR_TEST_OVER_HTTP
        if (!_wire) {
            _wire = std::make_unique<velmar_wire::WireServer>(server);
        }
        to.connect("127.0.0.1", _wire->port(), String(), String());
#else
        to.connectLocal();
#endif
    }
    /// Registers a provider that the server deletes at its stop.
    Scripted* provide(const std::string& name, const std::vector<std::string>& classes,
                      const std::vector<ProviderType>& types = {ProviderType::Instance},
                      const std::vector<std::string>& methods = {}) {
        auto* provider = new Scripted;
        std::vector<velmar_embedded::Capabilities> capabilities;
        for (const std::string& className : classes) {
            capabilities.push_back({className, {"root/test"}, types, methods});
        }
        server.registerProvider(name, provider, capabilities);
        return provider;
    }
    /// "//H/root/test:" before a local path.
    static std::string full(const std::string& localPath, const char* nameSpace = "root/test") {
        return "//" + text(System::getHostName()) + "/" + nameSpace + ":" + localPath;
    }
    CIMInstance get(const std::string& localPath) {
        return client.getInstance(ns, path(localPath));
    }
    /// The same through a client of its own, for other threads and for providers.
    CIMInstance getApart(const std::string& localPath, Uint32 timeout = 20000) {
        CIMClient own;
        connect(own);
        own.setTimeout(timeout);
        return own.getInstance(ns, path(localPath));
    }

#ifdef VELMAR_TEST_OVER_HTTP
 private:
    std::unique_ptr<velmar_wire::WireServer> _wire;
#endif
};

}  // namespace support

#endif
