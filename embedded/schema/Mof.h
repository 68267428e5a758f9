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
#include <stdexcept>
#include <string>
#include <vector>

#include "Repository.h"

namespace velmar_embedded {

/// What a MOF file has wrong; what() is "FILE:LINE: reason" with the offending text in the reason.
class MofError : public std::runtime_error {
 public:
    MofError(const std::string& file, unsigned line, const std::string& reason);
    const std::string& file() const { return _file; }
    unsigned line() const { return _line; }
    const std::string& reason() const { return _reason; }

 private:
    std::string _file;
    unsigned _line;
    std::string _reason;
};

/// Hears of every instance that was stored, with the place where its declaration begins.
using MofObserver =
    std::function<void(const Pegasus::CIMNamespaceName& nameSpace,
                       const Pegasus::CIMObjectPath& path, const std::string& file, unsigned line)>;

/// Reads a file as the compiler does. Returns why it cannot, empty if it can: only regular files of
/// a size that MOF may have are read.
std::string readMof(const std::string& file, std::string& text);

/// Compiles `file` into `nameSpace` of `repository`, creating the namespace if it does not exist.
/// Declarations before an error stay, as with a real server's compiler. A file that is included is
/// searched beside the one that includes it, then in `includeDirectories`. Throws MofError, also
/// for a file that cannot be read (line 0), and for includes that are nested too deep, too many,
/// too large or go in circles.
void compileMof(Repository& repository, const Pegasus::CIMNamespaceName& nameSpace,
                const std::string& file, const MofObserver& stored = MofObserver(),
                const std::vector<std::string>& includeDirectories = {});

/// Where a file that another one includes is; the place beside that one if nowhere.
std::string includedFile(const std::string& from, const std::string& name,
                         const std::vector<std::string>& includeDirectories);

/// The same for text in memory; `name` stands for the file in errors and is the base of includes.
void compileMofText(Repository& repository, const Pegasus::CIMNamespaceName& nameSpace,
                    const std::string& text, const std::string& name,
                    const MofObserver& stored = MofObserver(),
                    const std::vector<std::string>& includeDirectories = {});

}  // namespace velmar_embedded

#endif
