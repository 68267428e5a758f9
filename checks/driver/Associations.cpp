// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The associations of one class, from both ends.
#include <algorithm>

#include "checks/driver/Driver.h"
#include "checks/driver/DriverRules.h"

using namespace Pegasus;

namespace velmar_driver {

namespace {

struct End {
    String role;
    CIMObjectPath path;
};

// The references of an association instance, in the order of its properties.
std::vector<End> endsOf(const CIMInstance& association) {
    std::vector<End> ends;
    for (Uint32 i = 0; i < association.getPropertyCount(); i++) {
        const CIMConstProperty property = CIMConstInstance(association).getProperty(i);
        if (property.getType() == CIMTYPE_REFERENCE && !property.isArray() &&
            !property.getValue().isNull()) {
            CIMObjectPath path;
            property.getValue().get(path);
            ends.push_back({property.getName().getString(), path});
        }
    }
    return ends;
}

bool isClassPath(const CIMObjectPath& path) { return path.getKeyBindings().size() == 0; }

// One association as it is seen from one of its ends.
class View {
 public:
    View(Session& session, const std::string& association, const End& near, const End& far)
        : _session(session),
          _client(session.client),
          _ns(session.about.nameSpace),
          _class(session.about.name),
          _association(association),
          _near(near),
          _far(far) {}

    void drive() {
        driveReferences();
        driveAssociators();
        driveWrongRole();
    }

 private:
    std::string nearText() const { return shortText(_near.path); }

    void driveReferences() {
        Array<CIMObjectPath> names;
        Array<CIMObject> objects;
        for (const String& role : {String(), _near.role}) {
            const bool answered = _session.expect("referenceNames", [&] {
                names = _client.referenceNames(_ns, _near.path, _class, role);
            }) && _session.expect("references", [&] {
                objects = _client.references(_ns, _near.path, _class, role);
            });
            if (!answered) {
                return;
            }
            if (byPath(names).count(_association) == 0) {
                // A provider that does not know the role finds nothing without it either; with it
                // it says so, to the server's checks.
                _session.call("referenceNames",
                              [&] { _client.referenceNames(_ns, _near.path, _class, _near.role); });
                _session.find(rules::reference, text(_near.role),
                              "referenceNames of " + nearText() + asked(role) + " does not give " +
                                  _association + ", which refers to it as " + text(_near.role) +
                                  " = " + text(_near.path.toString()));
                return;
            }
            compare("references", names, objects);
        }
    }

    void driveAssociators() {
        const struct {
            CIMName resultClass;
            String role;
            String resultRole;
        } questions[] = {{CIMName(), String(), String()},
                         {CIMName(), _near.role, _far.role},
                         {_far.path.getClassName(), _near.role, String()}};
        for (const auto& question : questions) {
            Array<CIMObjectPath> names;
            Array<CIMObject> objects;
            const bool answered = _session.expect("associatorNames", [&] {
                names = _client.associatorNames(_ns, _near.path, _class, question.resultClass,
                                                question.role, question.resultRole);
            }) && _session.expect("associators", [&] {
                objects = _client.associators(_ns, _near.path, _class, question.resultClass,
                                              question.role, question.resultRole);
            });
            if (!answered) {
                return;
            }
            // A class path stands for instances, which its own class's drive looks at.
            if (!isClassPath(_far.path) && byPath(names).count(shortText(_far.path)) == 0) {
                _session.find(rules::associator, text(_near.role),
                              "associatorNames of " + nearText() + asked(question.role) +
                                  " does not give " + shortText(_far.path) + ", to which " +
                                  _association + " links it");
                return;
            }
            compare("associators", names, objects);
        }
    }

    void driveWrongRole() {
        const String wrong("VelmarNoSuchRole");
        Array<CIMObjectPath> names;
        const Outcome outcome = _session.call("associatorNames", [&] {
            names = _client.associatorNames(_ns, _near.path, _class, CIMName(), wrong);
        });
        if (outcome && names.size() > 0) {
            _session.find(rules::role, "associatorNames",
                          "associatorNames of " + nearText() + " with the role \"" + text(wrong) +
                              "\", which the association does not have, gives " +
                              shortText(names[0]));
        }
    }

    template <class Objects>
    void compare(const std::string& operation, const Array<CIMObjectPath>& names,
                 const Objects& objects) {
        const auto named = byPath(names);
        const auto given = byPath(objects);
        for (const auto& entry : named) {
            if (given.count(entry.first) == 0) {
                _session.find(
                    rules::objects, operation,
                    operation + " of " + nearText() + " does not give " + entry.first + ", " +
                        (operation == "references" ? "referenceNames" : "associatorNames") +
                        " does");
            }
        }
    }

    static std::string asked(const String& role) {
        return role.size() == 0 ? "" : " with the role \"" + text(role) + "\"";
    }

    Session& _session;
    CIMClient& _client;
    const CIMNamespaceName& _ns;
    const CIMName& _class;
    const std::string _association;
    const End& _near;
    const End& _far;
};

// Whether the end is there, or stands for a class.
bool exists(Session& session, const End& end, const std::string& association) {
    if (isClassPath(end.path)) {
        return true;
    }
    const Outcome outcome = session.call(
        "getInstance", [&] { session.client.getInstance(session.about.nameSpace, end.path); });
    if (!outcome) {
        session.find(rules::farEnd, text(end.role),
                     association + " refers to " + shortText(end.path) + " as " + text(end.role) +
                         ", and getInstance of that fails: " + outcome.describe());
    }
    return static_cast<bool>(outcome);
}

}  // namespace

void driveAssociation(Session& session, const DriveOptions& options) {
    Array<CIMInstance> associations;
    const Outcome outcome = session.call("enumerateInstances", [&] {
        associations = session.client.enumerateInstances(session.about.nameSpace,
                                                         session.about.name, true, false);
    });
    if (!outcome) {
        return;  // an error of the instances' drive, or not served as instances
    }
    const Uint32 looked = std::min(associations.size(), Uint32(options.limit));
    for (Uint32 i = 0; i < looked; i++) {
        if (associations[i].getClassName() != session.about.name) {
            continue;
        }
        const std::string shown = shortText(associations[i].getPath());
        const std::vector<End> ends = endsOf(associations[i]);
        for (const End& near : ends) {
            if (!exists(session, near, shown) || isClassPath(near.path)) {
                continue;
            }
            for (const End& far : ends) {
                if (&far != &near) {
                    View(session, shown, near, far).drive();
                }
            }
        }
    }
}

}  // namespace velmar_driver
