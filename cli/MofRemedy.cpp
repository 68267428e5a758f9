// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "MofRemedy.h"

#include <velmar_embedded/schema/MofLexer.h>

#include <string>
#include <utility>

namespace velmar_cli {

namespace {

// What is declared elsewhere is not seen then.
bool choosesNamespace(const std::string& file) {
    std::string text;
    velmar_embedded::readMof(file, text);
    velmar_embedded::MofLexer lexer(text);
    try {
        bool isPragma = false;
        for (auto token = lexer.next(); token.kind != velmar_embedded::MofToken::End;
             token = lexer.next()) {
            if (isPragma && token.is("namespace")) {
                return true;
            }
            isPragma = token.is("pragma");
        }
    } catch (const velmar_embedded::MofFault&) {
        // What comes before it was read.
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
