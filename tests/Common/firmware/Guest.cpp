// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The only program of a virtual machine: prints what the library found in the machine's real
// physical memory, a line for each fact, and ends the machine.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Common/PMem.h"
#include "Common/SmBios.h"
#include "Common/Uuid.h"

using namespace velmar_remote;

namespace {

// Asks for the machine's UUID while static initialisers still run.
const std::string earlyUuid = Uuid::systemUuid();

void print(const char* name, const std::string& value) {
    printf("velmar %s=%s\n", name, value.c_str());
}

std::string text(const char* string) { return string ? string : "(none)"; }

std::string hex(const std::vector<uint8_t>& bytes) {
    std::string digits;
    char pair[3];
    for (uint8_t byte : bytes) {
        snprintf(pair, sizeof(pair), "%02X", byte);
        digits += pair;
    }
    return digits;
}

// Physical memory read without the library, for others to parse. Mapped, because the device's read
// refuses what lies above the kernel's own memory.
void dump(unsigned long address, std::size_t length) {
    const unsigned long offset = address % 0x1000;
    const int device = open("/dev/mem", O_RDONLY);
    void* memory = mmap(nullptr, offset + length, PROT_READ, MAP_SHARED, device,
                        static_cast<off_t>(address - offset));
    close(device);
    if (memory == MAP_FAILED) {
        print("memory", std::to_string(address) + " refused");
        return;
    }
    const uint8_t* bytes = static_cast<const uint8_t*>(memory) + offset;
    print("memory", std::to_string(address) + " " + hex({bytes, bytes + length}));
    munmap(memory, offset + length);
}

void printTable() {
    const SmBios smbios;
    print("version", std::to_string(smbios.getMajorVersion()) + "." +
                         std::to_string(smbios.getMinorVersion()));
    for (const SmBios::Table& table : smbios.getTables()) {
        if (table.getType() == 1) {
            const TableType1 system(table);
            print("maker", text(system.getManufacturer()));
            print("product", text(system.getProductName()));
            print("serial", text(system.getSerialNumber()));
        }
        print("structure", hex(table.getData()));
    }
}

void printMemory() {
    PMem memory;
    memory.open();
    char anchor[] = "_SM_";
    const unsigned long entry = memory.search(anchor, 0xF0000, 0xFFFFF, 16);
    uint8_t bytes[31] = {};
    if (entry != 0 && memory.read(bytes, entry, sizeof(bytes)) == 0) {
        dump(entry, sizeof(bytes));
        dump(bytes[0x18] | bytes[0x19] << 8 | bytes[0x1A] << 16 | 1ul * bytes[0x1B] << 24,
             bytes[0x16] | bytes[0x17] << 8);
    }
    print("ram", memory.read(bytes, 0x100000, 1) == 0 ? "readable" : "refused");
    memory.close();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 && access("/dev/mem", F_OK) != 0) {
        // The discovery has already run, without a device. Once more with one.
        print("without-device", Uuid::systemUuid());
        fflush(stdout);
        mount("devtmpfs", "/dev", "devtmpfs", 0, "");
        char again[] = "again";
        char* arguments[] = {argv[0], again, nullptr};
        execv("/init", arguments);
    }
    print("early-uuid", earlyUuid);
    print("uuid", Uuid::systemUuid());
    printTable();
    printMemory();
    print("end", "clean");
    fflush(stdout);
    reboot(RB_AUTOBOOT);
}
