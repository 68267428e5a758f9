// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Sees that a package's files were written again.
#ifndef VELMAR_CLI_REBUILDS_H
#define VELMAR_CLI_REBUILDS_H

#include <filesystem>
#include <map>
#include <string>
#include <utility>

#include "Package.h"

namespace velmar_cli {

class Rebuilds {
 public:
    /// Looks at the package's modules and MOF files as they are now.
    explicit Rebuilds(const Package& package);

    /// A file that differs from then, once all stayed the same from one call to the next; empty if
    /// there is none. A linker may be writing still.
    std::string changed();

    /// Starts the command again in this process, with the package as it is now and `more` at the
    /// end of its arguments. Returns only where the system refuses.
    static void startAgain(const std::vector<std::string>& more);

 private:
    using Stamp = std::pair<std::filesystem::file_time_type, uintmax_t>;
    using Stamps = std::map<std::string, Stamp>;
    Stamps look() const;

    const Package _package;
    const Stamps _first;
    Stamps _last;
};

}  // namespace velmar_cli

#endif
