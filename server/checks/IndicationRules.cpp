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

void checkIndicationProperty(const Reporter& report, const ClassFacts& facts,
                             const CIMConstProperty& property) {
    const CIMValue value = property.getValue();
    const Declared* declared = facts.property(property.getName());
    const std::string name = utf8(property.getName());
    if (!declared) {
        if (!value.isNull() && !isAddedByLibrary(property.getName())) {
            report.add("indication.undeclared-property", name,
                       "delivers an indication with property " + name +
                           ", which the class does not declare" +
                           didYouMean(name, facts.propertyNames()));
        }
    } else if (!value.isNull() && !declared->fits(value) && !isElementAsPath(*declared, value)) {
        report.add("indication.property-type", name,
                   "property " + name + " of an indication is " + describe(value) +
                       ", the class declares " + declared->typeText());
    }
}

}  // namespace

void checkIndication(const Reporter& report, SchemaFacts& schema, const CIMIndication& indication) {
    const CIMNamespaceName nameSpace = indication.getPath().getNameSpace();
    const std::string className = utf8(indication.getClassName());
    if (nameSpace.isNull()) {
        report.add("indication.no-namespace", "",
                   "delivers an indication whose path has no namespace");
        return;
    }
    const Facts facts = schema.find(nameSpace, indication.getClassName());
    if (!facts) {
        report.add("indication.unknown-class", "",
                   "delivers an indication of class " + className + ", which namespace " +
                       utf8(nameSpace) + " does not have");
        return;
    }
    if (!facts->isIndication()) {
        report.add("indication.not-an-indication", "",
                   "delivers an instance of class " + className +
                       " as an indication, but the class has no qualifier Indication");
    }
    for (Uint32 i = 0; i < indication.getPropertyCount(); i++) {
        checkIndicationProperty(report, *facts, CIMConstInstance(indication).getProperty(i));
    }
    for (const Declared& declared : facts->properties()) {
        const Uint32 index = indication.findProperty(declared.name);
        if (declared.isRequired &&
            (index == PEG_NOT_FOUND ||
             CIMConstInstance(indication).getProperty(index).getValue().isNull())) {
            const std::string name = utf8(declared.name);
            report.add(
                "indication.missing-property", name,
                "delivers an indication without a value for " + name + ", which is Required");
        }
    }
}

void checkEnrichment(const Reporter& report, const CIMName& method, const std::string& unknown) {
    for (const std::string name : {"QORP_ComputerSystem", "QORP_LPAR_CS"}) {
        // A handle that connects like a client puts the name of the status before it.
        if (unknown != name && (unknown.size() < name.size() + 2 ||
                                unknown.substr(unknown.size() - name.size() - 2) != ": " + name)) {
            continue;
        }
        report.add("indication.enrichment-classes", name,
                   "method " + utf8(method) + " raised no alert: class " + name +
                       " is unknown in root/velmar_remote");
    }
}

}  // namespace velmar_checks
