// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/PMem.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "support/PhysicalImage.h"

using support::Bytes;
using support::PhysicalImage;
using velmar_remote::handle;
using velmar_remote::PMem;

namespace {

constexpr unsigned long MIB = 0x100000;
constexpr unsigned long GIB4 = 0x100000000;

using Addresses = std::vector<unsigned long>;

// Every byte tells its address, so that a copy from a wrong place shows.
uint8_t byteAt(unsigned long address) { return static_cast<uint8_t>(address * 2654435761u >> 24); }

Bytes bytesAt(unsigned long address, long length) {
    Bytes bytes;
    for (long i = 0; i < length; ++i) {
        bytes.push_back(byteAt(address + i));
    }
    return bytes;
}

// An image that is open, and closed and clean at the end.
struct Opened : PhysicalImage, PMem {
    explicit Opened(unsigned long size = 2 * MIB) : PhysicalImage(size) { EXPECT_TRUE(open()); }
    ~Opened() {
        close();
        EXPECT_TRUE(clean());
    }
    unsigned long search(std::string match, unsigned long start, unsigned long end, long step) {
        return PMem::search(match.data(), start, end, step);
    }
    void put(unsigned long address, const std::string& text) {
        write(address, Bytes(text.begin(), text.end()));
    }
};

TEST(PMem, DescriptorIsSharedAndStaysAfterClose) {
    PhysicalImage image;
    PMem first, second;
    char byte[] = "A";
    image.present = false;
    EXPECT_FALSE(first.open());
    EXPECT_EQ(handle, -1);
    EXPECT_TRUE(first.close());
    EXPECT_NE(first.read(byte, 0, 1), 0);
    EXPECT_EQ(first.search(byte, 0, MIB, 16), 0u);
    image.present = true;
    EXPECT_TRUE(first.open());
    const int opened = handle;
    { PMem third; }
    EXPECT_EQ(second.read(byte, 0, 1), 0);
    EXPECT_TRUE(second.close());
    EXPECT_EQ(handle, opened);
    EXPECT_NE(first.read(byte, 0, 1), 0);
    EXPECT_TRUE(image.clean());
}

TEST(PMem, ReadsAcrossWindowsAndUpToRefusedPages) {
    const struct {
        unsigned long address;
        long length;
        bool readable;
        Addresses windows;
    } cases[] = {
        {0x10010, 65520, true, {0x10000}},
        {0x10010, 65521, true, {0x10000, 0x20000}},
        {0x10FFF, 65536, true, {0x10000, 0x20000}},
        {0x10010, 200000, true, {0x10000, 0x20000, 0x30000, 0x40000}},
        {GIB4 + 0x1234, 70000, true, {GIB4 + 0x1000, GIB4 + 0x11000}},
        {GIB4 - 8, 16, true, {GIB4 - 0x1000}},
        // Only the needed pages when the window is refused.
        {0xFFFC0, 64, true, {0xFF000}},
        {0xFFFC1, 64, false, {}},
        {0xF0000, 65536, true, {0xF0000}},
        {MIB, 1, false, {}},
        {0xE8FF8, 0x17008, true, {0xE8000, 0xF8000}},
        {0xE8FF8, 0x17009, false, {0xE8000}},
        {GIB4 + MIB - 1, 1, true, {GIB4 + MIB - 0x1000}},
        {GIB4 + MIB - 1, 2, false, {}},
        {ULONG_MAX - 3, 8, false, {}},
        {0, -1, false, {}},
        {MIB, 0, true, {}},
        {0xC1234, 0, true, {0xC1000}},
    };
    Opened memory(GIB4 + MIB);
    memory.refuse(MIB, MIB + 0x8000);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.address);
        const Bytes expected = bytesAt(c.address, c.length);
        if (c.readable) {
            memory.write(c.address, expected);
        }
        memory.maps.clear();
        Bytes read(expected.size() + 1, 0xEE);
        EXPECT_EQ(memory.read(read.data(), c.address, c.length) == 0, c.readable) << c.length;
        EXPECT_EQ(memory.maps, c.windows);
        EXPECT_EQ(read.back(), 0xEE);
        read.pop_back();
        EXPECT_TRUE(!c.readable || read == expected);
    }
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
        {"last, past the end", 0xFFFF0, "_SM_0123456789ABCDEF", 0xF0000, 0xFFFF1, 16, true},
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
        Opened memory(GIB4 + MIB);
        memory.put(c.at, c.match);
        const std::string match = c.match.find('\0') == std::string::npos ? c.match : "_SM_";
        EXPECT_EQ(memory.search(match, c.start, c.end, c.step), c.found ? c.at : 0);
    }
}

TEST(PMem, SearchPassesOverRefusedPages) {
    Opened memory;
    memory.refuse(0x12000, 0x14000);
    memory.refuse(0x15000, 0x16000);
    memory.refuse(MIB, 2 * MIB);
    EXPECT_EQ(memory.search("_SM_", 0xF0000, 0xFFFFF, 16), 0u);
    EXPECT_EQ(memory.search("", 0xE0010, 0xFFFFF, 16), 0xE0010u);
    EXPECT_EQ(memory.search("_SM_", 0xD2345, 0xD2345, 16), 0u);
    EXPECT_EQ(memory.maps, (Addresses{0xF0000, 0xE0000, 0xD2000})) << "one window each";
    // In a refused page; reaching into one; behind it; between two; below it.
    const unsigned long places[][2] = {
        {0x12800, 0}, {0x14FFE, 0}, {0x16010, 0x16010}, {0x14010, 0x14010}, {0x11FFA, 0x11FFA}};
    for (const auto& [at, found] : places) {
        memory.put(at, "_DMI_");
        EXPECT_EQ(memory.search("_DMI_", 0x10000, 0x18000, 2), found);
    }
    memory.put(0xFFFF0, "_DMI_");
    EXPECT_EQ(memory.search("_DMI_", 0xF8000, 2 * MIB, 16), 0xFFFF0u);
    EXPECT_EQ(memory.search("_DMI_", MIB, 2 * MIB, 16), 0u);
    EXPECT_EQ(memory.search("", MIB, 2 * MIB, 16), MIB);
}

}  // namespace
