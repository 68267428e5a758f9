// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Boots virtual machines with real firmware and a kernel that guards its memory, and checks what
// the guest prints on its serial console.
//
// The environment names the kernel (FIRMWARE_KERNEL) and the guest (FIRMWARE_INITRD).
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>

#include "Common/SmBiosInitializer.h"
#include "Dmidecode.h"
#include "support/PhysicalImage.h"

using velmar_remote::SmBios;
using velmar_remote::SmBiosInitializer;
using namespace support;

namespace {

const char NO_UUID[] = "00000000-0000-0000-0000-000000000000";
const char UUID[] = "deadbeef-0000-1111-2222-333333333333";

Bytes unhex(const std::string& digits) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

// What a guest printed, the values of each name in order.
typedef std::map<std::string, std::vector<std::string>> Facts;

Facts boot(const std::vector<std::string>& options) {
    std::istringstream words(
        "timeout 300 qemu-system-x86_64 -accel tcg -nographic -no-reboot -nic none");
    std::vector<std::string> command{std::istream_iterator<std::string>(words), {}};
    command.insert(command.end(),
                   {"-kernel", getenv("FIRMWARE_KERNEL"), "-initrd", getenv("FIRMWARE_INITRD"),
                    "-append", "console=ttyS0 loglevel=0 panic=-1"});
    command.insert(command.end(), options.begin(), options.end());
    Facts facts;
    for (const std::string& line : lines(run(command))) {
        // The firmware's last words may stand before the first.
        const std::size_t start = line.find("velmar ");
        const std::size_t equals = line.find('=', start);
        if (start != std::string::npos && equals != std::string::npos) {
            facts[line.substr(start + 7, equals - start - 7)].push_back(line.substr(equals + 1));
        }
    }
    return facts;
}

std::string first(const Facts& facts, const std::string& name) {
    const auto found = facts.find(name);
    return found == facts.end() ? "nothing" : found->second.front();
}

// For whoever runs it: what the library found in the machine.
void show(const std::string& machine, const Facts& facts) {
    std::cout << "  " << machine << ": UUID " << first(facts, "uuid") << ", maker "
              << first(facts, "maker") << ", product " << first(facts, "product")
              << ", serial number " << first(facts, "serial") << std::endl;
}

// Machines and the beginnings of facts about them; of structures their number, by type.
const struct {
    const char* why;
    std::vector<std::string> options;
    std::map<std::string, std::string> facts;
} machines[] = {
    {"default",
     {"-m", "256"},
     {{"maker", "QEMU"},
      {"product", "Standard PC"},
      {"serial", "(none)"},
      {"uuid", NO_UUID},
      {"version", "2.8"},
      {"type 17", "1"},
      {"table", "low"}}},
    // As stored: the first three fields are little-endian numbers.
    {"chosen identity",
     {"-m", "256", "-smbios",
      "type=1,manufacturer=Velmar Works,product=Board 7,serial=SN=0042,"
      "uuid=00112233-4455-6677-8899-aabbccddeeff"},
     {{"maker", "Velmar Works"},
      {"product", "Board 7"},
      {"serial", "SN=0042"},
      {"uuid", "33221100-5544-7766-8899-AABBCCDDEEFF"}}},
    {"many sockets move the table above one mebibyte",
     {"-m", "256", "-smp", "8,sockets=8", "-uuid", UUID},
     {{"uuid", "EFBEADDE-0000-1111-2222-333333333333"}, {"type 4", "8"}, {"table", "high"}}},
    // One device for 16 GiB; the memory is only promised, and the kernel uses little of it.
    {"several memory devices",
     {"-m", "33G", "-object", "memory-backend-ram,id=ram,size=33G,reserve=off", "-machine",
      "memory-backend=ram", "-append", "console=ttyS0 loglevel=0 panic=-1 mem=512M"},
     {{"maker", "QEMU"}, {"type 17", "3"}}},
    {"only the 64-bit entry point",
     {"-m", "256", "-machine", "pc,smbios-entry-point-type=64", "-uuid", UUID},
     {{"version", "0.0"}, {"uuid", NO_UUID}, {"structure", "0 values"}}},
};

TEST(Firmware, IsReadLikeDmidecodeDoes) {
    for (const auto& machine : machines) {
        SCOPED_TRACE(machine.why);
        Facts facts = boot(machine.options);
        show(machine.why, facts);
        std::vector<SmBios::Table> tables;
        std::map<std::string, int> counts;
        for (const std::string& digits : facts["structure"]) {
            tables.emplace_back(unhex(digits));
            counts["type " + std::to_string(tables.back().getType())]++;
        }
        for (const auto& [type, count] : counts) {
            facts[type] = {std::to_string(count)};
        }
        // Without a device there was no table, and the kernel is one that guards its memory.
        auto expected = machine.facts;
        expected.insert({{"end", "clean"}, {"without-device", NO_UUID}, {"ram", "refused"}});
        PhysicalImage image(0x100000000);
        for (const std::string& dump : facts["memory"]) {
            image.write(std::stoul(dump), unhex(dump.substr(dump.find(' ') + 1)));
            facts["table"] = {std::stoul(dump) > 0x100000 ? "high" : "low"};
        }
        for (const auto& [name, value] : expected) {
            const std::vector<std::string>& all = facts[name];
            const std::string fact =
                all.size() == 1 ? all[0] : std::to_string(all.size()) + " values";
            EXPECT_EQ(fact.substr(0, value.size()), value) << name;
        }
        EXPECT_EQ(facts["early-uuid"], facts["uuid"]);
        if (expected.count("structure") == 0) {
            EXPECT_FALSE(tables.empty());
            expectSame(dmidecode(image.path()), tables);
        }
    }
}

// A table of structures with unique handles, closed by the end-of-table structure.
Bytes randomTable(std::mt19937& random, uint16_t count) {
    const auto below = [&random](unsigned bound) { return random() % bound; };
    Bytes table;
    for (uint16_t handle = 0; handle + 1 < count; ++handle) {
        Bytes body(below(4) == 0 ? below(252) : below(40));
        for (uint8_t& byte : body) {
            byte = static_cast<uint8_t>(below(256));
        }
        std::vector<std::string> strings(below(6));
        for (std::string& string : strings) {
            string.resize(1 + below(80));
            for (char& c : string) {
                c = static_cast<char>(1 + below(255));
            }
        }
        append(table, structure(static_cast<uint8_t>(below(126)), handle, body, strings));
    }
    append(table, structure(127, 0xFFFE, {}));
    return table;
}

TEST(Dmidecode, AgreesOnGeneratedImages) {
    std::mt19937 random(20240607);
    for (uint16_t round = 0; round < 40; ++round) {
        SCOPED_TRACE(round);
        const uint16_t count = static_cast<uint16_t>(1 + random() % 60);
        const Bytes table = randomTable(random, count);
        const uint32_t address = round % 3 == 0 ? 0x3FFFF000 : 0xE0123;
        PhysicalImage image(0x40100000);
        image.refuse(0x100000, 0x3FFFF000);
        image.write(address, table);
        image.write(0xF0000 + 16 * round, round % 2
                                              ? smEntryPoint(2, 7, table.size(), address, count)
                                              : dmiEntryPoint(0x23, table.size(), address, count));
        const std::vector<Decoded> decoded = dmidecode(image.path());
        EXPECT_EQ(decoded.size(), count);
        expectSame(decoded, SmBiosInitializer().getTables());
    }
}

}  // namespace
