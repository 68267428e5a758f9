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

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "server/Server.h"
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
    int value() const {
        std::lock_guard<std::mutex> guard(_lock);
        return _count;
    }

 private:
    mutable std::mutex _lock;
    std::condition_variable _changed;
    int _count = 0;
};

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

/// Every operation is a function of a test; one that is not set answers nothing.
class Scripted : public CIMInstanceProvider,
                 public CIMMethodProvider,
                 public CIMAssociationProvider {
 public:
    struct Call {  // the arguments that the operations share or have of their own
        const OperationContext& context;
        const CIMObjectPath& path;
        CIMPropertyList list = CIMPropertyList();
        CIMInstance instance = CIMInstance();
        CIMName associationClass = CIMName();
        CIMName resultClass = CIMName();
        String role = String();
        String resultRole = String();
    };
    template <class Handler>
    using Operation = std::function<void(const Call&, Handler&)>;

    std::function<void(CIMOMHandle&)> onInitialize;
    std::function<void()> onTerminate, onDestroy;
    Operation<InstanceResponseHandler> get, enumerate;
    Operation<ObjectPathResponseHandler> names, create, associatorPaths, referencePaths;
    Operation<ResponseHandler> modify, remove;
    Operation<ObjectResponseHandler> associatorObjects, referenceObjects;
    std::function<void(const Call&, const CIMName&, const Array<CIMParamValue>&,
                       MethodResultResponseHandler&)>
        invoke;
    CIMOMHandle cimom;

    ~Scripted() override {
        if (onDestroy)
            onDestroy();
    }
    void initialize(CIMOMHandle& handle) override {
        cimom = handle;
        if (onInitialize)
            onInitialize(handle);
    }
    void terminate() override {
        if (onTerminate)
            onTerminate();
        delete this;
    }

    void getInstance(const OperationContext& c, const CIMObjectPath& p, Boolean, Boolean,
                     const CIMPropertyList& list, InstanceResponseHandler& h) override {
        run(get, {c, p, list}, h);
    }
    void enumerateInstances(const OperationContext& c, const CIMObjectPath& p, Boolean, Boolean,
                            const CIMPropertyList& list, InstanceResponseHandler& h) override {
        run(enumerate, {c, p, list}, h);
    }
    void enumerateInstanceNames(const OperationContext& c, const CIMObjectPath& p,
                                ObjectPathResponseHandler& h) override {
        run(names, {c, p}, h);
    }
    void modifyInstance(const OperationContext& c, const CIMObjectPath& p, const CIMInstance& i,
                        Boolean, const CIMPropertyList& list, ResponseHandler& h) override {
        run(modify, {c, p, list, i}, h);
    }
    void createInstance(const OperationContext& c, const CIMObjectPath& p, const CIMInstance& i,
                        ObjectPathResponseHandler& h) override {
        run(create, {c, p, CIMPropertyList(), i}, h);
    }
    void deleteInstance(const OperationContext& c, const CIMObjectPath& p,
                        ResponseHandler& h) override {
        run(remove, {c, p}, h);
    }
    void invokeMethod(const OperationContext& c, const CIMObjectPath& p, const CIMName& name,
                      const Array<CIMParamValue>& in, MethodResultResponseHandler& h) override {
        if (invoke)
            invoke({c, p}, name, in, h);
        else
            h.complete();
    }
    void associators(const OperationContext& c, const CIMObjectPath& p, const CIMName& a,
                     const CIMName& r, const String& role, const String& resultRole, Boolean,
                     Boolean, const CIMPropertyList& list, ObjectResponseHandler& h) override {
        run(associatorObjects, {c, p, list, CIMInstance(), a, r, role, resultRole}, h);
    }
    void associatorNames(const OperationContext& c, const CIMObjectPath& p, const CIMName& a,
                         const CIMName& r, const String& role, const String& resultRole,
                         ObjectPathResponseHandler& h) override {
        run(associatorPaths, {c, p, CIMPropertyList(), CIMInstance(), a, r, role, resultRole}, h);
    }
    void references(const OperationContext& c, const CIMObjectPath& p, const CIMName& r,
                    const String& role, Boolean, Boolean, const CIMPropertyList& list,
                    ObjectResponseHandler& h) override {
        run(referenceObjects, {c, p, list, CIMInstance(), CIMName(), r, role}, h);
    }
    void referenceNames(const OperationContext& c, const CIMObjectPath& p, const CIMName& r,
                        const String& role, ObjectPathResponseHandler& h) override {
        run(referencePaths, {c, p, CIMPropertyList(), CIMInstance(), CIMName(), r, role}, h);
    }

 private:
    template <class Handler>
    static void run(const Operation<Handler>& operation, const Call& call, Handler& handler) {
        handler.processing();
        if (operation)
            operation(call, handler);
        handler.complete();
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

    /// Registers a provider that the server deletes at its stop.
    Scripted* provide(const std::string& name, const std::vector<std::string>& classes,
                      const std::vector<ProviderType>& types = {ProviderType::Instance},
                      const std::vector<std::string>& methods = {}) {
        auto* provider = new Scripted;
        std::vector<velmar_embedded::Capabilities> capabilities;
        for (const std::string& name : classes)
            capabilities.push_back({name, {"root/test"}, types, methods});
        server.registerProvider(name, provider, capabilities);
        return provider;
    }
    void start() {
        server.start();
        client.connectLocal();
    }
    /// "//H/root/test:" before a local path.
    static std::string full(const std::string& localPath, const char* nameSpace = "root/test") {
        return "//" + text(System::getHostName()) + "/" + nameSpace + ":" + localPath;
    }
    CIMInstance get(const std::string& localPath) {
        return client.getInstance(ns, path(localPath));
    }
};

/// T_A.k="1" and the like, with key property k and n.
inline CIMInstance item(const std::string& objectPath, Uint32 n = 0) {
    CIMInstance instance = instanceAt(objectPath);
    add(instance, "k", instance.getPath().getKeyBindings()[0].getValue());
    add(instance, "n", CIMValue(n));
    return instance;
}

}  // namespace support

#endif
