// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/ValueMap.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "checks/Wording.h"

using namespace Pegasus;

namespace velmar_checks {

namespace {

// Wide enough for every CIM integer.
__extension__ typedef __int128 Wide;

const Wide lowest = std::numeric_limits<Sint64>::min();
const Wide highest = std::numeric_limits<Uint64>::max();

// False if malformed; the number is then unchanged.
bool parse(const std::string& text, Wide& number) {
    Uint64 natural = 0;
    Sint64 negative = 0;
    const char* const end = text.data() + text.size();
    const bool isHex = text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0;
    const char* const begin = text.data() + (isHex ? 2 : 0);
    const auto first = std::from_chars(begin, end, natural, isHex ? 16 : 10);
    if (first.ec == std::errc() && first.ptr == end) {
        number = Wide(natural);
        return true;
    }
    const auto second = std::from_chars(text.data(), end, negative);
    if (second.ec == std::errc() && second.ptr == end) {
        number = Wide(negative);
        return true;
    }
    return false;
}

// Whether an entry allows the number; a malformed entry allows any.
bool allows(const std::string& entry, Wide number) {
    const size_t dots = entry.find("..");
    const std::string first = entry.substr(0, dots);
    const std::string last = dots == std::string::npos ? first : entry.substr(dots + 2);
    Wide low = lowest;
    Wide high = highest;
    const bool isRange =
        (first.empty() || parse(first, low)) && (last.empty() || parse(last, high));
    return !isRange || (low <= number && number <= high);
}

bool knows(const std::vector<std::string>& map, const std::string& text, bool isNumber) {
    Wide number = 0;
    const bool parsed = isNumber && parse(text, number);
    return std::any_of(map.begin(), map.end(), [&](const std::string& entry) {
        return entry == text || (parsed && allows(entry, number));
    });
}

bool isInteger(CIMType type) { return type >= CIMTYPE_UINT8 && type <= CIMTYPE_SINT64; }

std::vector<std::string> elements(const CIMValue& value) {
    std::vector<std::string> texts;
    if (!value.isArray()) {
        texts.push_back(utf8(value.toString()));
    } else if (value.getType() == CIMTYPE_STRING) {
        Array<String> strings;
        value.get(strings);
        for (Uint32 i = 0; i < strings.size(); i++) {
            texts.push_back(utf8(strings[i]));
        }
    } else {
        const std::string all = utf8(value.toString());  // a blank follows each element
        for (size_t from = 0, to; (to = all.find(' ', from)) != std::string::npos; from = to + 1) {
            texts.push_back(all.substr(from, to - from));
        }
    }
    return texts;
}

}  // namespace

std::string valueOutside(const std::vector<std::string>& map, const CIMValue& value) {
    if (value.isNull() || (!isInteger(value.getType()) && value.getType() != CIMTYPE_STRING)) {
        return "";
    }
    for (const std::string& text : elements(value)) {
        if (!knows(map, text, isInteger(value.getType()))) {
            return text;
        }
    }
    return "";
}

}  // namespace velmar_checks
