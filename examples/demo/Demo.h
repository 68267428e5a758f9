// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the chapters of the demo share: the started server and its site, and the story they tell.
//
// One thread only.
#ifndef DEMO_DEMO_H
#define DEMO_DEMO_H

#include <Pegasus/Client/CIMClient.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include <velmar_embedded/Server.h>
#include "Paths.h"
#include "site/SiteFile.h"

namespace demo {

using site::cim::utf8;

/// What was found: each element as the labels from the top down to it. The server promises no
/// order, so these stand in one of their own.
typedef std::vector<std::string> Place;
typedef std::multiset<Place> Places;

/// Tells what happens, a line for each step.
class Story {
 public:
    void chapter(const std::string& heading);
    /// Runs a step and prints what it took, what was asked for and the outcome that `run` returns.
    /// An exception ends the step, not the story, and makes it end badly.
    void step(const std::string& operation, const std::string& request,
              const std::function<std::string()>& run);
    /// Below the step before.
    void tell(const Places& places);

    bool endsWell() const { return _failures == 0; }

 private:
    size_t _failures = 0;
};

/// All of it outlives the chapters.
struct Demo {
    const site::Site& site;
    velmar_embedded::Server& server;
    Pegasus::CIMClient& client;  ///< connected
    Story& story;
};

/// Get, enumerate, create and delete systems.
void showInstances(const Demo& demo);
/// Walk the associations, and group the systems by control point.
void showAssociations(const Demo& demo);
/// Call a method on a partition, and get the alerts that it raises.
void showAlerts(const Demo& demo);

/// Throw std::runtime_error with what is not as the site file says.
void expectText(const std::string& what, const std::string& found, const std::string& wanted);
void expectPlaces(const Places& found, const Places& wanted);

/// Of the site's classes.
inline const Pegasus::CIMNamespaceName& cimNamespace() {
    return site::paths::CIM_ManagedElement::nameSpace();
}
/// "1 partition", "3 partitions".
std::string count(size_t number, const std::string& what);
/// A property (or key) as text; empty when it is missing or null.
std::string text(const Pegasus::CIMInstance& instance, const char* name);
/// The name of EnabledState.
std::string stateOf(const Pegasus::CIMInstance& instance);
/// A path's text without host and namespace.
std::string shortText(const Pegasus::CIMObjectPath& path);

}  // namespace demo

#endif
