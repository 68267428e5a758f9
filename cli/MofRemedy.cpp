// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "MofRemedy.h"

#include <fstream>
#include <regex>
#include <string>
#include <utility>

namespace velmar_cli {

namespace {

// What is declared elsewhere is not seen then.
bool choosesNamespace(const std::string& file) {
    std::ifstream in(file);
    static const std::regex pragma("\\s*#pragma\\s+namespace\\b.*", std::regex::icase);
    for (std::string line; std::getline(in, line);) {
        if (std::regex_match(line, pragma)) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::string withRemedy(const velmar_embedded::MofError& error) {
    static const std::pair<std::string, const char*> remedies[] = {
        {"CIM_ERR_INVALID_SUPERCLASS: ",
         "; a superclass is declared before its subclasses: is a file missing, or is it the "
         "order?"},
        {"CIM_ERR_ALREADY_EXISTS: ",
         "; it is declared before. Where two files or two packages in one folder bring it, name "
         "those to take with --schema, in order"},
        {"Could not find declaration for Qualifier named ",
         "; declare it, or include what does: the standard ones are in "
         "share/velmar_remote/mof/Qualifiers.mof, and velmar new adds them"}};
    for (const auto& [reason, remedy] : remedies) {
        if (error.reason().compare(0, reason.size(), reason) == 0) {
            return error.what() +
                   (choosesNamespace(error.file())
                        ? "; mind its #pragma namespace: --namespace says where classes go"
                        : std::string(remedy));
        }
    }
    return error.what();
}

}  // namespace velmar_cli
