// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
#ifndef VELMAR_CLI_MOFINCLUDES_H
#define VELMAR_CLI_MOFINCLUDES_H

#include <string>
#include <vector>

namespace velmar_cli {

/// The MOF files and, after each, those that it includes, all of them once.
std::vector<std::string> withIncludes(const std::vector<std::string>& files,
                                      const std::vector<std::string>& includeDirectories = {});

/// Whether a MOF file has instances of PG_ProviderModule, PG_Provider or PG_ProviderCapabilities.
bool registersProviders(const std::string& file);

}  // namespace velmar_cli

#endif
