// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "SmBios.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "SmBiosInitializer.h"
#include "SmBiosInternal.h"

namespace velmar_remote {

// Before every ordinary static initialiser of whatever links this, which may already ask for the
// table, and after _empty, wherever the linker puts the two: priorities order across objects.
//
// Inline for the guard that comes with it: where a program and the modules it loads each carry a
// copy of the static library, all copies' initialisers meet one object, and only the first one
// makes it and registers its destruction.
__attribute__((init_priority(102))) inline SmBios _smbios = SmBiosInitializer();

namespace {

constexpr std::size_t HEADER_SIZE = 4;

// Writes each number between angle brackets, a byte not as a character.
template <class T>
std::ostream& print(std::ostream& os, const std::vector<T>& numbers) {
    for (const T number : numbers) {
        os << "<" << static_cast<unsigned>(number) << ">";
    }
    return os;
}

template <class T>
T littleEndian(const SmBios::Table& table, std::size_t i) {
    const std::vector<uint8_t>& data = table.getData();
    if (i + sizeof(T) > formattedEnd(table)) {
        throw std::out_of_range("");
    }
    uint64_t value = 0;
    for (std::size_t n = sizeof(T); n > 0; --n) {
        value = value << 8 | data[i + n - 1];
    }
    return static_cast<T>(value);
}

}  // namespace

SmBios::Table::Table(const std::vector<uint8_t>& bytes) : Table(bytes.data(), bytes.size()) {}

SmBios::Table::Table(const uint8_t* bytes, std::size_t size) : Table() {
    if (size < HEADER_SIZE) {
        return;
    }
    _type = bytes[0];
    _length = bytes[1];
    _handle = static_cast<uint16_t>(bytes[2] | bytes[3] << 8);
    std::size_t end = std::min<std::size_t>(_length, size);
    while (end < size && !(end + 1 < size && bytes[end] == 0 && bytes[end + 1] == 0)) {
        ++end;
    }
    _data.reserve(end + CLOSING_NULS);
    _data.assign(bytes, bytes + end);
    _data.insert(_data.end(), CLOSING_NULS, 0);
}

uint8_t SmBios::Table::getByte(uint8_t i) const {
    if (i >= _data.size()) {
        throw std::out_of_range("");
    }
    return _data[i];
}

uint16_t SmBios::Table::getWord(uint8_t i) const { return littleEndian<uint16_t>(*this, i); }

uint32_t SmBios::Table::getDWord(uint8_t i) const { return littleEndian<uint32_t>(*this, i); }

uint64_t SmBios::Table::getQWord(uint8_t i) const { return littleEndian<uint64_t>(*this, i); }

char* SmBios::Table::getString(uint8_t i) const {
    if (i == 0) {
        return nullptr;
    }
    // Every string ends before the last byte, which is the NUL that closes the set.
    std::size_t position = _length;
    for (uint8_t number = 1; position + 1 < _data.size(); ++number) {
        const char* string = reinterpret_cast<const char*>(&_data[position]);
        if (number == i) {
            return const_cast<char*>(string);
        }
        position += std::strlen(string) + 1;
    }
    throw std::out_of_range("");
}

SmBios::SmBios() : SmBios(_smbios) {}

SmBios::SmBios(const std::vector<uint8_t>& bytes) : _version(0) {
    std::size_t position = 0;
    while (position < bytes.size()) {
        Table table(bytes.data() + position, bytes.size() - position);
        if (table._data.empty()) {
            break;
        }
        position += table._data.size();
        _tables.push_back(std::move(table));
    }
}

uint8_t SmBios::find(uint8_t type) const {
    constexpr uint8_t NONE = 255;
    const std::size_t reachable = std::min<std::size_t>(_tables.size(), NONE);
    for (std::size_t i = 0; i < reachable; ++i) {
        if (_tables[i]._type == type) {
            return static_cast<uint8_t>(i);
        }
    }
    return NONE;
}

std::ostream& operator<<(std::ostream& os, const std::vector<char*>& strings) {
    for (const char* string : strings) {
        os << "<";
        if (string != nullptr) {  // which would end all output to the stream
            os << string;
        }
        os << ">";
    }
    return os;
}

std::ostream& operator<<(std::ostream& os, const std::vector<uint16_t>& words) {
    return print(os, words);
}

std::ostream& operator<<(std::ostream& os, const std::vector<uint8_t>& bytes) {
    return print(os, bytes);
}

}  // namespace velmar_remote
