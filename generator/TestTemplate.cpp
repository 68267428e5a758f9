// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The test that each class of a package begins with: it asserts what the hooks promise, whatever
// the user fills in.
#include <fmt/format.h>

#include <algorithm>

#include "Names.h"
#include "PackageWriters.h"

namespace velmar_generator {

namespace {

// A key that no object of the user's is likely to have.
std::string sampleKey(const ClassModel& model, const Element& key, bool absent) {
    switch (key.type) {
        case Pegasus::CIMTYPE_BOOLEAN:
            return absent ? "false" : "true";
        case Pegasus::CIMTYPE_STRING:
            return absent ? "\"no such one\"" : "\"a test's own\"";
        case Pegasus::CIMTYPE_DATETIME:
            return fmt::format("Pegasus::CIMDateTime(\"20000101000000.00000{}+000\")",
                               absent ? 1 : 0);
        case Pegasus::CIMTYPE_CHAR16:
            return absent ? "Pegasus::Char16('n')" : "Pegasus::Char16('t')";
        case Pegasus::CIMTYPE_REFERENCE:
            return fmt::format("paths::{}(Pegasus::CIMObjectPath(\"{}.TestKey=\\\"{}\\\"\"))",
                               classNameOf(key.referenceClass), key.referenceClass,
                               absent ? "none" : "test");
        default:
            return key.enumName.empty()
                       ? (absent ? "98" : "99")
                       : fmt::format("cim::Enumeration<{}::{}>::Number({})", model.cppName,
                                     key.enumName, absent ? 98 : 99);
    }
}

std::string sampleFunction(const ClassModel& model, bool absent) {
    std::string keys;
    for (const Element* key : model.keys()) {
        keys +=
            fmt::format("    object.keys.{} = {};\n", key->cppName, sampleKey(model, *key, absent));
    }
    return fmt::format("{0} {1}() {{\n    {0} object;\n{2}    return object;\n}}\n\n",
                       model.cppName, absent ? "absent" : "sample", keys);
}

// A first required parameter that is not given is what a method refuses; where there is none, an
// object that is not there.
std::string methodTest(const ClassModel& model) {
    std::string calls;
    for (const Method& method : model.methods) {
        const bool refuses = std::any_of(method.parameters.begin(), method.parameters.end(),
                                         [](const Element& parameter) { return parameter.isIn; });
        if (method.isStatic && !refuses) {
            continue;
        }
        calls +=
            fmt::format("    EXPECT_EQ(call({}, {}), Pegasus::{});\n",
                        method.isStatic || refuses ? "sample()" : "absent()", literal(method.name),
                        refuses ? "CIM_ERR_INVALID_PARAMETER" : "CIM_ERR_NOT_FOUND");
    }
    if (calls.empty()) {
        return "";
    }
    return fmt::format(
        "TEST_F({0}Test, RefusesCallsThatCannotBe) {{\n"
        "    const auto call = [&](const {0}& object, const char* method) {{\n"
        "        velmar_kit::MethodResultRecorder recorder;\n        try {{\n"
        "            provider->invokeMethod(Pegasus::OperationContext(), object.path(),\n"
        "                                   Pegasus::CIMName(method),\n"
        "                                   Pegasus::Array<Pegasus::CIMParamValue>(), recorder);\n"
        "        }} catch (const Pegasus::CIMException& error) {{\n"
        "            return error.getCode();\n        }}\n"
        "        return Pegasus::CIM_ERR_SUCCESS;\n    }};\n{1}}}\n\n",
        model.cppName, calls);
}

// An expression of a value for a property or parameter; empty for references and embedded objects.
std::string sampleValue(const ClassModel& model, const Element& element) {
    if (element.type == Pegasus::CIMTYPE_REFERENCE || element.type == Pegasus::CIMTYPE_OBJECT ||
        element.type == Pegasus::CIMTYPE_INSTANCE) {
        return "";
    }
    Element plain = element;
    plain.enumName.clear();
    const std::string one =
        element.values.empty() ? sampleKey(model, plain, false)
        : element.type == Pegasus::CIMTYPE_STRING
            ? element.values.front().value
            : model.cppName + "::" + element.enumName + "::" + element.values.front().cppName;
    return element.isArray ? "{" + one + "}" : one;
}

// Calls each method as a client does, with a value of each parameter's type. What it does not
// refuse with a CIMException it must answer.
std::string callTest(const ClassModel& model) {
    std::string calls;
    for (const Method& method : model.methods) {
        std::string parameters;
        bool isWhole = true;  // a value for each parameter that is required
        for (const Element& parameter : method.parameters) {
            const std::string value = parameter.isIn ? sampleValue(model, parameter) : "";
            if (!value.empty()) {
                parameters += fmt::format(
                    "    cim::add(given, {},\n             cim::Property<{}>(\n                 "
                    "{}));\n",
                    literal(parameter.name), parameter.cppType, value);
            }
            isWhole = isWhole && !(parameter.isIn && parameter.isRequired && value.empty());
        }
        if (isWhole) {
            calls += fmt::format("    given.clear();\n{}    call({});\n", parameters,
                                 literal(method.name));
        }
    }
    if (calls.empty()) {
        return "";
    }
    return fmt::format(
        "TEST_F({0}Test, AnswersItsMethods) {{\n"
        "    Pegasus::Array<Pegasus::CIMParamValue> given;\n"
        "    const auto call = [&](const char* method) {{\n"
        "        SCOPED_TRACE(method);\n"
        "        velmar_kit::MethodResultRecorder recorder;\n        try {{\n"
        "            provider->invokeMethod(Pegasus::OperationContext(), sample().path(),\n"
        "                                   Pegasus::CIMName(method), given, recorder);\n"
        "            EXPECT_FALSE(recorder.returnValue.isNull()) << method;\n"
        "        }} catch (const Pegasus::CIMException&) {{  // it may refuse what it is given\n"
        "        }}\n    }};\n{1}}}\n\n",
        model.cppName, calls);
}

std::string instanceTest(const ClassModel& model) {
    const std::string methods = methodTest(model) + callTest(model);
    std::string samples = sampleFunction(model, false);
    if (methods.find("absent()") != std::string::npos) {
        samples += sampleFunction(model, true);
    }
    return fmt::format(
        "namespace {{\n\n{2}"
        "// Without a server: the object as the server would make it, and handlers that record.\n"
        "class {0}Test : public ::testing::Test {{\n protected:\n"
        "    {0}Test() {{\n        provider->initialize(cimom);\n"
        "        provider->add(sample());\n    }}\n"
        "    ~{0}Test() override {{ provider->terminate(); }}  // deletes it\n"
        "    Pegasus::CIMOMHandle cimom;\n"
        "    {0}Provider* const provider = new {0}Provider;\n}};\n\n"
        "TEST_F({0}Test, HandsOutTheSameByGetAndByEnumerate) {{\n"
        "    velmar_kit::InstanceRecorder all;\n"
        "    provider->enumerateInstances(Pegasus::OperationContext(), {0}::classPath(), false, "
        "false,\n                                 Pegasus::CIMPropertyList(), all);\n"
        "    ASSERT_FALSE(all.delivered.empty());\n"
        "    for (const Pegasus::CIMInstance& instance : all.delivered) {{\n"
        "        velmar_kit::InstanceRecorder one;\n        try {{\n"
        "            provider->getInstance(Pegasus::OperationContext(), instance.getPath(), false, "
        "false,\n                                  Pegasus::CIMPropertyList(), one);\n"
        "        }} catch (const Pegasus::CIMException& error) {{\n"
        "            // Others may go meanwhile, the test's own stays.\n"
        "            EXPECT_EQ(error.getCode(), Pegasus::CIM_ERR_NOT_FOUND);\n"
        "            EXPECT_FALSE(instance.getPath() == sample().path().object());\n"
        "            continue;\n        }}\n"
        "        ASSERT_EQ(one.delivered.size(), 1u);\n"
        "        // Fits the class, with the same properties; values may have changed meanwhile.\n"
        "        EXPECT_NO_THROW({0}::from(one.delivered[0]));\n"
        "        EXPECT_EQ(one.delivered[0].getPropertyCount(), instance.getPropertyCount());\n"
        "    }}\n}}\n\n"
        "TEST_F({0}Test, KnowsEachObjectOnce) {{\n"
        "    EXPECT_THROW(provider->add(sample()), Pegasus::CIMException);\n"
        "    EXPECT_TRUE(provider->find(sample().path()).has_value());\n"
        "    EXPECT_NO_THROW(provider->update(sample()));\n}}\n\n"
        "{1}}}  // namespace\n",
        model.cppName, methods, samples);
}

// Statements that give `alert` what its class requires.
std::string requiredValues(const ClassModel& model) {
    std::string text;
    for (const Element& property : model.properties) {
        const std::string value = property.isRequired ? sampleValue(model, property) : "";
        if (!value.empty()) {
            text += fmt::format("    alert.{} = {};\n", property.cppName, value);
        }
    }
    return text;
}

std::string alertTest(const ClassModel& model, const ClassModel* element,
                      const std::string& allowed) {
    // Without one, the alert is about what its own class stands for.
    const std::string& about = element == nullptr ? model.cppName : element->cppName;
    return fmt::format(
        "namespace {{\n\n"
        "// A server with the package as it is linked into this test.\n"
        "class {0}Test : public velmar_kit::ServedPackage {{\n protected:\n"
        "    {0}Test()\n"
        "        : ServedPackage({{{{PACKAGE_SCHEMA}}, {{PACKAGE_REGISTRATION}}, {{}}}}, "
        "PegasusCreateProvider) {{{3}}}\n}};\n\n"
        "TEST_F({0}Test, ReachesItsSubscriber) {{\n"
        "    velmar_kit::Subscriber subscriber(server, {2});\n"
        "    {0} alert;\n{4}"
        "    cim::raise(alert, {1}::classPath());\n"
        "    EXPECT_FALSE(subscriber.waitFor(1).empty());\n}}\n\n}}  // namespace\n",
        model.cppName, about, literal(model.name),
        allowed.empty() ? ""
                        : "\n        // The schema has more classes than there are objects of.\n"
                          "        allow(" +
                              literal(allowed) + ");\n    ",
        requiredValues(model));
}

}  // namespace

std::string userTest(const Options& options, const ClassModel& model, const ClassModel* element,
                     const std::string& allowed) {
    std::string includes =
        fmt::format("#include \"{}Provider.h\"\n\n#include <gtest/gtest.h>\n", model.cppName);
    if (model.kind == Kind::Alert) {
        includes += "#include <velmar_kit/ServedPackage.h>\n";
        includes += element == nullptr ? "" : "\n#include \"" + element->cppName + ".h\"\n";
    } else {
        includes += "#include <velmar_kit/Printers.h>\n#include <velmar_kit/RecordingHandlers.h>\n";
    }
    return fmt::format(
        "{}\nusing namespace {};\n\n{}", includes, options.cppNamespace,
        model.kind == Kind::Alert ? alertTest(model, element, allowed) : instanceTest(model));
}

}  // namespace velmar_generator
