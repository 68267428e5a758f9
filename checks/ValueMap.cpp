// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/ValueMap.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

#include "checks/Wording.h"

using namespace Pegasus;

namespace velmar_checks {

namespace {

// Wide enough for every CIM integer.
__extension__ typedef __int128 Wide;

const Wide lowest = std::numeric_limits<Sint64>::min();
const Wide highest = std::numeric_limits<Uint64>::max();

std::optional<Wide> numberOf(const std::string& text) {
    Uint64 unsignedNumber = 0;
    Sint64 signedNumber = 0;
    const char* const end = text.data() + text.size();
    const bool isHex = text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0;
    const char* const begin = text.data() + (isHex ? 2 : 0);
    const auto natural = std::from_chars(begin, end, unsignedNumber, isHex ? 16 : 10);
    if (natural.ec == std::errc() && natural.ptr == end && begin != end) {
        return Wide(unsignedNumber);
    }
    const auto negative = std::from_chars(text.data(), end, signedNumber);
    if (negative.ec == std::errc() && negative.ptr == end && !text.empty()) {
        return Wide(signedNumber);
    }
    return std::nullopt;
}

// Whether an entry allows the number; an entry that is no number or range allows any.
bool allows(const std::string& entry, Wide number) {
    const size_t dots = entry.find("..");
    const std::string first = entry.substr(0, dots);
    const std::string last = dots == std::string::npos ? first : entry.substr(dots + 2);
    const auto low = first.empty() ? std::optional<Wide>(lowest) : numberOf(first);
    const auto high = last.empty() ? std::optional<Wide>(highest) : numberOf(last);
    return !low || !high || (*low <= number && number <= *high);
}

bool knows(const std::vector<std::string>& map, const std::string& text, bool isNumber) {
    const auto number = isNumber ? numberOf(text) : std::nullopt;
    return std::any_of(map.begin(), map.end(), [&](const std::string& entry) {
        return entry == text || (number && allows(entry, *number));
    });
}

bool isInteger(CIMType type) { return type >= CIMTYPE_UINT8 && type <= CIMTYPE_SINT64; }

std::vector<std::string> elements(const CIMValue& value) {
    std::vector<std::string> texts;
    if (!value.isArray()) {
        texts.push_back(textOf(value.toString()));
    } else if (value.getType() == CIMTYPE_STRING) {
        Array<String> strings;
        value.get(strings);
        for (Uint32 i = 0; i < strings.size(); i++) {
            texts.push_back(textOf(strings[i]));
        }
    } else {
        const std::string all = textOf(value.toString());  // a blank follows each element
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
