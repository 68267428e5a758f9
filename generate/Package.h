// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A provider package around generated code: what is written once and belongs to the user from then
// on, with the places to fill in marked.
#ifndef VELMAR_GENERATOR_PACKAGE_H
#define VELMAR_GENERATOR_PACKAGE_H

#include <string>
#include <vector>

#include "Generator.h"

namespace velmar_generator {

/// A MOF file that comes with the generator.
struct MofFile {
    const char* name;
    const char* text;
};

/// Standard qualifiers and classes, each file after those that it needs.
const std::vector<MofFile>& standardMof();

/// The file that declares the qualifier or class, in any letter case; null where none does.
const MofFile* standardMofWith(const std::string& name);

/// The first file with a class that the schema refers to and does not declare; null where none is.
const MofFile* standardMofReferredTo(const velmar_embedded::Repository& schema,
                                     const Pegasus::CIMNamespaceName& nameSpace);

/// The user's files of a package: build file, README, and for each class a provider and its test.
/// `schema` is the package's MOF file below its folder. Throws GeneratorError.
std::vector<GeneratedFile> packageFiles(const velmar_embedded::Repository& repository,
                                        const Options& options, const std::string& schema);

/// What `velmar check` needs to be told of the package beside its folder, with a space before it.
std::string packageCheckOptions(const velmar_embedded::Repository& repository,
                                const Options& options);

/// What is not as one may expect in a package of these classes, a line each. Throws GeneratorError.
std::vector<std::string> packageRemarks(const velmar_embedded::Repository& repository,
                                        const Options& options);

}  // namespace velmar_generator

#endif
