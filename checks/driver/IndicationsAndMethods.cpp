// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Indication classes by subscribing, and methods that need nothing to be called.
#include "checks/driver/Driver.h"
#include "checks/driver/DriverRules.h"

using namespace Pegasus;

namespace velmar_driver {

void driveIndication(Session& session, velmar_embedded::Server& server) {
    const std::string query = "SELECT * FROM " + session.about.text();
    std::string id;
    const Outcome outcome = session.call("subscribe", [&] {
        id = server.subscribe(query, {text(session.about.nameSpace.getString())},
                              [](const CIMInstance&) {});
    });
    if (!outcome) {
        session.find(rules::subscribe, "createSubscription",
                     "\"" + query + "\" is refused: " + outcome.describe());
        return;
    }
    session.expect("unsubscribe", [&] { server.unsubscribe(id); });
}

namespace {

bool isIn(const CIMParameter& parameter) {
    const Uint32 index = parameter.findQualifier(CIMName("In"));
    if (index == PEG_NOT_FOUND) {
        return true;  // the qualifier's default
    }
    Boolean in = true;
    const CIMValue value = CIMParameter(parameter).getQualifier(index).getValue();
    if (value.getType() == CIMTYPE_BOOLEAN && !value.isArray()) {
        value.get(in);
    }
    return in;
}

bool isStatic(CIMMethod method) { return method.findQualifier(CIMName("Static")) != PEG_NOT_FOUND; }

bool needsNothing(CIMMethod method) {
    for (Uint32 i = 0; i < method.getParameterCount(); i++) {
        if (isIn(method.getParameter(i))) {
            return false;
        }
    }
    return true;
}

}  // namespace

void driveMethods(Session& session) {
    CIMClass definition = session.about.definition;
    const CIMNamespaceName& ns = session.about.nameSpace;
    Array<CIMObjectPath> names;
    session.call("enumerateInstanceNames",
                 [&] { names = session.client.enumerateInstanceNames(ns, session.about.name); });
    const CIMObjectPath classPath(String(), CIMNamespaceName(), session.about.name);
    for (Uint32 i = 0; i < definition.getMethodCount(); i++) {
        const CIMMethod method = definition.getMethod(i);
        if (!needsNothing(method) || (names.size() == 0 && !isStatic(method))) {
            continue;
        }
        const CIMObjectPath& target = isStatic(method) ? classPath : names[0];
        const std::string name = text(method.getName().getString());
        Array<CIMParamValue> out;
        const Outcome outcome = session.call(name + "()", [&] {
            session.client.invokeMethod(ns, target, method.getName(), Array<CIMParamValue>(), out);
        });
        if (outcome.code == CIM_ERR_NOT_SUPPORTED || outcome.code == CIM_ERR_METHOD_NOT_FOUND ||
            outcome.code == CIM_ERR_METHOD_NOT_AVAILABLE) {
            session.find(rules::refusedMethod, name,
                         "the class declares the method " + name + ", and calling it on " +
                             shortText(target) + " is refused: " + outcome.describe());
        }
    }
}

}  // namespace velmar_driver
