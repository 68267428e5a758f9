// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/SmBiosInitializer.h"

#include <gtest/gtest.h>

#include <string>

#include "Common/Uuid.h"
#include "support/PhysicalImage.h"

using velmar_remote::SmBios;
using velmar_remote::SmBiosInitializer;
using velmar_remote::Uuid;
using namespace support;

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
    const SmBios table;  // a copy of what was discovered
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

// "major.minor.revision: types"
std::string discovered() {
    const SmBiosInitializer smbios;
    std::string all = std::to_string(smbios.getMajorVersion()) + "." +
                      std::to_string(smbios.getMinorVersion()) + "." +
                      std::to_string(smbios.getRevision()) + ":";
    for (const SmBios::Table& table : smbios.getTables()) {
        all += " " + std::to_string(table.getType());
    }
    return all;
}

const char NOTHING[] = "0.0.0:";

Bytes changed(Bytes bytes, std::size_t at, int by) {
    bytes[at] = static_cast<uint8_t>(bytes[at] + by);
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

TEST(SmBiosInitializer, FindsEitherEntryPointOrNothing) {
    const Bytes table = sampleTable();
    const std::size_t n = table.size();
    const uint32_t HIGH = 0x7FFD4000;
    const Bytes sm = smEntryPoint(2, 8, n, TABLE), dmi = dmiEntryPoint(0x21, n, TABLE);
    // Sound, but without the older anchor inside it.
    Bytes lone = changed(sm, 0x10, 1);
    balance(lone, 0, lone.size(), 0x04);
    const std::string all = ": 1 4 4 127 128";
    const struct {
        const char* why;
        std::vector<std::pair<unsigned long, Bytes>> placed;
        std::string found;
    } cases[] = {
        {"_SM_", {{0xF5A10, sm}}, "2.8.0" + all},
        {"first of two",
         {{0xF0000, smEntryPoint(2, 3, n, TABLE)}, {0xF5A10, smEntryPoint(2, 8, 0, 0)}},
         "2.3.0" + all},
        {"table in reserved memory", {{0xF5A10, smEntryPoint(2, 8, n, HIGH)}}, "2.8.0" + all},
        {"no checksum", {{0xF5A10, changed(smOfLength(0, n, TABLE), 4, 9)}}, "2.8.0" + all},
        {"longest entry point", {{0xF5A10, smOfLength(64, n, TABLE)}}, "2.8.0" + all},
        {"unsigned versions", {{0xF5A10, smEntryPoint(254, 255, n, TABLE)}}, "254.255.0" + all},
        {"_DMI_", {{0xF5A10, dmi}}, "2.1.0" + all},
        {"_DMI_ in the last place", {{0xFFFF0, dmi}}, "2.1.0" + all},
        {"_DMI_ below the area", {{0x10, dmiEntryPoint(0x9F, n, TABLE)}}, "9.15.0" + all},
        {"_SM_ between candidates", {{0xF0008, sm}, {0xF0100, dmi}}, "2.1.0" + all},
        {"empty table", {{0xF5A10, smEntryPoint(2, 7, 0, MIB)}}, "2.7.0:"},
        {"no entry point", {}, NOTHING},
        {"bad _SM_ checksum", {{0xF5A10, changed(sm, 4, 1)}, {0xF0000, dmi}}, NOTHING},
        {"bad _DMI_ checksum", {{0xF0000, changed(dmi, 5, 1)}}, NOTHING},
        {"length byte beyond what is read", {{0xF5A10, smOfLength(65, n, TABLE)}}, NOTHING},
        {"64-bit entry point only", {{0xF5A10, {'_', 'S', 'M', '3', '_'}}}, NOTHING},
        {"_DMI_ at address 0", {{0, dmi}}, NOTHING},
        {"_SM_ below the area", {{0xE0000, lone}}, NOTHING},
        {"entry point whose 64 bytes are refused", {{0xFFFE0, sm}}, NOTHING},
        {"_SM_ table refused", {{0xF5A10, smEntryPoint(2, 8, n, MIB)}}, NOTHING},
        {"_DMI_ table refused", {{0xF5A10, dmiEntryPoint(0x21, n, MIB - 1)}}, NOTHING},
    };
    for (const auto& c : cases) {
        PhysicalImage image(0x80000000);
        image.refuse(MIB, HIGH);  // as a kernel that guards its memory has it
        image.write(TABLE, table);
        image.write(HIGH, table);
        for (const auto& [address, bytes] : c.placed) {
            image.write(address, bytes);
        }
        EXPECT_EQ(discovered(), c.found) << c.why;
        EXPECT_TRUE(image.clean()) << c.why;
    }
}

// Whichever mapping has no memory, of those of both searches, the entry point and a table that
// takes two windows.
TEST(SmBiosInitializer, DeviceMissingOrOutOfMemory) {
    PhysicalImage image;
    image.write(0xF5A10, dmiEntryPoint(0x21, 65535, 0x10010));
    image.present = false;
    EXPECT_EQ(discovered(), NOTHING);
    image.present = true;
    EXPECT_EQ(SmBiosInitializer().getMajorVersion(), 2);
    const std::size_t mappings = image.maps.size();
    EXPECT_EQ(mappings, 1 + 16 + 1 + 2u);
    for (std::size_t i = 1; i <= mappings; ++i) {
        image.throw_at_map = image.maps.size() + i;
        EXPECT_EQ(discovered(), NOTHING);
        EXPECT_TRUE(image.clean());
    }
}

}  // namespace
