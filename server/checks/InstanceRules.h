// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What is wrong with an instance or a path that a provider delivers.
//
// Keep no state, thread-safe.
#ifndef VELMAR_CHECKS_INSTANCERULES_H
#define VELMAR_CHECKS_INSTANCERULES_H

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMPropertyList.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "checks/ClassFacts.h"
#include "checks/Findings.h"

namespace velmar_checks {

/// A property against its class. `origin` tells whose it is ("createInstance was given "); the
/// rules are those of the group that asks.
void checkProperty(const Reporter& report, const char* undeclared, const char* type,
                   const ClassFacts& facts, const Pegasus::CIMConstProperty& property,
                   const std::string& origin);

/// The class of what is delivered against the one asked for. Null, after a finding, when it is not
/// known; `report` is about the class asked for.
Facts checkClass(const Reporter& report, SchemaFacts& schema,
                 const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& asked,
                 const Pegasus::CIMName& delivered);

/// What is wrong with an instance whoever asked for it: its properties, and the keys of its path
/// against the class and the properties.
void checkContents(const Reporter& report, const ClassFacts& facts,
                   const Pegasus::CIMConstObject& object, const Pegasus::CIMObjectPath& path);

/// The key properties that the asker wants to have.
void checkKeyProperties(const Reporter& report, const ClassFacts& facts,
                        const Pegasus::CIMConstObject& object,
                        const Pegasus::CIMPropertyList& propertyList);

/// The keys of a path against its class; a class path is in order unless keys are `required`.
void checkPathKeys(const Reporter& report, const ClassFacts& facts,
                   const Pegasus::CIMObjectPath& path, bool required);

/// Host and namespace, which may be missing but not others than requests carry.
void checkPlace(const Reporter& report, const Pegasus::CIMNamespaceName& nameSpace,
                const Pegasus::CIMObjectPath& path);

/// The paths of one enumeration, each of which may come once. Not thread-safe.
class DistinctPaths {
 public:
    void check(const Reporter& report, const Pegasus::CIMObjectPath& path);

 private:
    std::unordered_multimap<size_t, Pegasus::CIMObjectPath> _seen;
};

}  // namespace velmar_checks

#endif
