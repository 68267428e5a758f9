// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the checks cost: requests of a client through the embedded server, with the checks off
// (argument 0) and on (1), to a provider with 100 instances of a class with ten properties.
#include <benchmark/benchmark.h>

#include <memory>

#include "support/LinkServer.h"

using namespace Pegasus;
using namespace support;

namespace {

const char MOF[] = R"(
class B_Item { [Key] string Name; uint32 P1; uint32 P2; uint32 P3; string P4; string P5; string P6;
               datetime P7; uint16 P8; boolean P9; };
)";

CIMInstance makeItem(int number) {
    const std::string name = std::to_string(number);
    CIMInstance instance = instanceAt(full("B_Item.Name=\"" + name + "\""));
    add(instance, "Name", name.c_str());
    for (const char* property : {"P1", "P2", "P3"}) {
        add(instance, property, CIMValue(Uint32(number)));
    }
    for (const char* property : {"P4", "P5", "P6"}) {
        add(instance, property, "some text");
    }
    add(instance, "P7", CIMValue(CIMDateTime::getCurrentDateTime()));
    add(instance, "P8", CIMValue(Uint16(8)));
    add(instance, "P9", CIMValue(Boolean(true)));
    return instance;
}

// Its instances come from the cache, or as new ones, which the checks cannot know already.
class Items : public Things {
 public:
    explicit Items(bool fresh) : Things("B_Item"), _fresh(fresh) {}
    void getInstance(const OperationContext& context, const CIMObjectPath& reference,
                     const Boolean qualifiers, const Boolean origin, const CIMPropertyList& list,
                     InstanceResponseHandler& handler) override {
        if (!_fresh) {
            return Things::getInstance(context, reference, qualifiers, origin, list, handler);
        }
        CIMInstance cached;
        _cache.lookup(reference, cached);
        handler.processing();
        handler.deliver(cached.clone());
        handler.complete();
    }

 private:
    const bool _fresh;
};

// One server at a time.
struct Site {
    Site(bool checks, bool fresh) : server({nullptr, checks}) {
        Items* const items = new Items(fresh);
        for (int i = 0; i < 100; i++) {
            items->_cache.insert(makeItem(i));
        }
        server.compileMofText(NAMESPACE, LINK_MOF);
        server.compileMofText(NAMESPACE, MOF);
        using velmar_embedded::ProviderType;
        server.registerProvider(
            "Items", items,
            {{"B_Item", {NAMESPACE}, {ProviderType::Instance, ProviderType::Method}, {}}});
        server.start();
    }
    velmar_embedded::Server server;
};

void getInstance(benchmark::State& state, bool fresh) {
    static std::unique_ptr<Site> site;
    if (state.thread_index() == 0) {
        site = std::make_unique<Site>(state.range(0) != 0, fresh);
    }
    const CIMObjectPath wanted = path("B_Item.Name=\"42\"");
    std::unique_ptr<Client> client;
    for (auto _ : state) {
        if (!client) {
            client = std::make_unique<Client>();  // once the server is there
        }
        benchmark::DoNotOptimize(client->getInstance(NAMESPACE, wanted));
    }
    state.SetItemsProcessed(state.iterations());
    if (state.thread_index() == 0) {
        client.reset();
        site.reset();
    }
}

void GetInstance(benchmark::State& state) { getInstance(state, false); }
void GetNewInstance(benchmark::State& state) { getInstance(state, true); }

void Enumerate100(benchmark::State& state) {
    Site site(state.range(0) != 0, false);
    Client client;
    for (auto _ : state) {
        benchmark::DoNotOptimize(client.enumerateInstances(NAMESPACE, "B_Item"));
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(GetInstance)
    ->Arg(0)
    ->Arg(1)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Threads(1)
    ->Threads(4);
BENCHMARK(GetNewInstance)->Arg(0)->Arg(1)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(Enumerate100)->Arg(0)->Arg(1)->MeasureProcessCPUTime()->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
