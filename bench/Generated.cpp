// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What generated code costs: an instance from a typed object beside one that is built by hand, and
// requests to a provider on a generated base, with refresh (argument 1: a copy for each) and
// without (0).
#include <Common/CachedInstanceProvider.h>
#include <benchmark/benchmark.h>
#include <velmar_kit/RecordingHandlers.h>

#include "B_ItemProviderBase.h"

using namespace Pegasus;

namespace {

const CIMDateTime TIME("20261125120000.000000+000");

bench::B_Item typed() {
    bench::B_Item item("one");
    item.P1 = item.P2 = item.P3 = 7;
    item.P4 = item.P5 = item.P6 = "some text";
    item.P7 = TIME;
    item.P8 = 8;
    item.P9 = true;
    return item;
}

CIMInstance byHand() {
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("Name"), CIMValue(String("one"))));
    CIMObjectPath path(String(), CIMNamespaceName("root/velmar_remote"), CIMName("B_Item"), keys);
    path.setHost(System::getHostName());
    CIMInstance instance(CIMName("B_Item"));
    instance.setPath(path);
    instance.addProperty(CIMProperty(CIMName("Name"), CIMValue(String("one"))));
    for (const char* name : {"P1", "P2", "P3"}) {
        instance.addProperty(CIMProperty(CIMName(name), CIMValue(Uint32(7))));
    }
    for (const char* name : {"P4", "P5", "P6"}) {
        instance.addProperty(CIMProperty(CIMName(name), CIMValue(String("some text"))));
    }
    instance.addProperty(CIMProperty(CIMName("P7"), CIMValue(TIME)));
    instance.addProperty(CIMProperty(CIMName("P8"), CIMValue(Uint16(8))));
    instance.addProperty(CIMProperty(CIMName("P9"), CIMValue(Boolean(true))));
    return instance;
}

void InstanceByHand(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(byHand());
    }
}
BENCHMARK(InstanceByHand);

void InstanceOfTypedObject(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(typed().instance());
    }
}
BENCHMARK(InstanceOfTypedObject);

void TypedObjectOfInstance(benchmark::State& state) {
    const CIMInstance instance = typed().instance();
    for (auto _ : state) {
        benchmark::DoNotOptimize(bench::B_Item::from(instance));
    }
}
BENCHMARK(TypedObjectOfInstance);

class Items : public bench::B_ItemProviderBase {
 protected:
    void refresh(const OperationContext&, bench::B_Item& copy) override { copy.P1 = 8; }
};

void GetInstance(benchmark::State& state) {
    Items items;
    items.setRefreshes(state.range(0) != 0);
    items.add(typed());
    const CIMObjectPath path = typed().path();
    for (auto _ : state) {
        velmar_kit::InstanceRecorder got;
        items.getInstance(OperationContext(), path, false, false, CIMPropertyList(), got);
        benchmark::DoNotOptimize(got.delivered);
    }
}
BENCHMARK(GetInstance)->Arg(0)->Arg(1);

}  // namespace

BENCHMARK_MAIN();
