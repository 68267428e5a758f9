// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The associations of one class, from both ends.
#include "check/Driver.h"

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

// Answers of one round, by question: the links of one object put the same ones.
struct Answers {
    std::map<std::string, Array<CIMObjectPath>> names;
    std::map<std::string, Array<CIMObject>> objects;
    std::set<std::string> others;
};

// One association as it is seen from one of its ends.
class View {
 public:
    View(Session& session, Doubts& doubts, Answers& answers, const std::string& association,
         const End& near, const End& far)
        : _session(session),
          _doubts(doubts),
          _answers(answers),
          _client(session.client),
          _ns(session.about.nameSpace),
          _class(session.about.name),
          _association(association),
          _near(near),
          _far(far) {}

    void drive() {
        driveReferences();
        driveAssociators();
    }

 private:
    std::string nearText() const { return shortText(_near.path); }

    void driveReferences() {
        Array<CIMObjectPath> names;
        Array<CIMObject> objects;
        for (const String& role : {String(), _near.role}) {
            if (role.size() > 0 && !_session.isSample(_association)) {
                return;
            }
            const std::string question = nearText() + asked(role);
            const bool answered =
                once("referenceNames", question, _answers.names, names,
                     [&] { return _client.referenceNames(_ns, _near.path, _class, role); }) &&
                once("references", question, _answers.objects, objects,
                     [&] { return _client.references(_ns, _near.path, _class, role); });
            if (!answered) {
                return;
            }
            if (byPath(names).count(_association) == 0) {
                // A provider that does not know the role finds nothing without it either; with it
                // it says so, to the server's checks.
                _session.call("referenceNames",
                              [&] { _client.referenceNames(_ns, _near.path, _class, _near.role); });
                _doubts.add({"driver.reference", utf8(_near.role), _association,
                             "referenceNames of " + nearText() + asked(role) + " does not give " +
                                 _association + ", which refers to it as " + utf8(_near.role) +
                                 " = " + utf8(_near.path.toString())});
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
            if (question.role.size() > 0 && !_session.isSample(_association)) {
                return;
            }
            const std::string key = nearText() + asked(question.role) +
                                    utf8(question.resultClass.getString()) +
                                    utf8(question.resultRole);
            const bool answered = once("associatorNames", key, _answers.names, names, [&] {
                return _client.associatorNames(_ns, _near.path, _class, question.resultClass,
                                               question.role, question.resultRole);
            });
            if (!answered) {
                return;
            }
            // A class path stands for instances, which its own class's drive looks at.
            if (!isClassPath(_far.path) && byPath(names).count(shortText(_far.path)) == 0) {
                _doubts.add({"driver.associator", utf8(_near.role), _association,
                             "associatorNames of " + nearText() + asked(question.role) +
                                 " does not give " + shortText(_far.path) + ", to which " +
                                 _association + " links it"});
                return;
            }
            if (question.role.size() > 0) {
                continue;  // the objects, which may take their time, once
            }
            if (!once("associators", key, _answers.objects, objects,
                      [&] { return _client.associators(_ns, _near.path, _class); })) {
                return;
            }
            compare("associators", names, objects);
        }
    }

    // False, and a doubt, where it fails.
    template <class T, class Ask>
    bool once(const std::string& operation, const std::string& question,
              std::map<std::string, T>& known, T& answer, Ask ask) {
        const auto found = known.find(operation + " " + question);
        if (found != known.end()) {
            answer = found->second;
            return true;
        }
        if (!_session.expect(_doubts, operation, _association, [&] { answer = ask(); })) {
            return false;
        }
        known.emplace(operation + " " + question, answer);
        return true;
    }

    template <class Objects>
    void compare(const std::string& operation, const Array<CIMObjectPath>& names,
                 const Objects& objects) {
        const auto named = byPath(names);
        const auto given = byPath(objects);
        for (const auto& entry : named) {
            const std::string object = nearText() + " " + entry.first;
            _doubts.see(object);
            if (given.count(entry.first) == 0) {
                _doubts.add(
                    {"driver.objects", operation, object,
                     operation + " of " + nearText() + " does not give " + entry.first + ", " +
                         (operation == "references" ? "referenceNames" : "associatorNames") +
                         " does"});
            }
        }
    }

    static std::string asked(const String& role) {
        return role.size() == 0 ? "" : " with the role \"" + utf8(role) + "\"";
    }

    Session& _session;
    Doubts& _doubts;
    Answers& _answers;
    CIMClient& _client;
    const CIMNamespaceName& _ns;
    const CIMName& _class;
    const std::string _association;
    const End& _near;
    const End& _far;
};

// Whether the end is there, or stands for a class.
bool exists(Session& session, Doubts& doubts, Answers& answers, const End& end,
            const std::string& association) {
    const std::string question = "exists " + shortText(end.path);
    if (isClassPath(end.path) || answers.others.count(question) != 0) {
        return true;
    }
    const Outcome outcome = session.call(
        "getInstance", [&] { session.client.getInstance(session.about.nameSpace, end.path); });
    if (!outcome) {
        doubts.add({"driver.far-end", utf8(end.role), association,
                    association + " refers to " + shortText(end.path) + " as " + utf8(end.role) +
                        ", and getInstance of that fails: " + outcome.describe()});
        return false;
    }
    answers.others.insert(question);
    return true;
}

void tryWrongRole(Session& session, const CIMObjectPath& path) {
    const String wrong("VelmarNoSuchRole");
    Array<CIMObjectPath> names;
    const Outcome outcome = session.call("associatorNames", [&] {
        names = session.client.associatorNames(session.about.nameSpace, path, session.about.name,
                                               CIMName(), wrong);
    });
    if (outcome && names.size() > 0) {
        session.find("driver.role", "associatorNames",
                     "associatorNames of " + shortText(path) + " with the role \"" + utf8(wrong) +
                         "\", which the association does not have, gives " + shortText(names[0]));
    }
}

// By path; nothing after an error, which is the instances' drive's, or where the class is not
// served as instances.
std::map<std::string, CIMInstance> associations(Session& session) {
    std::map<std::string, CIMInstance> result;
    session.call("enumerateInstances", [&] {
        result = byPath(session.client.enumerateInstances(session.about.nameSpace,
                                                          session.about.name, true, false));
    });
    return result;
}

}  // namespace

void driveAssociation(Session& session, const DriveOptions& options) {
    Answers answers;  // of the first rounds
    unsigned looked = 0;
    for (const auto& [shown, association] : associations(session)) {
        if (looked++ == options.limit) {
            break;
        }
        if (association.getClassName() != session.about.name) {
            continue;
        }
        const std::vector<End> ends = endsOf(association);
        for (const End& near : ends) {
            bool isFirst = true;
            session.confirm([&, &shown = shown](Doubts& doubts) {
                const bool isThere = isFirst || associations(session).count(shown) != 0;
                if (!isThere) {
                    return;
                }
                Answers again;
                Answers& known = isFirst ? answers : again;
                isFirst = false;
                doubts.see(shown);
                if (!exists(session, doubts, known, near, shown) || isClassPath(near.path)) {
                    return;
                }
                for (const End& far : ends) {
                    if (&far != &near) {
                        View(session, doubts, known, shown, near, far).drive();
                    }
                }
            });
            if (!isClassPath(near.path) &&
                answers.others.insert("wrong role " + shortText(near.path)).second) {
                tryWrongRole(session, near.path);
            }
        }
    }
}

}  // namespace velmar_driver
