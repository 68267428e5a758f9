// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What a command asks: a package in this process, or a server that is running.
#ifndef VELMAR_CLI_TARGET_H
#define VELMAR_CLI_TARGET_H

#include <Pegasus/Client/CIMClient.h>

#include <functional>
#include <string>

#include "Commands.h"
#include "Login.h"
#include "Package.h"

namespace velmar_cli {

bool isUrl(const std::string& target);
/// Whether the URL's host is this one, by a name or number of its loopback interface.
bool isThisHost(const std::string& url);

/// Connects to the server at http://HOST:PORT or https://HOST:PORT. Throws UsageError and
/// std::invalid_argument for what cannot be used, and what the client throws.
void connectTo(Pegasus::CIMClient& client, const std::string& url, const Login& login);

/// Milliseconds for an answer that may be long, all instances of a class, say.
constexpr unsigned LONG_ANSWER = 120000;

/// Calls `work` with a client of the target: a URL, else a folder or MOF file, which is served in
/// this process as `package` says. Call it once. Throws UsageError for a target that is neither.
ExitCode withClient(const std::string& target, Package& package, const Login& login,
                    const std::function<ExitCode(Pegasus::CIMClient&)>& work);

}  // namespace velmar_cli

#endif
