// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/Uuid.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>

#include "support/PhysicalImage.h"

using velmar_remote::SmBios;
using velmar_remote::TableType1;
using velmar_remote::Uuid;
using namespace support;

namespace {

const char NO_UUID[] = "00000000-0000-0000-0000-000000000000";
const char ALL_SET[] = "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF";
const char COUNTING[] = "00112233-4455-6677-8899-AABBCCDDEEFF";

Bytes counting(std::size_t size = 16) {
    Bytes bytes;
    while (bytes.size() < size) {
        bytes.push_back(static_cast<uint8_t>(bytes.size() * 0x11));
    }
    return bytes;
}

TEST(Uuid, TextsValuesAndComparison) {
    const Uuid uuid(counting());
    EXPECT_EQ(std::string(uuid), COUNTING);
    EXPECT_EQ(Pegasus::String(uuid), Pegasus::String(COUNTING));
    std::ostringstream os;
    os << uuid << '/' << 255;
    EXPECT_EQ(os.str(), std::string(COUNTING) + "/255");
    EXPECT_EQ(std::string(Uuid()), NO_UUID);
    EXPECT_EQ(std::string(Uuid(velmar_remote::INVALID_UUID)), ALL_SET);
    EXPECT_TRUE(Uuid(velmar_remote::NULL_UUID) == Uuid());
    EXPECT_EQ(std::vector<unsigned char>(uuid), counting());
    EXPECT_TRUE(Uuid(counting(15)) == Uuid());
    EXPECT_TRUE(Uuid(counting(17)) == Uuid());
    EXPECT_TRUE(Uuid(counting()) == uuid && !(Uuid(counting()) != uuid));
    for (std::size_t i = 0; i < 16; ++i) {
        Bytes other = counting();
        other[i] ^= 0x80;
        EXPECT_TRUE(Uuid(other) != uuid && !(Uuid(other) == uuid));
    }
}

TEST(Uuid, SystemInformationFields) {
    const TableType1 full{SmBios::Table(systemInformation(7, counting()))};
    EXPECT_STREQ(full.getManufacturer(), "Velmar");
    EXPECT_STREQ(full.getProductName(), "Test Board");
    EXPECT_STREQ(full.getVersion(), "1.0");
    EXPECT_STREQ(full.getSerialNumber(), "SN-42");
    EXPECT_EQ(full.getUUID(), counting());
    EXPECT_EQ(full.getWakeUpTime(), 6);
    EXPECT_EQ(full.getHandle(), 7);

    const TableType1 old{SmBios::Table(structure(1, 0, {1, 0, 0, 9}, {"Maker"}))};
    EXPECT_STREQ(old.getManufacturer(), "Maker");
    EXPECT_EQ(old.getProductName(), nullptr);
    EXPECT_THROW(old.getSerialNumber(), std::out_of_range);
    EXPECT_TRUE(old.getUUID().empty());
    EXPECT_THROW(old.getWakeUpTime(), std::out_of_range);
    EXPECT_THROW(TableType1(SmBios::Table()).getVersion(), std::out_of_range);
}

TEST(Uuid, SystemUuidIsThatOfTheFirstSystemInformation) {
    Bytes second = structure(0, 0, {}, {"firmware"});
    append(second, systemInformation(1, counting()));
    append(second, systemInformation(2, Bytes(16, 0xFF)));
    // Lengths around the least that holds a UUID.
    Bytes least = {0, 0, 0, 0};
    append(least, counting());
    const Bytes less(least.begin(), least.end() - 1);
    const struct {
        Bytes image;
        const char* uuid;
    } cases[] = {
        {{}, NO_UUID},
        {structure(0, 0, {}, {"firmware"}), NO_UUID},
        {second, COUNTING},
        {systemInformation(1, Bytes(16, 0xFF)), ALL_SET},
        {structure(1, 0, least), COUNTING},
        {structure(1, 0, less), NO_UUID},
        {structure(1, 0, {0, 0, 0, 0}), NO_UUID},
    };
    const SmBios machine = velmar_remote::_smbios;
    for (const auto& c : cases) {
        velmar_remote::_smbios = SmBios(c.image);
        EXPECT_EQ(std::string(Uuid::systemUuid()), c.uuid);
    }
    // Cut off somewhere in the UUID: the NULs that close every structure are no part of it.
    Bytes cut = systemInformation(1, counting());
    for (cut.resize(0x18); cut.size() > 4; cut.pop_back()) {
        velmar_remote::_smbios = SmBios(cut);
        EXPECT_EQ(std::string(Uuid::systemUuid()), cut.size() < 0x18 ? NO_UUID : COUNTING);
    }
    velmar_remote::_smbios = machine;
}

}  // namespace
