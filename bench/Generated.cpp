// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What generated code costs: an instance from a typed object beside one that is built by hand, and
// requests to a provider on a generated base, with refresh (argument 1: a copy for each) and
// without (0), beside one that makes its copies by hand.
#include <Common/CachedInstanceProvider.h>
#include <benchmark/benchmark.h>
#include <velmar_testing/RecordingHandlers.h>

#include <string>
#include <vector>

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

// Reads P1 when it is asked for, once on a generated base and once by hand.
class Items : public bench::B_ItemProviderBase {
 public:
    explicit Items(const std::vector<std::string>& names) {
        for (const std::string& name : names) {
            bench::B_Item item = typed();
            item.keys.Name = name;
            add(item);
        }
    }

 protected:
    void refresh(const OperationContext&, bench::B_Item& copy) override { copy.P1 = 8; }
};

class ItemsByHand : public velmar_remote::CachedInstanceProvider {
 public:
    explicit ItemsByHand(const std::vector<std::string>& names) : CachedInstanceProvider("B_Item") {
        for (const std::string& name : names) {
            bench::B_Item item = typed();
            item.keys.Name = name;
            _cache.insert(item.instance());
        }
    }

 protected:
    void fillProperties(const OperationContext&, CIMInstance& instance,
                        const CIMPropertyList&) override {
        CIMInstance copy = instance.clone();
        velmar_remote::replaceProp(copy, CIMName("P1"), CIMValue(Uint32(8)));
        instance = copy;
    }
    void fillProperties(const OperationContext& context, Array<CIMInstance>& instances,
                        const CIMPropertyList& propertyList) override {
        for (Uint32 i = 0; i < instances.size(); i++) {
            fillProperties(context, instances[i], propertyList);
        }
    }
};

std::vector<std::string> names(size_t count) {
    std::vector<std::string> result;
    for (size_t i = 0; i < count; i++) {
        result.push_back("one" + std::to_string(i));
    }
    return result;
}

void get(benchmark::State& state, velmar_remote::CachedInstanceProvider& items) {
    bench::B_Item item("one0");
    const CIMObjectPath path = item.path();
    for (auto _ : state) {
        velmar_testing::InstanceRecorder got;
        items.getInstance(OperationContext(), path, false, false, CIMPropertyList(), got);
        benchmark::DoNotOptimize(got.delivered);
    }
}

void enumerate(benchmark::State& state, velmar_remote::CachedInstanceProvider& items) {
    const CIMObjectPath path = bench::B_Item::classPath();
    for (auto _ : state) {
        velmar_testing::InstanceRecorder got;
        items.enumerateInstances(OperationContext(), path, false, false, CIMPropertyList(), got);
        benchmark::DoNotOptimize(got.delivered);
    }
}

void GetInstance(benchmark::State& state) {
    Items items(names(1));
    items.setRefreshes(state.range(0) != 0);
    get(state, items);
}
BENCHMARK(GetInstance)->Arg(0)->Arg(1);

void GetInstanceCopiedByHand(benchmark::State& state) {
    ItemsByHand items(names(1));
    get(state, items);
}
BENCHMARK(GetInstanceCopiedByHand);

void Enumerate100(benchmark::State& state) {
    Items items(names(100));
    items.setRefreshes(state.range(0) != 0);
    enumerate(state, items);
}
BENCHMARK(Enumerate100)->Arg(0)->Arg(1);

void Enumerate100CopiedByHand(benchmark::State& state) {
    ItemsByHand items(names(100));
    enumerate(state, items);
}
BENCHMARK(Enumerate100CopiedByHand);

}  // namespace

BENCHMARK_MAIN();
