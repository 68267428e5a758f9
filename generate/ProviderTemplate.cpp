// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the user gets to fill in for each class.
#include <algorithm>
#include <cctype>

#include "Names.h"
#include "PackageWriters.h"
#include "Printer.h"

namespace velmar_generator {

namespace {

// One to a line, those after the first behind the indentation.
std::string parameters(const ClassModel& model, const Method& method,
                       const std::string& indentation) {
    std::string text = "const Pegasus::OperationContext& context";
    text += method.isStatic ? "" : ", const " + model.cppName + "& self";
    for (const Element& parameter : method.parameters) {
        text += ",\n" + indentation + parameterType(parameter) + " " + parameter.cppName;
    }
    return text;
}

std::string arguments(const Method& method) {
    std::string text = "context";
    text += method.isStatic ? "" : ", self";
    for (const Element& parameter : method.parameters) {
        text += ", " + parameter.cppName;
    }
    return text;
}

// The typed class of a reference; null where the package has its paths only.
const ClassModel* referred(const Element& element, const std::vector<ClassModel>& models) {
    const auto model = std::find_if(models.begin(), models.end(), [&](const ClassModel& one) {
        return one.name == element.referenceClass;
    });
    return model == models.end() ? nullptr : &*model;
}

// A value to show how a property is set.
std::string sample(const ClassModel& model, const Element& element,
                   const std::vector<ClassModel>& models) {
    if (!element.enumName.empty()) {
        return model.cppName + "::" + element.enumName + "::" + element.values.front().cppName;
    }
    switch (element.type) {
        case Pegasus::CIMTYPE_BOOLEAN:
            return "true";
        case Pegasus::CIMTYPE_STRING:
            return "\"...\"";
        case Pegasus::CIMTYPE_DATETIME:
            return "Pegasus::CIMDateTime::getCurrentDateTime()";
        case Pegasus::CIMTYPE_REFERENCE:
            if (const ClassModel* end = referred(element, models)) {
                return end->cppName + "(...).path()";
            }
            return "paths::" + classNameOf(element.referenceClass) + "(...)";
        case Pegasus::CIMTYPE_OBJECT:
        case Pegasus::CIMTYPE_INSTANCE:
        case Pegasus::CIMTYPE_CHAR16:
            return "...";
        default:
            return "1";
    }
}

// Statements that make an object and add it.
std::string example(const ClassModel& model, const std::vector<ClassModel>& models) {
    std::string keys;
    std::string statements;
    for (const Element* key : model.keys()) {
        const std::string value = sample(model, *key, models);
        keys += (keys.empty() ? "" : ", ") + value;
        statements += "//     one.keys." + key->cppName + " = " + value + ";\n";
    }
    std::string text = model.keys().size() <= 3
                           ? "//     " + model.cppName + " one(" + keys + ");\n"
                           : "//     " + model.cppName + " one;\n" + statements;
    const auto shown = std::find_if(
        model.properties.begin(), model.properties.end(), [&](const Element& property) {
            return !property.isKey && property.origin == model.name && !property.isArray;
        });
    if (shown != model.properties.end()) {
        text += "//     one." + shown->cppName + " = " + sample(model, *shown, models) + ";\n";
    }
    return text + "//     add(one);\n";
}

std::string alertHeader(const ClassModel& model) {
    return filled(R"(
/// Delivers $Class$ to its subscribers. A provider raises one with raise(alert, element).
class $Class$Provider : public $Class$ProviderBase {
 protected:
    /// Sets what no sender sets; false drops the alert.
    bool prepare(const Pegasus::OperationContext& context, $Class$& alert) override;
};
)",
                  {{"Class", model.cppName}});
}

std::string instanceHeader(const ClassModel& model) {
    std::string methods;
    for (const Method& method : model.methods) {
        methods += filled(R"(

$Result$ $name$(
    $parameters$) override;
)",
                          {{"Result", resultType(method)},
                           {"name", method.cppName},
                           {"parameters", parameters(model, method, "    ")}});
    }
    return filled(R"(
/// Serves $Class$. Hooks run on many threads at once, and without a lock.
class $Class$Provider : public $Class$ProviderBase {
 protected:
    /// Called once, before the first request. If it throws, the server retries.
    void populate() override;

    // Values that are read when they are asked for: take the comments away, here and in
    // the source.
    // void refresh(const Pegasus::OperationContext& context, $Class$& copy) override;
    $methods$
};
)",
                  {{"Class", model.cppName}, {"methods", methods}});
}

std::string instanceSource(const ClassModel& model, const std::vector<ClassModel>& models) {
    std::string methods;
    for (const Method& method : model.methods) {
        methods += filled(R"(

$Result$ $Class$Provider::$name$(
        $parameters$) {
    // TODO: what it does; until then clients hear that it is not supported.
    return $Class$ProviderBase::$name$($arguments$);
}
)",
                          {{"Result", resultType(method)},
                           {"Class", model.cppName},
                           {"name", method.cppName},
                           {"parameters", parameters(model, method, "        ")},
                           {"arguments", arguments(method)}});
    }
    return filled(
        R"(
void $Class$Provider::populate() {
    // TODO: add the instances; later call add, update or erase. For example
    $example$
}

// TODO: read what changes without a word. `copy` belongs to this request alone.
// void $Class$Provider::refresh(const Pegasus::OperationContext& context, $Class$& copy) {
// }
$methods$
)",
        {{"Class", model.cppName}, {"example", example(model, models)}, {"methods", methods}});
}

std::string alertSource(const ClassModel& model) {
    std::string required;
    for (const Element& property : model.properties) {
        required += property.isRequired ? (required.empty() ? "" : ", ") + property.cppName : "";
    }
    return filled(
        R"(
bool $Class$Provider::prepare(const Pegasus::OperationContext&, $Class$&) {
    // TODO: properties that are the same for all alerts.
    $required$
    return true;
}
)",
        {{"Class", model.cppName},
         {"required",
          required.empty() ? "" : "// Required, here or where it is raised: " + required}});
}

std::string header(const Options& options, const std::string& name, const std::string& include,
                   const std::string& text) {
    const auto upper = [](std::string one) {
        std::transform(one.begin(), one.end(), one.begin(),
                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        return one;
    };
    const std::string prefix = upper(options.cppNamespace + "_");
    std::string guard = upper(name);
    guard = guard.find(prefix) == 0 ? guard : prefix + guard;
    return filled(R"(
#ifndef $guard$_H
#define $guard$_H

#include $include$

namespace $namespace$ {

$text$

}  // namespace $namespace$

#endif
)",
                  {{"guard", guard},
                   {"include", include},
                   {"namespace", options.cppNamespace},
                   {"text", text}});
}

}  // namespace

std::string userHeader(const Options& options, const ClassModel& model) {
    return header(options, model.cppName + "Provider", "\"" + model.cppName + "ProviderBase.h\"",
                  model.kind == Kind::Alert ? alertHeader(model) : instanceHeader(model));
}

std::string watcherHeader(const Options& options) {
    return header(options, options.watcher, "<velmar_typed/Watcher.h>",
                  filled(R"(
/// Watches the device for the providers of this module, on a thread of its own.
class $Watcher$ : public velmar_typed::Watcher {
 protected:
    void watch() override;
};
)",
                         {{"Watcher", options.watcher}}));
}

std::string watcherSource(const Options& options, const std::vector<ClassModel>& models) {
    std::string includes;
    std::string example;
    for (const ClassModel& model : models) {
        if (model.kind == Kind::Alert) {
            includes += "#include \"" + model.cppName + ".h\"\n";
            example += "//     raise(" + model.cppName + "(), path);\n";
        } else if (model.kind != Kind::None) {
            includes += "#include \"" + model.cppName + "Provider.h\"\n";
            example += "//     show<" + model.cppName + "Provider>(one, isThere);\n";
        }
    }
    return filled(R"(
#include "$Watcher$.h"

$includes$

namespace $namespace$ {

// Called again and again; what it throws is reported.
void $Watcher$::watch() {
    // TODO: wait for a change of the device, a second at most, and hand it on:
    $example$
    wait(std::chrono::seconds(1));
}

}  // namespace $namespace$
)",
                  {{"Watcher", options.watcher},
                   {"includes", includes},
                   {"namespace", options.cppNamespace},
                   {"example", example}});
}

std::string userSource(const Options& options, const ClassModel& model,
                       const std::vector<ClassModel>& models) {
    std::string includes;
    for (const Element* key : model.ends()) {
        const ClassModel* end = referred(*key, models);
        const std::string line = end == nullptr ? "" : "// #include \"" + end->cppName + ".h\"\n";
        includes += includes.find(line) == std::string::npos ? line : "";
    }
    return filled(
        R"(
#include "$Class$Provider.h"

$includes$
namespace $namespace$ {

$body$

}  // namespace $namespace$
)",
        {{"Class", model.cppName},
         {"includes", includes.empty() ? "" : includes + "\n"},
         {"namespace", options.cppNamespace},
         {"body", model.kind == Kind::Alert ? alertSource(model) : instanceSource(model, models)}});
}

}  // namespace velmar_generator
