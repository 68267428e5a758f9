// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Parsing, discovery and look-up of the firmware's table. Parsing is one pass: the time per byte
// stays the same from a small table to the largest.
#include <benchmark/benchmark.h>

#include "Common/SmBiosInitializer.h"
#include "Common/Uuid.h"
#include "support/PhysicalImage.h"

using namespace velmar_remote;
using namespace support;

namespace {

constexpr std::size_t LARGEST = 0xFFFF;  // what an entry point can state
constexpr uint32_t TABLE = 0x40000;

// The image of a whole table: small structures, as firmware has for slots and memory devices, and
// System Information at the end.
Bytes tableOfSize(std::size_t size) {
    const Bytes last = systemInformation(0xFFFE, Bytes(16, 0x42));
    Bytes table;
    for (uint16_t handle = 0;; ++handle) {
        const Bytes next = structure(17, handle, Bytes(80, 0x5A), {"DIMM A1", "Velmar"});
        if (table.size() + next.size() + last.size() > size) {
            break;
        }
        append(table, next);
    }
    append(table, last);
    return table;
}

void parseTable(benchmark::State& state) {
    const Bytes table = tableOfSize(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(SmBios(table));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * table.size()));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(parseTable)->RangeMultiplier(4)->Range(0x400, 0x10000)->Complexity();

// The worst case for a parser that copies the rest of the image for each structure.
void parseSmallestStructures(benchmark::State& state) {
    Bytes table;
    while (table.size() + 6 <= LARGEST) {
        append(table, structure(1, 0, {}));
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(SmBios(table));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * table.size()));
}
BENCHMARK(parseSmallestStructures);

void systemUuid(benchmark::State& state) {
    Bytes table;
    for (uint16_t handle = 1; handle < 600; ++handle) {
        append(table, structure(17, handle, Bytes(80, 0x5A), {"DIMM A1", "Velmar"}));
    }
    append(table, systemInformation(0, Bytes(16, 0x42)));
    const SmBios machine = _smbios;
    _smbios = SmBios(table);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Uuid::systemUuid());
    }
    _smbios = machine;
}
BENCHMARK(systemUuid);

void discovery(benchmark::State& state, const Bytes& entryPoint, const Bytes& table) {
    PhysicalImage image;
    image.refuse(0x100000, 0x200000);
    image.write(TABLE, table);
    image.write(0xF5A10, entryPoint);
    for (auto _ : state) {
        const SmBiosInitializer found;
        if (found.getTables().empty()) {
            state.SkipWithError("nothing found");
        }
    }
}

const Bytes largest = tableOfSize(LARGEST);
BENCHMARK_CAPTURE(discovery, SM, smEntryPoint(2, 8, largest.size(), TABLE), largest);
BENCHMARK_CAPTURE(discovery, DMI, dmiEntryPoint(0x21, largest.size(), TABLE), largest);

}  // namespace

BENCHMARK_MAIN();
