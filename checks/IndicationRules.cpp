// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/IndicationRules.h"

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>

#include <algorithm>
#include <iterator>

#include "checks/Wording.h"

using namespace Pegasus;

namespace velmar_checks {

namespace {

const Rule noNamespace{
    "indication.no-namespace", Severity::Error,
    "An indication's path has no namespace. A server drops such an indication without a word.",
    "Set the path of the indication, with its namespace, before it is delivered."};
const Rule unknownClass{
    "indication.unknown-class", Severity::Error,
    "An indication is of a class that its namespace does not have, so it matches no subscription.",
    "Correct the class name that the provider is constructed with, or compile the class's MOF."};
const Rule notAnIndication{
    "indication.not-an-indication", Severity::Error,
    "What was delivered is of a class without the qualifier Indication.",
    "Derive the class from CIM_AlertIndication and qualify it with Indication."};
const Rule undeclaredProperty{
    "indication.undeclared-property", Severity::Error,
    "An indication has a property that its class does not declare; a server removes it on the way "
    "to the subscribers.",
    "Declare the property in the MOF, or correct its name."};
const Rule propertyType{
    "indication.property-type", Severity::Error,
    "A property of an indication has another type, or another array form, than its class declares.",
    "Make the value with the declared type."};
const Rule missingProperty{
    "indication.missing-property", Severity::Warning,
    "A property of an indication that is Required is missing or null.",
    "Set it where the alert is raised, or in the provider of the alert for all of them."};
const Rule enrichment{
    "indication.enrichment-classes", Severity::Error,
    "An alert failed because root/velmar_remote lacks QORP_ComputerSystem or QORP_LPAR_CS, which "
    "the base generateIndication asks for with every alert.",
    "Compile these classes into root/velmar_remote, even if the package has no such systems."};

// The library adds these to every alert, whatever its class declares; they may be lost on the way.
bool isAddedByLibrary(const CIMName& name) {
    static const CIMName names[] = {"AlertType",
                                    "AlertingElementFormat",
                                    "AlertingManagedElement",
                                    "CorrelatedIndications",
                                    "Description",
                                    "EventID",
                                    "EventTime",
                                    "IndicationIdentifier",
                                    "IndicationTime",
                                    "LPARID",
                                    "Model",
                                    "OtherAlertType",
                                    "OtherAlertingElementFormat",
                                    "OtherSeverity",
                                    "PerceivedSeverity",
                                    "ProbableCause",
                                    "ProbableCauseDescription",
                                    "ProviderName",
                                    "RecommendedActions",
                                    "SenderUUID",
                                    "SerialNumber",
                                    "SystemCreationClassName",
                                    "SystemName",
                                    "Trending",
                                    "Type",
                                    "UUID",
                                    "UniqueSystemID"};
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

// The library delivers the element as a path, where CIM_AlertIndication declares its text.
bool isElementAsPath(const Declared& declared, const CIMValue& value) {
    return declared.name == CIMName("AlertingManagedElement") && !value.isArray() &&
           !declared.isArray && declared.type == CIMTYPE_STRING &&
           value.getType() == CIMTYPE_REFERENCE;
}

void checkIndicationProperty(const Report& report, const ClassFacts& facts,
                             const CIMConstProperty& property) {
    const CIMValue value = property.getValue();
    const Declared* declared = facts.property(property.getName());
    const std::string name = textOf(property.getName());
    if (!declared) {
        if (!value.isNull() && !isAddedByLibrary(property.getName())) {
            report.add(undeclaredProperty, name,
                       "delivers an indication with property " + name +
                           ", which the class does not declare, so that no subscriber gets it" +
                           didYouMean(name, facts.propertyNames()));
        }
    } else if (!value.isNull() && !declared->fits(value) && !isElementAsPath(*declared, value)) {
        report.add(propertyType, name,
                   "property " + name + " of an indication is " + describe(value) +
                       ", the class declares " + declared->typeText() + "; " +
                       howToWrite(declared->type, declared->isArray, value));
    }
}

}  // namespace

RuleList indicationRules() {
    return {&noNamespace,  &unknownClass,    &notAnIndication, &undeclaredProperty,
            &propertyType, &missingProperty, &enrichment};
}

void checkIndication(const Report& report, SchemaFacts& schema, const CIMIndication& indication) {
    const CIMNamespaceName nameSpace = indication.getPath().getNameSpace();
    const std::string className = textOf(indication.getClassName());
    if (nameSpace.isNull()) {
        report.add(noNamespace, "",
                   "delivers an indication whose path has no namespace, so that no subscriber gets "
                   "it; set its path, with a namespace");
        return;
    }
    const Facts facts = schema.find(nameSpace, indication.getClassName());
    if (!facts) {
        report.add(unknownClass, "",
                   "delivers an indication of class " + className + ", which namespace " +
                       textOf(nameSpace) +
                       " does not have, so that no subscriber gets it; correct "
                       "the class name that the provider is constructed with");
        return;
    }
    if (!facts->isIndication()) {
        report.add(
            notAnIndication, "",
            "delivers an instance of class " + className +
                " as an indication, but the class has no qualifier Indication; add it in the "
                "MOF");
    }
    for (Uint32 i = 0; i < indication.getPropertyCount(); i++) {
        checkIndicationProperty(report, *facts, CIMConstInstance(indication).getProperty(i));
    }
    for (const Declared& declared : facts->properties()) {
        const Uint32 index = indication.findProperty(declared.name);
        if (declared.isRequired &&
            (index == PEG_NOT_FOUND ||
             CIMConstInstance(indication).getProperty(index).getValue().isNull())) {
            const std::string name = textOf(declared.name);
            report.add(missingProperty, name,
                       "delivers an indication without a value for " + name +
                           ", which is Required; set a " + declared.typeText());
        }
    }
}

void checkEnrichment(const Report& report, const CIMName& method, const std::string& unknown) {
    for (const std::string name : {"QORP_ComputerSystem", "QORP_LPAR_CS"}) {
        // A handle that connects like a client puts the name of the status before it.
        if (unknown != name && (unknown.size() < name.size() + 2 ||
                                unknown.substr(unknown.size() - name.size() - 2) != ": " + name)) {
            continue;
        }
        report.add(
            enrichment, name,
            "method " + textOf(method) + " raised no alert: class " + name +
                " is unknown in root/velmar_remote, and generateIndication of the base class "
                "asks for it with every alert; compile QORP_ComputerSystem and its subclass "
                "QORP_LPAR_CS");
    }
}

}  // namespace velmar_checks
