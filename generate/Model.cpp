// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Model.h"

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/Exception.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

#include "Names.h"
#include "model/Text.h"
#include "schema/Qualified.h"

using namespace Pegasus;

namespace velmar_generator {

namespace {

using velmar_embedded::isTrue;
using velmar_embedded::lowerCase;
using velmar_embedded::qualifierText;
using velmar_embedded::qualifierTexts;
using velmar_embedded::utf8;

bool isInteger(CIMType type) { return type >= CIMTYPE_UINT8 && type <= CIMTYPE_SINT64; }
bool isSigned(CIMType type) {
    return type == CIMTYPE_SINT8 || type == CIMTYPE_SINT16 || type == CIMTYPE_SINT32 ||
           type == CIMTYPE_SINT64;
}

unsigned bits(CIMType type) {
    switch (type) {
        case CIMTYPE_UINT8:
        case CIMTYPE_SINT8:
            return 8;
        case CIMTYPE_UINT16:
        case CIMTYPE_SINT16:
            return 16;
        case CIMTYPE_UINT32:
        case CIMTYPE_SINT32:
            return 32;
        default:
            return 64;
    }
}

// A single number of a ValueMap as C++ writes it; empty for ranges and what does not fit the type.
std::string number(const std::string& text, CIMType type) {
    if (text.empty() || text.find("..") != std::string::npos) {
        return "";
    }
    char* end = nullptr;
    errno = 0;
    if (isSigned(type)) {
        const long long value = std::strtoll(text.c_str(), &end, 0);
        const long long limit = bits(type) == 64 ? 0 : 1LL << (bits(type) - 1);
        const bool fits = limit == 0 || (value >= -limit && value < limit);
        // The least one has no literal of its own.
        return *end != '\0' || errno != 0 || !fits || value == INT64_MIN
                   ? ""
                   : std::to_string(value) + (bits(type) == 64 ? "LL" : "");
    }
    const unsigned long long value = std::strtoull(text.c_str(), &end, 0);
    const bool fits = bits(type) == 64 || value >> bits(type) == 0;
    return *end != '\0' || errno != 0 || !fits || text[0] == '-'
               ? ""
               : std::to_string(value) + (bits(type) == 64 ? "ULL" : "");
}

// The named values of a ValueMap; without one, Values count from 0 (DSP0004).
// `typeName` is the name of what they become members of.
template <class Feature>
void readValues(const Feature& feature, Element& element, const std::string& typeName) {
    const std::vector<std::string> values = qualifierTexts(feature, "Values");
    std::vector<std::string> map = qualifierTexts(feature, "ValueMap");
    const bool isText = element.type == CIMTYPE_STRING;
    if (map.empty() && !isText) {
        for (size_t i = 0; i < values.size(); i++) {
            map.push_back(std::to_string(i));
        }
    }
    if (!isText && !isInteger(element.type)) {
        return;
    }
    Scope scope({typeName});
    for (size_t i = 0; i < map.size(); i++) {
        const std::string value = isText ? literal(map[i]) : number(map[i], element.type);
        if (!value.empty()) {
            const std::string name = i < values.size() && !values[i].empty() ? values[i] : map[i];
            element.values.push_back({scope.add(name), value});
        }
    }
}

const char* plainType(CIMType type) {
    static const char* const names[] = {
        "Boolean", "Uint8",       "Sint8",  "Uint16",    "Sint16",     "Uint32",
        "Sint32",  "Uint64",      "Sint64", "Real32",    "Real64",     "Char16",
        "String",  "CIMDateTime", "",       "CIMObject", "CIMInstance"};
    return names[type];
}

// `typeName` is that of the enumeration of its values, if they have names.
template <class Feature>
Element readElement(const Feature& feature, const std::string& name, const std::string& typeName) {
    Element element;
    element.name = name;
    element.description = qualifierText(feature, "Description");
    element.type = velmar_embedded::valueType(feature);
    readValues(feature, element, typeName);
    return element;
}

// The type and, where its values have names, the enumeration, whose name is unique in the scope;
// `scopeName` qualifies it for those outside.
void nameType(Element& element, const std::string& enumName, Scope& scope,
              const std::string& scopeName = "") {
    std::string type;
    if (element.type == CIMTYPE_REFERENCE) {
        type = "paths::" + classNameOf(element.referenceClass);
    } else if (!element.values.empty()) {
        element.enumName = scope.add(enumName);
        type = isInteger(element.type) ? "cim::Enumeration<" + scopeName + element.enumName + ">"
                                       : "Pegasus::String";
    } else {
        type = std::string("Pegasus::") + plainType(element.type);
    }
    element.cppType = element.isArray ? "std::vector<" + type + ">" : type;
}

// What a provider of the class can be based on.
void decideKind(ClassModel& model, bool isAssociation) {
    const auto references =
        std::count_if(model.properties.begin(), model.properties.end(),
                      [](const Element& element) { return element.type == CIMTYPE_REFERENCE; });
    const auto unfitKey =
        std::find_if(model.properties.begin(), model.properties.end(), [](const Element& element) {
            return element.isKey && (element.isArray || element.type == CIMTYPE_OBJECT ||
                                     element.type == CIMTYPE_INSTANCE);
        });
    if (model.isIndication) {
        model.kind = Kind::Alert;
    } else if (model.keys().empty()) {
        model.kind = Kind::None;
        model.reason = "it has no keys";
    } else if (unfitKey != model.properties.end()) {
        model.kind = Kind::None;
        model.reason = "its key " + unfitKey->name + " is " +
                       (unfitKey->isArray ? "an array" : "an embedded object") +
                       ", and a key is a single plain value";
    } else if (isAssociation && references == 2 && model.ends().size() == 2) {
        model.kind = Kind::Association;
    } else if (isAssociation) {
        model.reason = fmt::format(
            "association operations are not served: it has {} references, "
            "of which {} are keys, where two of two are needed",
            references, model.ends().size());
    }
}

}  // namespace

std::string ClassModel::refusal() const {
    return "class " + name + " cannot be served: " + reason +
           (keys().empty() ? "; qualify a property as Key" : "");
}

std::vector<const Element*> ClassModel::keys() const {
    std::vector<const Element*> result;
    for (const Element& property : properties) {
        if (property.isKey) {
            result.push_back(&property);
        }
    }
    return result;
}

std::vector<const Element*> ClassModel::ends() const {
    std::vector<const Element*> result;
    for (const Element& property : properties) {
        if (property.isKey && property.type == CIMTYPE_REFERENCE) {
            result.push_back(&property);
        }
    }
    return result;
}

Reader::Reader(const velmar_embedded::Repository& schema, const Options& options)
    : _schema(schema), _nameSpace(options.cimNamespace.c_str()) {}

bool Reader::has(const std::string& name) const {
    return CIMName::legal(String(name.c_str())) &&
           _schema.hasClass(_nameSpace, CIMName(name.c_str()));
}

std::vector<std::string> Reader::concreteSubclasses(const std::string& name) const {
    std::vector<std::string> result;
    const Array<CIMName> all = _schema.subclassNames(_nameSpace, CIMName(name.c_str()), true);
    for (Uint32 i = 0; i < all.size(); i++) {
        if (!isTrue(_schema.getClass(_nameSpace, all[i]), "Abstract")) {
            result.push_back(utf8(all[i]));
        }
    }
    return result;
}

bool Reader::enriches(const Options& options) const {
    return options.enrichment.value_or(has("QORP_LPAR_CS") && has("QORP_ComputerSystem"));
}

std::vector<std::string> Reader::lineage(const std::string& name) const {
    std::vector<std::string> result;
    const Array<CIMName> names = _schema.lineage(_nameSpace, CIMName(name.c_str()));
    for (Uint32 i = 0; i < names.size(); i++) {
        result.push_back(utf8(names[i]));
    }
    return result;
}

std::string Reader::suggestion(const std::string& name) const {
    // What the name has after its schema's prefix is what people remember.
    const std::string wanted = lowerCase(name.substr(name.find('_') + 1));
    const std::string prefix = lowerCase(name.substr(0, name.find('_') + 1));
    std::vector<std::string> like;
    std::vector<std::string> ofSamePrefix;
    const Array<CIMName> all = _schema.subclassNames(_nameSpace, CIMName(), true);
    for (Uint32 i = 0; i < all.size(); i++) {
        const std::string one = utf8(all[i]);
        const std::string tail = lowerCase(one.substr(one.find('_') + 1));
        if (tail.find(wanted) != std::string::npos || wanted.find(tail) != std::string::npos) {
            like.push_back(one);
        } else if (!prefix.empty() && lowerCase(one).compare(0, prefix.size(), prefix) == 0) {
            ofSamePrefix.push_back(one);
        }
    }
    std::string result = like.empty() ? "; there are " : "; like it: ";
    std::vector<std::string>& offered = like.empty() ? ofSamePrefix : like;
    std::sort(offered.begin(), offered.end());
    constexpr size_t MOST = 8;
    for (size_t i = 0; i < offered.size() && i < MOST; i++) {
        result += (i == 0 ? "" : ", ") + offered[i];
    }
    return offered.empty() ? "" : result + (offered.size() > MOST ? ", ..." : "");
}

std::string Reader::declared(const std::string& name) const {
    return has(name) ? lineage(name).front() : name;
}

Method Reader::readMethod(const CIMConstMethod& method, Scope& functions, Scope& types,
                          const std::string& className) const {
    Method result;
    result.name = utf8(method.getName());
    result.cppName = functions.add(result.name);
    result.description = qualifierText(method, "Description");
    result.isStatic = isTrue(method, "Static");
    result.result = readElement(method, result.name, result.name + "Result");
    nameType(result.result, result.name + "Result", types, className + "::");
    Scope names({"context", "self", result.cppName});
    for (Uint32 i = 0; i < method.getParameterCount(); i++) {
        const CIMConstParameter parameter = method.getParameter(i);
        const std::string name = utf8(parameter.getName());
        Element element = readElement(parameter, name, result.name + name + "Value");
        element.isArray = parameter.isArray();
        element.isIn = isTrue(parameter, "In", true);
        element.isOut = isTrue(parameter, "Out");
        element.isRequired = isTrue(parameter, "Required");
        if (element.type == CIMTYPE_REFERENCE) {
            element.referenceClass = declared(utf8(parameter.getReferenceClassName()));
        }
        element.cppName = names.add(element.name);
        nameType(element, result.name + element.name + "Value", types, className + "::");
        result.parameters.push_back(element);
    }
    return result;
}

ClassModel Reader::read(const std::string& name) const {
    if (!has(name)) {
        throw GeneratorError("class " + name + " is not in the schema" + suggestion(name));
    }
    const CIMClass cimClass = _schema.getClass(_nameSpace, CIMName(name.c_str()));
    ClassModel model;
    model.name = utf8(cimClass.getClassName());
    model.cppName = classNameOf(model.name);
    model.superclass = utf8(cimClass.getSuperClassName());
    model.description = qualifierText(cimClass, "Description");
    model.isAbstract = isTrue(cimClass, "Abstract");
    model.isIndication = isTrue(cimClass, "Indication");

    Scope members({model.cppName, "Keys", "Path", "Names", "keys", "path", "classPath", "className",
                   "instance", "from", "parameters", "take", "addTo", "members", "names",
                   "keyBindings"});
    for (Uint32 i = 0; i < cimClass.getPropertyCount(); i++) {
        const CIMConstProperty property = cimClass.getProperty(i);
        const std::string propertyName = utf8(property.getName());
        Element element = readElement(property, propertyName, propertyName + "Value");
        element.isArray = property.isArray();
        element.isKey = isTrue(property, "Key");
        element.isRequired = isTrue(property, "Required");
        element.origin = utf8(property.getClassOrigin());
        if (element.type == CIMTYPE_REFERENCE) {
            element.referenceClass = declared(utf8(property.getReferenceClassName()));
        }
        element.cppName = members.add(element.name);
        model.properties.push_back(element);
    }
    for (Element& property : model.properties) {
        nameType(property, property.name + "Value", members);
    }
    // What a client is told first is what the instance is.
    std::stable_partition(model.properties.begin(), model.properties.end(),
                          [](const Element& property) { return property.isKey; });
    Scope functions({"initialize",
                     "terminate",
                     "getInstance",
                     "enumerateInstances",
                     "enumerateInstanceNames",
                     "modifyInstance",
                     "createInstance",
                     "deleteInstance",
                     "fillProperties",
                     "callMethod",
                     "invokeMethod",
                     "associators",
                     "associatorNames",
                     "references",
                     "referenceNames",
                     "add",
                     "update",
                     "put",
                     "erase",
                     "find",
                     "all",
                     "refresh",
                     "mayLeaveOut",
                     "complete",
                     "raise",
                     "setRefreshes",
                     "Object",
                     "Typed",
                     model.cppName + "ProviderBase",
                     model.cppName + "Provider",
                     model.cppName});
    for (Uint32 i = 0; i < cimClass.getMethodCount(); i++) {
        model.methods.push_back(
            readMethod(cimClass.getMethod(i), functions, members, model.cppName));
    }
    decideKind(model, cimClass.isAssociation());
    return model;
}

}  // namespace velmar_generator
