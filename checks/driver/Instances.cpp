// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The instances of one class: names against instances, enumeration against getInstance.
#include <Pegasus/Common/CIMPropertyList.h>

#include "checks/driver/Driver.h"
#include "checks/driver/DriverRules.h"

using namespace Pegasus;

namespace velmar_driver {

namespace {

typedef std::map<std::string, CIMInstance> Instances;
typedef std::map<std::string, CIMObjectPath> Paths;

template <class Map, class Other>
std::set<std::string> missingIn(const Other& other, const Map& map) {
    std::set<std::string> missing;
    for (const auto& entry : map) {
        if (other.count(entry.first) == 0) {
            missing.insert(entry.first);
        }
    }
    return missing;
}

std::set<std::string> difference(const std::set<std::string>& a, const std::set<std::string>& b) {
    std::set<std::string> result;
    for (const std::string& one : a) {
        if (b.count(one) == 0) {
            result.insert(one);
        }
    }
    return result;
}

void compareNames(Session& session, const Paths& paths, const Instances& instances) {
    const std::set<std::string> onlyInstances = missingIn(paths, instances);
    const std::set<std::string> onlyNames = missingIn(instances, paths);
    if (!onlyInstances.empty()) {
        session.find(rules::names, "enumerateInstanceNames",
                     "enumerateInstances gives " + listed(onlyInstances) +
                         ", enumerateInstanceNames does not");
    }
    if (!onlyNames.empty()) {
        session.find(
            rules::names, "enumerateInstances",
            "enumerateInstanceNames gives " + listed(onlyNames) + ", enumerateInstances does not");
    }
}

void compareValues(Session& session, const std::string& path, const CIMInstance& enumerated,
                   const CIMInstance& got) {
    const std::set<std::string> inEnumeration = filledIn(CIMConstInstance(enumerated));
    const std::set<std::string> inGet = filledIn(CIMConstInstance(got));
    const std::set<std::string> onlyEnumerated = difference(inEnumeration, inGet);
    const std::set<std::string> onlyGot = difference(inGet, inEnumeration);
    if (!onlyEnumerated.empty()) {
        session.find(rules::getValues, *onlyEnumerated.begin(),
                     "getInstance of " + path + " gives no value for " + listed(onlyEnumerated) +
                         ", enumerateInstances does");
    }
    if (!onlyGot.empty()) {
        session.find(rules::getValues, *onlyGot.begin(),
                     "enumerateInstances gives no value for " + listed(onlyGot) + " of " + path +
                         ", getInstance does");
    }
}

CIMInstance getInstance(Session& session, const CIMObjectPath& path, const CIMPropertyList& list) {
    return session.client.getInstance(session.about.nameSpace, path, false, false, false, list);
}

void tryPropertyLists(Session& session, const std::string& shown, const CIMObjectPath& path,
                      const std::set<std::string>& properties) {
    size_t tried = 0;
    for (const std::string& property : properties) {
        if (tried++ == 3) {
            break;
        }
        Array<CIMName> names;
        names.append(CIMName(property.c_str()));
        CIMInstance got;
        const Outcome outcome = session.call(
            "getInstance", [&] { got = getInstance(session, path, CIMPropertyList(names)); });
        if (!outcome || filledIn(CIMConstInstance(got)).count(property) == 0) {
            session.find(rules::propertyList, property,
                         "getInstance of " + shown + " with the property list {" + property + "} " +
                             (outcome ? "gives no value for it; without a list it does"
                                      : "fails: " + outcome.describe()));
        }
    }
    session.expect("getInstance",
                   [&] { getInstance(session, path, CIMPropertyList(Array<CIMName>())); });
}

// One instance as its enumeration gave it; samples are asked for twice, and for their properties.
void driveInstance(Session& session, const std::string& shown, const CIMObjectPath& path,
                   const CIMInstance& enumerated) {
    CIMInstance first;
    CIMInstance second;
    const Outcome outcome =
        session.call("getInstance", [&] { first = getInstance(session, path, CIMPropertyList()); });
    if (!outcome) {
        session.find(rules::get, "getInstance",
                     "enumerateInstanceNames gives " + shown +
                         ", getInstance of it fails: " + outcome.describe());
        return;
    }
    if (!enumerated.isUninitialized()) {
        compareValues(session, shown, enumerated, first);
    }
    if (!session.isSample(shown) || !session.expect("getInstance", [&] {
            second = getInstance(session, path, CIMPropertyList());
        })) {
        return;
    }
    const std::set<std::string> once = filledIn(CIMConstInstance(first));
    const std::set<std::string> twice = filledIn(CIMConstInstance(second));
    std::set<std::string> changing = difference(once, twice);
    changing.merge(difference(twice, once));
    if (!changing.empty()) {
        session.find(rules::unsteady, *changing.begin(),
                     "one getInstance of " + shown + " gives a value for " + listed(changing) +
                         ", the next one does not");
    }
    tryPropertyLists(session, shown, path, once);
}

void tryAbsent(Session& session, const CIMObjectPath& path) {
    const CIMObjectPath absent = another(session, path, "-velmar-absent");
    if (absent == path) {
        return;  // no key of a type that can be changed
    }
    const Outcome outcome =
        session.call("getInstance", [&] { getInstance(session, absent, CIMPropertyList()); });
    if (outcome.code != CIM_ERR_NOT_FOUND) {
        session.find(rules::absent, "getInstance",
                     "getInstance of " + shortText(absent) + ", which does not exist, " +
                         (outcome ? "gives an instance" : "fails with " + outcome.describe()) +
                         "; clients expect CIM_ERR_NOT_FOUND");
    }
}

}  // namespace

std::set<std::string> filledIn(const CIMConstInstance& instance) {
    std::set<std::string> result;
    for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
        const CIMConstProperty property = instance.getProperty(i);
        if (!property.getValue().isNull()) {
            result.insert(text(property.getName().getString()));
        }
    }
    return result;
}

CIMObjectPath another(const Session& session, const CIMObjectPath& path,
                      const std::string& suffix) {
    const CIMClass& definition = session.about.definition;
    Array<CIMKeyBinding> keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++) {
        // CreationClassName and its kin name classes, of which there are no others.
        const bool namesClass =
            keys[i].getName().getString().find(String("ClassName")) != PEG_NOT_FOUND;
        // Characters and times are written as strings, too.
        const Uint32 property = definition.isUninitialized()
                                    ? PEG_NOT_FOUND
                                    : definition.findProperty(keys[i].getName());
        const bool isText = property == PEG_NOT_FOUND ||
                            definition.getProperty(property).getType() == CIMTYPE_STRING;
        if (keys[i].getType() == CIMKeyBinding::STRING && isText && !namesClass) {
            String value = keys[i].getValue();
            value.append(String(suffix.c_str()));
            keys[i].setValue(value);
            return CIMObjectPath(path.getHost(), path.getNameSpace(), path.getClassName(), keys);
        }
    }
    return path;
}

void driveInstances(Session& session, const DriveOptions& options) {
    const CIMNamespaceName& ns = session.about.nameSpace;
    const CIMName& name = session.about.name;
    Array<CIMObjectPath> names;
    Array<CIMInstance> enumerated;
    const bool named = session.expect(
        "enumerateInstanceNames", [&] { names = session.client.enumerateInstanceNames(ns, name); });
    const bool gave = session.expect("enumerateInstances", [&] {
        enumerated = session.client.enumerateInstances(ns, name, true, false);
    });
    const Paths paths = byPath(names);
    const Instances instances = byPath(enumerated);
    session.result.instances = enumerated.size();
    if (named && gave) {
        compareNames(session, paths, instances);
    }
    unsigned looked = 0;
    for (const auto& [shown, path] : paths) {
        // Instances of subclasses are asked of the subclass's own provider.
        if (path.getClassName() != name) {
            continue;
        }
        if (looked++ == options.limit) {
            break;
        }
        const auto known = instances.find(shown);
        driveInstance(session, shown, path,
                      known == instances.end() ? CIMInstance() : known->second);
    }
    if (names.size() > 0) {
        tryAbsent(session, names[0]);
    }
}

}  // namespace velmar_driver
