// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "GeneratorOptions.h"

#include <velmar_embedded/schema/Mof.h>

namespace velmar_cli {

void addIncludeOption(CLI::App& command, std::vector<std::string>& folders) {
    command
        .add_option("-I,--include", folders,
                    "Folder searched for MOF files that others include; may be given again")
        ->check(CLI::ExistingDirectory)
        ->allow_extra_args(false);
}

void GeneratorOptions::addOptions(CLI::App& command) {
    command.add_option("--schema", schemas, "MOF files of the classes, in this order")
        ->required()
        ->check(CLI::ExistingFile);
    command.add_option("--class", generator.classes, "Classes that the package serves")->required();
    command.add_option("--cpp-namespace", generator.cppNamespace,
                       "C++ namespace of what is generated");
    addIncludeOption(command, includes);
    command.add_option("-n,--namespace", generator.cimNamespace, "CIM namespace of the classes")
        ->capture_default_str();
    command.add_option("--clients-may", generator.clientsMay,
                       "What clients may do with instances beside reading them: create, delete or "
                       "create,delete, then the classes. Those of associations they may do both "
                       "with");
    command.add_option("--watcher", generator.watcher,
                       "Name of the package's class that watches the device");
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

void GeneratorOptions::compile(velmar_embedded::Repository& repository,
                               const Declaring& declaring) const {
    for (const std::string& file : schemas) {
        velmar_embedded::compileMof(repository, generator.cimNamespace.c_str(), file,
                                    {{}, includes, declaring});
    }
}

}  // namespace velmar_cli
