// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What velmar generate and velmar new have in common: MOF files, and what to make of them.
#ifndef VELMAR_CLI_GENERATOROPTIONS_H
#define VELMAR_CLI_GENERATOROPTIONS_H

#include <velmar_embedded/schema/Mof.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "generate/Generator.h"

namespace velmar_cli {

/// The option -I of every command that reads a schema.
void addIncludeOption(CLI::App& command, std::vector<std::string>& folders);

struct GeneratorOptions {
    std::vector<std::string> schemas;   ///< MOF files, compiled in this order
    std::vector<std::string> includes;  ///< folders of MOF files that they include
    velmar_generator::Options generator;
    bool noEnrichment = false;

    /// Adds the options to a command.
    void addOptions(CLI::App& command);
    /// The options of the generator as they have become.
    velmar_generator::Options resolved() const;
    using Declaring = decltype(velmar_embedded::MofOptions::declaring);
    /// Compiles the MOF files. Throws velmar_embedded::MofError.
    void compile(velmar_embedded::Repository& repository, const Declaring& declaring = {}) const;
};

}  // namespace velmar_cli

#endif
