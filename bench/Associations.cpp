// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The association operations, without a server where none is asked (time per association), and
// through the embedded server.
#include <benchmark/benchmark.h>

#include <velmar_testing/RecordingHandlers.h>
#include "Common/Util.h"
#include "support/LinkServer.h"

using namespace Pegasus;
using namespace support;

namespace {

// Half of the links lead from the hub, the others do not touch it.
void fill(velmar_remote::InstanceCache& cache, int64_t count) {
    for (int64_t i = 0; i < count; i++) {
        const std::string n = std::to_string(i);
        cache.insert(makeLink(full(thing(i % 2 ? "hub" : "other" + n)), full(thing(n))));
    }
}

void AssociatorNames(benchmark::State& state) {
    Links provider("T_Link", "Left", "T_Thing", "Right", "T_Thing");
    fill(provider._cache, state.range(0));
    const CIMObjectPath hub = path(full(thing("hub")));
    for (auto _ : state) {
        velmar_testing::ObjectPathRecorder handler;
        provider.associatorNames(OperationContext(), hub, CIMName(), CIMName(), "", "", handler);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
void ReferenceNames(benchmark::State& state) {
    Links provider("T_Link", "Left", "T_Thing", "Right", "T_Thing");
    fill(provider._cache, state.range(0));
    const CIMObjectPath hub = path(full(thing("hub")));
    for (auto _ : state) {
        velmar_testing::ObjectPathRecorder handler;
        provider.referenceNames(OperationContext(), hub, CIMName(), "", handler);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
// CIM's usual pair of keys, of which one is the same in all ends.
void ReferenceNamesTwoKeys(benchmark::State& state) {
    const auto twoKeys = [](const std::string& name) {
        return full("T_Thing.CreationClassName=\"T_Thing\",Name=\"" + name + "\"");
    };
    Links provider("T_Link", "Left", "T_Thing", "Right", "T_Thing");
    for (int64_t i = 0; i < state.range(0); i++) {
        const std::string n = std::to_string(i);
        provider._cache.insert(makeLink(twoKeys(i % 2 ? "hub" : "other" + n), twoKeys(n)));
    }
    const CIMObjectPath hub = path(twoKeys("hub"));
    for (auto _ : state) {
        velmar_testing::ObjectPathRecorder handler;
        provider.referenceNames(OperationContext(), hub, CIMName(), "", handler);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ReferenceNamesTwoKeys)->Arg(1000);
BENCHMARK(AssociatorNames)->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(ReferenceNames)->Arg(100)->Arg(1000)->Arg(10000);

void AssociatorsKeyedEnds(benchmark::State& state) {
    LinkServer server;
    for (int64_t i = 0; i < state.range(0); i++) {
        server.things->_cache.insert(makeThing(std::to_string(i)));
        server.links->_cache.insert(makeLink(full(thing("hub")), full(thing(std::to_string(i)))));
    }
    Client client;
    for (auto _ : state) {
        benchmark::DoNotOptimize(client.associators(NAMESPACE, path(thing("hub"))));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(AssociatorsKeyedEnds)->UseRealTime()->Arg(10)->Arg(50);

void GetSubclasses50(benchmark::State& state) {
    LinkServer server;
    std::string mof;
    for (int i = 0; i < 50; i++) {
        mof += "class T_Sub" + std::to_string(i) + " : T_Thing { uint32 P; };\n";
    }
    server.server.compileMofText(NAMESPACE, mof);
    Client client;
    client.enumerateInstances(NAMESPACE, "T_Link");  // loads the provider
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            velmar_remote::getSubclasses(server.links->_cimom, OperationContext(), "T_Thing"));
    }
}
BENCHMARK(GetSubclasses50)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
