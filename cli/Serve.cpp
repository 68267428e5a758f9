// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// velmar serve: a package on the wire, until it is told to stop.
#include <signal.h>
#include <velmar_wire/WireServer.h>

#include <iostream>
#include <memory>
#include <string>

#include "Commands.h"
#include "Crash.h"
#include "EndSignals.h"
#include "Package.h"

namespace velmar_cli {

namespace {

struct ServeOptions {
    Package package;
    velmar_wire::Options wire;
    double retryInterval = 30;
};

void tell(const velmar_wire::Refusals& refused) {
    if (refused.connections + refused.requests + refused.destinations + refused.alerts > 0) {
        std::cerr << "refused, being over a limit: " << refused.connections << " connections, "
                  << refused.requests << " requests, " << refused.destinations << " destinations, "
                  << refused.alerts << " alerts\n";
    }
}

ExitCode serve(ServeOptions& arguments) {
    EndSignals end;
    arguments.package.resolve();
    arguments.wire.delivery.interval =
        std::chrono::milliseconds(static_cast<long long>(arguments.retryInterval * 1000));
    static LastCall last;
    watchForCrashes(last);
    CallObserver observer;
    velmar_embedded::ServerOptions options;
    options.observer = &observer;
    velmar_embedded::Server server(options);
    arguments.package.load(server);
    server.start();
    {
        const velmar_wire::WireServer wire(server, arguments.wire);
        std::cout << "listening on http://127.0.0.1:" << wire.port() << std::endl;
        end.wait();
        tell(wire.refusals());
    }
    server.stop();
    return Good;
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
        ->capture_default_str();
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
