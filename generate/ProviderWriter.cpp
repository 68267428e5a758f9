// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the user's providers derive from, the factory and the registration.
#include "Names.h"
#include "PackageWriters.h"
#include "Printer.h"
#include "Writers.h"

namespace velmar_generator {

namespace {

// The hook's parameters, one to a line; their names are comments since the default uses none.
std::string signature(const ClassModel& model, const Method& method) {
    std::string text = "const Pegasus::OperationContext& /*context*/";
    if (!method.isStatic) {
        text += ",\nconst " + model.cppName + "& /*self*/";
    }
    for (const Element& parameter : method.parameters) {
        text += ",\n" + parameterType(parameter) + " /*" + parameter.cppName + "*/";
    }
    return text + ") {";
}

std::string hook(const ClassModel& model, const Method& method) {
    std::string parameters;
    for (const Element& parameter : method.parameters) {
        if (!parameter.description.empty()) {
            parameters += comment(parameter.cppName + ": " + parameter.description, 4);
        }
    }
    return filled(R"(
$description$
/// $object$
$parameters$
virtual $Result$ $name$(
        $signature$
    cim::notImplemented($place$);
}
)",
                  {{"description", comment(method.description, 4)},
                   {"object", method.isStatic
                                  ? "Of the class: no object is needed."
                                  : "`self` is this call's own copy; update makes changes known."},
                   {"parameters", parameters},
                   {"Result", resultType(method)},
                   {"name", method.cppName},
                   {"signature", signature(model, method)},
                   {"place", literal(model.name + "." + method.name)}});
}

// Declares the local that an in-parameter is read into.
std::string reading(const Method& method, const Element& parameter) {
    const Variables variables = {{"local", "_the" + parameter.cppName},
                                 {"Type", parameter.cppType},
                                 {"name", literal(parameter.name)},
                                 {"method", literal(method.name)}};
    if (parameter.isIn && parameter.isRequired) {
        return filled(parameter.isOut ? R"(
cim::Property<$Type$> $local$;
$local$ = _given.required<$Type$>($name$);
)"
                                      : R"(
const auto $local$ = _given.required<$Type$>($name$);
)",
                      variables);
    }
    return filled(parameter.isIn ? R"(
cim::Property<$Type$> $local$;
if (!_given.get($name$, $local$) && !mayLeaveOut($method$, $name$)) {
    cim::missing($name$);
}
)"
                                 : R"(
cim::Property<$Type$> $local$;
)",
                  variables);
}

std::string call(const ClassModel& model, const Method& method) {
    std::string declared;
    std::string before;
    std::string arguments = "_context";
    std::string after;
    if (!method.isStatic) {
        before = filled("const $Class$ _self = cim::calledOn<$Class$>(_instance);\n",
                        {{"Class", model.cppName}});
        arguments += ", _self";
    }
    for (const Element& parameter : method.parameters) {
        declared += literal(parameter.name) + ", ";
        before += reading(method, parameter);
        arguments += ", _the" + parameter.cppName;
        if (parameter.isOut) {
            after += filled("cim::add(_outParameters, $name$, _the$cppName$);\n",
                            {{"name", literal(parameter.name)}, {"cppName", parameter.cppName}});
        }
    }
    return filled(R"(
if (_methodName == Pegasus::CIMName($name$)) {
    const char* const _declared[] = {$declared$nullptr};
    const cim::InParameters _given(_inParameters, _declared);
    $before$
    const $Result$ _result = $cppName$($arguments$);
    $after$
    return cim::valueOf(_result);
}
)",
                  {{"name", literal(method.name)},
                   {"declared", declared},
                   {"before", before},
                   {"Result", resultType(method)},
                   {"cppName", method.cppName},
                   {"arguments", arguments},
                   {"after", after}});
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
    const bool usesOut = calls.find("_outParameters") != std::string::npos;
    return filled(R"(
Pegasus::CIMValue callMethod(const Pegasus::OperationContext& _context,
                             const Pegasus::CIMInstance&$instance$,
                             const Pegasus::CIMName& _methodName,
                             const Pegasus::Array<Pegasus::CIMParamValue>& _inParameters,
                             Pegasus::Array<Pegasus::CIMParamValue>& _outParameters) override {
    $unused$
    $calls$
    throw Pegasus::CIMException(Pegasus::CIM_ERR_METHOD_NOT_FOUND, _methodName.getString());
}
)",
                  {{"instance", usesInstance ? " _instance" : ""},
                   {"unused", usesOut ? "" : "static_cast<void>(_outParameters);"},
                   {"calls", calls}});
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

// Associations are found by whole ends only, and clients leave out what goes without saying.
std::string ends(const ClassModel& model) {
    std::string completed;
    for (const Element* end : model.ends()) {
        completed += "cim::complete(_object.keys." + end->cppName + ");\n";
    }
    return model.kind != Kind::Association
               ? ""
               : filled(R"(
void complete($Class$& _object) const override {
    $completed$
}
)",
                        {{"Class", model.cppName}, {"completed", completed}});
}

std::string alertBase(const ClassModel& model, bool enriched) {
    const char* const reason =
        enriched ? "The library adds the alerting element and what the CIM model knows of its "
                   "system."
                 : "Without the library's enrichment: it asks for the classes QORP_LPAR_CS and "
                   "QORP_ComputerSystem, and where the schema lacks them every alert would end in "
                   "an error.";
    return comment(reason, 0) +
           filled(
               "class $Class$ProviderBase : public cim::AlertProvider<$Class$, $enriched$> {};\n",
               {{"Class", model.cppName}, {"enriched", enriched ? "true" : "false"}});
}

std::string instanceBase(const Options& options, const ClassModel& model) {
    std::string references;
    if (model.kind == Kind::Association) {
        for (const Element* end : model.ends()) {
            references += ", " + literal(end->name) + ", " + literal(end->referenceClass);
        }
    }
    std::string hooks = ends(model);
    const auto add = [&](const std::string& text) {
        hooks += (hooks.empty() || text.empty() ? "" : "\n") + text;
    };
    for (const Method& method : model.methods) {
        add(hook(model, method));
    }
    add(dispatch(model));
    return filled(R"(
$reason$
class $Class$ProviderBase
    : public $Base$ {
 public:
    $Class$ProviderBase()
        : $Base$(
              $name$$references$) {$body$}
 $protected$
    $hooks$
};
)",
                  {{"reason", model.reason.empty() ? "" : comment(model.reason + ".", 0)},
                   {"Class", model.cppName},
                   {"Base", "cim::Provider<" + model.cppName + ", " + baseOf(model) +
                                ",\n                           " + model.clients + ">"},
                   {"name", literal(model.name)},
                   {"references", references},
                   {"body", isUsualNamespace(options) ? "" : R"(
        // What is erased takes no associations along: they are in another namespace, and the
        // server may not know the class there.
        _cache.setIsAP();
    )"},
                   {"protected", hooks.empty() ? "" : "\nprotected:"},
                   {"hooks", hooks}});
}

bool isScalar(const Element& element) {
    switch (element.type) {
        case Pegasus::CIMTYPE_STRING:
        case Pegasus::CIMTYPE_DATETIME:
        case Pegasus::CIMTYPE_REFERENCE:
        case Pegasus::CIMTYPE_OBJECT:
        case Pegasus::CIMTYPE_INSTANCE:
            return false;
        default:
            return !element.isArray;
    }
}

}  // namespace

std::string resultType(const Method& method) {
    return "cim::Property<" + method.result.cppType + ">";
}

// A required in-parameter comes as its value, everything else may be null. Scalars come by value.
std::string parameterType(const Element& parameter) {
    if (parameter.isOut) {
        return "cim::Property<" + parameter.cppType + ">&";
    }
    if (!parameter.isRequired) {
        return "const cim::Property<" + parameter.cppType + ">&";
    }
    return isScalar(parameter) ? parameter.cppType : "const " + parameter.cppType + "&";
}

std::string providerHeader(const Options& options, const ClassModel& model, bool enriched) {
    return filled(R"(
// Generated by velmar from the schema; changes are lost.
//
// What the provider of $name$ derives from.
#ifndef VELMAR_GENERATED_$namespace$_$Class$PROVIDERBASE_H
#define VELMAR_GENERATED_$namespace$_$Class$PROVIDERBASE_H

#include <velmar_typed/Providers.h>
#include "$Class$.h"

namespace $namespace$ {

$class$

}  // namespace $namespace$

#endif
)",
                  {{"name", model.name},
                   {"namespace", options.cppNamespace},
                   {"Class", model.cppName},
                   {"class", model.kind == Kind::Alert ? alertBase(model, enriched)
                                                       : instanceBase(options, model)}});
}

std::string factorySource(const Options& options, const std::vector<ClassModel>& served) {
    std::string includes;
    std::string makes;
    std::string watcher;
    if (!options.watcher.empty()) {
        includes = "#include \"" + options.watcher + ".h\"\n";
        watcher = "static const auto watcher = std::make_shared<" + options.cppNamespace +
                  "::" + options.watcher + ">();";
    }
    for (const ClassModel& model : served) {
        includes += "#include \"" + model.cppName + "Provider.h\"\n";
        makes += filled(R"(
if (providerName == $name$) {
    return velmar_typed::make<$namespace$::$Class$Provider>($watcher$);
}
)",
                        {{"name", literal(model.name)},
                         {"namespace", options.cppNamespace},
                         {"Class", model.cppName},
                         {"watcher", watcher.empty() ? "" : "watcher"}});
    }
    return filled(R"(
// Generated by velmar from the schema; changes are lost.
//
// The module's way in: makes the provider objects that the registration names.
#include <Pegasus/Common/Config.h>
#include <velmar_typed/Providers.h>

$includes$

extern "C" PEGASUS_EXPORT Pegasus::CIMProvider* PegasusCreateProvider(
    const Pegasus::String& providerName) {
    $watcher$
    $makes$
    return nullptr;
}
)",
                  {{"includes", includes}, {"watcher", watcher}, {"makes", makes}});
}

std::string registrationMof(const Options& options, const std::vector<ClassModel>& served) {
    std::string providers;
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
        providers += filled(R"(

instance of PG_Provider {
    ProviderModuleName = "$module$Module";
    Name = "$class$";
};
instance of PG_ProviderCapabilities {
    ProviderModuleName = "$module$Module";
    ProviderName = "$class$";
    CapabilityID = "$class$";
    ClassName = "$class$";
    Namespaces = { "$namespace$" };
    ProviderType = { $types$ };
    SupportedMethods = $methods$;
    SupportedProperties = NULL;
};
)",
                            {{"module", options.module},
                             {"class", model.name},
                             {"namespace", options.cimNamespace},
                             {"types", types},
                             {"methods", methods.empty() ? "NULL" : "{ " + methods + " }"}});
    }
    return filled(R"(
// Generated by velmar from the schema; changes are lost.
//
// Registers the providers of lib$module$.so, in the namespace root/PG_InterOp.
// ProviderType: 2 instances, 3 associations, 4 indications, 5 methods.

instance of PG_ProviderModule {
    Name = "$module$Module";
    Vendor = "$module$";
    Version = "1.0.0";
    InterfaceType = "C++Default";
    InterfaceVersion = "2.6.0";
    Location = "$module$";
};
$providers$
)",
                  {{"module", options.module}, {"providers", providers}});
}

}  // namespace velmar_generator
