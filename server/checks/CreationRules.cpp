// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/CreationRules.h"

#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>

#include "checks/InstanceRules.h"
#include "checks/Wording.h"

using namespace Pegasus;

namespace velmar_checks {

namespace {

bool hasValue(const CIMConstInstance& instance, const CIMName& name) {
    const Uint32 index = instance.findProperty(name);
    return index != PEG_NOT_FOUND && !instance.getProperty(index).getValue().isNull();
}

}  // namespace

void checkGiven(const Reporter& report, const ClassFacts& facts, const std::string& operation,
                const CIMConstInstance& instance) {
    for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
        checkProperty(report, "creation.undeclared-property", "creation.property-type", facts,
                      instance.getProperty(i), operation + " was given ");
    }
    if (operation != "createInstance") {
        return;
    }
    for (const Declared& declared : facts.properties()) {
        if ((!declared.isKey && !declared.isRequired) || hasValue(instance, declared.name)) {
            continue;
        }
        const std::string name = utf8(declared.name);
        report.add(declared.isKey ? "creation.missing-key" : "creation.missing-property", name,
                   operation + " was given no value for " +
                       (declared.isKey ? "key property " : "the Required property ") + name);
    }
}

void noteStored(const Reporter& report, const CIMNamespaceName& nameSpace,
                const std::string& className) {
    report.add("creation.stored", "",
               "no provider is registered for instances of class " + className + " in namespace " +
                   utf8(nameSpace) + ", so the server stored the created one itself");
}

}  // namespace velmar_checks
