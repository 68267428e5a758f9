// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Printer.h"

#include <sstream>

namespace velmar_generator {

namespace {

std::string filledLine(std::string_view line, const Variables& variables) {
    std::string result;
    for (size_t at = 0; at < line.size();) {
        const size_t begin = line.find('$', at);
        result += line.substr(at, begin - at);
        if (begin == std::string_view::npos) {
            break;
        }
        const size_t end = line.find('$', begin + 1);
        const std::string name(line.substr(begin + 1, end - begin - 1));
        result += name.empty() ? "$" : variables.at(name);
        at = end + 1;
    }
    return result;
}

// The name of the variable that is alone on the line; empty where none is.
std::string aloneOn(std::string_view line) {
    const size_t begin = line.find_first_not_of(' ');
    const bool isAlone = begin != std::string_view::npos && line[begin] == '$' &&
                         line.find('$', begin + 1) == line.size() - 1;
    return isAlone ? std::string(line.substr(begin + 1, line.size() - begin - 2)) : "";
}

std::string indented(const std::string& text, const std::string& indentation) {
    std::string result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        result += line.empty() ? "\n" : indentation + line + "\n";
    }
    return result;
}

}  // namespace

std::string filled(std::string_view text, const Variables& variables) {
    if (!text.empty() && text.front() == '\n') {
        text.remove_prefix(1);
    }
    std::string result;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        const std::string name = aloneOn(line);
        if (name.empty()) {
            result += filledLine(line, variables) + (end == std::string_view::npos ? "" : "\n");
        } else {
            result += indented(variables.at(name), std::string(line.find('$'), ' '));
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return result;
}

}  // namespace velmar_generator
