// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A provider package as the command line gives it: its MOF files, its registrations and its
// modules, named one by one or found in one folder.
#ifndef VELMAR_CLI_PACKAGE_H
#define VELMAR_CLI_PACKAGE_H

#include <velmar_embedded/Server.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace velmar_cli {

/// Input that cannot be used; what() says what, where and how to mend it.
class UsageError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// What a command cannot do without: classes, registrations and modules, or classes alone.
enum class Needs { All, Model };

struct Package {
    Needs needs = Needs::All;
    std::string folder;  ///< searched for what is not named, if not empty; may be a MOF file
    std::string nameSpace = "root/velmar_remote";
    std::vector<std::string> schemas;        ///< MOF files compiled into nameSpace, in this order
    std::vector<std::string> registrations;  ///< MOF files compiled into root/PG_InterOp
    std::vector<std::string> modules;        ///< folders of provider libraries
    std::vector<std::string> includes;       ///< folders of MOF files that others include

    /// Adds the options that name a package to a command.
    void addOptions(CLI::App& command, Needs given = Needs::All);

    /// A list on the command line takes all that follows it: what ends it and is a folder becomes
    /// the package's, unless that is named.
    void takeFolder(std::vector<std::string>& list);

    /// Fills in what the folder holds: as registrations the files *.mof that register providers,
    /// one of each name, as schemas all others that none of them includes, as modules every folder
    /// with a lib*.so. Lists that were given on the command line stay as they are, but for the
    /// folder that one ends with. Throws UsageError when something is then missing. A model is
    /// served without providers where their registrations or modules are missing, which stderr
    /// gets a note of.
    void resolve();

    /// Compiles the MOF files and names the module folders to a server that is not started. Throws
    /// velmar_embedded::MofError.
    void load(velmar_embedded::Server& server) const;

 private:
    void leaveOutProviders(const std::string& place);
};

}  // namespace velmar_cli

#endif
