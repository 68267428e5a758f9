// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Grouping 1,000 systems by their hardware control points, through the embedded server.
#include <benchmark/benchmark.h>

#include "AlertSite.h"
#include "Common/Util.h"

using namespace Pegasus;
using namespace support;

namespace {

const int SYSTEMS = 1000;

void GroupByHCP(benchmark::State& state) {
    const int points = static_cast<int>(state.range(0));
    AlertSite site(new velmar_remote::IndicationMethodProvider("QOR_SiteAlert", nullptr));
    const auto domain = [](int i) {
        return "QOR_MAPAdminDomain.Name=\"D" + std::to_string(i) + "\"";
    };
    for (int i = 0; i < points; i++) {
        const std::string point = "QOR_HWCtrlPoint.UUID=\"" + std::to_string(i) + "\"";
        site.element(point, {{"NetworkAddress", "10.0.0.1"}});
        site.component(domain(i), point);
    }
    Array<CIMInstance> systems;
    for (int i = 0; i < SYSTEMS; i++) {
        const std::string system = "QORP_CEC_CS.Name=\"S" + std::to_string(i) + "\"";
        systems.append(instanceAt(full(system)));
        site.component(domain(i % points), system);
    }
    site.server.start();
    for (auto _ : state) {
        Array<Array<CIMInstance>> groups;
        Array<CIMInstance> ungrouped;
        benchmark::DoNotOptimize(velmar_remote::groupByHCP(site.handle(), OperationContext(),
                                                           systems, groups, ungrouped));
        if (groups.size() != static_cast<Uint32>(points) || ungrouped.size() != 0) {
            state.SkipWithError("wrong groups");
        }
    }
    state.SetItemsProcessed(state.iterations() * SYSTEMS);
}
BENCHMARK(GroupByHCP)->UseRealTime()->Unit(benchmark::kMillisecond)->Arg(1)->Arg(10)->Arg(100);

}  // namespace

BENCHMARK_MAIN();
