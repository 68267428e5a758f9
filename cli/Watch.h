// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What a command sees of the server that it runs: explanations, figures, the call of a crash.
#ifndef VELMAR_CLI_WATCH_H
#define VELMAR_CLI_WATCH_H

#include <velmar_embedded/Figures.h>
#include <velmar_embedded/Journal.h>
#include <velmar_embedded/Server.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Crash.h"

namespace velmar_cli {

/// What the command line wants to see.
struct WatchOptions {
    bool explain = false;
    bool trace = false;
    std::vector<std::string> faults;
    std::string svg;  ///< file for the drawing of the request that took longest; empty: none

    void addOptions(CLI::App& command);
    /// Throws UsageError for a fault that cannot be read.
    void disturb(velmar_embedded::Server& server) const;
    bool wantJournal() const { return explain || trace || !svg.empty(); }
};

/// Explains requests on stderr. Thread-safe.
class Watcher : public CallObserver {
 public:
    /// What `leaveOut` is true for is not explained.
    explicit Watcher(
        const WatchOptions& options, std::function<bool(const velmar_embedded::Event&)> leaveOut =
                                         [](const auto&) { return false; });

    void onBegin(const velmar_embedded::Step& step) override;
    void onEnd(const velmar_embedded::Step& step, const velmar_embedded::StepEnd& end) override;

    velmar_embedded::Figures figures;

 private:
    void explain(const velmar_embedded::Event& root);

    const WatchOptions _options;
    const std::function<bool(const velmar_embedded::Event&)> _leaveOut;
    std::optional<velmar_embedded::Journal> _journal;
    std::mutex _lock;
    std::chrono::nanoseconds _longest{-1};
};

}  // namespace velmar_cli

#endif
