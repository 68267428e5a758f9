// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The instance cache beside the bare table that it stands on (with ready-made keys) and a plain
// std::unordered_map from path text; what a lookup is made of; and the curve to 100,000 entries.
#include "Common/InstanceCache.h"

#include <benchmark/benchmark.h>

#include <ctime>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "Common/Util.h"
#include "support/Objects.h"

using namespace Pegasus;
using velmar_remote::InstanceCache;
using velmar_remote::localize;
using velmar_remote::PathHashFunc;

namespace {

typedef HashTable<CIMObjectPath, CIMInstance, EqualFunc<CIMObjectPath>, PathHashFunc> Table;

// Consecutive numbers; as far apart as serial numbers are; addresses in steps.
enum Names { NUMBERED, SPREAD, STEPS };

std::vector<CIMInstance> instances(int64_t count, Names names = NUMBERED) {
    std::vector<CIMInstance> result;
    for (int64_t i = 0; i < count; i++) {
        const uint64_t number =
            names == NUMBERED ? i : i * (names == STEPS ? 256 : 11400714819323198485u);
        result.push_back(support::instanceAt(
            "//host.example/root/velmar_remote:QORP_LPAR_CS.CreationClassName=\"QORP_LPAR_CS\","
            "Name=\"" +
            std::to_string(number) + "*9119-FHA*02ABCDE\""));
    }
    return result;
}

// Visits all indices below a power of ten, far apart: requests don't come in the order of filling.
const size_t FAR = 61803;
size_t next(size_t i, size_t size, size_t step = FAR) { return (i + step) % size; }

struct Filled {
    explicit Filled(int64_t count) : objects(instances(count)), missing(instances(count + 1)) {
        cache.setIsAP();
        for (const CIMInstance& object : objects) {
            cache.insert(object);
            keys.push_back(localize(object.getPath()));
            table.insert(keys.back(), object);
            map[support::text(keys.back())] = object;
        }
        absent = missing.back().getPath();
        missingKey = localize(absent);
    }
    std::vector<CIMInstance> objects;
    std::vector<CIMInstance> missing;
    std::vector<CIMObjectPath> keys;
    CIMObjectPath absent;
    CIMObjectPath missingKey;
    InstanceCache cache;
    Table table;
    std::unordered_map<std::string, CIMInstance> map;
    std::mutex mutex;
};

// One benchmark per operation: `work` is given the filled containers and a running index.
template <class Work>
void run(benchmark::State& state, Work work) {
    Filled filled(state.range(0));
    size_t i = 0;
    for (auto _ : state) {
        work(filled, i);
        i = next(i, filled.objects.size());
    }
    state.SetItemsProcessed(state.iterations());
}

void LookupHit_Cache(benchmark::State& state) {
    run(state, [](Filled& f, size_t i) {
        CIMInstance found;
        benchmark::DoNotOptimize(f.cache.lookup(f.objects[i].getPath(), found));
    });
}
void LookupHit_LocalizeTextTable(benchmark::State& state) {
    // What a lookup cannot do without: the localized key, its text, and one search of the table.
    run(state, [](Filled& f, size_t i) {
        CIMInstance found;
        const CIMObjectPath key = localize(f.objects[i].getPath());
        benchmark::DoNotOptimize(f.table.lookup(key, found));
    });
}
void LookupHit_BareTable(benchmark::State& state) {
    run(state, [](Filled& f, size_t i) {
        CIMInstance found;
        benchmark::DoNotOptimize(f.table.lookup(f.keys[i], found));
    });
}
void LookupHit_UnorderedMap(benchmark::State& state) {
    run(state, [](Filled& f, size_t i) {
        const std::string text = support::text(localize(f.objects[i].getPath()));
        const std::lock_guard<std::mutex> lock(f.mutex);
        CIMInstance found = f.map.find(text)->second;
        benchmark::DoNotOptimize(found);
    });
}
void LookupMiss_Cache(benchmark::State& state) {
    run(state, [](Filled& f, size_t) {
        CIMInstance found;
        benchmark::DoNotOptimize(f.cache.lookup(f.absent, found));
    });
}
void LookupMiss_BareTable(benchmark::State& state) {
    run(state, [](Filled& f, size_t) {
        CIMInstance found;
        benchmark::DoNotOptimize(f.table.lookup(f.missingKey, found));
    });
}
void LookupMiss_UnorderedMap(benchmark::State& state) {
    run(state, [](Filled& f, size_t) {
        const std::string text = support::text(localize(f.absent));
        const std::lock_guard<std::mutex> lock(f.mutex);
        benchmark::DoNotOptimize(f.map.find(text));
    });
}
void Replace_Cache(benchmark::State& state) {
    run(state, [](Filled& f, size_t i) { f.cache.replace(f.objects[i]); });
}
void Replace_BareTable(benchmark::State& state) {
    run(state, [](Filled& f, size_t i) {
        CIMInstance* stored;
        if (f.table.lookupReference(f.keys[i], stored)) {
            *stored = f.objects[i];
        }
    });
}
void Replace_UnorderedMap(benchmark::State& state) {
    run(state, [](Filled& f, size_t i) {
        const std::string text = support::text(localize(f.objects[i].getPath()));
        const std::lock_guard<std::mutex> lock(f.mutex);
        f.map.find(text)->second = f.objects[i];
    });
}
// Filling an empty container: time per insertion.
void Insert_Cache(benchmark::State& state) {
    const std::vector<CIMInstance> objects = instances(state.range(0));
    for (auto _ : state) {
        InstanceCache cache;
        for (const CIMInstance& object : objects) {
            cache.insert(object);
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
void Insert_BareTable(benchmark::State& state) {
    Filled f(state.range(0));
    for (auto _ : state) {
        Table table;
        for (size_t i = 0; i < f.keys.size(); i++) {
            table.insert(f.keys[i], f.objects[i]);
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
void Insert_UnorderedMap(benchmark::State& state) {
    const std::vector<CIMInstance> objects = instances(state.range(0));
    std::mutex mutex;
    for (auto _ : state) {
        std::unordered_map<std::string, CIMInstance> map;
        for (const CIMInstance& object : objects) {
            const std::string text = support::text(localize(object.getPath()));
            const std::lock_guard<std::mutex> lock(mutex);
            map.emplace(text, object);
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
void RemoveInsert_Cache(benchmark::State& state) {
    run(state, [](Filled& f, size_t i) {
        f.cache.remove(f.objects[i].getPath());
        f.cache.insert(f.objects[i]);
    });
}
void RemoveInsert_BareTable(benchmark::State& state) {
    run(state, [](Filled& f, size_t i) {
        f.table.remove(f.keys[i]);
        f.table.insert(f.keys[i], f.objects[i]);
    });
}
void RemoveInsert_UnorderedMap(benchmark::State& state) {
    run(state, [](Filled& f, size_t i) {
        const std::string text = support::text(localize(f.objects[i].getPath()));
        const std::lock_guard<std::mutex> lock(f.mutex);
        f.map.erase(text);
        f.map.emplace(text, f.objects[i]);
    });
}
void InsertPresent_Cache(benchmark::State& state) {
    run(state, [](Filled& f, size_t i) { f.cache.insert(f.objects[i]); });
}
void GetInstances_Cache(benchmark::State& state) {
    run(state, [](Filled& f, size_t) {
        Array<CIMInstance> all;
        f.cache.getInstances(all);
        benchmark::DoNotOptimize(all);
    });
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void GetInstances_BareTable(benchmark::State& state) {
    run(state, [](Filled& f, size_t) {
        Array<CIMInstance> all;
        for (auto entry = f.table.start(); entry; entry++) {
            all.append(entry.value());
        }
        benchmark::DoNotOptimize(all);
    });
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
void GetInstances_UnorderedMap(benchmark::State& state) {
    run(state, [](Filled& f, size_t) {
        Array<CIMInstance> all;
        const std::lock_guard<std::mutex> lock(f.mutex);
        for (const auto& entry : f.map) {
            all.append(entry.second);
        }
        benchmark::DoNotOptimize(all);
    });
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Filling an empty container (nanoseconds of processor time per entry, a counter), then lookups.
template <class Insert, class Lookup>
void curve(benchmark::State& state, Insert insert, Lookup lookup) {
    const std::vector<CIMInstance> objects = instances(state.range(0), Names(state.range(1)));
    const std::clock_t start = std::clock();
    for (const CIMInstance& object : objects) {
        insert(object);
    }
    const double filling = double(std::clock() - start) / CLOCKS_PER_SEC;
    const size_t step = state.range(2) ? 1 : FAR;
    size_t i = 0;
    for (auto _ : state) {
        CIMInstance found;
        benchmark::DoNotOptimize(lookup(objects[i].getPath(), found));
        i = next(i, objects.size(), step);
    }
    state.counters["fill_ns"] = filling * 1e9 / double(objects.size());
}
void Curve_Cache(benchmark::State& state) {
    InstanceCache cache;
    curve(
        state, [&](const CIMInstance& object) { cache.insert(object); },
        [&](const CIMObjectPath& path, CIMInstance& found) { return cache.lookup(path, found); });
}
void Curve_UnorderedMap(benchmark::State& state) {
    std::mutex mutex;
    std::unordered_map<std::string, CIMInstance> map;
    curve(
        state,
        [&](const CIMInstance& object) {
            const std::string text = support::text(localize(object.getPath()));
            const std::lock_guard<std::mutex> lock(mutex);
            map.emplace(text, object);
        },
        [&](const CIMObjectPath& path, CIMInstance& found) {
            const std::string text = support::text(localize(path));
            const std::lock_guard<std::mutex> lock(mutex);
            const auto entry = map.find(text);
            found = entry->second;
            return true;
        });
}

// What a lookup spends on tracing while it is off: entry, exit and one detail record.
void TracingOff(benchmark::State& state) {
    const TraceComponentId component = TraceComponentId(36);
    for (auto _ : state) {
        TracerToken token;
        Tracer::traceEnter(token, __FILE__, __LINE__, component, "InstanceCache::lookup");
        PEG_TRACE((component, Tracer::LEVEL3, "%s", "Found in cache: "));
        Tracer::traceExit(token, __FILE__, __LINE__);
        benchmark::ClobberMemory();
    }
}

BENCHMARK(TracingOff);
#define SIZES ->Arg(100)->Arg(1000)->Arg(10000)
BENCHMARK(LookupHit_Cache) SIZES;
BENCHMARK(LookupHit_LocalizeTextTable) SIZES;
BENCHMARK(LookupHit_BareTable) SIZES;
BENCHMARK(LookupHit_UnorderedMap) SIZES;
BENCHMARK(LookupMiss_Cache) SIZES;
BENCHMARK(LookupMiss_BareTable) SIZES;
BENCHMARK(LookupMiss_UnorderedMap) SIZES;
BENCHMARK(Insert_Cache) SIZES;
BENCHMARK(Insert_BareTable) SIZES;
BENCHMARK(Insert_UnorderedMap) SIZES;
BENCHMARK(Replace_Cache) SIZES;
BENCHMARK(Replace_BareTable) SIZES;
BENCHMARK(Replace_UnorderedMap) SIZES;
BENCHMARK(RemoveInsert_Cache) SIZES;
BENCHMARK(RemoveInsert_BareTable) SIZES;
BENCHMARK(RemoveInsert_UnorderedMap) SIZES;
BENCHMARK(InsertPresent_Cache) SIZES;
BENCHMARK(GetInstances_Cache) SIZES;
BENCHMARK(GetInstances_BareTable) SIZES;
BENCHMARK(GetInstances_UnorderedMap) SIZES;
#define CURVE                                    \
    ->ArgNames({"entries", "names", "in_order"}) \
        ->ArgsProduct({{100, 1000, 10000, 100000}, {NUMBERED, SPREAD, STEPS}, {0, 1}})
BENCHMARK(Curve_UnorderedMap) CURVE;
BENCHMARK(Curve_Cache) CURVE;

}  // namespace

BENCHMARK_MAIN();
