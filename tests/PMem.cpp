#include "Common/PMem.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "support/PhysicalImage.h"

using velmar_remote::handle;
using velmar_remote::PMem;
using velmar_test::Bytes;
using velmar_test::PhysicalImage;

namespace {

constexpr unsigned long MIB = 0x100000;
constexpr unsigned long GIB4 = 0x100000000;

using Addresses = std::vector<unsigned long>;

// Every byte tells its address, so that a copy from a wrong place shows.
uint8_t byteAt(unsigned long address) { return static_cast<uint8_t>(address * 2654435761u >> 24); }

void fill(PhysicalImage& image, unsigned long address, std::size_t length) {
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i) {
        bytes[i] = byteAt(address + i);
    }
    image.write(address, bytes);
}

struct Opened : PMem {
    Opened() { EXPECT_TRUE(open()); }
    ~Opened() { close(); }
};

unsigned long search(PMem& memory, const std::string& match, unsigned long start, unsigned long end,
                     long step) {
    std::string copy = match;
    return memory.search(copy.data(), start, end, step);
}

void put(PhysicalImage& image, unsigned long address, const std::string& text) {
    image.write(address, Bytes(text.begin(), text.end()));
}

TEST(PMem, DescriptorIsSharedAndStaysAfterClose) {
    PhysicalImage image;
    PMem first, second;
    char byte;
    image.present = false;
    EXPECT_FALSE(first.open());
    EXPECT_EQ(handle, -1);
    EXPECT_TRUE(first.close());
    EXPECT_NE(first.read(&byte, 0, 1), 0);
    EXPECT_EQ(search(first, "A", 0, MIB, 16), 0u);
    image.present = true;
    EXPECT_TRUE(first.open());
    const int opened = handle;
    EXPECT_NE(opened, -1);
    { PMem third; }
    EXPECT_EQ(second.read(&byte, 0, 1), 0);
    EXPECT_TRUE(second.close());
    EXPECT_EQ(handle, opened);
    EXPECT_NE(first.read(&byte, 0, 1), 0);
    EXPECT_TRUE(image.clean());
}

TEST(PMem, ReadsAcrossWindows) {
    const struct {
        unsigned long address;
        std::size_t length;
        Addresses windows;
    } cases[] = {
        {0x10010, 65520, {0x10000}},
        {0x10010, 65521, {0x10000, 0x20000}},
        {0x10FFF, 65536, {0x10000, 0x20000}},
        {0x10010, 200000, {0x10000, 0x20000, 0x30000, 0x40000}},
        {GIB4 + 0x1234, 70000, {GIB4 + 0x1000, GIB4 + 0x11000}},
        {GIB4 - 8, 16, {GIB4 - 0x1000}},
    };
    PhysicalImage image(GIB4 + MIB);
    Opened memory;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.address);
        fill(image, c.address, c.length);
        image.maps.clear();
        Bytes read(c.length + 1, 0xEE);
        ASSERT_EQ(memory.read(read.data(), c.address, static_cast<long>(c.length)), 0);
        EXPECT_EQ(image.maps, c.windows);
        EXPECT_EQ(read.back(), 0xEE);
        std::size_t right = 0;
        while (right < c.length && read[right] == byteAt(c.address + right)) {
            ++right;
        }
        EXPECT_EQ(right, c.length);
    }
    memory.close();
    EXPECT_TRUE(image.clean());
}

TEST(PMem, ReadMapsOnlyItsPagesWhenTheWindowIsRefused) {
    const struct {
        unsigned long address;
        long length;
        bool readable;
    } cases[] = {
        {0xFFFC0, 64, true}, {0xFFFC1, 64, false},     {MIB - 0x10000, 65536, true},
        {MIB, 1, false},     {0xE8FF8, 0x17008, true}, {0xE8FF8, 0x17009, false},
        {0x1FFFFF, 1, true}, {0x1FFFFF, 2, false},     {ULONG_MAX - 3, 8, false},
        {0, -1, false},      {MIB, 0, true},
    };
    PhysicalImage image;
    image.refuse(MIB, MIB + 0x8000);
    fill(image, 0xE8000, 0x18000);
    Opened memory;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.address);
        Bytes read(0x18000);
        EXPECT_EQ(memory.read(read.data(), c.address, c.length) == 0, c.readable) << c.length;
        if (c.readable && c.length > 0 && c.address < MIB) {
            EXPECT_EQ(read[0], byteAt(c.address));
            EXPECT_EQ(read[c.length - 1], byteAt(c.address + c.length - 1));
        }
    }
    memory.close();
    EXPECT_TRUE(image.clean());
}

TEST(PMem, SearchFindsTheFirstCandidate) {
    const std::string longer(70000, 'x');
    const struct {
        const char* why;
        unsigned long at;  // where the pattern stands
        std::string match;
        unsigned long start, end;
        long step;
        bool found;
    } cases[] = {
        {"first", 0xF0000, "_SM_", 0xF0000, 0xFFFFF, 16, true},
        {"last, reaching past the end", 0xFFFF0, "_SM_0123456789ABCDEF", 0xF0000, 0xFFFF1, 16,
         true},
        {"at the bound", 0xFFFF0, "_SM_", 0xF0000, 0xFFFF0, 16, false},
        {"between candidates", 0xF0008, "_SM_", 0xF0000, 0xFFFFF, 16, false},
        {"unaligned start", 0xF0018, "_SM_", 0xF0008, 0xFFFFF, 16, true},
        {"beyond the first window", 0x34560, "_DMI_", 0, 0xFFFFF, 16, true},
        {"at address 0", 0, "_DMI_", 0, 0xFFFFF, 16, false},
        {"across a window's end", 0x1FFFE, "_SM_", 0x10000, 0x30000, 1, true},
        {"longer than a window", 0x30001, longer, 0x30000, 0x40000, 1, true},
        {"NUL before the pattern's end", 0x5000, std::string("_S\0_", 4), 0x5000, 0x5001, 1, false},
        {"start past the end", 0x5000, "_SM_", 0x5000, 0x4000, 16, false},
        {"above 4 GiB", GIB4 + 0x20, "_SM_", GIB4 - 0x1000, GIB4 + 0x1000, 16, true},
        {"wide step", 0x5000, "_SM_", 0x5002, ULONG_MAX, LONG_MAX, false},
        {"no step", 0x5001, "_SM_", 0x5000, 0x6000, 0, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        PhysicalImage image(GIB4 + MIB);
        put(image, c.at, c.match);
        Opened memory;
        const std::string match = c.match.find('\0') == std::string::npos ? c.match : "_SM_";
        EXPECT_EQ(search(memory, match, c.start, c.end, c.step), c.found ? c.at : 0);
        memory.close();
        EXPECT_TRUE(image.clean());
    }
}

TEST(PMem, OneWindowForTheFirmwareAreaAndForNothingAtAll) {
    PhysicalImage image;
    Opened memory;
    EXPECT_EQ(search(memory, "_SM_", 0xF0000, 0xFFFFF, 16), 0u);
    EXPECT_EQ(search(memory, "", 0xE0010, 0xFFFFF, 16), 0xE0010u);
    EXPECT_EQ(search(memory, "_SM_", 0xD2345, 0xD2345, 16), 0u);
    EXPECT_EQ(memory.read(nullptr, 0xC1234, 0), 0);
    EXPECT_EQ(image.maps, (Addresses{0xF0000, 0xE0000, 0xD2000, 0xC1000}));
    memory.close();
    EXPECT_TRUE(image.clean());
}

TEST(PMem, SearchPassesOverRefusedPages) {
    PhysicalImage image;
    image.refuse(0x12000, 0x14000);
    image.refuse(0x15000, 0x16000);
    image.refuse(MIB, 2 * MIB);
    Opened memory;
    // In a refused page; reaching into one; below it; behind it.
    put(image, 0x12800, "_DMI_");
    put(image, 0x14FFE, "_DMI_");
    EXPECT_EQ(search(memory, "_DMI_", 0x10000, 0x18000, 2), 0u);
    put(image, 0x16010, "_DMI_");
    EXPECT_EQ(search(memory, "_DMI_", 0x10000, 0x18000, 2), 0x16010u);
    put(image, 0x14010, "_DMI_");
    EXPECT_EQ(search(memory, "_DMI_", 0x10000, 0x18000, 2), 0x14010u);
    put(image, 0x11FFA, "_DMI_");
    EXPECT_EQ(search(memory, "_DMI_", 0x10000, 0x18000, 2), 0x11FFAu);
    put(image, 0xFFFF0, "_DMI_");
    EXPECT_EQ(search(memory, "_DMI_", 0xF8000, 2 * MIB, 16), 0xFFFF0u);
    EXPECT_EQ(search(memory, "_DMI_", MIB, 2 * MIB, 16), 0u);
    EXPECT_EQ(search(memory, "", MIB, 2 * MIB, 16), MIB);
    memory.close();
    EXPECT_TRUE(image.clean());
}

}  // namespace
