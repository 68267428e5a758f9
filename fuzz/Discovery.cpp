// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Discovery over an image of physical memory with refused ranges, both made from the input.
//
// The input is a list of orders, each a code byte and its operands; see apply.
#include <algorithm>
#include <cstdlib>

#include "Common/SmBiosInitializer.h"
#include "support/PhysicalImage.h"

using namespace velmar_remote;
using namespace support;

namespace {

constexpr unsigned long SIZE = 0x140000;
constexpr unsigned long PAGE = 0x1000;

class Input {
 public:
    Input(const uint8_t* data, std::size_t size) : _data(data), _size(size) {}
    bool empty() const { return _size == 0; }
    Bytes take(std::size_t count) {
        count = std::min(count, _size);
        const Bytes bytes(_data, _data + count);
        _data += count;
        _size -= count;
        return bytes;
    }
    unsigned long number(std::size_t width) {
        unsigned long value = 0;
        for (uint8_t byte : take(width)) {
            value = value << 8 | byte;
        }
        return value;
    }

 private:
    const uint8_t* _data;
    std::size_t _size;
};

// The fuzzer would seldom meet a sum; give it an entry point that passes.
void writeEntryPoint(PhysicalImage& image, Input& input, bool sm) {
    const unsigned long address = input.number(2) * 16;
    const unsigned long length = input.number(2);
    const uint32_t table = static_cast<uint32_t>(input.number(4));
    const uint8_t revision = static_cast<uint8_t>(input.number(1));
    Bytes bytes =
        sm ? smEntryPoint(2, revision, length, table) : dmiEntryPoint(revision, length, table);
    if (sm) {
        bytes[0x05] = static_cast<uint8_t>(input.number(1));
        balance(bytes, 0, std::min<std::size_t>(bytes[0x05], bytes.size()), 0x04);
    }
    image.write(address, bytes);
}

void apply(PhysicalImage& image, Input& input) {
    switch (input.number(1) % 6) {
        case 0: {
            const unsigned long page = input.number(2) % (SIZE / PAGE);
            image.refuse(page * PAGE, (page + 1 + input.number(1)) * PAGE);
            break;
        }
        case 1:
            writeEntryPoint(image, input, true);
            break;
        case 2:
            writeEntryPoint(image, input, false);
            break;
        case 3: {
            const unsigned long address = input.number(3) % SIZE;
            image.write(address, input.take(input.number(1)));
            break;
        }
        case 4:
            image.throw_at_map = input.number(1);
            break;
        default:
            image.present = input.number(1) != 0;
    }
}

void require(bool condition) {
    if (!condition) {
        abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    PhysicalImage image(SIZE);
    Input input(data, size);
    while (!input.empty()) {
        apply(image, input);
    }
    const SmBiosInitializer smbios;
    require(image.clean());
    const std::vector<SmBios::Table>& tables = smbios.getTables();
    require(std::is_sorted(tables.begin(), tables.end(), _sort_criterion));
    // No structures without a table that was found.
    require(tables.empty() || !image.maps.empty());
    return 0;
}
