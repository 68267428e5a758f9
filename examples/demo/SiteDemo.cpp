// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Serves the systems of a site from the embedded CIM server and shows, as a client, what it
// answers.
#include <Common/Util.h>
#include <Pegasus/Common/Exception.h>
#include <fmt/core.h>
#include <stdlib.h>

#include <CLI/CLI.hpp>
#include <exception>

#include <velmar_embedded/Server.h>
#include "Sections.h"
#include "site/SiteModel.h"

using namespace Pegasus;

namespace demo {

std::vector<const site::HostingSystem*> allSystems(const site::Site& site) {
    std::vector<const site::HostingSystem*> result;
    for (const site::Domain& domain : site.domains) {
        for (const site::HostingSystem& system : domain.systems) {
            result.push_back(&system);
        }
    }
    return result;
}

size_t partitionCount(const site::Site& site) {
    size_t result = 0;
    for (const site::HostingSystem* system : allSystems(site)) {
        result += system->partitions.size();
    }
    return result;
}

std::string text(const CIMInstance& instance, const char* name) {
    const CIMValue value = velmar_remote::getValue(instance, name);
    return value.isNull() ? "" : site::toStd(value.toString());
}

std::string stateOf(const CIMInstance& instance) {
    const CIMValue value = velmar_remote::getValue(instance, "EnabledState");
    if (value.isNull() || value.getType() != CIMTYPE_UINT16) {
        return "in no state";
    }
    Uint16 number = 0;
    value.get(number);
    const site::State* const state = site::findState(number);
    return state != nullptr ? state->name : std::to_string(number);
}

std::string shortText(const CIMObjectPath& path) {
    return site::toStd(velmar_remote::localize(path).toString());
}

}  // namespace demo

namespace {

struct Options {
    std::string site;
    std::string mof;
    std::string modules;
};

// True when every expectation was met.
bool run(const Options& options) {
    const site::Site site = site::loadSite(options.site);
    setenv("VELMAR_SITE_FILE", options.site.c_str(), 1);

    velmar_embedded::Server server;
    server.compileMof("root/velmar_remote", options.mof + "/SiteSchema.mof");
    server.compileMof("root/PG_InterOp", options.mof + "/SiteRegistration.mof");
    server.addProviderDirectory(options.modules);
    server.start();
    CIMClient client;
    client.connectLocal();

    fmt::print("{}: {}, {}, {}\n", options.site, demo::count(site.domains.size(), "domain"),
               demo::count(demo::allSystems(site).size(), "hosting system"),
               demo::count(demo::partitionCount(site), "partition"));
    demo::Report report;
    const demo::Demo demo{site, server, client, report};
    demo::showInstances(demo);
    demo::showMethod(demo);
    demo::showTree(demo);
    demo::showGroups(demo);
    demo::showAlerts(demo);
    return report.finish();
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
    CLI11_PARSE(app, argc, argv);

    try {
        return run(options) ? 0 : 1;
    } catch (const Exception& error) {
        fmt::print(stderr, "{}\n", site::toStd(error.getMessage()));
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
    }
    return 1;
}
