// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "MofIncludes.h"

#include <velmar_embedded/schema/Mof.h>
#include <velmar_embedded/schema/MofLexer.h>

#include <filesystem>
#include <set>

namespace fs = std::filesystem;

namespace velmar_cli {

namespace {

using velmar_embedded::MofToken;

struct Outline {
    std::vector<std::string> includes;
    bool registers = false;  // has an instance of a class of registrations
};

// As far as the file can be read: what is wrong with it the compiler says.
Outline outlineOf(const std::string& file) {
    Outline result;
    std::string text;
    velmar_embedded::readMof(file, text);
    velmar_embedded::MofLexer lexer(text);
    try {
        MofToken before;
        for (MofToken token = lexer.next(); token.kind != MofToken::End; token = lexer.next()) {
            result.registers |=
                before.is("of") && (token.is("PG_ProviderModule") || token.is("PG_Provider") ||
                                    token.is("PG_ProviderCapabilities"));
            const bool includes = before.is("pragma") && token.is("include");
            before = token;
            if (includes && lexer.next().is('(')) {
                std::string name;
                for (token = lexer.next(); token.kind == MofToken::String; token = lexer.next()) {
                    name += token.value.getCString();
                }
                result.includes.push_back(name);
            }
        }
    } catch (const velmar_embedded::MofFault&) {
    }
    return result;
}

}  // namespace

std::vector<std::string> withIncludes(const std::vector<std::string>& files,
                                      const std::vector<std::string>& includeDirectories) {
    std::vector<std::string> result;
    std::set<std::string> known;
    std::vector<std::string> open(files.rbegin(), files.rend());
    while (!open.empty()) {
        const std::string file = fs::path(open.back()).lexically_normal().string();
        open.pop_back();
        std::error_code ignored;
        if (!fs::is_regular_file(file, ignored) || !known.insert(file).second) {
            continue;
        }
        result.push_back(file);
        for (const std::string& name : outlineOf(file).includes) {
            open.push_back(velmar_embedded::includedFile(file, name, includeDirectories));
        }
    }
    return result;
}

bool registersProviders(const std::string& file) { return outlineOf(file).registers; }

}  // namespace velmar_cli
