// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <fmt/format.h>

#include "Names.h"
#include "Writers.h"

namespace velmar_generator {

namespace {

std::string place(const ClassModel& model, const Element& property) {
    return literal(model.name + "." + property.name);
}

std::string memberOf(const Element& property) {
    return (property.isKey ? "keys." : "") + property.cppName;
}

// An enumeration for numbers, constants for texts.
std::string enumeration(const Element& element, const std::string& owner) {
    if (element.enumName.empty()) {
        return "";
    }
    const bool isText = element.type == Pegasus::CIMTYPE_STRING;
    static const char* const numbers[] = {"",       "Uint8",  "Sint8",  "Uint16", "Sint16",
                                          "Uint32", "Sint32", "Uint64", "Sint64"};
    std::string text =
        fmt::format("    /// Values of {} that have names; others are allowed.\n", owner);
    text += isText ? fmt::format("    struct {} {{\n", element.enumName)
                   : fmt::format("    enum class {} : Pegasus::{} {{\n", element.enumName,
                                 numbers[element.type]);
    for (const NamedValue& value : element.values) {
        text += isText ? fmt::format("        static constexpr const char* {} = {};\n",
                                     value.cppName, value.value)
                       : fmt::format("        {} = {},\n", value.cppName, value.value);
    }
    return text + "    };\n";
}

std::string enumerations(const ClassModel& model) {
    std::string text;
    for (const Element& property : model.properties) {
        text += enumeration(property, property.name);
    }
    for (const Method& method : model.methods) {
        text += enumeration(method.result, method.name + "()");
        for (const Element& parameter : method.parameters) {
            text += enumeration(parameter, method.name + "(" + parameter.name + ")");
        }
    }
    return text.empty() ? "" : text + "\n";
}

std::string declaration(const Element& property, unsigned indentation) {
    return comment(property.description, indentation) +
           fmt::format("{}cim::Property<{}> {};\n", std::string(indentation, ' '), property.cppType,
                       property.cppName);
}

std::string keysStruct(const ClassModel& model) {
    std::string text = "    /// What tells the instances of the class apart.\n    struct Keys {\n";
    std::string same;
    for (const Element* key : model.keys()) {
        text += declaration(*key, 8);
        same +=
            fmt::format("{}_a.{} == _b.{}", same.empty() ? "" : " && ", key->cppName, key->cppName);
    }
    return text + fmt::format(
                      "        friend bool operator==(const Keys& _a, const Keys& _b) {{\n"
                      "            return {};\n        }}\n    }};\n    Keys keys;\n\n",
                      same);
}

// Key by key for the few keys that most classes have, and always all together.
std::string constructors(const ClassModel& model) {
    const auto keys = model.keys();
    std::string text =
        fmt::format("    /// With all properties null.\n    {}() {{}}\n", model.cppName);
    if (keys.empty()) {
        return text;
    }
    text += fmt::format("    explicit {}(const Keys& _with) : keys(_with) {{}}\n", model.cppName);
    if (keys.size() <= 3) {
        std::string parameters;
        std::string body;
        for (const Element* key : keys) {
            parameters += fmt::format("{}const cim::Property<{}>& _with{}",
                                      parameters.empty() ? "" : ", ", key->cppType, key->cppName);
            body += fmt::format("        keys.{} = _with{};\n", key->cppName, key->cppName);
        }
        text += fmt::format("    {}{}({}) {{\n{}    }}\n", keys.size() == 1 ? "explicit " : "",
                            model.cppName, parameters, body);
    }
    return text;
}

std::string pathFunctions(const ClassModel& model) {
    const std::string ofClass =
        "    /// Of all instances of the class.\n"
        "    static Path classPath() { return Path::classPath(); }\n\n";
    if (model.keys().empty()) {
        return ofClass;
    }
    std::string keys;
    for (const Element* key : model.keys()) {
        keys += fmt::format("        cim::addKey(_bindings, names().{}, keys.{}, {});\n",
                            key->cppName, key->cppName, place(model, *key));
    }
    return fmt::format(
        "    /// With the local host name, the namespace, the class and the keys. Throws\n"
        "    /// CIMException (CIM_ERR_INVALID_PARAMETER) for a key that is null.\n"
        "    Path path() const {{ return Path(cim::localPath(Path::nameSpace(), className(), "
        "keyBindings())); }}\n"
        "{}"
        "    Pegasus::Array<Pegasus::CIMKeyBinding> keyBindings() const {{\n"
        "        Pegasus::Array<Pegasus::CIMKeyBinding> _bindings;\n"
        "        _bindings.reserveCapacity({});\n{}        return _bindings;\n    }}\n\n",
        ofClass, model.keys().size(), keys);
}

std::string instanceFunctions(const ClassModel& model) {
    std::string adds;
    for (const Element& property : model.properties) {
        adds += fmt::format("        cim::add(_object, names().{}, {});\n", property.cppName,
                            memberOf(property));
    }
    if (model.keys().empty()) {
        return fmt::format(
            "    /// With the properties that are not null, and without keys.\n"
            "    Pegasus::CIMInstance instance() const {{\n"
            "        Pegasus::CIMInstance _object(className());\n{}"
            "        return _object;\n    }}\n",
            adds);
    }
    return fmt::format(
        "    /// At path(), with the properties that are not null: what an instance lacks is null "
        "to\n"
        "    /// a client, and less work to the server.\n"
        "    Pegasus::CIMInstance instance() const {{ return instance(path().object()); }}\n"
        "    /// The same at a path that is known already.\n"
        "    Pegasus::CIMInstance instance(const Pegasus::CIMObjectPath& _at) const {{\n"
        "        Pegasus::CIMInstance _object(className());\n        _object.setPath(_at);\n{}"
        "        return _object;\n    }}\n",
        adds);
}

std::string fromFunction(const ClassModel& model) {
    const std::string keys =
        model.keys().empty() ? "" : "        cim::checkKeys(_given, _object.keyBindings());\n";
    return fmt::format(
        "    /// Throws CIMException (CIM_ERR_INVALID_PARAMETER), with what was found and what "
        "was\n"
        "    /// expected, for an instance of another class, a property that the class does not\n"
        "    /// declare or of another type, and a key that is missing or not what the path says.\n"
        "    /// Qualifiers are left behind.\n"
        "    static {0} from(const Pegasus::CIMInstance& _given) {{\n"
        "        {0} _object;\n"
        "        cim::readAll(_given, _object, members(), {1});\n{2}        return _object;\n    "
        "}}\n",
        model.cppName, model.properties.size(), keys);
}

std::string alertFunctions(const ClassModel& model) {
    if (!model.isIndication) {
        return "";
    }
    std::string adds;
    std::string parameters;
    for (const Element& property : model.properties) {
        adds += fmt::format("        cim::replace(_object, names().{}, {});\n", property.cppName,
                            property.cppName);
        if (property.name != "AlertingManagedElement") {  // sendIndication adds it
            parameters += fmt::format("        cim::add(_result, {}, {});\n",
                                      literal(property.name), property.cppName);
        }
    }
    return fmt::format(
        "    /// What the sender of an alert gives: the properties that are not null.\n"
        "    Pegasus::Array<Pegasus::CIMParamValue> parameters() const {{\n"
        "        Pegasus::Array<Pegasus::CIMParamValue> _result;\n{}        return _result;\n    "
        "}}\n"
        "    /// Sets the property of that name, if there is one and the value is of its type.\n"
        "    void take(const Pegasus::String& _name, const Pegasus::CIMValue& _value) {{\n"
        "        if (!Pegasus::CIMName::legal(_name)) {{\n            return;\n        }}\n"
        "        const std::size_t _place = cim::findMember(members(), {}, "
        "Pegasus::CIMName(_name), 0);\n"
        "        if (_place < {} && members()[_place].fits(_value)) {{\n"
        "            members()[_place].read(*this, _value);\n        }}\n    }}\n"
        "    /// Sets the properties that are not null.\n"
        "    void addTo(Pegasus::CIMInstance& _object) const {{\n{}    }}\n",
        parameters, model.properties.size(), model.properties.size(), adds);
}

std::string tables(const ClassModel& model) {
    std::string names;
    std::string members;
    for (const Element& property : model.properties) {
        names += fmt::format("        const Pegasus::CIMName {}{{{}}};\n", property.cppName,
                             literal(property.name));
        members += fmt::format(
            "            {{&names().{0},\n"
            "             []({1}& _object, const Pegasus::CIMValue& _value) {{\n"
            "                 cim::read(_value, _object.{2}, {3});\n             }},\n"
            "             &cim::fits<{4}>}},\n",
            property.cppName, model.cppName, memberOf(property), place(model, property),
            property.cppType);
    }
    std::string text = fmt::format(
        " private:\n    // Made once: a name is checked letter by letter when it is made. Hidden, "
        "since the dynamic\n"
        "    // linker would give the tables of one module to every other with a class of this "
        "name.\n"
        "    struct Names {{\n{}    }};\n"
        "    [[gnu::visibility(\"hidden\")]] static const Names& names() {{\n"
        "        static const Names _all;\n        return _all;\n    }}\n",
        names);
    if (model.properties.empty()) {
        text += fmt::format("    static const cim::Member<{}>* members() {{ return nullptr; }}\n",
                            model.cppName);
    } else {
        text += fmt::format(
            "    [[gnu::visibility(\"hidden\")]] static const cim::Member<{0}>* members() {{\n"
            "        static const cim::Member<{0}> _all[] = {{\n{1}        }};\n"
            "        return _all;\n    }}\n",
            model.cppName, members);
    }
    return text;
}

std::string members(const ClassModel& model) {
    std::string text;
    for (const Element& property : model.properties) {
        if (!property.isKey) {
            text += declaration(property, 4);
        }
    }
    return text.empty() ? "" : text + "\n";
}

}  // namespace

std::string headerStart(const std::string& guard, const std::string& purpose,
                        const std::vector<std::string>& includes) {
    std::string text = "// Generated by velmar from the schema; changes are lost.\n//\n// " +
                       purpose + "\n#ifndef " + guard + "\n#define " + guard + "\n\n";
    for (const std::string& include : includes) {
        text += "#include " + include + "\n";
    }
    return text + "\n";
}

std::string classHeader(const Options& options, const ClassModel& model) {
    std::string text =
        headerStart(fmt::format("VELMAR_GENERATED_{}_{}_H", options.cppNamespace, model.cppName),
                    "Class " + model.name + " with types. A plain value.", {"\"Paths.h\""});
    text += fmt::format("namespace {} {{\n\n", options.cppNamespace);
    text += comment(model.description, 0);
    text += fmt::format("class {} {{\n public:\n    using Path = paths::{};\n\n", model.cppName,
                        model.cppName);
    text += enumerations(model);
    if (!model.keys().empty()) {
        text += keysStruct(model);
    }
    text += members(model);
    text += constructors(model) + "\n" + pathFunctions(model) + instanceFunctions(model) +
            fromFunction(model) + alertFunctions(model);
    text += fmt::format(
        "    static const Pegasus::CIMName& className() {{ return "
        "Path::className(); }}\n\n{}}};\n\n}}  // namespace {}\n\n#endif\n",
        tables(model), options.cppNamespace);
    return text;
}

std::string pathsHeader(const Options& options, const std::vector<ClassModel>& models,
                        const std::vector<PathClass>& classes) {
    std::string text =
        headerStart(fmt::format("VELMAR_GENERATED_{}_PATHS_H", options.cppNamespace),
                    "Paths that know their class: those of a subclass are those of its superclass, "
                    "too.",
                    {"<velmar_typed/Values.h>"});
    text +=
        fmt::format("namespace {} {{\n\nnamespace cim = velmar_typed;\n\n", options.cppNamespace);
    // A compiler that lacks an include shows this line, not the path of the same name.
    for (const ClassModel& model : models) {
        text += fmt::format("class {0};  // needs #include \"{0}.h\"\n", model.cppName);
    }
    text += "\nnamespace paths {\n\n";
    text += "[[gnu::visibility(\"hidden\")]] inline const cim::Parent parents[] = {\n";
    for (const PathClass& one : classes) {
        text += fmt::format("    {{{}, {}}},\n", literal(one.name),
                            one.superclass.empty() ? "nullptr" : literal(one.superclass));
    }
    text += "};\n\n";
    for (const PathClass& one : classes) {
        const std::string name = classNameOf(one.name);
        const std::string base =
            one.superclass.empty() ? "cim::AnyPath" : classNameOf(one.superclass);
        text += fmt::format(
            "class {0} : public {1} {{\n public:\n    {0}() {{}}\n"
            "    /// A path from elsewhere. Throws CIMException (CIM_ERR_INVALID_PARAMETER) when "
            "it "
            "is of\n    /// another class.\n"
            "    explicit {0}(const Pegasus::CIMObjectPath& path)\n"
            "        : {1}(cim::ofClass(path, {2}, parents, sizeof parents / sizeof *parents), "
            "Checked()) {{}}\n"
            "    static {0} classPath() {{\n"
            "        return {0}(cim::localPath(nameSpace(), className(), {{}}));\n    }}\n"
            "    [[gnu::visibility(\"hidden\")]] static const Pegasus::CIMName& className() {{\n"
            "        static const Pegasus::CIMName name({2});\n        return name;\n    }}\n"
            "    [[gnu::visibility(\"hidden\")]] static const Pegasus::CIMNamespaceName& "
            "nameSpace() {{\n"
            "        static const Pegasus::CIMNamespaceName name({3});\n        return name;\n"
            "    }}\n\n protected:\n"
            "    {0}(const Pegasus::CIMObjectPath& path, Checked checked) : {1}(path, checked) "
            "{{}}\n"
            "}};\n\n",
            name, base, literal(one.name), literal(options.cimNamespace));
    }
    text += fmt::format("}}  // namespace paths\n}}  // namespace {}\n\n#endif\n",
                        options.cppNamespace);
    return text;
}

}  // namespace velmar_generator
