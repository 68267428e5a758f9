// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <algorithm>
#include <cctype>
#include <regex>

#include "Package.h"

namespace velmar_generator {

namespace {

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

}  // namespace

const MofFile* standardMofWith(const std::string& name) {
    static const std::regex declaration("(^|\\n)\\s*(class|qualifier)\\s+(\\w+)",
                                        std::regex::icase);
    for (const MofFile& file : standardMof()) {
        const std::string text = file.text;
        for (std::sregex_iterator one(text.begin(), text.end(), declaration), end; one != end;
             ++one) {
            if (lower((*one)[3].str()) == lower(name)) {
                return &file;
            }
        }
    }
    return nullptr;
}

}  // namespace velmar_generator
