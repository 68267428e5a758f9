// Boots virtual machines with real firmware and a kernel that guards its memory, and checks what
// the guest prints on its serial console.
//
// The environment names the kernel (FIRMWARE_KERNEL) and the guest (FIRMWARE_INITRD).
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "Common/SmBiosInitializer.h"
#include "Dmidecode.h"
#include "support/PhysicalImage.h"

using velmar_remote::SmBios;
using velmar_remote::SmBiosInitializer;
using namespace velmar_test;

namespace {

const char NO_UUID[] = "00000000-0000-0000-0000-000000000000";

// What the guest printed, by name in order.
class Machine {
 public:
    explicit Machine(const std::vector<std::string>& options) {
        const char* const kernel = getenv("FIRMWARE_KERNEL");
        const char* const initrd = getenv("FIRMWARE_INITRD");
        std::vector<std::string> command = {"timeout", "300", "qemu-system-x86_64"};
        for (const char* option :
             {"-accel", "tcg", "-nographic", "-no-reboot", "-nic", "none", "-kernel", kernel,
              "-initrd", initrd, "-append", "console=ttyS0 loglevel=0 panic=-1"}) {
            command.push_back(option);
        }
        command.insert(command.end(), options.begin(), options.end());
        const std::string console = run(command);
        for (const std::string& line : lines(console)) {
            // The firmware's last words may stand before the first.
            const std::size_t start = line.find("velmar ");
            const std::size_t equals = line.find('=', start);
            if (start != std::string::npos && equals != std::string::npos) {
                _facts.emplace_back(line.substr(start + 7, equals - start - 7),
                                    line.substr(equals + 1));
            }
        }
        EXPECT_EQ(fact("end"), "clean") << console;
        // Without a device there was no table, and the kernel is one that guards its memory.
        EXPECT_EQ(fact("without-device"), NO_UUID);
        EXPECT_EQ(fact("ram"), "refused");
        EXPECT_EQ(fact("early-uuid"), fact("uuid"));
    }

    std::vector<std::string> all(const std::string& name) const {
        std::vector<std::string> values;
        for (const auto& fact : _facts) {
            if (fact.first == name) {
                values.push_back(fact.second);
            }
        }
        return values;
    }

    std::string fact(const std::string& name) const {
        const std::vector<std::string> values = all(name);
        return values.size() == 1 ? values[0] : std::to_string(values.size()) + " values";
    }

    std::vector<SmBios::Table> structures() const;
    unsigned long tableAddress() const { return std::stoul(all("memory").at(1)); }

    int count(uint8_t type) const {
        int count = 0;
        for (const SmBios::Table& table : structures()) {
            count += table.getType() == type;
        }
        return count;
    }

    // dmidecode reads the same memory.
    void expectPeerAgrees() const;

 private:
    std::vector<std::pair<std::string, std::string>> _facts;
};

Bytes unhex(const std::string& digits) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

std::vector<SmBios::Table> Machine::structures() const {
    std::vector<SmBios::Table> tables;
    for (const std::string& digits : all("structure")) {
        tables.emplace_back(unhex(digits));
    }
    return tables;
}

void Machine::expectPeerAgrees() const {
    PhysicalImage image(0x100000000);
    ASSERT_EQ(all("memory").size(), 2u);
    for (const std::string& dump : all("memory")) {
        image.write(std::stoul(dump), unhex(dump.substr(dump.find(' ') + 1)));
    }
    const std::vector<Decoded> decoded = dmidecode(image.path());
    EXPECT_FALSE(decoded.empty());
    expectSame(decoded, structures());
}

TEST(Firmware, DefaultMachine) {
    const Machine machine({"-m", "256"});
    EXPECT_EQ(machine.fact("maker"), "QEMU");
    EXPECT_EQ(machine.fact("product").substr(0, 11), "Standard PC");
    EXPECT_EQ(machine.fact("serial"), "(none)");
    EXPECT_EQ(machine.fact("uuid"), NO_UUID);
    EXPECT_EQ(machine.fact("version"), "2.8");
    machine.expectPeerAgrees();
}

TEST(Firmware, ChosenIdentity) {
    const Machine machine({"-m", "256", "-smbios",
                           "type=1,manufacturer=Velmar Works,product=Board 7,serial=SN=0042,"
                           "uuid=00112233-4455-6677-8899-aabbccddeeff"});
    EXPECT_EQ(machine.fact("maker"), "Velmar Works");
    EXPECT_EQ(machine.fact("product"), "Board 7");
    EXPECT_EQ(machine.fact("serial"), "SN=0042");
    // As stored: the first three fields are little-endian numbers.
    EXPECT_EQ(machine.fact("uuid"), "33221100-5544-7766-8899-AABBCCDDEEFF");
    machine.expectPeerAgrees();
}

TEST(Firmware, ManySocketsMoveTheTableAboveOneMebibyte) {
    const Machine machine(
        {"-m", "256", "-smp", "8,sockets=8", "-uuid", "deadbeef-0000-1111-2222-333333333333"});
    EXPECT_GT(machine.tableAddress(), 0x100000u);
    EXPECT_EQ(machine.count(4), 8);
    EXPECT_EQ(machine.fact("uuid"), "EFBEADDE-0000-1111-2222-333333333333");
    machine.expectPeerAgrees();
}

TEST(Firmware, SeveralMemoryDevices) {
    // One device for 16 GiB; the memory is only promised, and the kernel uses little of it.
    const Machine machine({"-m", "33G", "-object", "memory-backend-ram,id=ram,size=33G,reserve=off",
                           "-machine", "memory-backend=ram", "-append",
                           "console=ttyS0 loglevel=0 panic=-1 mem=512M"});
    EXPECT_EQ(machine.count(17), 3);
    EXPECT_EQ(machine.fact("maker"), "QEMU");
    machine.expectPeerAgrees();
}

TEST(Firmware, OnlyThe64BitEntryPoint) {
    const Machine machine({"-m", "256", "-machine", "pc,smbios-entry-point-type=64", "-uuid",
                           "deadbeef-0000-1111-2222-333333333333"});
    EXPECT_EQ(machine.fact("version"), "0.0");
    EXPECT_TRUE(machine.structures().empty());
    EXPECT_EQ(machine.fact("uuid"), NO_UUID);
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

TEST(Firmware, DmidecodeAgreesOnGeneratedImages) {
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
