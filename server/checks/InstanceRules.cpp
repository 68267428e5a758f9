// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/InstanceRules.h"

#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/System.h>

#include "checks/ValueMap.h"
#include "checks/Wording.h"

using namespace Pegasus;

namespace velmar_checks {

namespace {

CIMKeyBinding::Type bindingType(CIMType type) {
    switch (type) {
        case CIMTYPE_BOOLEAN:
            return CIMKeyBinding::BOOLEAN;
        case CIMTYPE_STRING:
        case CIMTYPE_CHAR16:
        case CIMTYPE_DATETIME:
            return CIMKeyBinding::STRING;
        case CIMTYPE_REFERENCE:
            return CIMKeyBinding::REFERENCE;
        default:
            return CIMKeyBinding::NUMERIC;
    }
}

const char* bindingText(CIMKeyBinding::Type type) {
    static const char* const names[] = {"boolean", "string", "numeric", "reference"};
    return names[type];
}

void checkKeyAgrees(const Reporter& report, const CIMConstProperty& property,
                    const CIMObjectPath& path) {
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++) {
        if (keys[i].getName() != property.getName()) {
            continue;
        }
        CIMKeyBinding key = keys[i];
        if (!key.equal(property.getValue())) {
            const std::string name = utf8(property.getName());
            report.add("instance.keys-differ", name,
                       "key " + name + " of the path is \"" + utf8(key.getValue()) +
                           "\", property " + name + " is " + describe(property.getValue()));
        }
        return;
    }
}

// Class and keys; letter case of names ignored. Equal paths that are written differently may differ
// here.
size_t hashOf(const CIMObjectPath& path) {
    size_t hash = NameHash()(path.getClassName());
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++) {
        hash = (hash * 31 + NameHash()(keys[i].getName())) * 31 + NameHash()(keys[i].getValue());
    }
    return hash;
}

bool sameKeys(const CIMObjectPath& a, const CIMObjectPath& b) {
    const Array<CIMKeyBinding>& x = a.getKeyBindings();
    const Array<CIMKeyBinding>& y = b.getKeyBindings();
    if (a.getClassName() != b.getClassName() || x.size() != y.size()) {
        return false;
    }
    for (Uint32 i = 0; i < x.size(); i++) {
        if (!(x[i] == y[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace

void checkProperty(const Reporter& report, const char* undeclared, const char* type,
                   const ClassFacts& facts, const CIMConstProperty& property,
                   const std::string& origin) {
    const Declared* declared = facts.property(property.getName());
    const CIMValue value = property.getValue();
    if (!declared) {
        const std::string name = utf8(property.getName());
        report.add(undeclared, name,
                   origin + "property " + name + ", which the class does not declare" +
                       didYouMean(name, facts.propertyNames()));
    } else if (!value.isNull() && !declared->fits(value)) {  // helpers make nulls of any type
        const std::string name = utf8(declared->name);
        report.add(type, name,
                   origin + "property " + name + (origin.empty() ? " is " : " as ") +
                       describe(value) + ", the class declares " + declared->typeText());
    }
}

Facts checkClass(const Reporter& report, SchemaFacts& schema, const CIMNamespaceName& nameSpace,
                 const CIMName& asked, const CIMName& delivered) {
    Facts facts = schema.find(nameSpace, delivered);
    if (!facts) {
        report.add("instance.unknown-class", utf8(delivered),
                   "delivers an instance of class " + utf8(delivered) + ", which namespace " +
                       utf8(nameSpace) + " does not have" +
                       didYouMean(utf8(delivered), {utf8(asked)}));
    } else if (!asked.isNull() && delivered != asked && !facts->isA(asked)) {
        report.add("instance.class", facts->name(),
                   "delivers an instance of class " + facts->name() + ", but was asked for " +
                       utf8(asked) + ", which is not its superclass");
    }
    return facts;
}

void checkContents(const Reporter& report, const ClassFacts& facts, const CIMConstObject& object,
                   const CIMObjectPath& path) {
    for (Uint32 i = 0; i < object.getPropertyCount(); i++) {
        const CIMConstProperty property = object.getProperty(i);
        const Declared* declared = facts.property(property.getName());
        const CIMValue value = property.getValue();
        if (!declared || !declared->fits(value)) {
            checkProperty(report, "instance.undeclared-property", "instance.property-type", facts,
                          property, declared ? "" : "delivers ");
            continue;
        }
        if (value.isNull()) {
            continue;
        }
        if (!declared->valueMap.empty()) {
            const std::string name = utf8(declared->name);
            const std::string wrong = valueOutside(declared->valueMap, value);
            if (!wrong.empty()) {
                report.add("instance.value-map", name,
                           "property " + name + " is " + wrong + ", the class's ValueMap knows " +
                               listing(declared->valueMap));
            }
        }
        if (declared->isKey) {
            checkKeyAgrees(report, property, path);
        }
    }
    checkPathKeys(report, facts, path, false);
}

void checkKeyProperties(const Reporter& report, const ClassFacts& facts,
                        const CIMConstObject& object, const CIMPropertyList& propertyList) {
    for (const Declared* key : facts.keys()) {
        const Uint32 index = object.findProperty(key->name);
        const std::string name = utf8(key->name);
        if (index != PEG_NOT_FOUND) {
            if (object.getProperty(index).getValue().isNull()) {
                report.add("instance.null-key", name, "key property " + name + " is null");
            }
        } else if (propertyList.isNull() || propertyList.contains(key->name)) {
            report.add("instance.missing-key", name,
                       "delivers an instance without its key property " + name);
        }
    }
}

void checkPathKeys(const Reporter& report, const ClassFacts& facts, const CIMObjectPath& path,
                   bool required) {
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    if (keys.size() == 0) {
        if (required && !facts.keys().empty()) {
            report.add("instance.no-path", "",
                       "delivers the path " + utf8(path) + " without the key" +
                           (facts.keys().size() > 1 ? "s " : " ") + listing(facts.keyNames()));
        }
        return;
    }
    for (Uint32 i = 0; i < keys.size(); i++) {
        const std::string name = utf8(keys[i].getName());
        const Declared* key = facts.property(keys[i].getName());
        if (!key || !key->isKey) {
            report.add("instance.path-unknown-key", name,
                       "the path " + utf8(path) + " has the key " + name +
                           (facts.keyNames().empty() ? ", the class has none"
                                                     : ", the class's keys are ") +
                           listing(facts.keyNames()) + didYouMean(name, facts.keyNames()));
        } else if (keys[i].getType() != bindingType(key->type)) {
            report.add("instance.path-key-type", name,
                       "key " + name + " of the path " + utf8(path) + " is " +
                           bindingText(keys[i].getType()) + ", the class declares " +
                           key->typeText());
        }
        if (i > 0 && keys[i].getName() == keys[i - 1].getName()) {  // they are sorted by name
            report.add("instance.path-repeated-key", name,
                       "the path " + utf8(path) + " has the key " + name + " twice");
        }
    }
    for (const Declared* key : facts.keys()) {
        bool found = false;
        for (Uint32 i = 0; i < keys.size() && !found; i++) {
            found = keys[i].getName() == key->name;
        }
        if (!found) {
            const std::string name = utf8(key->name);
            report.add("instance.path-missing-key", name,
                       "the path " + utf8(path) + " lacks the key " + name + " of the class");
        }
    }
}

void checkPlace(const Reporter& report, const CIMNamespaceName& nameSpace,
                const CIMObjectPath& path) {
    if (!path.getNameSpace().isNull() && path.getNameSpace() != nameSpace) {
        report.add("instance.path-place", "namespace",
                   "the path " + utf8(path) + " has the namespace " + utf8(path.getNameSpace()) +
                       ", the request has " + utf8(nameSpace));
    }
    if (path.getHost().size() == 0) {
        return;
    }
    const String host = System::getHostName();
    if (!String::equalNoCase(path.getHost(), host)) {
        report.add("instance.path-place", "host",
                   "the path " + utf8(path) + " has the host " + utf8(path.getHost()) +
                       ", requests carry " + utf8(host));
    }
}

void DistinctPaths::check(const Reporter& report, const CIMObjectPath& path) {
    if (path.getKeyBindings().size() == 0) {
        return;
    }
    const size_t hash = hashOf(path);
    const auto seen = _seen.equal_range(hash);
    for (auto one = seen.first; one != seen.second; ++one) {
        if (sameKeys(one->second, path)) {
            report.add("instance.duplicate-path", "",
                       "delivers the path " + utf8(path) + " twice in one enumeration");
            return;
        }
    }
    _seen.emplace(hash, path);
}

}  // namespace velmar_checks
