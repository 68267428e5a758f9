// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The subcommands of velmar: each adds itself to the command line and, where it is called, sets
// what runs it.
#ifndef VELMAR_CLI_COMMANDS_H
#define VELMAR_CLI_COMMANDS_H

#include <CLI/CLI.hpp>
#include <functional>

namespace velmar_cli {

/// What the command's end says: 0 good, 1 findings, 2 usage or unreadable input.
enum ExitCode { Good = 0, Findings = 1, Unusable = 2 };

/// Runs the chosen subcommand after the command line was read. May throw.
using Run = std::function<ExitCode()>;

/// Runs it and turns what it throws into a line on stderr.
ExitCode guarded(const Run& run);

void addAsk(CLI::App& app, Run& run);
void addCheck(CLI::App& app, Run& run);
void addDiff(CLI::App& app, Run& run);
void addExplain(CLI::App& app, Run& run);
void addGenerate(CLI::App& app, Run& run);
void addNew(CLI::App& app, Run& run);
void addRecord(CLI::App& app, Run& run);
/// These only with HTTP, VELMAR_HAS_WIRE.
void addListen(CLI::App& app, Run& run);
void addServe(CLI::App& app, Run& run);

}  // namespace velmar_cli

#endif
