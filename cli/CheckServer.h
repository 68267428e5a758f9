// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The check of providers in a server that is running.
#ifndef VELMAR_CLI_CHECKSERVER_H
#define VELMAR_CLI_CHECKSERVER_H

#include <string>

#include "CheckReport.h"
#include "Target.h"

namespace velmar_cli {

struct ServerToCheck {
    std::string url;  ///< empty: a package is checked
    std::string interop = velmar_embedded::interopNamespace;
    Login login;
};

/// Asks the providers that are registered for the namespace. Throws what CIMClient does where the
/// server cannot be reached or read, UsageError for a class that is not registered there.
Results checkServer(const ServerToCheck& server, const std::string& nameSpace,
                    const velmar_driver::DriveOptions& options);

}  // namespace velmar_cli

#endif
