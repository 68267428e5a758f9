// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// An embedded server whose providers do what a test tells them, and short names for outcomes.
#ifndef VELMAR_TESTS_SUPPORT_SCRIPTEDSERVER_H
#define VELMAR_TESTS_SUPPORT_SCRIPTEDSERVER_H

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/System.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include <velmar_embedded/Server.h>
#include "support/Objects.h"

namespace support {

using namespace Pegasus;
using velmar_embedded::ProviderType;

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
    int value() const { return _count; }

 private:
    std::mutex _lock;
    std::condition_variable _changed;
    std::atomic<int> _count{0};
};

/// Runs the work on so many threads at once, each with its number.
inline void inThreads(int count, const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; i++) {
        threads.emplace_back(work, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// "ok", or what was thrown: code and message of a CIMException, else the message.
inline std::string outcome(const std::function<void()>& call) {
    try {
        call();
        return "ok";
    } catch (const CIMException& e) {
        return std::to_string(e.getCode()) + " " + text(e.getMessage());
    } catch (const Exception& e) {
        return text(e.getMessage());
    }
}

/// The code of the CIMException that the call throws; -1 without one.
inline int code(const std::function<void()>& call) {
    const std::string result = outcome(call);
    return isdigit(result[0]) ? std::stoi(result) : -1;
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

/// Every operation is a function of a test. One that is not set answers nothing, but getInstance
/// an item at the path asked for.
class Scripted : public CIMInstanceProvider,
                 public CIMMethodProvider,
                 public CIMAssociationProvider {
    typedef const OperationContext& Context;
    typedef const CIMObjectPath& Path;
    typedef const CIMPropertyList& List;
    typedef const CIMName& Name;
    typedef const String& Role;
    typedef ObjectPathResponseHandler Paths;

 public:
    struct Call {  // the arguments that the operations share or have of their own
        CIMObjectPath path;
        CIMPropertyList list = CIMPropertyList();
        CIMInstance instance = CIMInstance();
        CIMName associationClass = CIMName();
        CIMName resultClass = CIMName();
        String role = String();
        String resultRole = String();
        CIMName method = CIMName();
        Array<CIMParamValue> in = Array<CIMParamValue>();

        std::string key() const { return text(path.getKeyBindings()[0].getValue()); }
    };
    template <class Handler>
    using Operation = std::function<void(const Call&, Handler&)>;

    std::function<void(CIMOMHandle&)> onInitialize = [](CIMOMHandle&) {};
    std::function<void()> onTerminate = [] {}, onDestroy = [] {};
    Operation<InstanceResponseHandler> enumerate;
    Operation<InstanceResponseHandler> get = [](const Call& call, InstanceResponseHandler& h) {
        h.deliver(item(text(call.path)));
    };
    Operation<Paths> names, create, associatorPaths, referencePaths;
    Operation<ResponseHandler> modify, remove;
    Operation<ObjectResponseHandler> associatorObjects, referenceObjects;
    Operation<MethodResultResponseHandler> invoke;
    bool completes = true;
    CIMOMHandle cimom;

    ~Scripted() override { onDestroy(); }
    void initialize(CIMOMHandle& handle) override {
        cimom = handle;
        onInitialize(handle);
    }
    void terminate() override {
        onTerminate();
        delete this;
    }

    void getInstance(Context, Path p, Boolean, Boolean, List list,
                     InstanceResponseHandler& h) override {
        run(get, {p, list}, h);
    }
    void enumerateInstances(Context, Path p, Boolean, Boolean, List list,
                            InstanceResponseHandler& h) override {
        run(enumerate, {p, list}, h);
    }
    void enumerateInstanceNames(Context, Path p, Paths& h) override { run(names, {p}, h); }
    void modifyInstance(Context, Path p, const CIMInstance& i, Boolean, List list,
                        ResponseHandler& h) override {
        run(modify, {p, list, i}, h);
    }
    void createInstance(Context, Path p, const CIMInstance& i, Paths& h) override {
        run(create, {p, CIMPropertyList(), i}, h);
    }
    void deleteInstance(Context, Path p, ResponseHandler& h) override { run(remove, {p}, h); }
    void invokeMethod(Context, Path p, Name name, const Array<CIMParamValue>& in,
                      MethodResultResponseHandler& h) override {
        run(invoke, {p, {}, {}, {}, {}, {}, {}, name, in}, h);
    }
    void associators(Context, Path p, Name a, Name r, Role role, Role resultRole, Boolean, Boolean,
                     List list, ObjectResponseHandler& h) override {
        run(associatorObjects, {p, list, {}, a, r, role, resultRole}, h);
    }
    void associatorNames(Context, Path p, Name a, Name r, Role role, Role resultRole,
                         Paths& h) override {
        run(associatorPaths, {p, {}, {}, a, r, role, resultRole}, h);
    }
    void references(Context, Path p, Name r, Role role, Boolean, Boolean, List list,
                    ObjectResponseHandler& h) override {
        run(referenceObjects, {p, list, {}, {}, r, role}, h);
    }
    void referenceNames(Context, Path p, Name r, Role role, Paths& h) override {
        run(referencePaths, {p, {}, {}, {}, r, role}, h);
    }

 private:
    template <class Handler>
    void run(const Operation<Handler>& operation, const Call& call, Handler& handler) {
        handler.processing();
        if (operation) {
            operation(call, handler);
        }
        if (completes) {
            handler.complete();
        }
    }
};

/// A server with the namespace root/test; start it once the providers are there.
class ScriptedServer : public ::testing::Test {
 protected:
    const CIMNamespaceName ns{"root/test"};
    velmar_embedded::Server server;
    CIMClient client;
    OperationContext none;

    ScriptedServer() {
        server.compileMofText("root/test", R"(
            Qualifier Key : boolean = false, Scope(property, reference),
                Flavor(DisableOverride, ToSubclass);
            Qualifier Association : boolean = false, Scope(association),
                Flavor(DisableOverride, ToSubclass);
            Qualifier Description : string = null, Scope(any);
            class T_A { [Key, Description("d")] string k; uint32 n; string s;
                        uint32 Do(uint8 Small, string Text, boolean Flags[], T_A REF Peer,
                                  sint64 Numbers[]); };
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
        client.connectLocal();
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
        own.connectLocal();
        own.setTimeout(timeout);
        return own.getInstance(ns, path(localPath));
    }
};

}  // namespace support

#endif
