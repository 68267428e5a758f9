// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
#ifndef VELMAR_CLI_MOFREMEDY_H
#define VELMAR_CLI_MOFREMEDY_H

#include <velmar_embedded/schema/Mof.h>

#include <string>

namespace velmar_cli {

/// The error's text, and where the compiler, whose words are a real server's, does not say what to
/// do, that as well.
std::string withRemedy(const velmar_embedded::MofError& error);

}  // namespace velmar_cli

#endif
