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

const Rule deliveredUnknownClass{
    "instance.unknown-class", Severity::Error,
    "An instance or a path of a class that the namespace does not have was delivered.",
    "Correct the class name in the provider, or compile the class's MOF into the namespace."};
const Rule otherClass{
    "instance.class", Severity::Error,
    "What was delivered is neither of the class asked for nor of a subclass. A server passes it "
    "on, "
    "so clients get instances that they did not ask for.",
    "Deliver only what the class reference of the operation asks for; use one provider object for "
    "each class."};
const Rule deliveredUndeclaredProperty{
    "instance.undeclared-property", Severity::Error,
    "An instance has a property that its class does not declare.",
    "Correct the property's name, or declare it in the MOF."};
const Rule deliveredPropertyType{
    "instance.property-type", Severity::Error,
    "A property's value has another type, or another array form, than the class declares.",
    "Make the value with the type that the class declares: CIMValue(String(\"text\")), "
    "CIMValue(Uint32(5))."};
const Rule outsideValueMap{"instance.value-map", Severity::Warning,
                           "A property's value is none of those that the class's ValueMap names.",
                           "Use a value of the ValueMap, or add the value to it."};
const Rule missingKey{"instance.missing-key", Severity::Error,
                      "An instance lacks a key property, although no property list leaves it out.",
                      "Add the key property, with the value that the path's key has."};
const Rule nullKey{"instance.null-key", Severity::Error, "A key property of an instance is null.",
                   "Give the key property the value that the path's key has."};
const Rule noKeys{
    "instance.no-path", Severity::Error,
    "An instance or a path was enumerated that has no keys: clients cannot get or delete it.",
    "Set the instance's path, with one key binding for each key of the class."};
const Rule pathMissingKey{"instance.path-missing-key", Severity::Error,
                          "A path lacks a key of its class.",
                          "Give the path one key binding for each key property of the class."};
const Rule pathUnknownKey{
    "instance.path-unknown-key", Severity::Error,
    "A path has a key that its class lacks: requests for the right path do not find it.",
    "Correct the key's name, or mark the property as Key in the MOF."};
const Rule pathRepeatedKey{"instance.path-repeated-key", Severity::Error,
                           "A path has the same key twice.", "Append each key binding once."};
const Rule pathKeyType{"instance.path-key-type", Severity::Error,
                       "A key of a path has another type than its property in the class.",
                       "Make the key binding from a value of the property's type: "
                       "CIMKeyBinding(name, CIMValue(String(\"text\")))."};
const Rule keysDiffer{
    "instance.keys-differ", Severity::Error,
    "A key of the path and the property of that name have different values. A server rebuilds keys "
    "from properties, so the instance is not found under its own path.",
    "Give key and property the same value."};
const Rule otherPlace{
    "instance.path-place", Severity::Warning,
    "A path has another host or namespace than requests carry: associations whose ends are made "
    "from it are not found.",
    "Use System::getHostName() and the namespace of the request, or leave both out."};
const Rule duplicatePath{"instance.duplicate-path", Severity::Error,
                         "One enumeration has the same path twice.",
                         "Give the instances different keys, or deliver each once."};

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

std::string howToBind(const Declared& key) {
    const std::string name = textOf(key.name);
    switch (bindingType(key.type)) {
        case CIMKeyBinding::STRING:
            return "CIMKeyBinding(\"" + name +
                   "\", \"text\") is a boolean, write CIMKeyBinding(\"" + name +
                   "\", CIMValue(String(\"text\")))";
        case CIMKeyBinding::REFERENCE:
            return "write CIMKeyBinding(\"" + name + "\", CIMValue(path)) with a CIMObjectPath";
        default:
            return "make the key binding from a CIMValue of that type";
    }
}

void checkKeyAgrees(const Report& report, const CIMConstProperty& property,
                    const CIMObjectPath& path) {
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++) {
        if (keys[i].getName() != property.getName()) {
            continue;
        }
        CIMKeyBinding key = keys[i];
        if (!key.equal(property.getValue())) {
            const std::string name = textOf(property.getName());
            report.add(keysDiffer, name,
                       "key " + name + " of the path is \"" + textOf(key.getValue()) +
                           "\", property " + name + " is " + describe(property.getValue()) +
                           "; give both the same value");
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

RuleList instanceRules() {
    return {&deliveredUnknownClass,
            &otherClass,
            &deliveredUndeclaredProperty,
            &deliveredPropertyType,
            &outsideValueMap,
            &missingKey,
            &nullKey,
            &noKeys,
            &pathMissingKey,
            &pathUnknownKey,
            &pathRepeatedKey,
            &pathKeyType,
            &keysDiffer,
            &otherPlace,
            &duplicatePath};
}

void checkProperty(const Report& report, const Rule& undeclared, const Rule& type,
                   const ClassFacts& facts, const CIMConstProperty& property,
                   const std::string& origin) {
    const Declared* declared = facts.property(property.getName());
    const CIMValue value = property.getValue();
    if (!declared) {
        const std::string name = textOf(property.getName());
        report.add(undeclared, name,
                   origin + "property " + name + ", which the class does not declare" +
                       didYouMean(name, facts.propertyNames()));
    } else if (!value.isNull() && !declared->fits(value)) {  // helpers make nulls of any type
        const std::string name = textOf(declared->name);
        report.add(type, name,
                   origin + "property " + name + (origin.empty() ? " is " : " as ") +
                       describe(value) + ", the class declares " + declared->typeText() + "; " +
                       howToWrite(declared->type, declared->isArray, value));
    }
}

Facts checkClass(const Report& report, SchemaFacts& schema, const CIMNamespaceName& nameSpace,
                 const CIMName& asked, const CIMName& delivered) {
    Facts facts = schema.find(nameSpace, delivered);
    if (!facts) {
        report.add(deliveredUnknownClass, textOf(delivered),
                   "delivers an instance of class " + textOf(delivered) + ", which namespace " +
                       textOf(nameSpace) + " does not have" +
                       didYouMean(textOf(delivered), {textOf(asked)}));
    } else if (!asked.isNull() && delivered != asked && !facts->isA(asked)) {
        report.add(otherClass, facts->name(),
                   "delivers an instance of class " + facts->name() + ", but was asked for " +
                       textOf(asked) +
                       ", which is not its superclass; use one provider object for "
                       "each class");
    }
    return facts;
}

void checkContents(const Report& report, const ClassFacts& facts, const CIMConstObject& object,
                   const CIMObjectPath& path) {
    for (Uint32 i = 0; i < object.getPropertyCount(); i++) {
        const CIMConstProperty property = object.getProperty(i);
        const Declared* declared = facts.property(property.getName());
        const CIMValue value = property.getValue();
        if (!declared || !declared->fits(value)) {
            checkProperty(report, deliveredUndeclaredProperty, deliveredPropertyType, facts,
                          property, declared ? "" : "delivers ");
            continue;
        }
        if (value.isNull()) {
            continue;
        }
        if (!declared->valueMap.empty()) {
            const std::string name = textOf(declared->name);
            const std::string wrong = valueOutside(declared->valueMap, value);
            if (!wrong.empty()) {
                report.add(outsideValueMap, name,
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

void checkKeyProperties(const Report& report, const ClassFacts& facts, const CIMConstObject& object,
                        const CIMPropertyList& propertyList) {
    for (const Declared* key : facts.keys()) {
        const Uint32 index = object.findProperty(key->name);
        const std::string name = textOf(key->name);
        if (index != PEG_NOT_FOUND) {
            if (object.getProperty(index).getValue().isNull()) {
                report.add(nullKey, name,
                           "key property " + name +
                               " is null; give it the value that the path's "
                               "key has");
            }
        } else if (propertyList.isNull() || propertyList.contains(key->name)) {
            report.add(missingKey, name,
                       "delivers an instance without its key property " + name +
                           "; add it, with the value that the path's key has");
        }
    }
}

void checkPathKeys(const Report& report, const ClassFacts& facts, const CIMObjectPath& path,
                   bool required) {
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    if (keys.size() == 0) {
        if (required && !facts.keys().empty()) {
            report.add(noKeys, "",
                       "delivers the path " + textOf(path) +
                           ", which has no keys; set a path with "
                           "the key" +
                           (facts.keys().size() > 1 ? "s " : " ") + listing(facts.keyNames()));
        }
        return;
    }
    for (Uint32 i = 0; i < keys.size(); i++) {
        const std::string name = textOf(keys[i].getName());
        const Declared* key = facts.property(keys[i].getName());
        if (!key || !key->isKey) {
            report.add(pathUnknownKey, name,
                       "the path " + textOf(path) + " has the key " + name +
                           (facts.keyNames().empty() ? ", the class has none"
                                                     : ", the class's keys are ") +
                           listing(facts.keyNames()) + didYouMean(name, facts.keyNames()));
        } else if (keys[i].getType() != bindingType(key->type)) {
            report.add(pathKeyType, name,
                       "key " + name + " of the path " + textOf(path) + " is " +
                           bindingText(keys[i].getType()) + ", the class declares " +
                           key->typeText() + "; " + howToBind(*key));
        }
        if (i > 0 && keys[i].getName() == keys[i - 1].getName()) {  // they are sorted by name
            report.add(pathRepeatedKey, name,
                       "the path " + textOf(path) + " has the key " + name +
                           " twice; append each key binding once");
        }
    }
    for (const Declared* key : facts.keys()) {
        bool found = false;
        for (Uint32 i = 0; i < keys.size() && !found; i++) {
            found = keys[i].getName() == key->name;
        }
        if (!found) {
            const std::string name = textOf(key->name);
            report.add(pathMissingKey, name,
                       "the path " + textOf(path) + " lacks the key " + name +
                           " of the class; add a key binding for it");
        }
    }
}

void checkPlace(const Report& report, const CIMNamespaceName& nameSpace,
                const CIMObjectPath& path) {
    if (!path.getNameSpace().isNull() && path.getNameSpace() != nameSpace) {
        report.add(otherPlace, "namespace",
                   "the path " + textOf(path) + " has the namespace " +
                       textOf(path.getNameSpace()) + ", the request has " + textOf(nameSpace) +
                       "; use the request's, or leave it out");
    }
    if (path.getHost().size() == 0) {
        return;
    }
    const String host = System::getHostName();
    if (!String::equalNoCase(path.getHost(), host)) {
        report.add(otherPlace, "host",
                   "the path " + textOf(path) + " has the host " + textOf(path.getHost()) +
                       ", requests carry " + textOf(host) +
                       "; use System::getHostName(), or leave it out");
    }
}

void DistinctPaths::check(const Report& report, const CIMObjectPath& path) {
    if (path.getKeyBindings().size() == 0) {
        return;
    }
    const size_t hash = hashOf(path);
    const auto seen = _seen.equal_range(hash);
    for (auto one = seen.first; one != seen.second; ++one) {
        if (sameKeys(one->second, path)) {
            report.add(duplicatePath, "",
                       "delivers the path " + textOf(path) +
                           " twice in one enumeration; give the "
                           "instances different keys, or deliver each once");
            return;
        }
    }
    _seen.emplace(hash, path);
}

}  // namespace velmar_checks
