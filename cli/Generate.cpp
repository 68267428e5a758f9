// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// velmar generate: typed code for the classes of a schema. Builds call it.
#include <fstream>

#include "Commands.h"
#include "GeneratorOptions.h"

namespace velmar_cli {

namespace {

struct GenerateOptions : GeneratorOptions {
    std::string output;
    std::string depfile;
};

// For make: what was written depends on the MOF files that were read.
void writeDepfile(const GenerateOptions& options, const std::string& target) {
    std::ofstream out(options.depfile);
    out << target << ":";
    for (const std::string& file : options.filesRead()) {
        out << " \\\n  ";
        for (const char c : file) {
            out << (c == ' ' || c == '#' ? "\\" : "") << c;
        }
    }
    out << "\n";
}

ExitCode generate(const GenerateOptions& options) {
    velmar_embedded::Repository repository;
    options.compile(repository);
    const velmar_generator::Options generator = options.resolved();
    velmar_generator::writeFiles(options.output, velmar_generator::generate(repository, generator));
    if (!options.depfile.empty()) {
        writeDepfile(options, options.output + "/Factory.cpp");
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
    command
        .add_option("--module", options->generator.module,
                    "Name of the provider library and of its registration")
        ->required();
    command.add_option("--output", options->output, "Folder that is written to")->required();
    command.add_option("--depfile", options->depfile,
                       "File that gets the names of the MOF files that were read, for make");
    command.footer(
        "Example:\n"
        "  velmar generate --schema mof/Acme.mof --class ACME_Switch ACME_Port --module Acme \\\n"
        "      --cpp-namespace acme --output build/generated");
    command.callback([options, &run] { run = [options] { return generate(*options); }; });
}

}  // namespace velmar_cli
