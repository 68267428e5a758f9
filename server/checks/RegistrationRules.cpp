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

using Same = std::vector<const Registration*>;  // of one class

bool hasType(const Same& same, ProviderType type) {
    return std::any_of(same.begin(), same.end(),
                       [&](const Registration* one) { return one->type == type; });
}

void checkTypes(const Reporter& report, const ClassFacts& facts, const Same& same) {
    const bool association = hasType(same, ProviderType::Association);
    const bool indication = hasType(same, ProviderType::Indication);
    if (facts.isAssociation() && !association) {
        report.add("registration.association-type", "ProviderType",
                   "is an association, but its ProviderType lacks 3 (association)");
    }
    if (!facts.isAssociation() && association) {
        report.add("registration.not-an-association", "ProviderType",
                   "has ProviderType 3 (association), but is not an association");
    }
    if (facts.isIndication() && !indication) {
        report.add("registration.indication-type", "ProviderType",
                   "is an indication, but its ProviderType lacks 4 (indication)");
    }
    if (!facts.isIndication() && indication) {
        report.add("registration.not-an-indication", "ProviderType",
                   "has ProviderType 4 (indication), but lacks the qualifier Indication");
    }
    if (hasType(same, ProviderType::Instance) && facts.keys().empty() && !facts.isIndication()) {
        report.add("registration.keyless-class", "",
                   "is registered for instances, but declares no key property");
    }
    if (!indication || !hasType(same, ProviderType::Method)) {
        return;
    }
    if (!facts.isA(CIMName("CIM_AlertIndication"))) {
        report.add("registration.alert-superclass", "",
                   "is registered for alerts, but is not derived from CIM_AlertIndication");
    }
}

void checkMethods(const Reporter& report, const ClassFacts& facts, const Same& same) {
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
            report.add("registration.unknown-method", utf8(method),
                       "SupportedMethods names " + utf8(method) +
                           ", which the class does not declare" +
                           didYouMean(utf8(method), facts.methodNames()));
        }
    }
    for (const MethodFacts& method : facts.methods()) {
        if (!all && std::find(served.begin(), served.end(), method.result.name) == served.end()) {
            const std::string name = utf8(method.result.name);
            report.add(
                "registration.unserved-method", name,
                "no provider serves its method " + name +
                    (hasType(same, ProviderType::Method) ? ", which SupportedMethods does not name"
                                                         : ": its ProviderType lacks 5 (method)"));
        }
    }
}

std::string otherPlaces(SchemaFacts& schema, const std::vector<Registration>& registrations,
                        const CIMName& className) {
    std::set<std::string> places{"root/velmar_remote"};
    for (const Registration& one : registrations) {
        places.insert(utf8(one.nameSpace));
    }
    for (const std::string& place : places) {
        if (schema.find(CIMNamespaceName(place.c_str()), className)) {
            return "; namespace " + place + " has it";
        }
    }
    return "";
}

std::vector<std::string> classNames(const SchemaFacts& schema, const CIMNamespaceName& nameSpace) {
    std::vector<std::string> names;
    const Array<CIMName> found = schema.schema().subclassNames(nameSpace, CIMName(), true);
    for (Uint32 i = 0; i < found.size(); i++) {
        names.push_back(utf8(found[i]));
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
    const std::string name = utf8(first.className);
    const Reporter report(findings, first.provider, name);
    if (!schema.schema().hasNamespace(first.nameSpace)) {
        report.add("registration.unknown-namespace", utf8(first.nameSpace),
                   "is registered in namespace " + utf8(first.nameSpace) +
                       ", which does not exist" +
                       otherPlaces(schema, registrations, first.className));
        return;
    }
    const Facts facts = schema.find(first.nameSpace, first.className);
    if (!facts) {
        const std::string near = didYouMean(name, classNames(schema, first.nameSpace));
        report.add("registration.unknown-class", utf8(first.nameSpace),
                   "is registered, but namespace " + utf8(first.nameSpace) +
                       " does not have the class" +
                       (near.empty() ? otherPlaces(schema, registrations, first.className) : near));
        return;
    }
    checkTypes(report, *facts, same);
    if (hasType(same, ProviderType::Method) && !hasType(same, ProviderType::Instance) &&
        !hasType(same, ProviderType::Indication) && !facts->keys().empty() &&
        !instancesOf(registrations, first.nameSpace, first.className)) {
        report.add("registration.methods-alone", "ProviderType",
                   "is registered for methods, but no provider for its instances");
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
        const Reporter report(findings, inherited->provider, facts.name());
        if (own && own->provider == inherited->provider) {
            report.add("registration.class-and-subclass", utf8(lineage[i]),
                       "is registered for instances as well as its superclass " + utf8(lineage[i]) +
                           ", by the same provider");
        } else if (!own && !facts.isAbstract() &&
                   schema.schema().instances(nameSpace, name).size() == 0) {
            report.add("registration.unserved-subclass", utf8(lineage[i]),
                       "no provider is registered for its instances, only for its superclass " +
                           utf8(lineage[i]));
        }
        return;
    }
}

void checkReferences(const Reporter& report, SchemaFacts& schema, const CIMNamespaceName& nameSpace,
                     const ClassFacts& facts) {
    for (const Declared* reference : facts.references()) {
        if (!schema.find(nameSpace, reference->referenceClass)) {
            const std::string wanted = utf8(reference->referenceClass);
            report.add("registration.unknown-reference-class", utf8(reference->name),
                       "reference " + utf8(reference->name) + " refers to class " + wanted +
                           ", which namespace " + utf8(nameSpace) + " does not have" +
                           didYouMean(wanted, classNames(schema, nameSpace)));
        }
    }
    if (facts.isAssociation() && !facts.isAbstract() && facts.references().size() < 2) {
        report.add("registration.association-ends", "",
                   "is an association with " + std::to_string(facts.references().size()) +
                       " reference" + (facts.references().size() == 1 ? "" : "s"));
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
        checkReferences(Reporter(findings, provider, name), schema, nameSpace, *facts);
        checkInheritance(findings, schema, nameSpace, *facts, registrations);
    }
}

struct NoCase {
    bool operator()(const String& a, const String& b) const {
        return String::compareNoCase(a, b) < 0;
    }
};

}  // namespace

void checkProviders(Findings& findings,
                    const std::vector<velmar_embedded::RegisteredModule>& modules,
                    const std::vector<Registration>& registrations) {
    for (const velmar_embedded::RegisteredModule& module : modules) {
        for (const std::string& provider : module.providers) {
            if (std::none_of(registrations.begin(), registrations.end(),
                             [&](const Registration& one) { return one.provider == provider; })) {
                Reporter(findings, provider, "")
                    .add("registration.no-class", "PG_ProviderCapabilities",
                         "is registered for no class: no PG_ProviderCapabilities names it");
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
