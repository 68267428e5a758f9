// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// From a schema to C++: typed classes, a base for each provider, the module's factory and its
// registration. What is generated uses documented CIM library headers and <Common/...> only.
#ifndef VELMAR_GENERATOR_GENERATOR_H
#define VELMAR_GENERATOR_GENERATOR_H

#include <velmar_embedded/schema/Repository.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmar_generator {

/// A schema or options that nothing can be generated from; what() says what, and how to mend it.
class GeneratorError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// What is to be generated.
struct Options {
    /// Name of the provider library and of its registration; empty: a library with a factory and a
    /// registration of its own.
    std::string module;
    std::string cppNamespace;  ///< of the generated classes, for example "acme"
    std::string cimNamespace = "root/velmar_remote";
    std::vector<std::string> classes;  ///< those that are generated, in any letter case
    /// Whether alerts are enriched from the CIM model; not set: where the schema has the classes
    /// that this asks for.
    std::optional<bool> enrichment;
    /// What clients may do with the instances of classes other than associations, beside reading
    /// them: "create", "delete" or "create,delete", then the classes, and so on.
    std::vector<std::string> clientsMay;
    std::string watcher;  ///< name of the class that watches the device; empty: none does
};

/// A file, its path relative to the output folder.
struct GeneratedFile {
    std::string path;
    std::string text;
};

/// Everything but what the user owns. Throws GeneratorError.
std::vector<GeneratedFile> generate(const velmar_embedded::Repository& schema,
                                    const Options& options);

/// Writes the files into the folder. Those that are there already with the same text stay as they
/// are, and so do foreign files; what an earlier call wrote there and this one does not is removed
/// (a hidden file lists it). Throws std::filesystem::filesystem_error.
void writeFiles(const std::string& folder, const std::vector<GeneratedFile>& files);

/// Writes a file that belongs to the user from then on; false, and nothing happens, where it is
/// there. Throws std::filesystem::filesystem_error.
bool writeNew(const std::string& folder, const GeneratedFile& file);

}  // namespace velmar_generator

#endif
