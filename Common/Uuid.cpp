// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Uuid.h"

#include <algorithm>
#include <iomanip>
#include <iterator>
#include <sstream>

#include "SmBiosInternal.h"

namespace velmar_remote {

namespace {

constexpr uint8_t SYSTEM_INFORMATION = 1;
constexpr std::size_t UUID_START = 0x08;
constexpr std::size_t UUID_END = 0x18;

}  // namespace

const Uint8 NULL_UUID[16] = {};
const Uint8 INVALID_UUID[16] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

std::vector<uint8_t> TableType1::getUUID() const {
    const std::size_t end = std::min(UUID_END, formattedEnd(*this));
    std::vector<uint8_t> uuid;
    for (std::size_t i = UUID_START; i < end; ++i) {
        uuid.push_back(getByte(static_cast<uint8_t>(i)));
    }
    return uuid;
}

Uuid::Uuid(const Uint8 (&bytes)[16]) { std::copy(std::begin(bytes), std::end(bytes), _uuid); }

Uuid::Uuid(const std::vector<Uint8>& bytes) : Uuid() {
    if (bytes.size() == sizeof(_uuid)) {
        std::copy(bytes.begin(), bytes.end(), _uuid);
    }
}

const Uuid Uuid::systemUuid() {
    const SmBios smbios;
    for (const SmBios::Table& table : smbios.getTables()) {
        if (table.getType() == SYSTEM_INFORMATION) {
            return Uuid(TableType1(table).getUUID());
        }
    }
    return Uuid();
}

Uuid::operator std::string() const {
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setfill('0');
    for (std::size_t i = 0; i < sizeof(_uuid); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            text << '-';
        }
        text << std::setw(2) << static_cast<unsigned>(_uuid[i]);
    }
    return text.str();
}

Uuid::operator Pegasus::String() const { return Pegasus::String(std::string(*this).c_str()); }

Uuid::operator std::vector<unsigned char>() const {
    return std::vector<unsigned char>(std::begin(_uuid), std::end(_uuid));
}

std::ostream& operator<<(std::ostream& os, const Uuid& uuid) { return os << std::string(uuid); }

bool operator==(const Uuid& a, const Uuid& b) { return std::string(a) == std::string(b); }

bool operator!=(const Uuid& a, const Uuid& b) { return !(a == b); }

}  // namespace velmar_remote
