// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The instances of one class: names against instances, enumeration against getInstance.
#include <Pegasus/Common/CIMPropertyList.h>

#include <tuple>

#include "check/Driver.h"

using namespace Pegasus;

namespace velmar_driver {

namespace {

// What a class's two enumerations give, by path.
struct Enumerated {
    std::map<std::string, CIMObjectPath> names;
    std::map<std::string, CIMInstance> instances;
    bool isWhole = false;  // both have succeeded
};

Enumerated enumerate(Session& session) {
    const CIMNamespaceName& ns = session.about.nameSpace;
    const CIMName& name = session.about.name;
    Enumerated result;
    const bool named = session.expect("enumerateInstanceNames", [&] {
        result.names = byPath(session.client.enumerateInstanceNames(ns, name));
    });
    const bool gave = session.expect("enumerateInstances", [&] {
        result.instances = byPath(session.client.enumerateInstances(ns, name, true, false));
    });
    result.isWhole = named && gave;
    return result;
}

void compareNames(Doubts& doubts, const Enumerated& given) {
    const auto compare = [&](const auto& some, const auto& others, const std::string& gives,
                             const std::string& lacks) {
        for (const auto& one : some) {
            doubts.see(one.first);
            if (others.count(one.first) == 0) {
                doubts.add({"driver.names", lacks, one.first,
                            gives + " gives " + one.first + ", " + lacks + " does not"});
            }
        }
    };
    compare(given.names, given.instances, "enumerateInstanceNames", "enumerateInstances");
    compare(given.instances, given.names, "enumerateInstances", "enumerateInstanceNames");
}

// An object that is served as an instance of the class and of a subclass.
void compareKeys(Doubts& doubts, const Session& session, const Enumerated& given) {
    for (const auto& [shown, name] : given.names) {
        const std::string own = shortText(
            CIMObjectPath(String(), CIMNamespaceName(), session.about.name, name.getKeyBindings()));
        if (own != shown && given.names.count(own) != 0) {
            doubts.add(
                {"driver.twice", utf8(name.getClassName().getString()), own,
                 "there are " + own + " and " + shown + ", of a subclass, with the same keys"});
        }
    }
}

// An answer, and what it is called.
typedef std::pair<std::string, CIMInstance> Answer;

// Doubts values that only one of two answers has.
void compareValues(Doubts& doubts, const char* rule, const std::string& shown, const Answer& a,
                   const Answer& b) {
    for (const auto& [with, without] : {std::tie(a, b), std::tie(b, a)}) {
        const std::set<std::string> there = filledIn(CIMConstInstance(without.second));
        for (const std::string& property : filledIn(CIMConstInstance(with.second))) {
            if (there.count(property) == 0) {
                doubts.add({rule, property, shown,
                            without.first + " of " + shown + " gives no value for " + property +
                                ", " + with.first + " does",
                            true});
            }
        }
    }
}

CIMInstance getInstance(Session& session, const CIMObjectPath& path, const CIMPropertyList& list) {
    return session.client.getInstance(session.about.nameSpace, path, false, false, false, list);
}

void tryPropertyLists(Session& session, Doubts& doubts, const std::string& shown,
                      const CIMObjectPath& path, const std::set<std::string>& properties) {
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
            doubts.add({"driver.property-list", property, shown,
                        "getInstance of " + shown + " with the property list {" + property + "} " +
                            (outcome ? "gives no value for it; without a list it does"
                                     : "fails: " + outcome.describe()),
                        true});
        }
    }
    session.expect(doubts, "getInstance", shown,
                   [&] { getInstance(session, path, CIMPropertyList(Array<CIMName>())); });
}

// One instance as its enumeration gave it; samples are asked for twice, and for their properties.
void driveInstance(Session& session, Doubts& doubts, const std::string& shown,
                   const CIMObjectPath& path, const Enumerated& given) {
    const bool isSample = session.isSample(shown);
    Answer got[] = {{"getInstance", CIMInstance()}, {"another getInstance", CIMInstance()}};
    for (Answer& one : got) {
        const Outcome outcome = session.call(
            "getInstance", [&] { one.second = getInstance(session, path, CIMPropertyList()); });
        if (!outcome) {
            doubts.add({"driver.get", "getInstance", shown,
                        "enumerateInstanceNames gives " + shown +
                            ", getInstance of it fails: " + outcome.describe()});
            return;
        }
        if (!isSample) {
            break;
        }
    }
    const auto enumerated = given.instances.find(shown);
    if (enumerated != given.instances.end()) {
        compareValues(doubts, "driver.get-values", shown,
                      {"enumerateInstances", enumerated->second}, got[0]);
    }
    if (isSample) {
        compareValues(doubts, "driver.unsteady", shown, got[0], got[1]);
        tryPropertyLists(session, doubts, shown, path, filledIn(CIMConstInstance(got[0].second)));
    }
}

void tryAbsent(Session& session, const CIMObjectPath& path) {
    const CIMObjectPath absent = another(session, path, "-velmar-absent");
    if (absent == path) {
        return;  // no key of a type that can be changed
    }
    const Outcome outcome =
        session.call("getInstance", [&] { getInstance(session, absent, CIMPropertyList()); });
    if (outcome.code != CIM_ERR_NOT_FOUND) {
        session.find("driver.absent", "getInstance",
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
            result.insert(utf8(property.getName().getString()));
        }
    }
    return result;
}

CIMObjectPath another(const Session& session, const CIMObjectPath& path,
                      const std::string& suffix) {
    const CIMClass& definition = session.about.definition;
    Array<CIMKeyBinding> keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++) {
        // CreationClassName and its kin name classes, and these are all.
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
    Enumerated given;
    session.confirm([&](Doubts& doubts) {
        given = enumerate(session);
        if (given.isWhole) {
            compareNames(doubts, given);
            compareKeys(doubts, session, given);
        }
    });
    session.result.instances = given.instances.size();
    unsigned looked = 0;
    for (const auto& [shown, path] : given.names) {
        // Instances of subclasses are asked of the subclass's own provider.
        if (path.getClassName() != session.about.name) {
            continue;
        }
        if (looked++ == options.limit) {
            break;
        }
        bool isFirst = true;
        session.confirm([&, &shown = shown, &path = path](Doubts& doubts) {
            const Enumerated now = isFirst ? Enumerated() : enumerate(session);
            if (isFirst || now.names.count(shown) != 0) {
                doubts.see(shown);
                driveInstance(session, doubts, shown, path, isFirst ? given : now);
            }
            isFirst = false;
        });
    }
    if (!given.names.empty()) {
        tryAbsent(session, given.names.begin()->second);
    }
}

}  // namespace velmar_driver
