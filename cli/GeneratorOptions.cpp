// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "GeneratorOptions.h"

#include <velmar_embedded/schema/Mof.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace fs = std::filesystem;

namespace velmar_cli {

void GeneratorOptions::addOptions(CLI::App& command) {
    command.add_option("--schema", schemas, "MOF files of the classes, in this order")
        ->required()
        ->check(CLI::ExistingFile);
    command.add_option("--class", generator.classes, "Classes that the package serves")->required();
    command.add_option("--cpp-namespace", generator.cppNamespace,
                       "C++ namespace of what is generated");
    command.add_option("--namespace", generator.cimNamespace, "CIM namespace of the classes")
        ->capture_default_str();
    command.add_flag("--no-enrichment", noEnrichment,
                     "Alerts are not enriched from the CIM model (so it is where the schema lacks "
                     "QORP_LPAR_CS or QORP_ComputerSystem)");
}

velmar_generator::Options GeneratorOptions::resolved() const {
    velmar_generator::Options result = generator;
    if (noEnrichment) {
        result.enrichment = false;
    }
    return result;
}

void GeneratorOptions::compile(velmar_embedded::Repository& repository) const {
    for (const std::string& file : schemas) {
        velmar_embedded::compileMof(repository, generator.cimNamespace.c_str(), file);
    }
}

std::vector<std::string> GeneratorOptions::filesRead() const {
    static const std::regex include("#pragma\\s+include\\s*\\(\\s*\"([^\"]+)\"\\s*\\)",
                                    std::regex::icase);
    std::vector<std::string> result;
    std::vector<std::string> open(schemas.rbegin(), schemas.rend());
    while (!open.empty()) {
        const std::string file = fs::path(open.back()).lexically_normal().string();
        open.pop_back();
        std::ifstream in(file);
        if (!in || std::find(result.begin(), result.end(), file) != result.end()) {
            continue;
        }
        result.push_back(file);
        std::stringstream text;
        text << in.rdbuf();
        const std::string all = text.str();
        for (std::sregex_iterator one(all.begin(), all.end(), include), end; one != end; ++one) {
            open.push_back((fs::path(file).parent_path() / (*one)[1].str()).string());
        }
    }
    return result;
}

}  // namespace velmar_cli
