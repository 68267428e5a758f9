// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/MethodRules.h"

#include "checks/Wording.h"

using namespace Pegasus;

namespace velmar_checks {

namespace {

const Rule undeclared{
    "method.undeclared", Severity::Error,
    "A method was called that its class does not declare. A server does not check "
    "that, so the call reaches the provider.",
    "Declare the method in the MOF, or correct its name in the caller."};
const Rule unknownParameter{"method.unknown-parameter", Severity::Error,
                            "A caller gave a parameter that the method does not declare.",
                            "Correct the parameter's name, or declare it in the MOF."};
const Rule parameterType{"method.parameter-type", Severity::Error,
                         "A caller gave a parameter of another type, or another array form, than "
                         "the method declares.",
                         "Make the value with the declared type."};
const Rule missingParameter{"method.missing-parameter", Severity::Error,
                            "A caller left out, or gave as null, a parameter that is Required.",
                            "Give the parameter, or drop the qualifier Required from the MOF."};
const Rule returnType{"method.return-type", Severity::Error,
                      "A method returned another type than its class declares.",
                      "Return a CIMValue of the declared type, or correct the type in the MOF."};
const Rule outType{"method.out-parameter-type", Severity::Error,
                   "An out-parameter has another type, or another array form, than the method "
                   "declares.",
                   "Make the value with the declared type."};
const Rule undeclaredOut{"method.undeclared-out-parameter", Severity::Error,
                         "A method delivered an out-parameter that it does not declare.",
                         "Correct the parameter's name, or declare it in the MOF with Out."};

// The parameters of "send" become the alert's properties.
bool isPropertyOfAlert(const ClassFacts& facts, const CIMName& method,
                       const std::string& parameter) {
    const String name(parameter.c_str());
    return facts.isSend(method) && CIMName::legal(name) && facts.property(CIMName(name));
}

std::string element(const MethodFacts& method, const std::string& parameter) {
    return textOf(method.result.name) + "." + parameter;
}

void checkRequired(const Report& report, const MethodFacts& method,
                   const Array<CIMParamValue>& inParameters) {
    for (const Declared& declared : method.parameters) {
        bool given = !declared.isRequired || !declared.isIn;
        for (Uint32 i = 0; i < inParameters.size() && !given; i++) {
            given =
                !inParameters[i].getValue().isNull() &&
                String::equalNoCase(inParameters[i].getParameterName(), declared.name.getString());
        }
        if (!given) {
            const std::string name = textOf(declared.name);
            report.add(missingParameter, element(method, name),
                       "method " + textOf(method.result.name) + " was called without parameter " +
                           name + ", which is Required; give a " + declared.typeText());
        }
    }
}

}  // namespace

RuleList methodRules() {
    return {&undeclared, &unknownParameter, &parameterType, &missingParameter,
            &returnType, &outType,          &undeclaredOut};
}

const MethodFacts* checkCall(const Report& report, const ClassFacts& facts, const CIMName& name,
                             const Array<CIMParamValue>& inParameters) {
    const MethodFacts* method = facts.method(name);
    if (!method && facts.isSend(name)) {
        return nullptr;
    }
    if (!method) {
        const std::string near = didYouMean(textOf(name), facts.methodNames());
        report.add(undeclared, textOf(name),
                   "method " + textOf(name) + " was called, which the class does not declare" +
                       (near.empty() ? "; declare it in the MOF" : near));
        return nullptr;
    }
    const std::string called = "method " + textOf(method->result.name) + " was called with ";
    for (Uint32 i = 0; i < inParameters.size(); i++) {
        const std::string parameter = textOf(inParameters[i].getParameterName());
        const CIMValue value = inParameters[i].getValue();
        const Declared* declared = method->parameter(parameter);
        if (!declared) {
            if (!isPropertyOfAlert(facts, name, parameter)) {
                report.add(unknownParameter, element(*method, parameter),
                           called + "parameter " + parameter + ", which it does not declare" +
                               didYouMean(parameter, method->parameterNames()));
            }
        } else if (inParameters[i].isTyped() && !value.isNull() && !declared->fits(value)) {
            report.add(parameterType, element(*method, parameter),
                       called + "parameter " + parameter + " as " + describe(value) +
                           ", it declares " + declared->typeText() + "; " +
                           howToWrite(declared->type, declared->isArray, value));
        }
    }
    checkRequired(report, *method, inParameters);
    return method;
}

void checkReturnValue(const Report& report, const MethodFacts& method, const CIMValue& value) {
    if (!value.isNull() && !method.result.fits(value)) {
        const std::string name = textOf(method.result.name);
        report.add(returnType, name,
                   "method " + name + " returned " + describe(value) + ", the class declares " +
                       method.result.typeText() + "; " +
                       howToWrite(method.result.type, false, value));
    }
}

void checkOutParameter(const Report& report, const MethodFacts& method,
                       const CIMParamValue& parameter) {
    const std::string name = textOf(parameter.getParameterName());
    const std::string given =
        "method " + textOf(method.result.name) + " gave out-parameter " + name;
    const Declared* declared = method.parameter(name);
    const CIMValue value = parameter.getValue();
    if (!declared) {
        report.add(
            undeclaredOut, element(method, name),
            given + ", which it does not declare" + didYouMean(name, method.parameterNames()));
    } else if (!value.isNull() && !declared->fits(value)) {
        report.add(outType, element(method, name),
                   given + " as " + describe(value) + ", it declares " + declared->typeText() +
                       "; " + howToWrite(declared->type, declared->isArray, value));
    }
}

}  // namespace velmar_checks
