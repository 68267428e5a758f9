// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The typed classes and paths.
#include "Names.h"
#include "Printer.h"
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
    std::string values;
    for (const NamedValue& value : element.values) {
        values += filled(
            isText ? "static constexpr const char* $name$ = $value$;\n" : "$name$ = $value$,\n",
            {{"name", value.cppName}, {"value", value.value}});
    }
    return filled(isText ? R"(
/// Values of $owner$ that have names; others are allowed.
struct $name$ {
    $values$
};
)"
                         : R"(
/// Values of $owner$ that have names; others are allowed.
enum class $name$ : Pegasus::$number$ {
    $values$
};
)",
                  {{"owner", owner},
                   {"name", element.enumName},
                   {"number", isText ? "" : numbers[element.type]},
                   {"values", values}});
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
    return filled("$comment$\ncim::Property<$type$> $name$;\n",
                  {{"comment", comment(property.description, indentation)},
                   {"type", property.cppType},
                   {"name", property.cppName}});
}

std::string keysStruct(const ClassModel& model) {
    std::string declarations;
    std::string same;
    for (const Element* key : model.keys()) {
        declarations += declaration(*key, 8);
        same += (same.empty() ? "_a." : " && _a.") + key->cppName + " == _b." + key->cppName;
    }
    return model.keys().empty() ? ""
                                : filled(R"(
/// The key properties.
struct Keys {
    $declarations$
    friend bool operator==(const Keys& _a, const Keys& _b) {
        return $same$;
    }
};
Keys keys;

)",
                                         {{"declarations", declarations}, {"same", same}});
}

std::string members(const ClassModel& model) {
    std::string text;
    for (const Element& property : model.properties) {
        text += property.isKey ? "" : declaration(property, 4);
    }
    return text.empty() ? "" : text + "\n";
}

// Key by key for the few keys that most classes have, and always all together.
std::string constructors(const ClassModel& model) {
    const auto keys = model.keys();
    std::string text =
        filled("/// With all properties null.\n$Class$() {}\n", {{"Class", model.cppName}});
    if (keys.empty()) {
        return text;
    }
    text += filled("explicit $Class$(const Keys& _with) : keys(_with) {}\n",
                   {{"Class", model.cppName}});
    if (keys.size() <= 3) {
        std::string parameters;
        std::string body;
        for (const Element* key : keys) {
            parameters += (parameters.empty() ? "const cim::Property<" : ", const cim::Property<") +
                          key->cppType + ">& _with" + key->cppName;
            body += "keys." + key->cppName + " = _with" + key->cppName + ";\n";
        }
        text += filled(R"(
$explicit$$Class$($parameters$) {
    $body$
}
)",
                       {{"explicit", keys.size() == 1 ? "explicit " : ""},
                        {"Class", model.cppName},
                        {"parameters", parameters},
                        {"body", body}});
    }
    return text;
}

std::string pathFunctions(const ClassModel& model) {
    std::string keys;
    for (const Element* key : model.keys()) {
        keys += filled("cim::addKey(_bindings, names().$key$, keys.$key$, $place$);\n",
                       {{"key", key->cppName}, {"place", place(model, *key)}});
    }
    return filled(keys.empty() ? R"(
/// Of all instances of the class.
static Path classPath() { return Path::classPath(); }

)"
                               : R"(
/// With the local host name, the namespace, the class and the keys. Throws
/// CIMException (CIM_ERR_INVALID_PARAMETER) for a key that is null.
Path path() const { return Path(cim::localPath(Path::nameSpace(), className(), keyBindings())); }
/// Of all instances of the class.
static Path classPath() { return Path::classPath(); }

Pegasus::Array<Pegasus::CIMKeyBinding> keyBindings() const {
    Pegasus::Array<Pegasus::CIMKeyBinding> _bindings;
    _bindings.reserveCapacity($count$);
    $keys$
    return _bindings;
}

)",
                  {{"count", std::to_string(model.keys().size())}, {"keys", keys}});
}

std::string instanceFunctions(const ClassModel& model) {
    std::string adds;
    for (const Element& property : model.properties) {
        adds += filled("cim::add(_object, names().$name$, $member$);\n",
                       {{"name", property.cppName}, {"member", memberOf(property)}});
    }
    return filled(model.keys().empty() ? R"(
/// With the properties that are not null, and without keys.
Pegasus::CIMInstance instance() const {
    Pegasus::CIMInstance _object(className());
    $adds$
    return _object;
}
)"
                                       : R"(
/// At path(), with the properties that are not null: what an instance lacks is null to
/// a client, and less work to the server.
Pegasus::CIMInstance instance() const { return instance(path().object()); }
/// The same at a path that is known already.
Pegasus::CIMInstance instance(const Pegasus::CIMObjectPath& _at) const {
    Pegasus::CIMInstance _object(className());
    _object.setPath(_at);
    $adds$
    return _object;
}
)",
                  {{"adds", adds}});
}

std::string fromFunction(const ClassModel& model) {
    return filled(R"(
/// Throws CIMException (CIM_ERR_INVALID_PARAMETER), with what was found and what was
/// expected, for an instance of another class, a property that the class does not
/// declare or of another type, and a key that is missing or not what the path says.
/// Qualifiers are left behind.
static $Class$ from(const Pegasus::CIMInstance& _given) {
    $Class$ _object;
    cim::readAll(_given, _object, members(), $count$);
    $checkKeys$
    return _object;
}
)",
                  {{"Class", model.cppName},
                   {"count", std::to_string(model.properties.size())},
                   {"checkKeys",
                    model.keys().empty() ? "" : "cim::checkKeys(_given, _object.keyBindings());"}});
}

std::string alertFunctions(const ClassModel& model) {
    std::string adds;
    std::string parameters;
    for (const Element& property : model.properties) {
        const Variables variables = {{"name", property.cppName}, {"text", literal(property.name)}};
        adds += filled("cim::replace(_object, names().$name$, $name$);\n", variables);
        if (property.name != "AlertingManagedElement") {  // sendIndication adds it
            parameters += filled("cim::add(_result, $text$, $name$);\n", variables);
        }
    }
    return !model.isIndication ? ""
                               : filled(R"(
/// What the sender of an alert gives: the properties that are not null.
Pegasus::Array<Pegasus::CIMParamValue> parameters() const {
    Pegasus::Array<Pegasus::CIMParamValue> _result;
    $parameters$
    return _result;
}
/// Sets the property of that name, if there is one and the value is of its type.
void take(const Pegasus::String& _name, const Pegasus::CIMValue& _value) {
    if (!Pegasus::CIMName::legal(_name)) {
        return;
    }
    const std::size_t _place = cim::findMember(members(), $count$, Pegasus::CIMName(_name), 0);
    if (_place < $count$ && members()[_place].fits(_value)) {
        members()[_place].read(*this, _value);
    }
}
/// Sets the properties that are not null.
void addTo(Pegasus::CIMInstance& _object) const {
    $adds$
}
)",
                                        {{"parameters", parameters},
                                         {"count", std::to_string(model.properties.size())},
                                         {"adds", adds}});
}

std::string names(const ClassModel& model) {
    std::string text;
    for (const Element& property : model.properties) {
        text += filled("const Pegasus::CIMName $name${$text$};\n",
                       {{"name", property.cppName}, {"text", literal(property.name)}});
    }
    return text;
}

std::string memberTable(const ClassModel& model) {
    std::string members;
    for (const Element& property : model.properties) {
        members += filled(R"(
{&names().$name$,
 []($Class$& _object, const Pegasus::CIMValue& _value) {
     cim::read(_value, _object.$member$, $place$);
 },
 &cim::fits<$type$>},
)",
                          {{"name", property.cppName},
                           {"Class", model.cppName},
                           {"member", memberOf(property)},
                           {"place", place(model, property)},
                           {"type", property.cppType}});
    }
    return filled(members.empty() ? R"(
static const cim::Member<$Class$>* members() { return nullptr; }
)"
                                  : R"(
[[gnu::visibility("hidden")]] static const cim::Member<$Class$>* members() {
    static const cim::Member<$Class$> _all[] = {
        $members$
    };
    return _all;
}
)",
                  {{"Class", model.cppName}, {"members", members}});
}

std::string pathClass(const Options& options, const PathClass& one) {
    return filled(R"(
class $Name$ : public $Base$ {
 public:
    $Name$() {}
    /// A path from elsewhere. Throws CIMException (CIM_ERR_INVALID_PARAMETER) when it is of
    /// another class.
    explicit $Name$(const Pegasus::CIMObjectPath& path)
        : $Base$(cim::ofClass(path, $text$, parents, sizeof parents / sizeof *parents), Checked()) {}
    static $Name$ classPath() {
        return $Name$(cim::localPath(nameSpace(), className(), {}));
    }
    [[gnu::visibility("hidden")]] static const Pegasus::CIMName& className() {
        static const Pegasus::CIMName name($text$);
        return name;
    }
    [[gnu::visibility("hidden")]] static const Pegasus::CIMNamespaceName& nameSpace() {
        static const Pegasus::CIMNamespaceName name($nameSpace$);
        return name;
    }

 protected:
    $Name$(const Pegasus::CIMObjectPath& path, Checked checked) : $Base$(path, checked) {}
};

)",
                  {{"Name", classNameOf(one.name)},
                   {"Base", one.superclass.empty() ? "cim::AnyPath" : classNameOf(one.superclass)},
                   {"text", literal(one.name)},
                   {"nameSpace", literal(options.cimNamespace)}});
}

}  // namespace

std::string classHeader(const Options& options, const ClassModel& model) {
    return filled(R"(
// Generated by velmar from the schema; changes are lost.
//
// Class $name$ with types. A plain value.
#ifndef VELMAR_GENERATED_$namespace$_$Class$_H
#define VELMAR_GENERATED_$namespace$_$Class$_H

#include "Paths.h"

namespace $namespace$ {

$description$
class $Class$ {
 public:
    using Path = paths::$Class$;

    $enumerations$
    $keys$
    $members$
    $constructors$

    $pathFunctions$
    $instanceFunctions$
    $from$
    $alertFunctions$
    static const Pegasus::CIMName& className() { return Path::className(); }

 private:
    // Made once: a name is checked letter by letter when it is made. Hidden, since the dynamic
    // linker would give the tables of one module to every other with a class of this name.
    struct Names {
        $names$
    };
    [[gnu::visibility("hidden")]] static const Names& names() {
        static const Names _all;
        return _all;
    }
    $memberTable$
};

}  // namespace $namespace$

#endif
)",
                  {{"namespace", options.cppNamespace},
                   {"name", model.name},
                   {"Class", model.cppName},
                   {"description", comment(model.description, 0)},
                   {"enumerations", enumerations(model)},
                   {"keys", keysStruct(model)},
                   {"members", members(model)},
                   {"constructors", constructors(model)},
                   {"pathFunctions", pathFunctions(model)},
                   {"instanceFunctions", instanceFunctions(model)},
                   {"from", fromFunction(model)},
                   {"alertFunctions", alertFunctions(model)},
                   {"names", names(model)},
                   {"memberTable", memberTable(model)}});
}

std::string pathsHeader(const Options& options, const std::vector<ClassModel>& models,
                        const std::vector<PathClass>& classes) {
    // A compiler that lacks an include shows this line, not the path of the same name.
    std::string declarations;
    for (const ClassModel& model : models) {
        declarations +=
            filled("class $Class$;  // needs #include \"$Class$.h\"\n", {{"Class", model.cppName}});
    }
    std::string parents;
    std::string paths;
    for (const PathClass& one : classes) {
        parents += "{" + literal(one.name) + ", " +
                   (one.superclass.empty() ? "nullptr" : literal(one.superclass)) + "},\n";
        paths += pathClass(options, one);
    }
    return filled(R"(
// Generated by velmar from the schema; changes are lost.
//
// Paths that know their class: those of a subclass are those of its superclass, too.
#ifndef VELMAR_GENERATED_$namespace$_PATHS_H
#define VELMAR_GENERATED_$namespace$_PATHS_H

#include <velmar_typed/Values.h>

namespace $namespace$ {

namespace cim = velmar_typed;

$declarations$

namespace paths {

[[gnu::visibility("hidden")]] inline const cim::Parent parents[] = {
    $parents$
};

$paths$
}  // namespace paths
}  // namespace $namespace$

#endif
)",
                  {{"namespace", options.cppNamespace},
                   {"declarations", declarations},
                   {"parents", parents},
                   {"paths", paths}});
}

}  // namespace velmar_generator
