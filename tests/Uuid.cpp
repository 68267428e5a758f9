#include "Common/Uuid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "support/PhysicalImage.h"

using velmar_remote::SmBios;
using velmar_remote::TableType1;
using velmar_remote::Uuid;
using namespace velmar_test;

namespace {

const char NO_UUID[] = "00000000-0000-0000-0000-000000000000";

Bytes counting(std::size_t size, int step = 1) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<uint8_t>(i * step);
    }
    return bytes;
}

TEST(Uuid, TextForm) {
    const Uuid uuid(counting(16, 0x11));
    EXPECT_EQ(std::string(uuid), "00112233-4455-6677-8899-AABBCCDDEEFF");
    EXPECT_EQ(Pegasus::String(uuid), Pegasus::String("00112233-4455-6677-8899-AABBCCDDEEFF"));
    std::ostringstream os;
    os << uuid << '/' << 255;
    EXPECT_EQ(os.str(), "00112233-4455-6677-8899-AABBCCDDEEFF/255");
    EXPECT_EQ(std::string(Uuid()), NO_UUID);
}

TEST(Uuid, ValuesAndComparison) {
    const Uuid uuid(counting(16));
    EXPECT_EQ(std::vector<unsigned char>(uuid), counting(16));
    EXPECT_TRUE(Uuid(std::vector<unsigned char>(uuid)) == uuid);
    EXPECT_TRUE(Uuid(counting(15)) == Uuid());
    EXPECT_TRUE(Uuid(counting(17)) == Uuid());
    EXPECT_FALSE(Uuid(counting(16)) != uuid);
    for (std::size_t i = 0; i < 16; ++i) {
        Bytes other = counting(16);
        other[i] ^= 0x80;
        EXPECT_TRUE(Uuid(other) != uuid);
        EXPECT_FALSE(Uuid(other) == uuid);
    }
    EXPECT_TRUE(Uuid(velmar_remote::NULL_UUID) == Uuid());
    EXPECT_EQ(std::string(Uuid(velmar_remote::INVALID_UUID)),
              "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF");
    EXPECT_EQ(sizeof(Uuid), 16u);
    EXPECT_FALSE(std::is_polymorphic<Uuid>::value);
}

TEST(Uuid, SystemInformationFields) {
    const TableType1 full{SmBios::Table(systemInformation(7, counting(16)))};
    EXPECT_STREQ(full.getManufacturer(), "Velmar");
    EXPECT_STREQ(full.getProductName(), "Test Board");
    EXPECT_STREQ(full.getVersion(), "1.0");
    EXPECT_STREQ(full.getSerialNumber(), "SN-42");
    EXPECT_EQ(full.getUUID(), counting(16));
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

// Puts a table in place of the machine's own.
std::string systemUuidOf(const Bytes& image) {
    const SmBios machine = velmar_remote::_smbios;
    velmar_remote::_smbios = SmBios(image);
    const std::string uuid = Uuid::systemUuid();
    velmar_remote::_smbios = machine;
    return uuid;
}

TEST(Uuid, SystemUuidIsThatOfTheFirstSystemInformation) {
    Bytes image = structure(0, 0, {}, {"firmware"});
    EXPECT_EQ(systemUuidOf(image), NO_UUID);
    append(image, systemInformation(1, counting(16)));
    append(image, systemInformation(2, Bytes(16, 0xFF)));
    EXPECT_EQ(systemUuidOf(image), "00010203-0405-0607-0809-0A0B0C0D0E0F");
    EXPECT_EQ(systemUuidOf(systemInformation(1, Bytes(16, 0xFF))),
              "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF");
    EXPECT_EQ(systemUuidOf({}), NO_UUID);

    // Lengths around the least that holds a UUID, and a structure that is cut off inside it.
    Bytes body = {0, 0, 0, 0};
    append(body, counting(16));
    EXPECT_EQ(systemUuidOf(structure(1, 0, body)), "00010203-0405-0607-0809-0A0B0C0D0E0F");
    body.pop_back();
    EXPECT_EQ(systemUuidOf(structure(1, 0, body)), NO_UUID);
    EXPECT_EQ(systemUuidOf(structure(1, 0, {0, 0, 0, 0})), NO_UUID);
    Bytes cut = systemInformation(1, counting(16));
    cut.resize(0x10);
    EXPECT_EQ(systemUuidOf(cut), NO_UUID);
}

}  // namespace
