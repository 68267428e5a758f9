// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/SmBios.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>

#include "support/PhysicalImage.h"

using support::append;
using support::Bytes;
using support::structure;
using velmar_remote::SmBios;
using Table = SmBios::Table;

namespace {

// True when the call is refused the documented way.
template <class Call>
bool outOfRange(Call call) {
    try {
        call();
    } catch (const std::out_of_range& e) {
        return std::string(e.what()).empty();
    }
    return false;
}

const Bytes TWO_STRUCTURES = {0, 4, 0, 0, 'A', 0, 'B', 0, 0, 0x7F, 4, 1, 0, 0, 0};

TEST(SmBios, FieldsAreBoundedByTheFormattedArea) {
    const Bytes bytes = {0x01, 0x08, 0x34, 0x12, 0xAA, 0xBB, 0xCC, 0xDD, 0x00, 0x00};
    const Table table(bytes);
    EXPECT_EQ(table.getType(), 1);
    EXPECT_EQ(table.getLength(), 8);
    EXPECT_EQ(table.getHandle(), 0x1234);
    EXPECT_EQ(table.getData(), bytes);
    EXPECT_EQ(table.getWord(6), 0xDDCC);
    EXPECT_EQ(table.getDWord(4), 0xDDCCBBAAu);
    EXPECT_EQ(table.getQWord(0), 0xDDCCBBAA12340801u);
    EXPECT_EQ(table.getByte(9), 0);
    EXPECT_TRUE(outOfRange([&] { table.getWord(7); }));
    EXPECT_TRUE(outOfRange([&] { table.getQWord(1); }));
    EXPECT_TRUE(outOfRange([&] { table.getByte(10); }));
}

TEST(SmBios, StringsAreCountedFromOne) {
    const SmBios smbios(TWO_STRUCTURES);
    ASSERT_EQ(smbios.getTables().size(), 2u);
    EXPECT_EQ(smbios[0].getString(0), nullptr);
    EXPECT_STREQ(smbios[0].getString(1), "A");
    EXPECT_STREQ(smbios[0].getString(2), "B");
    EXPECT_TRUE(outOfRange([&] { smbios[0].getString(3); }));
    EXPECT_STREQ(smbios[1].getString(1), "");
    EXPECT_TRUE(outOfRange([&] { smbios[1].getString(2); }));
}

// What is kept of input that ends early or states odd lengths; both walk and parser must stay
// inside the input, which the address sanitizer watches.
TEST(SmBios, ParsesDamagedStructures) {
    const struct {
        const char* why;
        Bytes bytes, data;
    } cases[] = {
        {"three bytes", {1, 4, 0}, {}},
        {"cut in the formatted area", {1, 8, 0, 0, 9, 9}, {1, 8, 0, 0, 9, 9, 0, 0}},
        {"no string set", {1, 4, 0, 0}, {1, 4, 0, 0, 0, 0}},
        {"cut in a string", {1, 4, 0, 0, 'A'}, {1, 4, 0, 0, 'A', 0, 0}},
        {"cut after a string's NUL", {1, 4, 0, 0, 'A', 0}, {1, 4, 0, 0, 'A', 0, 0, 0}},
        {"cut in an empty set", {1, 4, 0, 0, 0}, {1, 4, 0, 0, 0, 0, 0}},
        {"length below the header", {1, 2, 'x', 'y', 0, 0, 7}, {1, 2, 'x', 'y', 0, 0}},
        {"length 0", {0, 0, 5, 5, 0, 0}, {0, 0}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Table(c.bytes).getData(), c.data) << c.why;
        EXPECT_EQ(SmBios(c.bytes).getTables().empty(), c.data.empty()) << c.why;
    }
    const Table cut(Bytes{1, 200, 0, 0, 9}), empty;
    EXPECT_EQ(cut.getLength(), 200);
    EXPECT_TRUE(outOfRange([&] { cut.getWord(4); })) << "the NULs that close it are not its own";
    EXPECT_EQ(cut.getWord(3), 0x900);
    EXPECT_TRUE(outOfRange([&] { cut.getString(1); }));
    EXPECT_TRUE(outOfRange([&] { empty.getString(1); }));
    EXPECT_TRUE(outOfRange([&] { empty.getByte(0); }));
    EXPECT_EQ(empty.getType() + empty.getLength() + empty.getHandle(), 0);
}

TEST(SmBios, WalkRunsToTheEndOfTheImage) {
    Bytes image = structure(127, 1, {});
    append(image, structure(2, 2, {}, {"behind the end"}));
    append(image, Bytes{1, 2, 3});
    const SmBios smbios(image);
    ASSERT_EQ(smbios.getTables().size(), 2u);
    EXPECT_EQ(smbios[0].getType(), 127);
    EXPECT_STREQ(smbios[1].getString(1), "behind the end");
    EXPECT_EQ(smbios.getMajorVersion() + smbios.getMinorVersion() + smbios.getRevision(), 0);
}

TEST(SmBios, FindGivesThePosition) {
    EXPECT_EQ(SmBios(Bytes()).find(0), 255);
    const SmBios two(TWO_STRUCTURES);
    EXPECT_EQ(two.find(127), 1);
    Bytes image;
    for (uint16_t i = 0; i < 300; ++i) {
        append(image, structure(static_cast<uint8_t>(i < 254 ? 10 : i - 243), i, {}));
    }
    const SmBios many(image);
    EXPECT_EQ(many.find(11), 254);
    EXPECT_EQ(many.find(12), 255);
    EXPECT_EQ(many.find(299 - 243), 255);
    EXPECT_EQ(many[255].getHandle(), 255);
}

TEST(SmBios, VersionBits) {
    struct Versioned : SmBios {
        Versioned() : SmBios(Bytes()) { _version = 0x00030802; }
    };
    const SmBios copy = Versioned();
    EXPECT_EQ(copy.getMajorVersion(), 2);
    EXPECT_EQ(copy.getMinorVersion(), 8);
    EXPECT_EQ(copy.getRevision(), 3);
}

TEST(SmBios, PrintersBracketEachElement) {
    using velmar_remote::operator<<;
    char text[] = "two words";
    std::ostringstream os;
    os << std::vector<char*>{text, nullptr, text + 9} << std::vector<uint16_t>{0, 65535} << std::hex
       << std::vector<uint8_t>{65, 255} << std::vector<uint16_t>{} << "|";
    EXPECT_EQ(os.str(), "<two words><><><0><65535><41><ff>|");
}

}  // namespace
