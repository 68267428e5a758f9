// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Indication classes by subscribing, and methods by calling them with sample values.
#include <Pegasus/Common/System.h>

#include <algorithm>

#include "check/Driver.h"
#include "check/Samples.h"

using namespace Pegasus;
using velmar_checks::ClassFacts;
using velmar_checks::Declared;
using velmar_checks::MethodFacts;

namespace velmar_driver {

namespace {

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

// An instance of the session's class itself; its subclasses have providers of their own.
CIMObjectPath anyObject(Session& session) {
    Array<CIMObjectPath> names;
    session.call("enumerateInstanceNames", [&] {
        names = session.client.enumerateInstanceNames(session.about.nameSpace, session.about.name);
    });
    for (Uint32 i = 0; i < names.size(); i++) {
        if (names[i].getClassName() == session.about.name) {
            return names[i];
        }
    }
    return CIMObjectPath();
}

// A method may refuse, so this is a remark, not a finding.
void showError(Session& session, const std::string& operation, const Outcome& outcome) {
    if (outcome.code > 0) {
        std::vector<std::string>& tried = session.result.operations;
        *std::find(tried.begin(), tried.end(), operation) +=
            std::string(":") + cimStatusCodeToString(static_cast<CIMStatusCode>(outcome.code));
    }
}

// Raises an alert as a provider does. The server's checks look at what comes of it; that it may be
// refused, as false tells, is the provider's affair.
bool raise(Session& session, const std::vector<RegisteredClass>& classes) {
    const CIMName send("send");
    const CIMName about("AlertingManagedElement");
    const CIMObjectPath element = anyElement(session, classes);
    if (element.getClassName().isNull()) {
        return false;
    }
    // What the method declares, or else the properties that an alert must have.
    const ClassFacts facts(session.about.definition, Array<CIMName>());
    const MethodFacts* const method = facts.method(send);
    Array<CIMParamValue> given;
    for (const Declared& one : method ? method->parameters : facts.properties()) {
        const bool isGiven = method ? one.isIn : one.isRequired;
        if (isGiven && one.name != about) {
            given.append(CIMParamValue(one.name.getString(), sample(session, one)));
        }
    }
    given.append(CIMParamValue(about.getString(), CIMValue(element.toString())));
    Array<CIMParamValue> out;
    const Outcome outcome = session.call("send()", [&] {
        session.client.invokeMethod(session.about.nameSpace,
                                    CIMObjectPath(String(), CIMNamespaceName(), session.about.name),
                                    send, given, out);
    });
    showError(session, "send()", outcome);
    return static_cast<bool>(outcome);
}

}  // namespace

void driveIndication(Session& session, const std::vector<RegisteredClass>& classes,
                     const DriveOptions& options) {
    std::string id;
    const Outcome outcome =
        session.call("subscribe", [&] { id = session.access.subscribe(session.about); });
    if (!outcome) {
        session.find(
            "driver.subscribe", "createSubscription",
            "\"SELECT * FROM " + session.about.text() + "\" is refused: " + outcome.describe());
        return;
    }
    if (options.call && session.about.serves(velmar_embedded::ProviderType::Method)) {
        const bool wasSent = raise(session, classes);
        session.access.drain(wasSent);
    }
    session.expect("unsubscribe", [&] { session.access.unsubscribe(id); });
}

void driveMethods(Session& session) {
    const CIMNamespaceName& ns = session.about.nameSpace;
    const ClassFacts facts(session.about.definition, Array<CIMName>());
    const CIMObjectPath classPath(String(), CIMNamespaceName(), session.about.name);
    const CIMObjectPath object = anyObject(session);
    bool wasCalled = false;
    bool askedForAbsent = false;
    for (const MethodFacts& method : facts.methods()) {
        const auto given = sampleParameters(session, method);
        const CIMObjectPath& target = method.isStatic ? classPath : object;
        if (!given || target.getClassName().isNull() || facts.isSend(method.result.name)) {
            continue;  // send is a matter of driveIndication
        }
        const std::string name = utf8(method.result.name.getString());
        const auto call = [&](const CIMObjectPath& path) {
            CIMValue returned;
            Array<CIMParamValue> out;
            const Outcome outcome = session.call(name + "()", [&] {
                returned = session.client.invokeMethod(ns, path, method.result.name, *given, out);
            });
            return std::make_pair(outcome, returned);
        };
        const auto [outcome, returned] = call(target);
        if (outcome && returned.isNull()) {
            session.find("driver.no-return-value", name,
                         "method " + name + " of " + shortText(target) +
                             " returns no value, it is "
                             "declared with " +
                             method.result.typeText());
        }
        if (outcome.code == CIM_ERR_NOT_SUPPORTED || outcome.code == CIM_ERR_METHOD_NOT_FOUND ||
            outcome.code == CIM_ERR_METHOD_NOT_AVAILABLE) {
            session.find("driver.refused-method", name,
                         "the class declares the method " + name + ", and calling it on " +
                             shortText(target) + " is refused: " + outcome.describe());
        }
        // A client may be late. What comes of it is for the server's checks.
        const CIMObjectPath absent =
            method.isStatic ? target : another(session, target, "-velmar-absent");
        if (absent != target && !askedForAbsent) {
            askedForAbsent = true;
            call(absent);
        }
        showError(session, name + "()", outcome);
        wasCalled = true;
    }
    if (wasCalled) {  // so that the server's checks see instances that methods have edited
        session.call("enumerateInstances", [&] {
            session.client.enumerateInstances(ns, session.about.name, true, false);
        });
    }
}

}  // namespace velmar_driver
