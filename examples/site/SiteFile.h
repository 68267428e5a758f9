// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The inventory of a site, read from a JSON file: admin domains with their control points and
// hosting systems, and the partitions of each system.
//
// Plain values; loading keeps no state. Any number of threads may read one Site.
#ifndef SITE_SITEFILE_H
#define SITE_SITEFILE_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace site {

/// A state of a system or partition: its name in the file and its number in CIM (EnabledState and
/// RequestedState; numbers from 32768 on are a vendor's own).
struct State {
    const char* name;
    uint16_t value;
    bool failure;  ///< worth an alert
};

/// Null for an unknown state.
const State* findState(const std::string& name);
const State* findState(uint16_t value);

struct ControlPoint {
    std::string uuid;
    std::string name;
    std::string networkAddress;
};

struct Partition {
    unsigned id = 0;
    std::string name;
    const State* state = nullptr;  ///< never null in a loaded site
};

struct HostingSystem {
    std::string type;
    std::string model;
    std::string serial;
    std::string uuid;
    std::string firmware;
    std::string packageTag;
    std::vector<Partition> partitions;
};

struct Domain {
    std::string name;
    std::vector<ControlPoint> controlPoints;
    std::vector<HostingSystem> systems;
};

struct Site {
    std::vector<Domain> domains;
};

/// Runs use(domain, system) for each hosting system.
template <class Use>
void forEachSystem(const Site& site, Use use) {
    for (const Domain& domain : site.domains) {
        for (const HostingSystem& system : domain.systems) {
            use(domain, system);
        }
    }
}

/// "Type-Model*Serial".
std::string systemName(const HostingSystem& system);
/// "LPARID*Type-Model*Serial", the form that velmar_remote::splitSysName takes apart.
std::string partitionName(const HostingSystem& system, const Partition& partition);

/// What is wrong with a file. what() is "FILE: reason", "FILE:LINE:COLUMN: reason" for broken
/// syntax, or "FILE: POINTER: reason" for broken content (a JSON pointer, RFC 6901).
class SiteError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// Reads the whole file or throws SiteError for the first thing that is wrong in it.
Site loadSite(const std::string& file);

}  // namespace site

#endif
