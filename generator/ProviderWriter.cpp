// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <fmt/format.h>

#include "Names.h"
#include "PackageWriters.h"
#include "Writers.h"

namespace velmar_generator {

namespace {

std::string resultType(const Method& method) {
    return "cim::Property<" + method.result.cppType + ">";
}

// The hook's parameters, one to a line; their names are comments since the default uses none.
std::string signature(const ClassModel& model, const Method& method) {
    std::string text = "\n            const Pegasus::OperationContext& /*context*/";
    if (!method.isStatic) {
        text += fmt::format(",\n            const {}& /*self*/", model.cppName);
    }
    for (const Element& parameter : method.parameters) {
        text +=
            fmt::format(",\n            {} /*{}*/", parameterType(parameter), parameter.cppName);
    }
    return text;
}

std::string hook(const ClassModel& model, const Method& method) {
    std::string text = comment(method.description, 4);
    text += method.isStatic
                ? "    /// Of the class: no object is needed.\n"
                : "    /// `self` is this call's own copy; update makes changes known.\n";
    for (const Element& parameter : method.parameters) {
        if (!parameter.description.empty()) {
            text += comment(parameter.cppName + ": " + parameter.description, 4);
        }
    }
    return text + fmt::format("    virtual {} {}({}) {{\n        cim::notWritten({});\n    }}\n",
                              resultType(method), method.cppName, signature(model, method),
                              literal(model.name + "." + method.name));
}

std::string call(const ClassModel& model, const Method& method) {
    std::string declared;
    std::string before;
    std::string arguments = "_context";
    std::string after;
    if (!method.isStatic) {
        before += fmt::format("            const {0} _self = cim::calledOn<{0}>(_instance);\n",
                              model.cppName);
        arguments += ", _self";
    }
    for (const Element& parameter : method.parameters) {
        declared += literal(parameter.name) + ", ";
        const std::string local = "_the" + parameter.cppName;
        if (parameter.isRequired && parameter.isIn && !parameter.isOut) {
            before += fmt::format("            const auto {} = _given.required<{}>({});\n", local,
                                  parameter.cppType, literal(parameter.name));
        } else {
            before += fmt::format("            cim::Property<{}> {};\n", parameter.cppType, local);
        }
        if (parameter.isIn && parameter.isRequired && parameter.isOut) {
            before += fmt::format("            {} = _given.required<{}>({});\n", local,
                                  parameter.cppType, literal(parameter.name));
        } else if (parameter.isIn && !parameter.isRequired) {
            before += fmt::format(
                "            if (!_given.get({0}, {1}) && !mayLeaveOut({2}, {0})) {{\n"
                "                cim::missing({0});\n            }}\n",
                literal(parameter.name), local, literal(method.name));
        }
        arguments += ", " + local;
        if (parameter.isOut) {
            after += fmt::format("            cim::add(_outParameters, {}, {});\n",
                                 literal(parameter.name), local);
        }
    }
    return fmt::format(
        "        if (_methodName == Pegasus::CIMName({})) {{\n"
        "            const char* const _declared[] = {{{}nullptr}};\n"
        "            const cim::InParameters _given(_inParameters, _declared);\n{}"
        "            const {} _result = {}({});\n{}"
        "            return cim::valueOf(_result);\n        }}\n",
        literal(method.name), declared, before, resultType(method), method.cppName, arguments,
        after);
}

std::string dispatch(const ClassModel& model) {
    if (model.methods.empty()) {
        return "";
    }
    std::string calls;
    bool usesInstance = false;
    for (const Method& method : model.methods) {
        calls += call(model, method);
        usesInstance = usesInstance || !method.isStatic;
    }
    return fmt::format(
        "\n    Pegasus::CIMValue callMethod(const Pegasus::OperationContext& _context,\n"
        "                                 const Pegasus::CIMInstance&{},\n"
        "                                 const Pegasus::CIMName& _methodName,\n"
        "                                 const Pegasus::Array<Pegasus::CIMParamValue>& "
        "_inParameters,\n"
        "                                 Pegasus::Array<Pegasus::CIMParamValue>& _outParameters) "
        "override {{\n{}{}"
        "        throw Pegasus::CIMException(Pegasus::CIM_ERR_METHOD_NOT_FOUND, "
        "_methodName.getString());\n    }}\n",
        usesInstance ? " _instance" : "",
        calls.find("_outParameters") == std::string::npos
            ? "        static_cast<void>(_outParameters);\n"
            : "",
        calls);
}

std::string baseOf(const ClassModel& model) {
    const std::string library = "velmar_remote::";
    if (model.kind == Kind::Association) {
        return model.methods.empty()
                   ? library + "InstanceAssociationProvider"
                   : "cim::WithMethods<" + library + "InstanceAssociationProvider>";
    }
    return library + (model.methods.empty() ? "CachedInstanceProvider" : "InstanceMethodProvider");
}

std::string typedBase(const ClassModel& model) {
    return fmt::format("cim::Provider<{}, {},\n                           {}>", model.cppName,
                       baseOf(model), model.clients);
}

std::string constructor(const Options& options, const ClassModel& model) {
    std::string ends;
    if (model.kind == Kind::Association) {
        for (const Element* end : model.ends()) {
            ends += fmt::format(", {}, {}", literal(end->name), literal(end->referenceClass));
        }
    }
    return fmt::format(
        "    {}ProviderBase()\n"
        "        : {}(\n              {}{}) {}\n",
        model.cppName, typedBase(model), literal(model.name), ends,
        isUsualNamespace(options)
            ? "{}"
            : "{\n        // What is erased takes no associations along: they are in another "
              "namespace, and the\n        // server may not know the class there.\n"
              "        _cache.setIsAP();\n    }");
}

// Associations are found by whole ends only, and clients leave out what goes without saying.
std::string ends(const ClassModel& model) {
    if (model.kind != Kind::Association) {
        return "";
    }
    std::string text =
        fmt::format("\n    void complete({}& _object) const override {{\n", model.cppName);
    for (const Element* end : model.ends()) {
        text += fmt::format("        cim::complete(_object.keys.{});\n", end->cppName);
    }
    return text + "    }\n";
}

std::string alertBase(const ClassModel& model, bool enriched) {
    const char* const reason =
        enriched ? "The library adds the alerting element and what the CIM model knows of its "
                   "system."
                 : "Without the library's enrichment: it asks for the classes QORP_LPAR_CS and "
                   "QORP_ComputerSystem, and where the schema lacks them every alert would end in "
                   "an error.";
    return comment(reason, 0) +
           fmt::format("class {0}ProviderBase : public cim::AlertProvider<{0}, {1}> {{}};\n",
                       model.cppName, enriched ? "true" : "false");
}

}  // namespace

// A required in-parameter comes as its value, everything else may be null.
std::string parameterType(const Element& parameter) {
    if (parameter.isOut) {
        return "cim::Property<" + parameter.cppType + ">&";
    }
    return parameter.isRequired ? "const " + parameter.cppType + "&"
                                : "const cim::Property<" + parameter.cppType + ">&";
}

std::string providerHeader(const Options& options, const ClassModel& model, bool enriched) {
    std::string text = headerStart(
        fmt::format("VELMAR_GENERATED_{}_{}PROVIDERBASE_H", options.cppNamespace, model.cppName),
        "What the provider of " + model.name + " derives from.",
        {"<velmar_typed/Providers.h>", literal(model.cppName + ".h")});
    text += fmt::format("namespace {} {{\n\n", options.cppNamespace);
    if (model.kind == Kind::Alert) {
        text += alertBase(model, enriched);
    } else {
        if (!model.reason.empty()) {
            text += comment(model.reason + ".", 0);
        }
        text += fmt::format("class {0}ProviderBase\n    : public {1} {{\n public:\n{2}",
                            model.cppName, typedBase(model), constructor(options, model));
        std::string hooks = ends(model);
        for (const Method& method : model.methods) {
            hooks += "\n" + hook(model, method);
        }
        text += hooks.empty() ? "" : "\n protected:" + hooks + dispatch(model);
        text += "};\n";
    }
    return text + fmt::format("\n}}  // namespace {}\n\n#endif\n", options.cppNamespace);
}

std::string factorySource(const Options& options, const std::vector<ClassModel>& served) {
    std::string includes;
    std::string makes;
    std::string watcher;
    if (!options.watcher.empty()) {
        includes = fmt::format("#include \"{}.h\"\n", options.watcher);
        watcher = fmt::format("    static const auto watcher = std::make_shared<{}::{}>();\n",
                              options.cppNamespace, options.watcher);
    }
    for (const ClassModel& model : served) {
        includes += fmt::format("#include \"{}Provider.h\"\n", model.cppName);
        makes += fmt::format(
            "    if (providerName == {}) {{\n"
            "        return velmar_typed::make<{}::{}Provider>({});\n    }}\n",
            literal(model.name), options.cppNamespace, model.cppName,
            watcher.empty() ? "" : "watcher");
    }
    return fmt::format(
        "// Generated by velmar from the schema; changes are lost.\n//\n"
        "// The module's way in: makes the provider objects that the registration "
        "names.\n#include <Pegasus/Common/Config.h>\n#include <velmar_typed/Providers.h>\n\n{}\n"
        "extern \"C\" PEGASUS_EXPORT Pegasus::CIMProvider* PegasusCreateProvider(\n"
        "    const Pegasus::String& providerName) {{\n{}{}    return nullptr;\n}}\n",
        includes, watcher, makes);
}

std::string registrationMof(const Options& options, const std::vector<ClassModel>& served) {
    std::string text = fmt::format(
        "// Generated by velmar from the schema; changes are lost.\n//\n"
        "// Registers the providers of lib{0}.so, in the namespace root/PG_InterOp.\n"
        "// ProviderType: 2 instances, 3 associations, 4 indications, 5 methods.\n\n"
        "instance of PG_ProviderModule {{\n    Name = \"{0}Module\";\n    Vendor = \"{0}\";\n"
        "    Version = \"1.0.0\";\n    InterfaceType = \"C++Default\";\n"
        "    InterfaceVersion = \"2.6.0\";\n    Location = \"{0}\";\n}};\n",
        options.module);
    for (const ClassModel& model : served) {
        std::string types = model.kind == Kind::Alert         ? "4, 5"
                            : model.kind == Kind::Association ? "2, 3"
                                                              : "2";
        std::string methods = model.kind == Kind::Alert ? "\"send\"" : "";
        if (model.kind != Kind::Alert) {
            types += model.methods.empty() ? "" : ", 5";
            for (const Method& method : model.methods) {
                methods += (methods.empty() ? "" : ", ") + literal(method.name);
            }
        }
        text += fmt::format(
            "\ninstance of PG_Provider {{\n    ProviderModuleName = \"{0}Module\";\n"
            "    Name = \"{1}\";\n}};\n"
            "instance of PG_ProviderCapabilities {{\n    ProviderModuleName = \"{0}Module\";\n"
            "    ProviderName = \"{1}\";\n    CapabilityID = \"{1}\";\n    ClassName = \"{1}\";\n"
            "    Namespaces = {{ \"{2}\" }};\n    ProviderType = {{ {3} }};\n"
            "    SupportedMethods = {4};\n    SupportedProperties = NULL;\n}};\n",
            options.module, model.name, options.cimNamespace, types,
            methods.empty() ? "NULL" : "{ " + methods + " }");
    }
    return text;
}

}  // namespace velmar_generator
