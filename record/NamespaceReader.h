// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Reads all classes and instances of a namespace of any CIM server, one class at a time.
//
// Not thread-safe.
#ifndef VELMAR_RECORD_NAMESPACEREADER_H
#define VELMAR_RECORD_NAMESPACEREADER_H

#include <Pegasus/Client/CIMClient.h>

#include <functional>
#include <string>

namespace velmar_recording {

/// How far a reading is.
struct Step {
    const char* what;  ///< "classes" or "instances"
    size_t done;       ///< classes that were asked for
    size_t all;
    std::string className;  ///< what is asked for next
};
/// Hears of each step.
using Progress = std::function<void(const Step& step)>;

/// What a namespace has, as it is read.
class Reading {
 public:
    virtual ~Reading() = default;
    /// With its own features and qualifiers; after its superclass, and before all instances.
    virtual void onClass(const Pegasus::CIMClass& cimClass) = 0;
    /// Once each; its path and its references name the own namespace and the host nowhere.
    virtual void onInstance(const Pegasus::CIMInstance& instance) = 0;
    /// What the server did not give, and why; reading goes on.
    virtual void onProblem(const std::string& what, const std::string& reason) = 0;
};

/// Abstract classes and indications are asked for no instances. Borrows the client, which is
/// connected. Throws CIMException for an unknown namespace, std::runtime_error with what was asked
/// for when the connection breaks or an answer does not come in time.
void readNamespace(Pegasus::CIMClient& client, const Pegasus::CIMNamespaceName& nameSpace,
                   Reading& reading, const Progress& progress = {});

/// Equal for paths that differ in the letter case of names only.
std::string keyOf(const Pegasus::CIMObjectPath& path);

}  // namespace velmar_recording

#endif
