// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The sections of the demo. Each makes requests to the started server as any client would, and
// compares the answers with the inventory.
#ifndef DEMO_SECTIONS_H
#define DEMO_SECTIONS_H

#include <Pegasus/Client/CIMClient.h>

#include <string>
#include <vector>

#include "Report.h"
#include "site/SiteFile.h"

namespace velmar_embedded {
class Server;
}

namespace demo {

/// What the sections work with. All of it outlives them.
struct Demo {
    const site::Site& site;
    velmar_embedded::Server& server;
    Pegasus::CIMClient& client;  ///< connected
    Report& report;
};

/// Get, enumerate, create and delete systems.
void showInstances(const Demo& demo);
/// Call a method on a partition.
void showMethod(const Demo& demo);
/// Walk the associations.
void showTree(const Demo& demo);
/// Group all systems by control point.
void showGroups(const Demo& demo);
/// Subscribe to alerts, raise some, and raise one that nobody wants.
void showAlerts(const Demo& demo);

// ---- What several sections need ---------------------------------------------------------------

std::vector<const site::HostingSystem*> allSystems(const site::Site& site);
size_t partitionCount(const site::Site& site);

/// A property (or key) as text; empty when it is missing or null.
std::string text(const Pegasus::CIMInstance& instance, const char* name);
/// The name of EnabledState, or its number.
std::string stateOf(const Pegasus::CIMInstance& instance);
/// A path's text without host and namespace.
std::string shortText(const Pegasus::CIMObjectPath& path);

}  // namespace demo

#endif
