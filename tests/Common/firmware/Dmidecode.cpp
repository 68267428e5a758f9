// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Dmidecode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <regex>
#include <sstream>

namespace support {

std::string run(const std::vector<std::string>& command) {
    std::string line;
    for (const std::string& word : command) {
        line += "'" + std::regex_replace(word, std::regex("'"), "'\\''") + "' ";
    }
    std::string output;
    FILE* pipe = popen((line + "</dev/null 2>&1").c_str(), "r");
    for (int c; pipe && (c = fgetc(pipe)) != EOF;) {
        output += static_cast<char>(c);
    }
    if (!pipe || pclose(pipe) != 0) {
        ADD_FAILURE() << line << "failed:\n" << output;
    }
    return output;
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        line.erase(line.find_last_not_of('\r') + 1);
        lines.push_back(line);
    }
    return lines;
}

// The output after "Handle 0x0100, DMI type 1, 27 bytes" is "Header and Data:" with the formatted
// area in hexadecimal and, if there are strings, "Strings:" with each string in hexadecimal, NUL
// included, over as many lines as it takes, and then as text on one line.
std::vector<Decoded> dmidecode(const std::string& image) {
    std::vector<Decoded> found;
    bool in_strings = false;
    std::string string;
    const std::vector<std::string> output =
        lines(run({"dmidecode", "-u", "--no-sysfs", "-d", image}));
    for (std::size_t i = 0; i < output.size(); ++i) {
        const std::string& line = output[i];
        Decoded next;
        if (sscanf(line.c_str(), "Handle %x, DMI type %u,", &next.handle, &next.type) == 2) {
            found.push_back(next);
            in_strings = false;
        } else if (line == "\tStrings:") {
            in_strings = true;
        } else if (line.compare(0, 2, "\t\t") == 0 && !found.empty()) {
            std::istringstream digits(line);
            for (unsigned byte; digits >> std::hex >> byte;) {
                if (!in_strings) {
                    found.back().formatted.push_back(static_cast<uint8_t>(byte));
                } else if (byte != 0) {
                    string += static_cast<char>(byte);
                } else {
                    found.back().strings.push_back(string);
                    string.clear();
                    ++i;
                }
            }
        }
    }
    return found;
}

void expectSame(std::vector<Decoded> expected,
                const std::vector<velmar_remote::SmBios::Table>& ours) {
    ASSERT_EQ(expected.size(), ours.size());
    std::map<unsigned, const velmar_remote::SmBios::Table*> byHandle;
    for (const auto& table : ours) {
        byHandle[table.getHandle()] = &table;
    }
    for (const Decoded& structure : expected) {
        SCOPED_TRACE(structure.handle);
        ASSERT_EQ(byHandle.count(structure.handle), 1u);
        const velmar_remote::SmBios::Table& table = *byHandle[structure.handle];
        EXPECT_EQ(table.getType(), structure.type);
        ASSERT_EQ(table.getLength(), structure.formatted.size());
        EXPECT_TRUE(std::equal(structure.formatted.begin(), structure.formatted.end(),
                               table.getData().begin()));
        std::size_t size = structure.formatted.size() + (structure.strings.empty() ? 2 : 1);
        for (std::size_t i = 0; i < structure.strings.size(); ++i) {
            EXPECT_EQ(table.getString(static_cast<uint8_t>(i + 1)), structure.strings[i]);
            size += structure.strings[i].size() + 1;
        }
        EXPECT_EQ(table.getData().size(), size);
    }
}

}  // namespace support
