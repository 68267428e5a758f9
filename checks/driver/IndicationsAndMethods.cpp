// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Indication classes by subscribing, and methods that need nothing to be called.
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/System.h>

#include <algorithm>

#include "checks/driver/Driver.h"
#include "checks/driver/DriverRules.h"

using namespace Pegasus;

namespace velmar_driver {

namespace {

bool isIn(const CIMConstParameter& parameter) {
    const Uint32 index = parameter.findQualifier(CIMName("In"));
    if (index == PEG_NOT_FOUND) {
        return true;  // the qualifier's default
    }
    Boolean in = true;
    const CIMValue value = parameter.getQualifier(index).getValue();
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

template <class T>
CIMValue sample(const T& one, bool isArray) {
    return isArray ? CIMValue(Array<T>(&one, 1)) : CIMValue(one);
}

// Some value of a type.
CIMValue sample(CIMType type, bool isArray) {
    switch (type) {
        case CIMTYPE_BOOLEAN:
            return sample(Boolean(true), isArray);
        case CIMTYPE_UINT8:
            return sample(Uint8(1), isArray);
        case CIMTYPE_SINT8:
            return sample(Sint8(1), isArray);
        case CIMTYPE_UINT16:
            return sample(Uint16(1), isArray);
        case CIMTYPE_SINT16:
            return sample(Sint16(1), isArray);
        case CIMTYPE_UINT32:
            return sample(Uint32(1), isArray);
        case CIMTYPE_SINT32:
            return sample(Sint32(1), isArray);
        case CIMTYPE_UINT64:
            return sample(Uint64(1), isArray);
        case CIMTYPE_SINT64:
            return sample(Sint64(1), isArray);
        case CIMTYPE_REAL32:
            return sample(Real32(1), isArray);
        case CIMTYPE_REAL64:
            return sample(Real64(1), isArray);
        case CIMTYPE_STRING:
            return sample(String("velmar check"), isArray);
        case CIMTYPE_DATETIME:
            return sample(CIMDateTime::getCurrentDateTime(), isArray);
        default:
            return CIMValue(type, isArray);
    }
}

// The first instance of the package, for an alert to be about.
CIMObjectPath anyElement(Session& session, const std::vector<RegisteredClass>& classes) {
    for (const RegisteredClass& one : classes) {
        if (one.nameSpace != session.about.nameSpace || one.definition.isUninitialized() ||
            one.definition.isAssociation() ||
            !one.serves(velmar_embedded::ProviderType::Instance)) {
            continue;
        }
        Array<CIMObjectPath> names;
        session.call("enumerateInstanceNames", [&] {
            names = session.client.enumerateInstanceNames(one.nameSpace, one.name);
        });
        if (names.size() > 0) {
            CIMObjectPath element = names[0];
            element.setNameSpace(one.nameSpace);
            element.setHost(System::getHostName());
            return element;
        }
    }
    return CIMObjectPath();
}

// A method may refuse, so this is no finding; the user sees that it did.
void showError(Session& session, const std::string& operation, const Outcome& outcome) {
    if (outcome.code > 0) {
        std::vector<std::string>& tried = session.result.operations;
        *std::find(tried.begin(), tried.end(), operation) +=
            std::string(":") + cimStatusCodeToString(static_cast<CIMStatusCode>(outcome.code));
    }
}

// Raises an alert as a provider does. The server's checks look at what comes of it; that it may be
// refused is the provider's affair.
void raise(Session& session, const std::vector<RegisteredClass>& classes) {
    const char* const about = "AlertingManagedElement";
    CIMClass definition = session.about.definition;
    const Uint32 index = definition.findMethod(CIMName("send"));
    const CIMObjectPath element = anyElement(session, classes);
    if (element.getClassName().isNull()) {
        return;
    }
    Array<CIMParamValue> given;
    const Uint32 count =
        index == PEG_NOT_FOUND ? 0 : definition.getMethod(index).getParameterCount();
    for (Uint32 i = 0; i < count; i++) {
        const CIMConstParameter one = definition.getMethod(index).getParameter(i);
        if (isIn(one) && one.getName() != CIMName(about)) {
            given.append(
                CIMParamValue(one.getName().getString(), sample(one.getType(), one.isArray())));
        }
    }
    given.append(CIMParamValue(about, CIMValue(element.toString())));
    Array<CIMParamValue> out;
    const Outcome outcome = session.call("send()", [&] {
        session.client.invokeMethod(session.about.nameSpace,
                                    CIMObjectPath(String(), CIMNamespaceName(), session.about.name),
                                    CIMName("send"), given, out);
    });
    showError(session, "send()", outcome);
}

}  // namespace

void driveIndication(Session& session, velmar_embedded::Server& server,
                     const std::vector<RegisteredClass>& classes, const DriveOptions& options) {
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
    if (options.call && session.about.serves(velmar_embedded::ProviderType::Method)) {
        raise(session, classes);
        server.drain();
    }
    session.expect("unsubscribe", [&] { server.unsubscribe(id); });
}

void driveMethods(Session& session) {
    CIMClass definition = session.about.definition;
    const CIMNamespaceName& ns = session.about.nameSpace;
    Array<CIMObjectPath> names;
    session.call("enumerateInstanceNames",
                 [&] { names = session.client.enumerateInstanceNames(ns, session.about.name); });
    const CIMObjectPath classPath(String(), CIMNamespaceName(), session.about.name);
    bool askedForAbsent = false;
    for (Uint32 i = 0; i < definition.getMethodCount(); i++) {
        const CIMMethod method = definition.getMethod(i);
        if (!needsNothing(method) || (names.size() == 0 && !isStatic(method))) {
            continue;
        }
        const CIMObjectPath& target = isStatic(method) ? classPath : names[0];
        const std::string name = text(method.getName().getString());
        Array<CIMParamValue> out;
        CIMValue returned;
        const Outcome outcome = session.call(name + "()", [&] {
            returned = session.client.invokeMethod(ns, target, method.getName(),
                                                   Array<CIMParamValue>(), out);
        });
        if (outcome && returned.isNull()) {
            session.find(rules::noReturnValue, name,
                         "method " + name + " of " + shortText(target) +
                             " returns no value, it is "
                             "declared with " +
                             cimTypeToString(method.getType()));
        }
        if (outcome.code == CIM_ERR_NOT_SUPPORTED || outcome.code == CIM_ERR_METHOD_NOT_FOUND ||
            outcome.code == CIM_ERR_METHOD_NOT_AVAILABLE) {
            session.find(rules::refusedMethod, name,
                         "the class declares the method " + name + ", and calling it on " +
                             shortText(target) + " is refused: " + outcome.describe());
        }
        // A client may be late. What comes of it is for the server's checks.
        const CIMObjectPath absent =
            isStatic(method) ? target : another(session, target, "-velmar-absent");
        if (absent != target && !askedForAbsent) {
            askedForAbsent = true;
            session.call(name + "()", [&] {
                session.client.invokeMethod(ns, absent, method.getName(), Array<CIMParamValue>(),
                                            out);
            });
        }
        showError(session, name + "()", outcome);
    }
}

}  // namespace velmar_driver
