// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A provider's test with the thread sanitizer, on libraries without: several clients ask a provider
// that counts them, with a lock or, as a mistake to be found, without.
// Usage: races [unlocked]
#include <Common/CachedInstanceProvider.h>
#include <Pegasus/Client/CIMClient.h>
#include <velmar_embedded/Server.h>
#include <velmar_testing/RecordingHandlers.h>

#include <atomic>
#include <mutex>
#include <thread>

using namespace Pegasus;

namespace {

class Counting : public velmar_remote::CachedInstanceProvider {
 public:
    explicit Counting(bool locks) : CachedInstanceProvider("ACME_Fan"), _locks(locks) {}

    void enumerateInstances(const OperationContext&, const CIMObjectPath&, const Boolean,
                            const Boolean, const CIMPropertyList&,
                            InstanceResponseHandler& handler) override {
        // Two threads at least, which nothing orders: the sanitizer finds no race in what happens
        // to come one after the other.
        _come.fetch_add(1, std::memory_order_relaxed);
        while (_come.load(std::memory_order_relaxed) < 2) {
            std::this_thread::yield();
        }
        std::unique_lock<std::mutex> lock(_lock, std::defer_lock);
        if (_locks) {
            lock.lock();
        }
        _asked++;
        handler.processing();
        handler.complete();
    }

 private:
    const bool _locks;
    std::mutex _lock;
    std::atomic<int> _come{0};
    int _asked = 0;
};

}  // namespace

int main(int argc, char**) {
    const CIMNamespaceName nameSpace("root/velmar_remote");
    velmar_embedded::Server server;
    server.compileMofText("root/velmar_remote", R"(
        Qualifier Key : boolean = false, Scope(property), Flavor(DisableOverride, ToSubclass);
        class ACME_Fan { [Key] string Name; };)");
    server.registerProvider(
        "Fans", new Counting(argc == 1),
        {{"ACME_Fan", {"root/velmar_remote"}, {velmar_embedded::ProviderType::Instance}, {}}});
    server.start();
    std::thread clients[4];
    for (std::thread& one : clients) {
        one = std::thread([&nameSpace] {
            CIMClient client;
            client.connectLocal();
            for (int i = 0; i < 100; i++) {
                client.enumerateInstances(nameSpace, CIMName("ACME_Fan"));
            }
        });
    }
    for (std::thread& one : clients) {
        one.join();
    }
    server.stop();
}
