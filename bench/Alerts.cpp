// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Alerts from sendIndication to a subscriber, and what each hop of their way costs: the call of
// "send" without a subscriber, enrichment from the model without delivery, the whole way. About
// a partition (ten upcalls) or a control point (four).
#include <benchmark/benchmark.h>

#include <atomic>
#include <memory>

#include "AlertSite.h"

using namespace Pegasus;
using namespace support;

namespace {

/// Enriches, and drops the alert when it is told so.
class Alerts : public velmar_remote::IndicationMethodProvider {
 public:
    using IndicationMethodProvider::IndicationMethodProvider;
    static std::atomic<bool> drops;

 protected:
    Boolean generateIndication(const OperationContext& context, CIMInstance& inst,
                               const Array<CIMParamValue>& parameters) override {
        return IndicationMethodProvider::generateIndication(context, inst, parameters) && !drops;
    }
};
std::atomic<bool> Alerts::drops{false};

std::unique_ptr<AlertSite> site;

void prepare(bool subscribed, bool drops) {
    Alerts::drops = drops;
    site.reset(new AlertSite(new Alerts("QOR_SiteAlert", nullptr)));
    site->addTypicalSystem();
    site->server.start();
    if (subscribed) {
        site->server.subscribe(
            "SELECT * FROM QOR_SiteAlert", {NAMESPACE},
            [](const CIMInstance& alert) { benchmark::DoNotOptimize(alert.getPropertyCount()); });
    }
    raise("QOR_HWCtrlPoint.UUID=\"cp-1\"");  // loads the providers
}
void prepareDisabled(const benchmark::State&) { prepare(false, false); }
void prepareDropping(const benchmark::State&) { prepare(true, true); }
void prepareDelivering(const benchmark::State&) { prepare(true, false); }
void finish(const benchmark::State&) { site.reset(); }

void send(benchmark::State& state) {
    const char* const element =
        state.range(0) ? "QORP_LPAR_CS.Name=\"part\"" : "QOR_HWCtrlPoint.UUID=\"cp-1\"";
    state.SetLabel(state.range(0) ? "partition" : "control point");
    const int batch = 100;  // far less than the subscription's queue takes
    for (auto _ : state) {
        for (int i = 0; i < batch; i++) {
            raise(element);
        }
        site->server.drain();
    }
    state.SetItemsProcessed(state.iterations() * batch);
    if (site->server.indicationCounts().overflowed > 0) {
        state.SkipWithError("alerts were dropped");
    }
}
void SendDisabled(benchmark::State& state) { send(state); }
void EnrichedUndelivered(benchmark::State& state) { send(state); }
void EndToEnd(benchmark::State& state) { send(state); }

BENCHMARK(SendDisabled)
    ->Arg(0)
    ->Setup(prepareDisabled)
    ->Teardown(finish)
    ->UseRealTime()
    ->Threads(1)
    ->Threads(4);
BENCHMARK(EnrichedUndelivered)
    ->Arg(0)
    ->Arg(1)
    ->Setup(prepareDropping)
    ->Teardown(finish)
    ->UseRealTime()
    ->Threads(1)
    ->Threads(4);
BENCHMARK(EndToEnd)
    ->Arg(0)
    ->Arg(1)
    ->Setup(prepareDelivering)
    ->Teardown(finish)
    ->UseRealTime()
    ->Threads(1)
    ->Threads(4);

}  // namespace

BENCHMARK_MAIN();
