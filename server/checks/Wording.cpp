// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/Wording.h"

#include <algorithm>
#include <cctype>

using namespace Pegasus;

namespace velmar_checks {

namespace {

const size_t longestValue = 60;

std::string shortened(const std::string& text) {
    return text.size() <= longestValue ? text : text.substr(0, longestValue) + "...";
}

// Letters that must change to get from one text to the other.
size_t distance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); j++) {
        row[j] = j;
    }
    for (size_t i = 1; i <= a.size(); i++) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); j++) {
            const bool same = std::tolower(static_cast<unsigned char>(a[i - 1])) ==
                              std::tolower(static_cast<unsigned char>(b[j - 1]));
            const size_t replaced = diagonal + (same ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string typeText(CIMType type, bool isArray) {
    return std::string(cimTypeToString(type)) + (isArray ? "[]" : "");
}

std::string describe(const CIMValue& value) {
    const std::string type = typeText(value.getType(), value.isArray());
    if (value.isNull()) {
        return "null " + type;
    }
    if (value.isArray()) {
        return type + " of " + std::to_string(value.getArraySize());
    }
    const std::string text = shortened(utf8(value.toString()));
    const bool quoted = value.getType() == CIMTYPE_STRING || value.getType() == CIMTYPE_REFERENCE;
    return type + (quoted ? " \"" + text + "\"" : " " + text);
}

std::string listing(const std::vector<std::string>& items) {
    std::string text;
    for (size_t i = 0; i < items.size(); i++) {
        text += (i == 0 ? "" : i + 1 == items.size() ? " and " : ", ") + items[i];
    }
    return text;
}

std::string didYouMean(const std::string& wrong, const std::vector<std::string>& names) {
    const std::string* nearest = nullptr;
    size_t least = std::min<size_t>(3, wrong.size() / 3 + 1);
    for (const std::string& name : names) {
        const size_t changes = distance(wrong, name);
        if (changes < least || (changes == least && !nearest)) {
            nearest = &name;
            least = changes;
        }
    }
    return nearest ? "; did you mean " + *nearest + "?" : "";
}

}  // namespace velmar_checks
