// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Grouping 1,000 systems by their hardware control points, through the embedded server.
#include <benchmark/benchmark.h>

#include "Common/Util.h"
#include "support/ComponentServer.h"

using namespace Pegasus;
using namespace support;

namespace {

const int SYSTEMS = 1000;

void GroupByHCP(benchmark::State& state) {
    const int points = static_cast<int>(state.range(0));
    ComponentServer server;
    for (int i = 0; i < points; i++) {
        server.addPoint(std::to_string(i), "D" + std::to_string(i));
    }
    for (int i = 0; i < SYSTEMS; i++) {
        server.addSystem("S" + std::to_string(i), "D" + std::to_string(i % points));
    }
    for (auto _ : state) {
        Array<Array<CIMInstance>> groups;
        Array<CIMInstance> ungrouped;
        benchmark::DoNotOptimize(velmar_remote::groupByHCP(server.cimom(), OperationContext(),
                                                           server.systems, groups, ungrouped));
        if (groups.size() != static_cast<Uint32>(points) || ungrouped.size() != 0) {
            state.SkipWithError("wrong groups");
        }
    }
    state.SetItemsProcessed(state.iterations() * SYSTEMS);
}
BENCHMARK(GroupByHCP)->UseRealTime()->Unit(benchmark::kMillisecond)->Arg(1)->Arg(10)->Arg(100);

}  // namespace

BENCHMARK_MAIN();
