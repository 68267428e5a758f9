// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What MOF files name, read from their tokens without compiling them.
//
// Keeps no state, thread-safe.
#ifndef VELMAR_EMBEDDED_SCHEMA_MOFOUTLINE_H
#define VELMAR_EMBEDDED_SCHEMA_MOFOUTLINE_H

#include <string>
#include <vector>

namespace velmar_embedded {

/// All names as written and in the order of the text.
struct MofOutline {
    std::vector<std::string> includes;   ///< files
    std::vector<std::string> declares;   ///< classes and qualifiers
    std::vector<std::string> instances;  ///< the classes of instances

    /// Whether there are instances of PG_ProviderModule, PG_Provider or PG_ProviderCapabilities.
    bool registersProviders() const;
};

/// Reads as far as the tokens are well formed; what is wrong behind that the compiler says.
MofOutline outlineOfMof(const std::string& text);

/// The same of a file; empty if it cannot be read.
MofOutline outlineOfMofFile(const std::string& file);

/// The files and, after each, those that it includes, all of them once. Leaves out what cannot be
/// read. Files are searched for as compileMof does.
std::vector<std::string> withIncludes(const std::vector<std::string>& files,
                                      const std::vector<std::string>& includeDirectories);

}  // namespace velmar_embedded

#endif
