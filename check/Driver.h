// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Goes through everything that providers serve, as a client would, and reports answers that do
// not agree with each other.
//
// Not thread-safe.
#ifndef VELMAR_CHECKS_DRIVER_DRIVER_H
#define VELMAR_CHECKS_DRIVER_DRIVER_H

#include <functional>
#include <string>
#include <vector>

#include "check/Session.h"

namespace velmar_driver {

struct DriveOptions {
    bool write = false;             ///< create and delete instances; they are deleted again
    bool call = false;              ///< call methods, with sample values, and raise alerts
    unsigned limit = 100;           ///< instances looked at one by one, for each class
    unsigned clients = 0;           ///< at once, after all else; 0: none
    unsigned seconds = 10;          ///< that they go on
    unsigned tries = 10;            ///< of what answers disagree in, after 0, 1, 2, 4 and so on ms
    std::vector<std::string> only;  ///< names of classes; empty: all
    bool isAsked(const std::string& className) const;
    /// Hears of each class before it is driven: how many were, of how many.
    std::function<void(size_t done, size_t all, const std::string& className)> progress;
};

/// Drives the classes, all that the server registers.
std::vector<ClassReport> drive(Access& access, const std::vector<RegisteredClass>& classes,
                               const DriveOptions& options, velmar_checks::Findings& findings);

/// Throws std::invalid_argument where the options name a class that is not among these.
void requireClasses(const std::vector<RegisteredClass>& classes, const DriveOptions& options);

// The parts, for one class each.
void driveInstances(Session& session, const DriveOptions& options);
void driveAssociation(Session& session, const DriveOptions& options);
void driveIndication(Session& session, const std::vector<RegisteredClass>& classes,
                     const DriveOptions& options);
void driveMethods(Session& session);
void driveWrites(Session& session, const std::vector<RegisteredClass>& classes);

/// Several clients at once, on classes that were driven before.
void driveLoad(Access& access, const std::vector<RegisteredClass>& classes,
               const DriveOptions& options, velmar_checks::Findings& findings,
               std::vector<ClassReport>& results);

/// The names of the properties that have a value.
std::set<std::string> filledIn(const Pegasus::CIMConstInstance& instance);

/// A path of the session's class that differs in one key, the first one that is text; the path
/// itself where there is none.
Pegasus::CIMObjectPath another(const Session& session, const Pegasus::CIMObjectPath& path,
                               const std::string& suffix);

}  // namespace velmar_driver

#endif
