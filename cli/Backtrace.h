// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
#ifndef VELMAR_CLI_BACKTRACE_H
#define VELMAR_CLI_BACKTRACE_H

namespace velmar_cli {

/// Loads what writeBacktrace needs, which is for handlers of signals.
void prepareBacktrace();

/// Writes the thread's calls to stderr, and for those in the library that is neither the system's
/// nor this program's, file and line, where it has debug information and addr2line is installed.
void writeBacktrace();

}  // namespace velmar_cli

#endif
