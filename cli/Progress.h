// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// How far a long work is: one line on a terminal, rewritten; nothing without a terminal.
//
// Not thread-safe.
#ifndef VELMAR_CLI_PROGRESS_H
#define VELMAR_CLI_PROGRESS_H

#include <chrono>
#include <string>

namespace velmar_cli {

class Progress {
 public:
    Progress();
    /// Clears the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// From 2 s after the start on, shows "8 of 120 WHAT: NAME", as much as fits in a line.
    void show(size_t done, size_t all, const std::string& what, const std::string& name);

    /// Takes the line away, whichever process showed it, so that there is room to tell something.
    static void clear();

 private:
    using Clock = std::chrono::steady_clock;

    const bool _isTerminal;
    Clock::time_point _next;
    bool _isShown = false;
};

}  // namespace velmar_cli

#endif
