// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Compiles MOF (DMTF DSP0004/DSP0221) into a Repository: qualifier declarations, classes,
// instances, `#pragma include` and `#pragma namespace`. The subset is the one that a provider's
// schema and registration files need.
//
// Not thread-safe by itself; concurrent compilations into one Repository are.
#ifndef VELMAR_EMBEDDED_SCHEMA_MOF_H
#define VELMAR_EMBEDDED_SCHEMA_MOF_H

#include <Pegasus/Common/CIMName.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "MofError.h"
#include "Repository.h"

namespace velmar_embedded {

/// Hears of every instance that was stored, with the place where its declaration begins.
using MofObserver =
    std::function<void(const Pegasus::CIMNamespaceName& nameSpace,
                       const Pegasus::CIMObjectPath& path, const std::string& file, unsigned line)>;

/// A text that a compilation finds missing; the name stands for its file in errors.
struct MofSource {
    std::string name;
    std::string text;
};

/// What a compilation may use beside its text, and whom it tells. All may be empty.
struct MofOptions {
    MofObserver stored;
    /// Searched for included files that are not beside the file that includes them.
    std::vector<std::string> includeDirectories;
    /// Asked for the text that declares a qualifier or class which is used and was not declared.
    /// It is compiled there and then; nullopt if there is none.
    std::function<std::optional<MofSource>(const std::string& name)> declaring;
};

/// Bytes of a MOF file, and of all that one includes.
constexpr size_t maximumMofSize = 64 * 1024 * 1024;

/// Reads a file as the compiler does. Returns why it cannot, empty if it can: only regular files of
/// a size that MOF may have are read.
std::string readMof(const std::string& file, std::string& text);

/// Compiles `file` into `nameSpace` of `repository`, creating the namespace if it does not exist.
/// Declarations before an error stay, as with a real server's compiler. Throws MofError, also for a
/// file that cannot be read (line 0), and for includes that are nested too deep, too many, too
/// large or go in circles.
void compileMof(Repository& repository, const Pegasus::CIMNamespaceName& nameSpace,
                const std::string& file, const MofOptions& options = {});

/// Where a file that another one includes is; the place beside that one if nowhere.
std::string includedFile(const std::string& from, const std::string& name,
                         const std::vector<std::string>& includeDirectories);

/// The same for text in memory; `name` stands for the file in errors and is the base of includes.
void compileMofText(Repository& repository, const Pegasus::CIMNamespaceName& nameSpace,
                    const std::string& text, const std::string& name,
                    const MofOptions& options = {});

}  // namespace velmar_embedded

#endif
