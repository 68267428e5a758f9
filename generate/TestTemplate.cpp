// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The test that each class of a package begins with: it asserts what the hooks promise, whatever
// the user fills in.
#include <fmt/format.h>

#include <algorithm>

#include "Names.h"
#include "PackageWriters.h"
#include "Printer.h"

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
        keys += "object.keys." + key->cppName + " = " + sampleKey(model, *key, absent) + ";\n";
    }
    return filled(
        R"(
$Class$ $name$() {
    $Class$ object;
    $keys$
    return object;
}

)",
        {{"Class", model.cppName}, {"name", absent ? "absent" : "sample"}, {"keys", keys}});
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
        calls += filled("EXPECT_EQ(call($object$, $method$), Pegasus::$code$);\n",
                        {{"object", method.isStatic || refuses ? "sample()" : "absent()"},
                         {"method", literal(method.name)},
                         {"code", refuses ? "CIM_ERR_INVALID_PARAMETER" : "CIM_ERR_NOT_FOUND"}});
    }
    return calls.empty() ? ""
                         : filled(R"(
TEST_F($Class$Test, RefusesCallsThatCannotBe) {
    const auto call = [&](const $Class$& object, const char* method) {
        velmar_testing::MethodResultRecorder recorder;
        try {
            provider->invokeMethod(Pegasus::OperationContext(), object.path(),
                                   Pegasus::CIMName(method),
                                   Pegasus::Array<Pegasus::CIMParamValue>(), recorder);
        } catch (const Pegasus::CIMException& error) {
            return error.getCode();
        }
        return Pegasus::CIM_ERR_SUCCESS;
    };
    $calls$
}

)",
                                  {{"Class", model.cppName}, {"calls", calls}});
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
                parameters += filled(R"(
cim::add(given, $name$,
         cim::Property<$Type$>(
             $value$));
)",
                                     {{"name", literal(parameter.name)},
                                      {"Type", parameter.cppType},
                                      {"value", value}});
            }
            isWhole = isWhole && !(parameter.isIn && parameter.isRequired && value.empty());
        }
        if (isWhole) {
            calls += "given.clear();\n" + parameters + "call(" + literal(method.name) + ");\n";
        }
    }
    return calls.empty() ? ""
                         : filled(R"(
TEST_F($Class$Test, AnswersItsMethods) {
    Pegasus::Array<Pegasus::CIMParamValue> given;
    const auto call = [&](const char* method) {
        SCOPED_TRACE(method);
        velmar_testing::MethodResultRecorder recorder;
        try {
            provider->invokeMethod(Pegasus::OperationContext(), sample().path(),
                                   Pegasus::CIMName(method), given, recorder);
            EXPECT_FALSE(recorder.returnValue.isNull()) << method;
        } catch (const Pegasus::CIMException&) {  // it may refuse what it is given
        }
    };
    $calls$
}

)",
                                  {{"Class", model.cppName}, {"calls", calls}});
}

std::string instanceTest(const ClassModel& model) {
    const std::string methods = methodTest(model) + callTest(model);
    const bool usesAbsent = methods.find("absent()") != std::string::npos;
    return filled(R"(
namespace {

$samples$
// Without a server: the object as the server would make it, and handlers that record.
class $Class$Test : public ::testing::Test {
 protected:
    $Class$Test() {
        provider->initialize(cimom);
        provider->add(sample());
    }
    ~$Class$Test() override { provider->terminate(); }  // deletes it
    Pegasus::CIMOMHandle cimom;
    $Class$Provider* const provider = new $Class$Provider;
};

TEST_F($Class$Test, HandsOutTheSameByGetAndByEnumerate) {
    velmar_testing::InstanceRecorder all;
    provider->enumerateInstances(Pegasus::OperationContext(), $Class$::classPath(), false, false,
                                 Pegasus::CIMPropertyList(), all);
    ASSERT_FALSE(all.delivered.empty());
    for (const Pegasus::CIMInstance& instance : all.delivered) {
        velmar_testing::InstanceRecorder one;
        try {
            provider->getInstance(Pegasus::OperationContext(), instance.getPath(), false, false,
                                  Pegasus::CIMPropertyList(), one);
        } catch (const Pegasus::CIMException& error) {
            // Others may go meanwhile, the test's own stays.
            EXPECT_EQ(error.getCode(), Pegasus::CIM_ERR_NOT_FOUND);
            EXPECT_FALSE(instance.getPath() == sample().path().object());
            continue;
        }
        ASSERT_EQ(one.delivered.size(), 1u);
        // Fits the class, with the same properties; values may have changed meanwhile.
        EXPECT_NO_THROW($Class$::from(one.delivered[0]));
        EXPECT_EQ(one.delivered[0].getPropertyCount(), instance.getPropertyCount());
    }
}

TEST_F($Class$Test, KnowsEachObjectOnce) {
    EXPECT_THROW(provider->add(sample()), Pegasus::CIMException);
    EXPECT_TRUE(provider->find(sample().path()).has_value());
    EXPECT_NO_THROW(provider->update(sample()));
}

$methods$
}  // namespace
)",
                  {{"Class", model.cppName},
                   {"samples",
                    sampleFunction(model, false) + (usesAbsent ? sampleFunction(model, true) : "")},
                   {"methods", methods}});
}

// Statements that give `alert` what its class requires.
std::string requiredValues(const ClassModel& model) {
    std::string text;
    for (const Element& property : model.properties) {
        const std::string value = property.isRequired ? sampleValue(model, property) : "";
        if (!value.empty()) {
            text += "alert." + property.cppName + " = " + value + ";\n";
        }
    }
    return text;
}

std::string alertTest(const ClassModel& model, const ClassModel* element,
                      const std::string& allowed) {
    return filled(
        R"(
namespace {

// A server with the package as it is linked into this test.
class $Class$Test : public velmar_testing::ServedPackage {
 protected:
    $Class$Test()
        : ServedPackage({{PACKAGE_SCHEMA}, {PACKAGE_REGISTRATION}, {}}, PegasusCreateProvider) {$allow$}
};

TEST_F($Class$Test, ReachesItsSubscriber) {
    velmar_testing::Subscriber subscriber(server, $name$);
    $Class$ alert;
    $values$
    cim::raise(alert, $Element$::classPath());
    EXPECT_FALSE(subscriber.waitFor(1).empty());
}

}  // namespace
)",
        {{"Class", model.cppName},
         {"allow", allowed.empty()
                       ? ""
                       : "\n        // The schema has more classes than there are objects of.\n"
                         "        allow(" +
                             literal(allowed) + ");\n    "},
         {"name", literal(model.name)},
         {"values", requiredValues(model)},
         // Without one, the alert is about what its own class stands for.
         {"Element", element == nullptr ? model.cppName : element->cppName}});
}

}  // namespace

std::string userTest(const Options& options, const ClassModel& model, const ClassModel* element,
                     const std::string& allowed) {
    const bool isAlert = model.kind == Kind::Alert;
    std::string headers = isAlert ? "#include <velmar_testing/ServedPackage.h>\n"
                                  : "#include <velmar_testing/Printers.h>\n"
                                    "#include <velmar_testing/RecordingHandlers.h>\n";
    if (isAlert && element != nullptr) {
        headers += "\n#include \"" + element->cppName + ".h\"\n";
    }
    return filled(R"(
#include "$Class$Provider.h"

#include <gtest/gtest.h>
$headers$

using namespace $namespace$;

$test$
)",
                  {{"Class", model.cppName},
                   {"headers", headers},
                   {"namespace", options.cppNamespace},
                   {"test", isAlert ? alertTest(model, element, allowed) : instanceTest(model)}});
}

}  // namespace velmar_generator
