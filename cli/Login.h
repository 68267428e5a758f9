// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// As whom servers are asked, and which certificates of theirs are trusted.
#ifndef VELMAR_CLI_LOGIN_H
#define VELMAR_CLI_LOGIN_H

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

namespace velmar_cli {

struct Login {
    std::string user;          ///< empty: without a login
    std::string passwordFile;  ///< empty: none
    std::string trusted;       ///< file of PEM certificates; empty: the system's

    void addOptions(CLI::App& command);

    /// Empty without a user; else of the file, VELMAR_PASSWORD, or what is typed at the terminal,
    /// in this order. Asked for once, so call it before the process forks. Throws UsageError.
    const std::string& password() const;

 private:
    mutable std::optional<std::string> _password;
};

}  // namespace velmar_cli

#endif
