// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Requests of clients through the embedded server to a cached provider with 100 instances.
#include <benchmark/benchmark.h>

#include "support/LinkServer.h"

using namespace Pegasus;
using namespace support;

namespace {

// A provider whose method does nothing, so that the way there and back is what is measured.
class Tool : public Things {
 public:
    using Things::Things;

 protected:
    CIMValue callMethod(const OperationContext&, const CIMInstance&, const CIMName&,
                        const Array<CIMParamValue>&, Array<CIMParamValue>&) override {
        return CIMValue(Uint32(0));
    }
};

LinkServer& site() {
    static LinkServer* const server = [] {
        LinkServer* s = new LinkServer();
        for (int i = 0; i < 100; i++) {
            s->things->_cache.insert(makeThing(std::to_string(i)));
        }
        Tool* const tool = new Tool("T_Tool");
        tool->_cache.insert(makeThing("42", "T_Tool"));
        s->server.compileMofText(NAMESPACE, "class T_Tool : T_Thing {};");
        s->server.registerProvider(
            "Tools", tool, {{"T_Tool", {NAMESPACE}, {velmar_embedded::ProviderType::Method}, {}}});
        return s;
    }();
    return *server;
}

void GetInstance(benchmark::State& state) {
    site();
    Client client;
    const CIMObjectPath wanted = path(thing("42"));
    for (auto _ : state) {
        benchmark::DoNotOptimize(client.getInstance(NAMESPACE, wanted));
    }
    state.SetItemsProcessed(state.iterations());
}
void EnumerateInstances100(benchmark::State& state) {
    site();
    Client client;
    for (auto _ : state) {
        benchmark::DoNotOptimize(client.enumerateInstances(NAMESPACE, "T_Thing"));
    }
    state.SetItemsProcessed(state.iterations());
}
void InvokeMethod(benchmark::State& state) {
    site();
    Client client;
    const CIMObjectPath wanted = path(thing("42", "T_Tool"));
    const Array<CIMParamValue> in;
    Array<CIMParamValue> out;
    for (auto _ : state) {
        benchmark::DoNotOptimize(client.invokeMethod(NAMESPACE, wanted, "Touch", in, out));
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(GetInstance)->UseRealTime()->Threads(1)->Threads(4);
BENCHMARK(EnumerateInstances100)->UseRealTime()->Threads(1)->Threads(4);
BENCHMARK(InvokeMethod)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
