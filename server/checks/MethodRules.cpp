// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/MethodRules.h"

#include "checks/Wording.h"

using namespace Pegasus;

namespace velmar_checks {

namespace {

// The parameters of "send" become the alert's properties.
bool isPropertyOfAlert(const ClassFacts& facts, const CIMName& method,
                       const std::string& parameter) {
    const String name(parameter.c_str());
    return facts.isSend(method) && CIMName::legal(name) && facts.property(CIMName(name));
}

std::string element(const MethodFacts& method, const std::string& parameter) {
    return utf8(method.result.name) + "." + parameter;
}

void checkRequired(const Reporter& report, const MethodFacts& method,
                   const Array<CIMParamValue>& inParameters) {
    for (const Declared& declared : method.parameters) {
        bool given = !declared.isRequired || !declared.isIn;
        for (Uint32 i = 0; i < inParameters.size() && !given; i++) {
            given =
                !inParameters[i].getValue().isNull() &&
                String::equalNoCase(inParameters[i].getParameterName(), declared.name.getString());
        }
        if (!given) {
            const std::string name = utf8(declared.name);
            report.add("method.missing-parameter", element(method, name),
                       "method " + utf8(method.result.name) + " was called without parameter " +
                           name + ", which is Required");
        }
    }
}

}  // namespace

const MethodFacts* checkCall(const Reporter& report, const ClassFacts& facts, const CIMName& name,
                             const Array<CIMParamValue>& inParameters) {
    const MethodFacts* method = facts.method(name);
    if (!method && facts.isSend(name)) {
        return nullptr;
    }
    if (!method) {
        const std::string near = didYouMean(utf8(name), facts.methodNames());
        report.add("method.undeclared", utf8(name),
                   "method " + utf8(name) + " was called, which the class does not declare" + near);
        return nullptr;
    }
    const std::string called = "method " + utf8(method->result.name) + " was called with ";
    for (Uint32 i = 0; i < inParameters.size(); i++) {
        const std::string parameter = utf8(inParameters[i].getParameterName());
        const CIMValue value = inParameters[i].getValue();
        const Declared* declared = method->parameter(parameter);
        if (!declared) {
            if (!isPropertyOfAlert(facts, name, parameter)) {
                report.add("method.unknown-parameter", element(*method, parameter),
                           called + "parameter " + parameter + ", which it does not declare" +
                               didYouMean(parameter, method->parameterNames()));
            }
        } else if (inParameters[i].isTyped() && !value.isNull() && !declared->fits(value)) {
            report.add("method.parameter-type", element(*method, parameter),
                       called + "parameter " + parameter + " as " + describe(value) +
                           ", it declares " + declared->typeText());
        }
    }
    checkRequired(report, *method, inParameters);
    return method;
}

void checkReturnValue(const Reporter& report, const MethodFacts& method, const CIMValue& value) {
    if (!value.isNull() && !method.result.fits(value)) {
        const std::string name = utf8(method.result.name);
        report.add("method.return-type", name,
                   "method " + name + " returned " + describe(value) + ", the class declares " +
                       method.result.typeText());
    }
}

void checkOutParameter(const Reporter& report, const MethodFacts& method,
                       const CIMParamValue& parameter) {
    const std::string name = utf8(parameter.getParameterName());
    const std::string given = "method " + utf8(method.result.name) + " gave out-parameter " + name;
    const Declared* declared = method.parameter(name);
    const CIMValue value = parameter.getValue();
    if (!declared) {
        report.add(
            "method.undeclared-out-parameter", element(method, name),
            given + ", which it does not declare" + didYouMean(name, method.parameterNames()));
    } else if (!value.isNull() && !declared->fits(value)) {
        report.add("method.out-parameter-type", element(method, name),
                   given + " as " + describe(value) + ", it declares " + declared->typeText());
    }
}

}  // namespace velmar_checks
