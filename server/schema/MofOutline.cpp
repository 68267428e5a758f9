// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "schema/MofOutline.h"

#include <strings.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include <velmar_embedded/schema/Mof.h>
#include "schema/MofLexer.h"

namespace velmar_embedded {

bool MofOutline::registersProviders() const {
    return std::any_of(instances.begin(), instances.end(), [](const std::string& name) {
        const char* const ofRegistrations[] = {"PG_ProviderModule", "PG_Provider",
                                               "PG_ProviderCapabilities"};
        return std::any_of(std::begin(ofRegistrations), std::end(ofRegistrations),
                           [&](const char* one) { return strcasecmp(name.c_str(), one) == 0; });
    });
}

MofOutline outlineOfMof(const std::string& text) {
    MofOutline result;
    MofLexer lexer(text);
    try {
        int depth = 0;
        MofToken before;
        for (MofToken token = lexer.next(); token.kind != MofToken::End; token = lexer.next()) {
            depth += token.is('{') - token.is('}');
            if (depth == 0 && (before.is("class") || before.is("qualifier"))) {
                result.declares.push_back(token.text);
            } else if (depth == 0 && before.is("of")) {
                result.instances.push_back(token.text);
            }
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
    } catch (const MofFault&) {
    }
    return result;
}

MofOutline outlineOfMofFile(const std::string& file) {
    std::string text;
    readMof(file, text);
    return outlineOfMof(text);
}

std::vector<std::string> withIncludes(const std::vector<std::string>& files,
                                      const std::vector<std::string>& includeDirectories) {
    namespace fs = std::filesystem;
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
        for (const std::string& name : outlineOfMofFile(file).includes) {
            open.push_back(includedFile(file, name, includeDirectories));
        }
    }
    return result;
}

}  // namespace velmar_embedded
