// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Parses arbitrary bytes as a structure table and calls every accessor, up to and past its bounds.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "Common/SmBios.h"
#include "Common/Uuid.h"

using namespace velmar_remote;

namespace {

void require(bool condition) {
    if (!condition) {
        abort();
    }
}

// The only way to refuse is std::out_of_range; anything else ends the program.
template <class Call>
bool accepted(Call call) {
    try {
        call();
        return true;
    } catch (const std::out_of_range& e) {
        require(*e.what() == '\0');
        return false;
    }
}

void checkNumbers(const SmBios::Table& table, uint8_t i) {
    const std::vector<uint8_t>& data = table.getData();
    require(accepted([&] { require(table.getByte(i) == data[i]); }) == (i < data.size()));
    // Without the two NULs that close every structure.
    const std::size_t held = data.empty() ? 0 : data.size() - 2;
    const std::size_t end = std::min<std::size_t>(table.getLength(), held);
    uint64_t value = 0;
    for (std::size_t width = 1; width <= 8 && i + width <= end; ++width) {
        value |= static_cast<uint64_t>(data[i + width - 1]) << 8 * (width - 1);
        require(width != 2 || table.getWord(i) == value);
        require(width != 4 || table.getDWord(i) == value);
        require(width != 8 || table.getQWord(i) == value);
    }
    require(accepted([&] { table.getWord(i); }) == (i + 2u <= end));
    require(accepted([&] { table.getDWord(i); }) == (i + 4u <= end));
    require(accepted([&] { table.getQWord(i); }) == (i + 8u <= end));
}

// Returns false if the string is missing.
bool checkString(const SmBios::Table& table, uint8_t i) {
    const std::vector<uint8_t>& data = table.getData();
    return accepted([&] {
        const char* string = table.getString(i);
        if (i == 0) {
            require(string == nullptr);
            return;
        }
        const char* begin = reinterpret_cast<const char*>(data.data());
        require(string >= begin + table.getLength());
        require(string + strlen(string) < begin + data.size());
    });
}

void checkSystemInformation(const SmBios::Table& table) {
    const TableType1 system(table);
    require(system.getUUID().size() <= 16);
    accepted([&] { system.getManufacturer(); });
    accepted([&] { system.getProductName(); });
    accepted([&] { system.getVersion(); });
    accepted([&] { system.getSerialNumber(); });
    accepted([&] { system.getWakeUpTime(); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<uint8_t> image(data, data + size);
    const SmBios smbios(image);
    std::size_t position = 0;
    std::ostringstream os;
    for (const SmBios::Table& table : smbios.getTables()) {
        const std::vector<uint8_t>& bytes = table.getData();
        require(position < size && bytes.size() >= 2);
        require(bytes[bytes.size() - 1] == 0 && bytes[bytes.size() - 2] == 0);
        position += bytes.size();
        // Two offsets past the end show the bounds; more would only make the run slow.
        for (std::size_t i = 0; i < std::min<std::size_t>(256, bytes.size() + 2); ++i) {
            checkNumbers(table, static_cast<uint8_t>(i));
        }
        uint8_t number = 0;
        while (checkString(table, number) && number < 255) {
            ++number;
        }
        checkString(table, 255);
        checkSystemInformation(table);
        os << bytes;
        const uint8_t found = smbios.find(table.getType());
        require(found == 255 || smbios[found].getType() == table.getType());
    }
    // At most two made-up NULs follow what there is, and less than a header is left over.
    require(position <= size + 2 && size < position + 4);
    _smbios = smbios;
    os << Uuid::systemUuid();
    return 0;
}
