// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Compares what two CIM servers, packages or recordings have, by class, instance and property.
//
// Not thread-safe.
#ifndef VELMAR_RECORD_SNAPSHOT_H
#define VELMAR_RECORD_SNAPSHOT_H

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "record/NamespaceReader.h"

namespace velmar_recording {

/// The part that names a class's superclass.
constexpr const char* SUPERCLASS = "(superclass)";

/// A class or an instance, as text.
struct Entity {
    std::string name;  ///< the class's, or the instance's path without host
    /// By a key that is equal where names differ in letter case only: "Speed", "Spin()",
    /// "Spin() Level [Required]" as spelled, and the value or declaration as MOF.
    std::map<std::string, std::pair<std::string, std::string>> parts;
};

/// What a namespace has, by keys that compare as the names do.
struct Snapshot {
    std::map<std::string, Entity> classes;
    std::map<std::string, Entity> instances;
    std::vector<std::string> problems;  ///< what could not be read, and why
};

/// Leaves the properties of these names out of instances; their letter case does not count. A null
/// value is the same as none. Throws as readNamespace.
Snapshot snapshotOf(Pegasus::CIMClient& client, const Pegasus::CIMNamespaceName& nameSpace,
                    const std::set<std::string>& ignored = {}, const Progress& progress = {});

/// One thing that two snapshots do not have in common.
struct Difference {
    bool isClass = false;  ///< else an instance
    std::string name;      ///< of the class or instance
    std::string part;      ///< empty where the whole class or instance is in one of them only
    bool isInA = false;
    bool isInB = false;
    std::string a, b;  ///< value or declaration as MOF
};

/// Classes first, each with its parts, then instances; by name.
std::vector<Difference> differences(const Snapshot& a, const Snapshot& b);

}  // namespace velmar_recording

#endif
