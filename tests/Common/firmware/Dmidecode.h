// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Debian's dmidecode as a second reader of the same physical memory.
#ifndef VELMAR_TESTS_FIRMWARE_DMIDECODE_H
#define VELMAR_TESTS_FIRMWARE_DMIDECODE_H

#include <cstdint>
#include <string>
#include <vector>

#include "Common/SmBios.h"

namespace support {

struct Decoded {
    unsigned handle = 0;
    unsigned type = 0;
    std::vector<uint8_t> formatted;
    std::vector<std::string> strings;
};

/// The output of a program; both its arguments and its output may hold anything but NUL.
std::string run(const std::vector<std::string>& command);

/// The text cut at line ends, without them.
std::vector<std::string> lines(const std::string& text);

/// What dmidecode reads from an image of physical memory, in the image's order.
std::vector<Decoded> dmidecode(const std::string& image);

/// Expects that both readers found the same structures, whatever their order.
void expectSame(std::vector<Decoded> expected,
                const std::vector<velmar_remote::SmBios::Table>& ours);

}  // namespace support

#endif
