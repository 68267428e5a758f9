// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Watch.h"

#include <Pegasus/Common/Tracer.h>
#include <fmt/format.h>
#include <string.h>

#include <fstream>
#include <stdexcept>
#include <utility>

#include "Package.h"

using namespace velmar_embedded;

namespace velmar_cli {

void WatchOptions::addOptions(CLI::App& command) {
    command.add_flag("--explain", explain,
                     "Print what each request causes: provider calls, upcalls, alerts");
    command.add_flag("--trace", trace, "The same, with the trace records of the library between");
    command.add_option("--svg", svg, "Draw the request that took longest as a time line")
        ->type_name("FILE");
    command
        .add_option("--fault", faults,
                    "What goes wrong on purpose, as \"call getInstance class=EX_Fan wait=500\" or "
                    "\"upcall associatorNames nth=2 fail=CIM_ERR_FAILED\"; may be given again")
        ->type_name("RULE")
        ->allow_extra_args(false)
        ->take_all();
}

void WatchOptions::disturb(velmar_embedded::Server& server) const {
    for (const std::string& rule : faults) {
        try {
            server.faults().add(rule);
        } catch (const std::invalid_argument& e) {
            throw UsageError(e.what());
        }
    }
}

Watcher::Watcher(const WatchOptions& options, std::function<bool(const Event&)> leaveOut)
    : _options(options), _leaveOut(std::move(leaveOut)) {
    if (_options.wantJournal()) {
        _journal.emplace([this](const Event& root) { explain(root); });
    }
    if (_options.trace) {
        Pegasus::Tracer::setTraceLevel(16);  // all
        Pegasus::Tracer::setTraceComponents("ALL");
        _journal->followTraces();
    }
}

void Watcher::onBegin(const Step& step) {
    CallObserver::onBegin(step);
    figures.onBegin(step);
    if (_journal) {
        _journal->onBegin(step);
    }
}

void Watcher::onEnd(const Step& step, const StepEnd& end) {
    figures.onEnd(step, end);
    if (_journal) {
        _journal->onEnd(step, end);
    }
}

void Watcher::explain(const Event& root) {
    if (_leaveOut(root)) {
        return;
    }
    const std::lock_guard<std::mutex> guard(_lock);
    if (_options.explain || _options.trace) {
        fmt::print(stderr, "{}\n", treeOf(root));
    }
    if (!_options.svg.empty() && root.end.elapsed > _longest) {
        _longest = root.end.elapsed;
        std::ofstream out(_options.svg, std::ios::trunc);
        out << drawingOf(root) << std::flush;
        if (!out) {
            fmt::print(stderr, "velmar: cannot write {}: {}\n", _options.svg, strerror(errno));
        }
    }
}

}  // namespace velmar_cli
