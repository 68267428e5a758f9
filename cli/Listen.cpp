// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// velmar listen: prints the alerts of a running server.
#include <Pegasus/Client/CIMClient.h>
#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>
#include <velmar_wire/AlertListener.h>

#include <ctime>
#include <memory>
#include <mutex>

#include "AskArguments.h"
#include "AskOutput.h"
#include "Commands.h"
#include "EndSignals.h"
#include "Target.h"

using namespace Pegasus;

namespace velmar_cli {

namespace {

struct ListenOptions {
    std::string url = "http://127.0.0.1:5988";
    std::string className = "CIM_AlertIndication";
    std::string nameSpace = "root/velmar_remote";
    std::string interop = velmar_embedded::interopNamespace;
    Login login;
    unsigned count = 0;
    bool isMof = false;
    bool isJson = false;
};

void print(const CIMInstance& alert, Format format) {
    char time[16] = "";
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    std::strftime(time, sizeof time, "%H:%M:%S", localtime_r(&now, &local));
    if (format == Format::Table) {
        fmt::print("{} ", time);
    }
    fmt::print("{}", shown(Array<CIMInstance>(1, alert), format, 80));
    fflush(stdout);
}

ExitCode listen(const ListenOptions& options) {
    EndSignals end;
    CIMClient client;
    connectTo(client, options.url, options.login);
    const CIMNamespaceName nameSpace(options.nameSpace.c_str());
    const std::string className =
        AskArguments(client, nameSpace).factsOf(options.className)->name();
    const Format format = options.isJson  ? Format::Json
                          : options.isMof ? Format::Mof
                                          : Format::Table;
    unsigned received = 0;
    const velmar_wire::AlertListener listener([&](const CIMInstance& alert) {
        print(alert, format);
        if (++received == options.count) {
            kill(getpid(), SIGTERM);
        }
    });
    const velmar_wire::RemoteSubscription subscription(
        client, CIMNamespaceName(options.interop.c_str()),
        fmt::format("velmar-listen-{}", getpid()), "SELECT * FROM " + className, nameSpace,
        listener.url());
    fmt::print(stderr, "listening for {} of {}\n", className, options.url);
    end.wait();
    return Good;
}

}  // namespace

void addListen(CLI::App& app, Run& run) {
    auto* const command = app.add_subcommand(
        "listen", "Subscribes at a server of this host and prints its alerts until interrupted");
    const auto options = std::make_shared<ListenOptions>();
    command->add_option("class", options->className, "Class of the alerts")->capture_default_str();
    command->add_option("--url", options->url, "The server, http(s)://HOST:PORT")
        ->capture_default_str();
    command->add_option("-n,--namespace", options->nameSpace, "Namespace that the alerts come from")
        ->capture_default_str();
    command->add_option("--interop", options->interop, "Namespace of the server's subscriptions")
        ->capture_default_str();
    options->login.addOptions(*command);
    command->add_option("--count", options->count, "End after that many alerts");
    command->add_flag("--mof", options->isMof, "Print MOF");
    command->add_flag("--json", options->isJson, "Print JSON");
    command->callback([&run, options] { run = [options] { return listen(*options); }; });
}

}  // namespace velmar_cli
