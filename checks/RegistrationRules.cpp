// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/RegistrationRules.h"

#include <Pegasus/Common/CIMInstance.h>

#include <algorithm>
#include <set>

#include "checks/Wording.h"

using namespace Pegasus;
using velmar_embedded::ProviderType;
using velmar_embedded::Registration;

namespace velmar_checks {

namespace {

const Rule noClass{"registration.no-class", Severity::Warning,
                   "A PG_Provider has no PG_ProviderCapabilities: it is not called.",
                   "Add an instance of PG_ProviderCapabilities with its ProviderName, ClassName, "
                   "Namespaces and ProviderType."};
const Rule methodsAlone{"registration.methods-alone", Severity::Warning,
                        "A class with keys is registered for methods, but no provider for its "
                        "instances: clients find no instance to call a method of.",
                        "Add 2 (instance) to ProviderType."};
const Rule unknownNamespace{"registration.unknown-namespace", Severity::Error,
                            "A registration names a namespace that does not exist.",
                            "Correct Namespaces in PG_ProviderCapabilities, or compile the schema "
                            "into that namespace."};
const Rule registeredUnknownClass{"registration.unknown-class", Severity::Error,
                                  "A registration names a class that its namespace does not have.",
                                  "Correct ClassName or Namespaces, or compile the class's MOF."};
const Rule associationType{
    "registration.association-type", Severity::Error,
    "An association class is registered, but not for associations: associators and references find "
    "nothing.",
    "Add 3 (association) to ProviderType."};
const Rule notAnAssociation{
    "registration.not-an-association", Severity::Error,
    "A class other than an association is registered for associations: the provider is never "
    "asked.",
    "Register the association class, not the classes at its ends; or qualify it with Association."};
const Rule indicationType{
    "registration.indication-type", Severity::Error,
    "An indication class is registered, but not for indications: clients cannot subscribe to it.",
    "Use ProviderType {4, 5}: indications, and methods for send."};
const Rule registeredNotAnIndication{
    "registration.not-an-indication", Severity::Error,
    "A class without the qualifier Indication is registered for indications.",
    "Qualify the class with Indication in the MOF, and derive it from CIM_AlertIndication."};
const Rule alertSuperclass{
    "registration.alert-superclass", Severity::Warning,
    "A class is registered for indications and methods, but is not a CIM_AlertIndication: "
    "subscribers to alerts do not get it, and the properties of an alert are lost.",
    "Derive the class from CIM_AlertIndication."};
const Rule unknownMethod{"registration.unknown-method", Severity::Error,
                         "SupportedMethods names a method that the class does not declare.",
                         "Correct the name, or declare the method in the MOF."};
const Rule unservedMethod{
    "registration.unserved-method", Severity::Warning,
    "A method of a registered class is served by no provider: callers get "
    "CIM_ERR_METHOD_NOT_AVAILABLE.",
    "Add 5 (method) to ProviderType and the method to SupportedMethods (NULL means all)."};
const Rule unservedSubclass{
    "registration.unserved-subclass", Severity::Warning,
    "A class is not registered, but its superclass is: registration is not inherited, so its "
    "instances are not served.",
    "Register a provider for exactly this class, or qualify it with Abstract."};
const Rule classAndSubclass{"registration.class-and-subclass", Severity::Warning,
                            "One provider is registered for instances of a class and of its "
                            "subclass. It is called once for "
                            "each, and a provider with one cache delivers every instance twice.",
                            "Use one provider, that is one object, for each class."};
const Rule keyless{"registration.keyless-class", Severity::Error,
                   "A class is registered for instances, but has no key property: its instances "
                   "have no paths.",
                   "Mark the identifying properties with Key in the MOF."};
const Rule unknownReference{"registration.unknown-reference-class", Severity::Error,
                            "A reference property refers to a class that the namespace does not "
                            "have.",
                            "Correct the class name in the MOF, or compile that class too."};
const Rule tooFewEnds{"registration.association-ends", Severity::Error,
                      "An association class has fewer than two references.",
                      "Declare both ends: [Key] A REF Left; [Key] B REF Right;"};

using Same = std::vector<const Registration*>;  // of one class

bool hasType(const Same& same, ProviderType type) {
    return std::any_of(same.begin(), same.end(),
                       [&](const Registration* one) { return one->type == type; });
}

void checkTypes(const Report& report, const ClassFacts& facts, const Same& same) {
    const bool association = hasType(same, ProviderType::Association);
    const bool indication = hasType(same, ProviderType::Indication);
    if (facts.isAssociation() && !association) {
        report.add(associationType, "ProviderType",
                   "is an association, but its ProviderType lacks 3 (association), so that "
                   "associators and references find nothing; add it");
    }
    if (!facts.isAssociation() && association) {
        report.add(
            notAnAssociation, "ProviderType",
            "has ProviderType 3 (association), but is not an association, so that the provider "
            "is never asked; register the association class");
    }
    if (facts.isIndication() && !indication) {
        report.add(
            indicationType, "ProviderType",
            "is an indication, but its ProviderType lacks 4 (indication), so that nobody can "
            "subscribe; use {4, 5}");
    }
    if (!facts.isIndication() && indication) {
        report.add(registeredNotAnIndication, "ProviderType",
                   "has ProviderType 4 (indication), but lacks the qualifier Indication; add it in "
                   "the MOF");
    }
    if (hasType(same, ProviderType::Instance) && facts.keys().empty() && !facts.isIndication()) {
        report.add(keyless, "",
                   "is registered for instances, but declares no key property; mark "
                   "one with Key");
    }
    if (!indication || !hasType(same, ProviderType::Method)) {
        return;
    }
    if (!facts.isA(CIMName("CIM_AlertIndication"))) {
        report.add(alertSuperclass, "",
                   "is registered for alerts, but is not derived from CIM_AlertIndication, so that "
                   "subscribers to alerts miss it; derive it");
    }
}

void checkMethods(const Report& report, const ClassFacts& facts, const Same& same) {
    bool all = false;
    std::vector<CIMName> served;
    for (const Registration* one : same) {
        if (one->type != ProviderType::Method) {
            continue;
        }
        all = all || one->methods.empty();
        served.insert(served.end(), one->methods.begin(), one->methods.end());
    }
    for (const CIMName& method : served) {
        if (!facts.method(method) && !facts.isSend(method)) {
            report.add(unknownMethod, textOf(method),
                       "SupportedMethods names " + textOf(method) +
                           ", which the class does not declare" +
                           didYouMean(textOf(method), facts.methodNames()));
        }
    }
    for (const MethodFacts& method : facts.methods()) {
        if (!all && std::find(served.begin(), served.end(), method.result.name) == served.end()) {
            const std::string name = textOf(method.result.name);
            report.add(unservedMethod, name,
                       "no provider serves its method " + name + "; add " +
                           (hasType(same, ProviderType::Method)
                                ? "it to SupportedMethods"
                                : "5 (method) to ProviderType, and it to SupportedMethods"));
        }
    }
}

std::string otherPlaces(SchemaFacts& schema, const std::vector<Registration>& registrations,
                        const CIMName& className) {
    std::set<std::string> places{"root/velmar_remote"};
    for (const Registration& one : registrations) {
        places.insert(textOf(one.nameSpace));
    }
    for (const std::string& place : places) {
        if (schema.find(CIMNamespaceName(place.c_str()), className)) {
            return "; namespace " + place + " has it";
        }
    }
    return "; compile its MOF first, or correct the name";
}

std::vector<std::string> classNames(const SchemaFacts& schema, const CIMNamespaceName& nameSpace) {
    std::vector<std::string> names;
    const Array<CIMName> found = schema.schema().subclassNames(nameSpace, CIMName(), true);
    for (Uint32 i = 0; i < found.size(); i++) {
        names.push_back(textOf(found[i]));
    }
    return names;
}

const Registration* instancesOf(const std::vector<Registration>& registrations,
                                const CIMNamespaceName& nameSpace, const CIMName& className) {
    const auto found =
        std::find_if(registrations.begin(), registrations.end(), [&](const Registration& one) {
            return one.type == ProviderType::Instance && one.className == className &&
                   one.nameSpace == nameSpace;
        });
    return found == registrations.end() ? nullptr : &*found;
}

// The registrations of one class against the class.
void checkClass(Findings& findings, SchemaFacts& schema, const Same& same,
                const std::vector<Registration>& registrations) {
    const Registration& first = *same.front();
    const std::string name = textOf(first.className);
    const Report report(findings, first.provider, name);
    if (!schema.schema().hasNamespace(first.nameSpace)) {
        report.add(unknownNamespace, textOf(first.nameSpace),
                   "is registered in namespace " + textOf(first.nameSpace) +
                       ", which does not exist" +
                       otherPlaces(schema, registrations, first.className));
        return;
    }
    const Facts facts = schema.find(first.nameSpace, first.className);
    if (!facts) {
        const std::string near = didYouMean(name, classNames(schema, first.nameSpace));
        report.add(registeredUnknownClass, textOf(first.nameSpace),
                   "is registered, but namespace " + textOf(first.nameSpace) +
                       " does not have the class" +
                       (near.empty() ? otherPlaces(schema, registrations, first.className) : near));
        return;
    }
    checkTypes(report, *facts, same);
    if (hasType(same, ProviderType::Method) && !hasType(same, ProviderType::Instance) &&
        !hasType(same, ProviderType::Indication) && !facts->keys().empty() &&
        !instancesOf(registrations, first.nameSpace, first.className)) {
        report.add(
            methodsAlone, "ProviderType",
            "is registered for methods, but no provider for its instances; add 2 (instance) to "
            "ProviderType");
    }
    checkMethods(report, *facts, same);
}

// A class of the schema whose superclass is served: by whom, and is it served itself?
void checkInheritance(Findings& findings, SchemaFacts& schema, const CIMNamespaceName& nameSpace,
                      const ClassFacts& facts, const std::vector<Registration>& registrations) {
    const CIMName name(facts.name().c_str());
    const Registration* own = instancesOf(registrations, nameSpace, name);
    const Array<CIMName> lineage = schema.schema().lineage(nameSpace, name);
    for (Uint32 i = 1; i < lineage.size(); i++) {
        const Registration* inherited = instancesOf(registrations, nameSpace, lineage[i]);
        if (!inherited) {
            continue;
        }
        const Report report(findings, inherited->provider, facts.name());
        if (own && own->provider == inherited->provider) {
            report.add(classAndSubclass, textOf(lineage[i]),
                       "is registered for instances as well as its superclass " +
                           textOf(lineage[i]) +
                           ", so that every instance arrives twice; use one provider for each "
                           "class");
        } else if (!own && !facts.isAbstract() &&
                   schema.schema().instances(nameSpace, name).size() == 0) {
            report.add(unservedSubclass, textOf(lineage[i]),
                       "no provider is registered for its instances, only for its superclass " +
                           textOf(lineage[i]) +
                           ", and registration is not inherited; register a "
                           "provider for exactly this class");
        }
        return;
    }
}

void checkReferences(const Report& report, SchemaFacts& schema, const CIMNamespaceName& nameSpace,
                     const ClassFacts& facts) {
    for (const Declared* reference : facts.references()) {
        if (!schema.find(nameSpace, reference->referenceClass)) {
            const std::string wanted = textOf(reference->referenceClass);
            report.add(unknownReference, textOf(reference->name),
                       "reference " + textOf(reference->name) + " refers to class " + wanted +
                           ", which namespace " + textOf(nameSpace) + " does not have" +
                           didYouMean(wanted, classNames(schema, nameSpace)));
        }
    }
    if (facts.isAssociation() && !facts.isAbstract() && facts.references().size() < 2) {
        report.add(tooFewEnds, "",
                   "is an association with " + std::to_string(facts.references().size()) +
                       " reference" + (facts.references().size() == 1 ? "" : "s") +
                       "; declare both ends: [Key] A REF Left; [Key] B REF Right;");
    }
}

void checkNamespace(Findings& findings, SchemaFacts& schema, const CIMNamespaceName& nameSpace,
                    const std::vector<Registration>& registrations) {
    for (const std::string& name : classNames(schema, nameSpace)) {
        const CIMName className(name.c_str());
        const Facts facts = schema.find(nameSpace, className);
        if (!facts) {
            continue;  // deleted meanwhile
        }
        const auto served =
            std::find_if(registrations.begin(), registrations.end(), [&](const Registration& one) {
                return one.className == className && one.nameSpace == nameSpace;
            });
        const std::string provider = served == registrations.end() ? "" : served->provider;
        checkReferences(Report(findings, provider, name), schema, nameSpace, *facts);
        checkInheritance(findings, schema, nameSpace, *facts, registrations);
    }
}

struct NoCase {
    bool operator()(const String& a, const String& b) const {
        return String::compareNoCase(a, b) < 0;
    }
};

}  // namespace

RuleList registrationRules() {
    return {&noClass,          &methodsAlone,     &unknownNamespace, &registeredUnknownClass,
            &associationType,  &notAnAssociation, &indicationType,   &registeredNotAnIndication,
            &alertSuperclass,  &unknownMethod,    &unservedMethod,   &unservedSubclass,
            &classAndSubclass, &keyless,          &unknownReference, &tooFewEnds};
}

void checkProviders(Findings& findings,
                    const std::vector<velmar_embedded::RegisteredModule>& modules,
                    const std::vector<Registration>& registrations) {
    for (const velmar_embedded::RegisteredModule& module : modules) {
        for (const std::string& provider : module.providers) {
            if (std::none_of(registrations.begin(), registrations.end(),
                             [&](const Registration& one) { return one.provider == provider; })) {
                Report(findings, provider, "")
                    .add(noClass, "PG_ProviderCapabilities",
                         "is registered for no class, so it is not called; add an instance of "
                         "PG_ProviderCapabilities with its ProviderName");
            }
        }
    }
}

void checkRegistrations(Findings& findings, SchemaFacts& schema,
                        const std::vector<Registration>& registrations) {
    std::vector<Same> classes;
    std::set<String, NoCase> nameSpaces;
    for (const Registration& one : registrations) {
        auto same = std::find_if(classes.begin(), classes.end(), [&](const Same& known) {
            return known.front()->className == one.className &&
                   known.front()->nameSpace == one.nameSpace;
        });
        if (same == classes.end()) {
            same = classes.insert(classes.end(), Same());
        }
        same->push_back(&one);
        if (schema.schema().hasNamespace(one.nameSpace)) {
            nameSpaces.insert(one.nameSpace.getString());
        }
    }
    for (const Same& same : classes) {
        checkClass(findings, schema, same, registrations);
    }
    for (const String& nameSpace : nameSpaces) {
        checkNamespace(findings, schema, CIMNamespaceName(nameSpace), registrations);
    }
}

}  // namespace velmar_checks
