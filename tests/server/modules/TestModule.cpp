// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A provider module as a real one is built: serves one instance. One of its two providers leaves a
// thread behind.
#include <Pegasus/Provider/CIMInstanceProvider.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <future>
#include <string>
#include <thread>

using namespace Pegasus;

namespace {

class ModuleProvider : public CIMInstanceProvider {
 public:
    void initialize(CIMOMHandle&) override { _initialized++; }
    void terminate() override { delete this; }
    void getInstance(const OperationContext&, const CIMObjectPath& path, Boolean, Boolean,
                     const CIMPropertyList&, InstanceResponseHandler& handler) override {
        handler.processing();
        CIMInstance instance(path.getClassName());
        instance.addProperty(CIMProperty("n", CIMValue(_initialized)));
        handler.deliver(instance);
        handler.complete();
    }
    void enumerateInstances(const OperationContext&, const CIMObjectPath&, Boolean, Boolean,
                            const CIMPropertyList&, InstanceResponseHandler&) override {}
    void enumerateInstanceNames(const OperationContext&, const CIMObjectPath&,
                                ObjectPathResponseHandler&) override {}
    void modifyInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&, Boolean,
                        const CIMPropertyList&, ResponseHandler&) override {}
    void createInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&,
                        ObjectPathResponseHandler&) override {}
    void deleteInstance(const OperationContext&, const CIMObjectPath&, ResponseHandler&) override {}

 private:
    Uint32 _initialized = 0;
};

}  // namespace

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& providerName) {
    if (providerName == "Leaver") {
        std::promise<pid_t> started;
        std::thread([&started] {
            started.set_value(gettid());
            while (true) {
                pause();
            }
        }).detach();
        // Of a thread that waits the server can tell where it is.
        const std::string file =
            "/proc/self/task/" + std::to_string(started.get_future().get()) + "/syscall";
        for (int call = -1; call != SYS_pause;) {
            std::ifstream(file) >> call;
        }
    }
    return providerName == "ModuleProvider" || providerName == "Leaver" ? new ModuleProvider : 0;
}
