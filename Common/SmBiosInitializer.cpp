// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "SmBiosInitializer.h"

#include <algorithm>
#include <new>
#include <numeric>
#include <vector>

#include "PMem.h"

namespace velmar_remote {

// Built before the process-wide table, whose discovery reads it; see _smbios, also for inline.
extern const std::vector<uint8_t> _empty;
__attribute__((init_priority(101))) inline const std::vector<uint8_t> _empty;

namespace {

constexpr unsigned long FIRMWARE_START = 0xF0000;
constexpr unsigned long FIRMWARE_END = 0xFFFFF;
constexpr long ANCHOR_STEP = 16;

struct EntryPoint {
    uint32_t version;
    uint16_t table_length;
    uint32_t table_address;
};

// Closes the device on every way out.
class OpenMemory {
 public:
    OpenMemory() : _open(memory.open()) {}
    ~OpenMemory() {
        if (_open) {
            memory.close();
        }
    }
    OpenMemory(const OpenMemory&) = delete;
    OpenMemory& operator=(const OpenMemory&) = delete;
    explicit operator bool() const { return _open; }

    PMem memory;

 private:
    bool _open;
};

uint32_t littleEndian(const uint8_t* bytes, int width) {
    uint32_t value = 0;
    for (int i = width - 1; i >= 0; --i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

bool sumsToZero(const uint8_t* bytes, std::size_t count) {
    return std::accumulate(bytes, bytes + count, 0u) % 256 == 0;
}

bool readSmEntryPoint(PMem& memory, unsigned long address, EntryPoint& entry) {
    uint8_t bytes[64];
    if (memory.read(bytes, address, sizeof(bytes)) != 0) {
        return false;
    }
    const uint8_t length = bytes[0x05];
    if (length > sizeof(bytes) || !sumsToZero(bytes, length)) {
        return false;
    }
    entry.version = littleEndian(bytes + 0x06, 2);
    entry.table_length = static_cast<uint16_t>(littleEndian(bytes + 0x16, 2));
    entry.table_address = littleEndian(bytes + 0x18, 4);
    return true;
}

bool readDmiEntryPoint(PMem& memory, unsigned long address, EntryPoint& entry) {
    uint8_t bytes[15];
    if (memory.read(bytes, address, sizeof(bytes)) != 0 || !sumsToZero(bytes, sizeof(bytes))) {
        return false;
    }
    const uint32_t revision = bytes[0x0E];
    entry.version = revision >> 4 | (revision & 0x0F) << 8;
    entry.table_length = static_cast<uint16_t>(littleEndian(bytes + 0x06, 2));
    entry.table_address = littleEndian(bytes + 0x08, 4);
    return true;
}

bool findEntryPoint(PMem& memory, EntryPoint& entry) {
    char sm[] = "_SM_";
    char dmi[] = "_DMI_";
    if (unsigned long found = memory.search(sm, FIRMWARE_START, FIRMWARE_END, ANCHOR_STEP)) {
        return readSmEntryPoint(memory, found, entry);
    }
    if (unsigned long found = memory.search(dmi, 0, FIRMWARE_END, ANCHOR_STEP)) {
        return readDmiEntryPoint(memory, found, entry);
    }
    return false;
}

bool readTable(EntryPoint& entry, std::vector<uint8_t>& image) {
    OpenMemory device;
    if (!device || !findEntryPoint(device.memory, entry)) {
        return false;
    }
    image.resize(entry.table_length);
    return device.memory.read(image.data(), entry.table_address, entry.table_length) == 0;
}

}  // namespace

bool _sort_criterion(const SmBios::Table& a, const SmBios::Table& b) {
    return a.getType() < b.getType();
}

SmBiosInitializer::SmBiosInitializer() : SmBios(_empty) {
    // An exception here would stop the process that loads the library.
    try {
        EntryPoint entry;
        std::vector<uint8_t> image;
        if (readTable(entry, image)) {
            static_cast<SmBios&>(*this) = SmBios(image);
            std::sort(_tables.begin(), _tables.end(), _sort_criterion);
            _version = entry.version;
        }
    } catch (const std::bad_alloc&) {
        // The table is still empty.
    }
}

}  // namespace velmar_remote
