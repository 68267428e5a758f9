// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What becomes of an instance that a client creates and deletes, and of associations that refer to
// it. Leaves everything as it was.
#include <Pegasus/Common/System.h>

#include "check/Driver.h"

using namespace Pegasus;
using velmar_embedded::ProviderType;

namespace velmar_driver {

namespace {

const char* const suffix = "-velmar-created";

// Deletes what is still there at the end, whatever happens before.
class Created {
 public:
    Created(Session& session, const CIMObjectPath& path) : _session(session), _path(path) {}
    ~Created() {
        try {
            _session.call("deleteInstance",
                          [&] { _session.client.deleteInstance(_session.about.nameSpace, _path); });
        } catch (const NoAnswer&) {
        }
    }
    Created(const Created&) = delete;
    Created& operator=(const Created&) = delete;

 private:
    Session& _session;
    const CIMObjectPath _path;
};

// A copy of an instance under another key.
CIMInstance successor(const CIMInstance& model, const CIMObjectPath& path) {
    CIMInstance instance = model.clone();
    instance.setPath(path);
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++) {
        const Uint32 index = instance.findProperty(keys[i].getName());
        if (index != PEG_NOT_FOUND && instance.getProperty(index).getType() == CIMTYPE_STRING) {
            instance.getProperty(index).setValue(CIMValue(keys[i].getValue()));
        }
    }
    return instance;
}

bool isThere(Session& session, const CIMObjectPath& path) {
    return static_cast<bool>(session.call(
        "getInstance", [&] { session.client.getInstance(session.about.nameSpace, path); }));
}

// An association of one end's class to the created instance, made after an existing one; null
// path when there is none to follow or it cannot be created.
CIMObjectPath associate(Session& session, const RegisteredClass& association,
                        const CIMObjectPath& existing, const CIMObjectPath& created) {
    CIMClient& client = session.client;
    const CIMNamespaceName& ns = session.about.nameSpace;
    Array<CIMObject> models;
    if (!session.call("references",
                      [&] { models = client.references(ns, existing, association.name); }) ||
        models.size() == 0) {
        return CIMObjectPath();
    }
    CIMInstance instance = CIMInstance(models[0]).clone();
    Array<CIMKeyBinding> keys = instance.getPath().getKeyBindings();
    for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
        CIMProperty property = instance.getProperty(i);
        if (property.getType() != CIMTYPE_REFERENCE || property.getValue().isNull()) {
            continue;
        }
        CIMObjectPath end;
        property.getValue().get(end);
        if (shortText(end) != shortText(existing)) {
            continue;
        }
        end.setKeyBindings(created.getKeyBindings());
        property.setValue(CIMValue(end));
        for (Uint32 k = 0; k < keys.size(); k++) {
            if (keys[k].getName() == property.getName()) {
                keys[k].setValue(end.toString());
            }
        }
    }
    CIMObjectPath path = instance.getPath();
    path.setKeyBindings(keys);
    instance.setPath(path);
    CIMObjectPath made;
    const Outcome outcome =
        session.call("createInstance", [&] { made = client.createInstance(ns, instance); });
    return outcome ? made : CIMObjectPath();
}

void driveCascade(Session& session, const std::vector<RegisteredClass>& classes,
                  const CIMObjectPath& existing, const CIMObjectPath& created) {
    for (const RegisteredClass& one : classes) {
        if (one.nameSpace != session.about.nameSpace || one.definition.isUninitialized() ||
            !one.definition.isAssociation() || !one.serves(ProviderType::Instance) ||
            !one.serves(ProviderType::Association)) {
            continue;
        }
        const CIMObjectPath association = associate(session, one, existing, created);
        if (association.getClassName().isNull()) {
            continue;
        }
        const Created cleanUp(session, association);
        session.expect("deleteInstance",
                       [&] { session.client.deleteInstance(session.about.nameSpace, created); });
        Array<CIMObjectPath> left;
        session.call("enumerateInstanceNames", [&] {
            left = session.client.enumerateInstanceNames(one.nameSpace, one.name);
        });
        if (byPath(left).count(shortText(association)) != 0) {
            session.find("driver.cascade", one.text(),
                         "deleting " + shortText(created) + " leaves " + shortText(association) +
                             ", which refers to it");
        }
        return;
    }
}

}  // namespace

void driveWrites(Session& session, const std::vector<RegisteredClass>& classes) {
    const CIMNamespaceName& ns = session.about.nameSpace;
    Array<CIMInstance> instances;
    session.call("enumerateInstances", [&] {
        instances = session.client.enumerateInstances(ns, session.about.name, true, false);
    });
    Uint32 index = 0;
    while (index < instances.size() && instances[index].getClassName() != session.about.name) {
        index++;
    }
    if (index == instances.size()) {
        return;  // nothing to make another one after
    }
    const CIMObjectPath existing = instances[index].getPath();
    const CIMObjectPath wanted = another(session, existing, suffix);
    if (wanted == existing) {
        return;
    }
    const CIMInstance model = successor(instances[index], wanted);
    CIMObjectPath created;
    const Outcome outcome =
        session.call("createInstance", [&] { created = session.client.createInstance(ns, model); });
    if (outcome.code == CIM_ERR_NOT_SUPPORTED) {
        return;
    }
    if (!outcome) {
        session.find("driver.create", "createInstance",
                     "createInstance of " + shortText(wanted) + ", a copy of " +
                         shortText(existing) + " under another key, fails: " + outcome.describe());
        return;
    }
    const Created cleanUp(session, created);
    CIMInstance got;
    if (!session.call("getInstance",
                      [&] { got = session.client.getInstance(ns, created, false); })) {
        session.find(
            "driver.create", "getInstance",
            "createInstance gives " + shortText(created) + ", getInstance does not find it");
        return;
    }
    const std::set<std::string> given = filledIn(CIMConstInstance(model));
    const std::set<std::string> kept = filledIn(CIMConstInstance(got));
    for (const std::string& property : given) {
        if (kept.count(property) == 0) {
            session.find("driver.create", property,
                         "the instance created as " + shortText(created) + " has no value for " +
                             property + ", it was created with one");
        }
    }
    driveCascade(session, classes, existing, created);
    session.expect("deleteInstance", [&] { session.client.deleteInstance(ns, created); });
    if (isThere(session, created)) {
        session.find("driver.delete", "deleteInstance",
                     "deleteInstance of " + shortText(created) +
                         " succeeds, and getInstance still gives it");
    }
}

}  // namespace velmar_driver
