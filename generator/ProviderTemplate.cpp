// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the user gets to fill in for each class.
#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "Names.h"
#include "PackageWriters.h"

namespace velmar_generator {

namespace {

std::string parameters(const ClassModel& model, const Method& method) {
    std::string text = "const Pegasus::OperationContext& context";
    text += method.isStatic ? "" : ", const " + model.cppName + "& self";
    for (const Element& parameter : method.parameters) {
        text += fmt::format(",\n        {} {}", parameterType(parameter), parameter.cppName);
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

std::string resultType(const Method& method) {
    return "cim::Property<" + method.result.cppType + ">";
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

std::string example(const ClassModel& model, const std::vector<ClassModel>& models) {
    std::string keys;
    for (const Element* key : model.keys()) {
        keys += (keys.empty() ? "" : ", ") + sample(model, *key, models);
    }
    std::string text;
    if (model.keys().size() <= 3) {
        text = fmt::format("    //     {} one({});\n", model.cppName, keys);
    } else {
        text = fmt::format("    //     {} one;\n", model.cppName);
        for (const Element* key : model.keys()) {
            text += fmt::format("    //     one.keys.{} = {};\n", key->cppName,
                                sample(model, *key, models));
        }
    }
    for (const Element& property : model.properties) {
        if (!property.isKey && property.origin == model.name && !property.isArray) {
            text += fmt::format("    //     one.{} = {};\n", property.cppName,
                                sample(model, property, models));
            break;
        }
    }
    return text + "    //     add(one);\n";
}

std::string alertHeader(const ClassModel& model) {
    return fmt::format(
        "/// Delivers {0} to its subscribers. A provider raises one with raise(alert, element).\n"
        "class {0}Provider : public {0}ProviderBase {{\n protected:\n"
        "    /// Sets what no sender sets; false drops the alert.\n"
        "    bool prepare(const Pegasus::OperationContext& context, {0}& alert) override;\n}};\n",
        model.cppName);
}

std::string instanceHeader(const ClassModel& model) {
    std::string text = fmt::format(
        "/// Serves {0}. Hooks run on many threads at once, and without a lock.\n"
        "class {0}Provider : public {0}ProviderBase {{\n public:\n"
        "    /// Comes once, before any request. What it throws makes the server try again later.\n"
        "    void initialize(Pegasus::CIMOMHandle& cimom) override;\n\n protected:\n"
        "    // Values that are read when they are asked for: take the comments away, here and in\n"
        "    // the source.\n"
        "    // void refresh(const Pegasus::OperationContext& context, {0}& copy) override;\n",
        model.cppName);
    for (const Method& method : model.methods) {
        text += fmt::format("\n    {} {}(\n        {}) override;\n", resultType(method),
                            method.cppName, parameters(model, method));
    }
    return text + "};\n";
}

std::string instanceSource(const ClassModel& model, const std::vector<ClassModel>& models) {
    std::string text = fmt::format(
        "void {0}Provider::initialize(Pegasus::CIMOMHandle& cimom) {{\n"
        "    {0}ProviderBase::initialize(cimom);\n"
        "    // FILL IN: what there is, and whenever it changes: add, update, erase. For example\n"
        "{1}}}\n\n"
        "// FILL IN: what is read when it is asked for. `copy` belongs to this request alone.\n"
        "// void {0}Provider::refresh(const Pegasus::OperationContext& context, {0}& copy) {{\n"
        "// }}\n",
        model.cppName, example(model, models));
    for (const Method& method : model.methods) {
        text += fmt::format(
            "\n{0} {1}Provider::{2}(\n        {3}) {{\n"
            "    // FILL IN: what it does; until then clients hear that it is not "
            "supported.\n"
            "    return {1}ProviderBase::{2}({4});\n}}\n",
            resultType(method), model.cppName, method.cppName, parameters(model, method),
            arguments(method));
    }
    return text;
}

std::string alertSource(const ClassModel& model) {
    std::string required;
    for (const Element& property : model.properties) {
        required += property.isRequired ? (required.empty() ? "" : ", ") + property.cppName : "";
    }
    return fmt::format(
        "bool {0}Provider::prepare(const Pegasus::OperationContext&, {0}&) {{\n"
        "    // FILL IN: properties that are the same for all alerts.{1}\n    return true;\n}}\n",
        model.cppName,
        required.empty() ? "" : "\n    // Required, here or where it is raised: " + required);
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
    return fmt::format(
        "#ifndef {0}_H\n#define {0}_H\n\n#include {1}\n\n"
        "namespace {2} {{\n\n{3}\n}}  // namespace {2}\n\n#endif\n",
        guard, include, options.cppNamespace, text);
}

}  // namespace

std::string userHeader(const Options& options, const ClassModel& model) {
    return header(options, model.cppName + "Provider", "\"" + model.cppName + "ProviderBase.h\"",
                  model.kind == Kind::Alert ? alertHeader(model) : instanceHeader(model));
}

std::string watcherHeader(const Options& options) {
    return header(
        options, options.watcher, "<velmar_typed/Watcher.h>",
        fmt::format("/// Watches the device for the providers of this module, on a thread "
                    "of its own.\n"
                    "class {0} : public velmar_typed::Watcher {{\n protected:\n"
                    "    void watch() override;\n}};\n",
                    options.watcher));
}

std::string watcherSource(const Options& options, const std::vector<ClassModel>& models) {
    std::string includes;
    std::string example;
    for (const ClassModel& model : models) {
        if (model.kind == Kind::Alert) {
            includes += fmt::format("#include \"{}.h\"\n", model.cppName);
            example += fmt::format("    //     raise({}(), path);\n", model.cppName);
        } else if (model.kind != Kind::None) {
            includes += fmt::format("#include \"{}Provider.h\"\n", model.cppName);
            example += fmt::format("    //     show<{0}Provider>(one, isThere);\n", model.cppName);
        }
    }
    return fmt::format(
        "#include \"{0}.h\"\n\n{1}\nnamespace {2} {{\n\n"
        "// Called again and again; what it throws is reported.\nvoid {0}::watch() {{\n"
        "    // FILL IN: wait for a change of the device, a second at most, and hand it on:\n"
        "{3}    wait(std::chrono::seconds(1));\n}}\n\n}}  // namespace {2}\n",
        options.watcher, includes, options.cppNamespace, example);
}

std::string userSource(const Options& options, const ClassModel& model,
                       const std::vector<ClassModel>& models) {
    std::string includes;
    for (const Element* key : model.ends()) {
        const ClassModel* end = referred(*key, models);
        const std::string line = end == nullptr ? "" : "// #include \"" + end->cppName + ".h\"\n";
        includes += includes.find(line) == std::string::npos ? line : "";
    }
    const std::string body =
        model.kind == Kind::Alert ? alertSource(model) : instanceSource(model, models);
    return fmt::format(
        "#include \"{0}Provider.h\"\n\n{1}{2}namespace {3} {{\n\n{4}\n"
        "}}  // namespace {3}\n",
        model.cppName, includes, includes.empty() ? "" : "\n", options.cppNamespace, body);
}

}  // namespace velmar_generator
