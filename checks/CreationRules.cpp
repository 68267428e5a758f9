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

const Rule createdUndeclaredProperty{
    "creation.undeclared-property", Severity::Error,
    "A caller's createInstance or modifyInstance gave a property that the class does not declare. "
    "A server does not check that, so it reaches the provider.",
    "Correct the property's name, or declare it in the MOF."};
const Rule createdPropertyType{
    "creation.property-type", Severity::Error,
    "A caller's createInstance or modifyInstance gave a property of another type, or another array "
    "form, than the class declares.",
    "Make the value with the declared type: CIMValue(String(\"text\")), CIMValue(Uint32(5))."};
const Rule missingKey{
    "creation.missing-key", Severity::Error,
    "A caller's createInstance left out a key property, or gave it as null: there is no path for "
    "the new instance.",
    "Give every key property a value."};
const Rule missingProperty{
    "creation.missing-property", Severity::Error,
    "A caller's createInstance left out a property that is Required, or gave it as null.",
    "Give the property, or drop the qualifier Required from the MOF."};
const Rule stored{
    "creation.stored", Severity::Warning,
    "No provider serves the class, so the server stored a created instance itself.",
    "Register a provider for exactly this class (registration is not inherited), or leave it so if "
    "the instance is meant to be stored."};

bool hasValue(const CIMConstInstance& instance, const CIMName& name) {
    const Uint32 index = instance.findProperty(name);
    return index != PEG_NOT_FOUND && !instance.getProperty(index).getValue().isNull();
}

}  // namespace

RuleList creationRules() {
    return {&createdUndeclaredProperty, &createdPropertyType, &missingKey, &missingProperty,
            &stored};
}

void checkGiven(const Report& report, const ClassFacts& facts, const std::string& operation,
                const CIMConstInstance& instance) {
    for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
        checkProperty(report, createdUndeclaredProperty, createdPropertyType, facts,
                      instance.getProperty(i), operation + " was given ");
    }
    if (operation != "createInstance") {
        return;
    }
    for (const Declared& declared : facts.properties()) {
        if ((!declared.isKey && !declared.isRequired) || hasValue(instance, declared.name)) {
            continue;
        }
        const std::string name = textOf(declared.name);
        report.add(declared.isKey ? missingKey : missingProperty, name,
                   operation + " was given no value for " +
                       (declared.isKey ? "key property " : "the Required property ") + name +
                       "; give a " + declared.typeText());
    }
}

void noteStored(const Report& report, const CIMNamespaceName& nameSpace,
                const std::string& className) {
    report.add(stored, "",
               "no provider is registered for instances of class " + className + " in namespace " +
                   textOf(nameSpace) +
                   ", so the server stored the created one itself; register a provider for exactly "
                   "this class if it is to be asked");
}

}  // namespace velmar_checks
