// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/AssociationRules.h"

#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>

#include <algorithm>

#include "checks/Wording.h"

using namespace Pegasus;

namespace velmar_checks {

namespace {

// Ends as class paths stand for all instances of their class, wherever they are.
void checkEndPlace(const Reporter& report, SchemaFacts& schema, const CIMNamespaceName& nameSpace,
                   const std::string& name, const CIMObjectPath& end) {
    const bool noHost = end.getHost().size() == 0;
    const bool noNameSpace = end.getNameSpace().isNull();
    const String host = System::getHostName();
    std::string wrong;
    if (noHost || noNameSpace) {
        wrong = std::string("lacks ") + (noHost && noNameSpace ? "host and namespace"
                                         : noHost              ? "the host"
                                                               : "the namespace");
    } else if (!String::equalNoCase(end.getHost(), host)) {
        wrong = "has the host " + utf8(end.getHost());
    } else if (end.getNameSpace() != nameSpace &&
               !schema.find(end.getNameSpace(), end.getClassName())) {
        // Associations may reach into other namespaces.
        wrong = "has the namespace " + utf8(end.getNameSpace()) + ", which has no class " +
                utf8(end.getClassName());
    } else {
        return;
    }
    report.add("association.end-place", name,
               "end " + name + " (" + utf8(end) + ") " + wrong + ", requests carry //" +
                   utf8(host) + "/" + utf8(nameSpace));
}

void checkEnd(const Reporter& report, SchemaFacts& schema, const CIMNamespaceName& nameSpace,
              const Declared& reference, const CIMObjectPath& end) {
    const std::string name = utf8(reference.name);
    if (end.getClassName().isNull()) {
        report.add("association.null-end", name, "end " + name + " is an empty path");
        return;
    }
    const CIMNamespaceName& place = end.getNameSpace().isNull() ? nameSpace : end.getNameSpace();
    Facts facts = schema.find(place, end.getClassName());
    if (!facts) {
        facts = schema.find(nameSpace, end.getClassName());
    }
    if (!facts || !facts->isA(reference.referenceClass)) {
        report.add("association.end-class", name,
                   "end " + name + " (" + utf8(end) + ") is of class " + utf8(end.getClassName()) +
                       (facts ? "" : ", which namespace " + utf8(place) + " does not have") +
                       ", the class declares " + reference.typeText());
    }
    if (end.getKeyBindings().size() > 0) {
        checkEndPlace(report, schema, nameSpace, name, end);
    }
}

}  // namespace

void checkEnds(const Reporter& report, SchemaFacts& schema, const CIMNamespaceName& nameSpace,
               const ClassFacts& association, const CIMConstObject& object) {
    if (!association.isAssociation()) {
        return;
    }
    for (const Declared* reference : association.references()) {
        const Uint32 index = object.findProperty(reference->name);
        if (index == PEG_NOT_FOUND) {
            continue;  // a missing key has a rule of its own, the others may be left out
        }
        const CIMValue value = object.getProperty(index).getValue();
        const std::string name = utf8(reference->name);
        if (value.isNull()) {
            report.add("association.null-end", name,
                       "end " + name + " is null; give it the path of an object");
        } else if (value.getType() == CIMTYPE_REFERENCE && !value.isArray()) {
            CIMObjectPath end;
            value.get(end);
            checkEnd(report, schema, nameSpace, *reference, end);
        }
    }
}

void checkEndKeys(const Reporter& report, SchemaFacts& schema, const CIMNamespaceName& nameSpace,
                  const ClassFacts& association, const CIMObjectPath& path) {
    if (!association.isAssociation()) {
        return;
    }
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++) {
        const Declared* reference = association.property(keys[i].getName());
        if (reference && reference->type == CIMTYPE_REFERENCE &&
            keys[i].getType() == CIMKeyBinding::REFERENCE) {
            CIMObjectPath end;
            try {
                end.set(keys[i].getValue());
            } catch (const MalformedObjectNameException&) {
                end.clear();  // a path that was never parsed
            }
            checkEnd(report, schema, nameSpace, *reference, end);
        }
    }
}

void checkFarClass(const Reporter& report, const ClassFacts& association,
                   const CIMName& resultClass, const ClassFacts& delivered) {
    const std::vector<const Declared*>& ends = association.references();
    const bool atAnEnd = std::any_of(ends.begin(), ends.end(), [&](const Declared* end) {
        return delivered.isA(end->referenceClass);
    });
    if (!atAnEnd) {
        report.add("association.far-class", delivered.name(),
                   "delivers an object of class " + delivered.name() +
                       " as associated, which is at no end of the association");
    } else if (!resultClass.isNull() && !delivered.isA(resultClass)) {
        report.add("association.far-class", delivered.name(),
                   "delivers an object of class " + delivered.name() + " as associated, but only " +
                       utf8(resultClass) + " was asked for");
    }
}

void checkRefusedRole(const Reporter& report, const ClassFacts& association, const String& role) {
    for (const Declared* reference : association.references()) {
        const std::string name = utf8(reference->name);
        if (name == utf8(role)) {  // in other letter case it may be refused
            report.add("association.refused-role", name,
                       "refuses the role " + name + ", which the class declares");
        }
    }
}

}  // namespace velmar_checks
