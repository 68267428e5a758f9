// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// velmar generate: typed code for the classes of a schema. Builds call it.
#include "schema/MofOutline.h"

#include <fstream>
#include <iostream>

#include "Commands.h"
#include "GeneratorOptions.h"

namespace velmar_cli {

namespace {

struct GenerateOptions : GeneratorOptions {
    std::string output;
    std::string depfile;
    std::string depfileTarget;
    bool list = false;
    bool listSchemas = false;
};

// For make: what was written depends on the MOF files that were read.
void writeDepfile(const GenerateOptions& options) {
    std::ofstream out(options.depfile);
    out << options.depfileTarget << ":";
    for (const std::string& file :
         velmar_embedded::withIncludes(options.schemas, options.includes)) {
        out << " \\\n  ";
        for (const char c : file) {
            out << (c == ' ' || c == '#' ? "\\" : c == '$' ? "$" : "") << c;
        }
    }
    out << "\n";
}

ExitCode generate(const GenerateOptions& options) {
    if (options.listSchemas) {
        for (const std::string& file :
             velmar_embedded::withIncludes(options.schemas, options.includes)) {
            std::cout << file << "\n";
        }
        return Good;
    }
    velmar_embedded::Repository repository;
    options.compile(repository);
    const auto files = velmar_generator::generate(repository, options.resolved());
    if (options.list) {
        for (const velmar_generator::GeneratedFile& file : files) {
            std::cout << file.path << "\n";
        }
        return Good;
    }
    velmar_generator::writeFiles(options.output, files);
    if (!options.depfile.empty()) {
        writeDepfile(options);
    }
    return Good;
}

}  // namespace

void addGenerate(CLI::App& app, Run& run) {
    CLI::App& command = *app.add_subcommand(
        "generate",
        "Writes typed C++ classes, provider bases, factory and registration for classes of a "
        "schema; builds call it");
    auto options = std::make_shared<GenerateOptions>();
    options->addOptions(command);
    command.add_option("--module", options->generator.module,
                       "Name of the provider library and of its registration; without it neither "
                       "factory nor registration is written");
    command.add_option("--output", options->output, "Folder that is written to")->required();
    CLI::Option* const target = command.add_option("--depfile-target", options->depfileTarget,
                                                   "What the depfile says to depend on them");
    command
        .add_option("--depfile", options->depfile,
                    "File that gets the names of the MOF files that were read, for make")
        ->needs(target);
    command.add_flag("--list", options->list, "Print the names of the files, and write none");
    command.add_flag("--list-schemas", options->listSchemas,
                     "Print the names of the MOF files that are read, and write none");
    command.footer(
        "Example:\n"
        "  velmar generate --schema mof/Acme.mof --class ACME_Switch ACME_Port --module Acme \\\n"
        "      --cpp-namespace acme --output build/generated");
    command.callback([options, &run] { run = [options] { return generate(*options); }; });
}

}  // namespace velmar_cli
