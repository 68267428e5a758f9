#include "Common/SmBiosInitializer.h"

#include <gtest/gtest.h>

#include <string>

#include "Common/Uuid.h"
#include "support/PhysicalImage.h"

using velmar_remote::SmBios;
using velmar_remote::SmBiosInitializer;
using velmar_remote::Uuid;
using namespace velmar_test;

namespace {

constexpr uint32_t TABLE = 0xF5A60;
constexpr unsigned long MIB = 0x100000;
const char BOOT_UUID[] = "42424242-4242-4242-4242-424242424242";

// The image that the library finds when it is loaded, made by its own first call.
PhysicalImage* bootImage = nullptr;

int openAtBoot(const char* path, int flags, ...) {
    bootImage = new PhysicalImage;
    const Bytes table = systemInformation(1, Bytes(16, 0x42));
    bootImage->write(TABLE, table);
    bootImage->write(0xF5A10, smEntryPoint(3, 1, table.size(), TABLE));
    return velmar_remote::memoryDevice.open(path, flags);
}

// What other static initialisers see, the earliest one before main's ordinary ones.
struct Witness {
    std::string uuid = Uuid::systemUuid();
};
__attribute__((init_priority(103))) Witness earliest;
Witness ordinary;

}  // namespace

// Constant-initialised, so it is there even for the library's own static initialisers.
velmar_remote::MemoryDevice velmar_remote::memoryDevice = {openAtBoot, nullptr, nullptr, nullptr};

namespace {

TEST(SmBiosInitializer, RunsAtLoadTimeBeforeOtherInitialisers) {
    EXPECT_EQ(earliest.uuid, BOOT_UUID);
    EXPECT_EQ(ordinary.uuid, BOOT_UUID);
    EXPECT_EQ(std::string(Uuid::systemUuid()), BOOT_UUID);
    const SmBios& table = velmar_remote::_smbios;
    EXPECT_EQ(table.getMajorVersion(), 3);
    EXPECT_EQ(table.getMinorVersion(), 1);
    ASSERT_NE(bootImage, nullptr);
    EXPECT_TRUE(bootImage->clean());
}

Bytes sampleTable() {
    Bytes table = structure(0x80, 1, {});
    append(table, structure(127, 2, {}));
    append(table, structure(4, 3, {1}, {"CPU 0"}));
    append(table, systemInformation(4, Bytes(16, 1)));
    append(table, structure(4, 5, {1}, {"CPU 1"}));
    return table;
}

std::string typesOf(const SmBios& smbios) {
    std::string types;
    for (const SmBios::Table& table : smbios.getTables()) {
        types += std::to_string(table.getType()) + " ";
    }
    return types;
}

void expectEmpty(const SmBios& smbios) {
    EXPECT_EQ(smbios.getMajorVersion() + smbios.getMinorVersion() + smbios.getRevision(), 0);
    EXPECT_EQ(typesOf(smbios), "");
}

Bytes changed(Bytes bytes, std::size_t at, uint8_t value) {
    bytes[at] = value;
    return bytes;
}

// A 64-byte entry point whose checksum covers `length` bytes.
Bytes smOfLength(uint8_t length, std::size_t table_length, uint32_t address) {
    Bytes bytes = smEntryPoint(2, 8, table_length, address);
    bytes.resize(64, 0x5A);
    bytes[0x05] = length;
    balance(bytes, 0, length > 64 ? 64 : length, 0x04);
    return bytes;
}

struct Placed {
    unsigned long address;
    Bytes bytes;
};

TEST(SmBiosInitializer, FindsEitherEntryPoint) {
    const Bytes table = sampleTable();
    const std::size_t n = table.size();
    const uint32_t high = 0x7FFD4000;
    const struct {
        const char* why;
        std::vector<Placed> placed;
        int major, minor;
    } cases[] = {
        {"_SM_", {{0xF5A10, smEntryPoint(2, 8, n, TABLE)}, {TABLE, table}}, 2, 8},
        {"first of two",
         {{0xF0000, smEntryPoint(2, 3, n, TABLE)},
          {TABLE, table},
          {0xF5A10, smEntryPoint(2, 8, 0, 0)}},
         2,
         3},
        {"table in reserved memory", {{0xF5A10, smEntryPoint(2, 8, n, high)}, {high, table}}, 2, 8},
        {"no checksum", {{0xF5A10, changed(smOfLength(0, n, TABLE), 4, 9)}, {TABLE, table}}, 2, 8},
        {"longest entry point", {{0xF5A10, smOfLength(64, n, TABLE)}, {TABLE, table}}, 2, 8},
        {"versions are unsigned",
         {{0xF5A10, smEntryPoint(0xFE, 0xFF, n, TABLE)}, {TABLE, table}},
         0xFE,
         0xFF},
        {"_DMI_", {{0xF5A10, dmiEntryPoint(0x21, n, TABLE)}, {TABLE, table}}, 2, 1},
        {"_DMI_ below the firmware area",
         {{0x10, dmiEntryPoint(0x9F, n, TABLE)}, {TABLE, table}},
         9,
         15},
        {"_SM_ between candidates",
         {{0xF0008, smEntryPoint(2, 8, n, TABLE)},
          {TABLE, table},
          {0xF0100, dmiEntryPoint(0x21, n, TABLE)}},
         2,
         1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        PhysicalImage image(0x80000000);
        // As a kernel that guards its memory has it.
        image.refuse(MIB, high);
        for (const Placed& placed : c.placed) {
            image.write(placed.address, placed.bytes);
        }
        const SmBiosInitializer smbios;
        EXPECT_EQ(typesOf(smbios), "1 4 4 127 128 ");
        EXPECT_EQ(smbios.getMajorVersion(), c.major);
        EXPECT_EQ(smbios.getMinorVersion(), c.minor);
        EXPECT_EQ(smbios.getRevision(), 0);
        EXPECT_TRUE(image.clean());
    }
}

TEST(SmBiosInitializer, EveryFailureLeavesAnEmptyTable) {
    const Bytes table = sampleTable();
    const std::size_t n = table.size();
    const Bytes sm = smEntryPoint(2, 8, n, TABLE);
    const Bytes dmi = dmiEntryPoint(0x21, n, TABLE);
    // Sound, but without the older anchor inside it.
    Bytes lone = changed(sm, 0x10, 0);
    balance(lone, 0, lone.size(), 0x04);
    const struct {
        const char* why;
        std::vector<Placed> placed;
    } cases[] = {
        {"no entry point", {}},
        {"bad _SM_ checksum beside a good _DMI_",
         {{0xF5A10, changed(sm, 4, static_cast<uint8_t>(sm[4] + 1))}, {0xF0000, dmi}}},
        {"bad _DMI_ checksum", {{0xF0000, changed(dmi, 5, static_cast<uint8_t>(dmi[5] + 1))}}},
        {"length byte beyond what is read", {{0xF5A10, smOfLength(65, n, TABLE)}}},
        {"64-bit entry point only", {{0xF5A10, {'_', 'S', 'M', '3', '_'}}}},
        {"_DMI_ at address 0", {{0, dmi}}},
        {"_SM_ below the firmware area", {{0xE0000, lone}}},
        {"entry point whose 64 bytes are refused", {{0xFFFE0, sm}}},
        {"_SM_ table refused", {{0xF5A10, smEntryPoint(2, 8, n, MIB)}}},
        {"_DMI_ table refused", {{0xF5A10, dmiEntryPoint(0x21, n, MIB - 1)}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        PhysicalImage image;
        image.refuse(MIB, 2 * MIB);
        image.write(TABLE, table);
        for (const Placed& placed : c.placed) {
            image.write(placed.address, placed.bytes);
        }
        expectEmpty(SmBiosInitializer());
        EXPECT_TRUE(image.clean());
    }
}

// Whichever mapping has no memory, of those of both searches, the entry point and a table that
// takes two windows.
TEST(SmBiosInitializer, DeviceMissingOrOutOfMemory) {
    PhysicalImage image;
    image.write(0xF5A10, dmiEntryPoint(0x21, 65535, 0x10010));
    image.present = false;
    expectEmpty(SmBiosInitializer());
    image.present = true;
    EXPECT_EQ(SmBiosInitializer().getMajorVersion(), 2);
    const std::size_t mappings = image.maps.size();
    EXPECT_EQ(mappings, 1 + 16 + 1 + 2u);
    for (std::size_t i = 1; i <= mappings; ++i) {
        image.throw_at_map = image.maps.size() + i;
        expectEmpty(SmBiosInitializer());
        EXPECT_TRUE(image.clean());
    }
}

TEST(SmBiosInitializer, EmptyTableKeepsItsVersion) {
    PhysicalImage image;
    image.refuse(MIB, 2 * MIB);
    image.write(0xF5A10, smEntryPoint(2, 7, 0, MIB));
    const SmBiosInitializer smbios;
    EXPECT_EQ(smbios.getMajorVersion(), 2);
    EXPECT_EQ(smbios.getMinorVersion(), 7);
    EXPECT_EQ(typesOf(smbios), "");
    EXPECT_TRUE(image.clean());
}

TEST(SmBiosInitializer, SortsByTypeOnly) {
    const SmBios::Table low(structure(3, 9, {})), high(structure(200, 1, {}));
    EXPECT_TRUE(velmar_remote::_sort_criterion(low, high));
    EXPECT_FALSE(velmar_remote::_sort_criterion(high, low));
    EXPECT_FALSE(velmar_remote::_sort_criterion(low, SmBios::Table(structure(3, 10, {}))));
}

}  // namespace
