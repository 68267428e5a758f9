// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// velmar serve: a package on the wire, until it is told to stop.
#include <fmt/format.h>
#include <signal.h>
#include <string.h>
#include <velmar_wire/WireServer.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <string>

#include "CheckReport.h"
#include "Commands.h"
#include "EndSignals.h"
#include "Package.h"
#include "Rebuilds.h"
#include "Watch.h"

namespace velmar_cli {

namespace {

struct ServeOptions {
    Package package;
    velmar_wire::Options wire;
    double retryInterval = 30;
    WatchOptions seen;
    double figures = 0;  ///< seconds from one line of them to the next; 0: none
    bool watch = false;
};

void tell(const velmar_wire::Refusals& refused) {
    if (refused.connections + refused.requests + refused.destinations + refused.alerts > 0) {
        std::cerr << "refused, being over a limit: " << refused.connections << " connections, "
                  << refused.requests << " requests, " << refused.destinations << " destinations, "
                  << refused.alerts << " alerts\n";
    }
}

// Once, as a line of JSON.
void printFigures(const std::vector<velmar_embedded::Figure>& figures) {
    fmt::print("{}", textOf(toJson(figures), -1));
    fflush(stdout);
}

// Until the end, or until a file of the package was rebuilt, which it returns.
std::string attend(const ServeOptions& arguments, const EndSignals& end, Rebuilds& rebuilds,
                   const Watcher* watcher) {
    using std::chrono::steady_clock;
    const std::chrono::milliseconds interval(static_cast<long long>(arguments.figures * 1000));
    auto due = steady_clock::now() + interval;
    while (true) {
        const bool isTimed = arguments.figures > 0 && watcher != nullptr;
        std::chrono::nanoseconds time = std::chrono::hours(24);
        if (isTimed) {
            time = std::max(due - steady_clock::now(), std::chrono::nanoseconds(1));
        }
        if (arguments.watch) {
            time = std::min<std::chrono::nanoseconds>(time, std::chrono::milliseconds(250));
        }
        const int received = end.waitFor(time);
        if (received == SIGUSR1 && watcher != nullptr) {
            std::cerr << tableOf(toJson(watcher->figures.figures())) << std::flush;
        } else if (received == SIGINT || received == SIGTERM) {
            return "";
        }
        if (isTimed && steady_clock::now() >= due) {
            printFigures(watcher->figures.figures());
            due += interval;
        }
        const std::string rebuilt = arguments.watch ? rebuilds.changed() : "";
        if (!rebuilt.empty()) {
            return rebuilt;
        }
    }
}

// Returns the file that was rebuilt meanwhile, if it is watched.
std::string serveOnce(ServeOptions& arguments, const EndSignals& end, Rebuilds& rebuilds) {
    static LastCall last;
    watchForCrashes(last);
    Watcher watcher(arguments.seen);
    velmar_embedded::ServerOptions options;
    options.observer = &watcher;
    velmar_embedded::Server server(options);
    arguments.package.load(server);
    arguments.seen.disturb(server);
    server.start();
    std::string rebuilt;
    {
        const velmar_wire::WireServer wire(server, arguments.wire);
        arguments.wire.port = wire.port();
        std::cout << "listening on http://127.0.0.1:" << wire.port() << std::endl;
        rebuilt = attend(arguments, end, rebuilds, &watcher);
        tell(wire.refusals());
    }
    server.stop();
    std::cerr << tableOf(toJson(watcher.figures.figures())) << std::flush;
    return rebuilt;
}

ExitCode serve(ServeOptions& arguments) {
    const EndSignals end{SIGUSR1};
    arguments.package.resolve();
    arguments.wire.delivery.interval =
        std::chrono::milliseconds(static_cast<long long>(arguments.retryInterval * 1000));
    Rebuilds rebuilds(arguments.package);
    std::string rebuilt;
    const ExitCode code = guarded([&] {
        rebuilt = serveOnce(arguments, end, rebuilds);
        return Good;
    });
    if (code != Good && arguments.watch) {
        std::cerr << "waiting for the next build" << std::endl;
        rebuilt = attend(arguments, end, rebuilds, nullptr);
    }
    if (!rebuilt.empty()) {
        std::cerr << rebuilt << " was rebuilt: starting again" << std::endl;
        Rebuilds::startAgain({"--port", std::to_string(arguments.wire.port)});
        throw std::runtime_error(std::string("cannot start again: ") + strerror(errno));
    }
    return code;
}

}  // namespace

void addServe(CLI::App& app, Run& run) {
    auto* const command = app.add_subcommand(
        "serve",
        "Serves a package, or a model alone, to WBEM clients of this host until SIGINT or SIGTERM");
    const auto arguments = std::make_shared<ServeOptions>();
    arguments->package.addOptions(*command, Needs::Model);
    arguments->wire.port = 5988;
    command->add_option("--port", arguments->wire.port, "Port on 127.0.0.1; 0: a free one")
        ->capture_default_str()
        ->take_last();
    arguments->seen.addOptions(*command);
    command
        ->add_option(
            "--figures", arguments->figures,
            "Print what providers were called for as a line of JSON, each so many seconds; "
            "SIGUSR1 prints a table, as the end does")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.1, 86400.0));
    command->add_flag("--watch", arguments->watch,
                      "Start again on the same port when a module or MOF file was rebuilt");
    command
        ->add_option("--retry-interval", arguments->retryInterval,
                     "Seconds before an alert that a listener did not take is sent again")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 86400.0));
    command
        ->add_option("--deliver-to", arguments->wire.delivery.hosts,
                     "A further host that alerts may be sent to; may be given again")
        ->type_name("HOST")
        ->allow_extra_args(false)
        ->take_all();
    command->callback([&run, arguments] { run = [arguments] { return serve(*arguments); }; });
}

}  // namespace velmar_cli
