// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Serves the systems of a site from the embedded CIM server and shows, as a client, what it
// answers.
#include <Pegasus/Common/Exception.h>
#include <fmt/core.h>
#include <stdlib.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <optional>

#ifdef VELMAR_HAS_WIRE
#include <velmar_wire/WireServer.h>
#endif
#include "Demo.h"

using namespace Pegasus;

namespace {

struct Options {
    std::string site;
    std::string mof;
    std::string modules;
    bool overHttp = false;
};

// True when all was as the site file says.
bool run(const Options& options) {
    const site::Site site = site::loadSite(options.site);
    setenv("VELMAR_SITE_FILE", options.site.c_str(), 1);

    velmar_embedded::Server server;
    server.compileMof("root/velmar_remote", options.mof + "/SiteSchema.mof");
    server.compileMof("root/PG_InterOp", options.mof + "/SiteRegistration.mof");
    server.addProviderDirectory(options.modules);
    server.start();
    CIMClient client;
#ifdef VELMAR_HAS_WIRE
    std::optional<velmar_wire::WireServer> wire;
    if (options.overHttp) {
        wire.emplace(server);
        client.connect("127.0.0.1", wire->port(), String(), String());
        fmt::print("listening on http://127.0.0.1:{}, where this client gets its answers\n",
                   wire->port());
    } else {
        client.connectLocal();
    }
#else
    client.connectLocal();
#endif

    demo::Story story;
    const demo::Demo demo{site, server, client, story};
    demo::showInstances(demo);
    demo::showAssociations(demo);
    demo::showAlerts(demo);
    fmt::print("\n{}\n", story.endsWell() ? "All is as the site file says."
                                          : "Not all is as the site file says: see ✗ above.");
    return story.endsWell();
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Shows the example providers at work on the embedded CIM server.");
    app.add_option("site", options.site, "Inventory of the site (JSON)")->required();
    app.add_option("--mof", options.mof, "Folder of SiteSchema.mof and SiteRegistration.mof")
        ->required()
        ->check(CLI::ExistingDirectory);
    app.add_option("--modules", options.modules, "Folder of libSiteProviders.so")
        ->required()
        ->check(CLI::ExistingDirectory);
#ifdef VELMAR_HAS_WIRE
    app.add_flag("--serve", options.overHttp, "Make the requests over HTTP");
#endif
    CLI11_PARSE(app, argc, argv);

    try {
        return run(options) ? 0 : 1;
    } catch (const Exception& error) {
        fmt::print(stderr, "{}\n", demo::utf8(error.getMessage()));
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
    }
    return 1;
}
