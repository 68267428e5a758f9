// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Qualifiers, properties, methods, parameters; instances and classes.
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>

#include <algorithm>
#include <cctype>
#include <map>

#include "CimReader.h"
#include "CimReaderParts.h"
#include "model/CIMReps.h"
#include "model/CIMText.h"

using namespace Pegasus;

namespace velmar_wire {

namespace {

// An attribute that says true or false.
bool truth(pugi::xml_node element, const char* attribute, bool unsaid) {
    const pugi::xml_attribute found = element.attribute(attribute);
    if (!found) {
        return unsaid;
    }
    const auto value = parsed<Boolean>(stringOf(found.value()));
    if (!value) {
        meaningless(element, std::string("Illegal value for ") + element.name() + "." + attribute +
                                 " attribute");
    }
    return *value;
}

Uint32 arraySizeOf(pugi::xml_node element) {
    const pugi::xml_attribute found = element.attribute("ARRAYSIZE");
    if (!found) {
        return 0;
    }
    const auto size = parsed<Uint32>(stringOf(found.value()));
    if (!size) {
        meaningless(element, "Illegal value for ARRAYSIZE attribute");
    }
    return *size;
}

// The type that an attribute names. Objects travel as strings with another attribute beside.
CIMType typeOf(pugi::xml_node element, const char* attribute) {
    static const std::map<String, CIMType> types = [] {
        std::map<String, CIMType> all;
        for (int type = CIMTYPE_BOOLEAN; type <= CIMTYPE_REFERENCE; type++) {
            all[cimTypeToString(CIMType(type))] = CIMType(type);
        }
        return all;
    }();
    const auto found = types.find(attributeOf(element, attribute));
    if (found == types.end()) {
        meaningless(element, std::string("Illegal value for ") + element.name() + "." + attribute +
                                 " attribute");
    }
    pugi::xml_attribute embedded = element.attribute("EmbeddedObject");
    if (!embedded) {
        embedded = element.attribute("EMBEDDEDOBJECT");
    }
    if (!embedded) {
        return found->second;
    }
    const std::string kind = embedded.value();
    if (found->second != CIMTYPE_STRING || (kind != "object" && kind != "instance")) {
        meaningless(element, "Illegal value for EmbeddedObject attribute");
    }
    return kind == "object" ? CIMTYPE_OBJECT : CIMTYPE_INSTANCE;
}

CIMName optionalNameOf(pugi::xml_node element, const char* attribute) {
    return element.attribute(attribute) ? nameOf(element, attribute) : CIMName();
}

// Where nothing is said, `unsaid`.
CIMFlavor flavorOf(pugi::xml_node element, const CIMFlavor& unsaid) {
    static const char* const attributes[] = {"OVERRIDABLE", "TOSUBCLASS", "TOINSTANCE",
                                             "TRANSLATABLE"};
    bool said = false;
    for (const char* const attribute : attributes) {
        said = said || element.attribute(attribute);
    }
    if (!said) {
        return unsaid;
    }
    CIMFlavor flavor =
        truth(element, "OVERRIDABLE", true) ? CIMFlavor::OVERRIDABLE : CIMFlavor::DISABLEOVERRIDE;
    flavor.addFlavor(truth(element, "TOSUBCLASS", true) ? CIMFlavor::TOSUBCLASS
                                                        : CIMFlavor::RESTRICTED);
    if (truth(element, "TOINSTANCE", false)) {
        flavor.addFlavor(CIMFlavor::TOINSTANCE);
    }
    if (truth(element, "TRANSLATABLE", false)) {
        flavor.addFlavor(HandleAccess::translatable);
    }
    return flavor;
}

bool holdsArray(pugi::xml_node element) {
    for (auto child = firstElement(element); child; child = nextElement(child)) {
        if (is(child, "VALUE.ARRAY") || is(child, "VALUE.REFARRAY")) {
            return true;
        }
    }
    return false;
}

CIMQualifier qualifierOf(pugi::xml_node element) {
    const CIMType type = typeOf(element, "TYPE");
    return CIMQualifier(nameOf(element), valueIn(element, type, holdsArray(element)),
                        flavorOf(element, CIMFlavor(CIMFlavor::NONE)),
                        truth(element, "PROPAGATED", false));
}

// Adds the qualifiers at the start of an element; returns what follows them.
template <class Feature>
pugi::xml_node readQualifiers(pugi::xml_node parent, Feature& feature) {
    pugi::xml_node element = firstElement(parent);
    for (; is(element, "QUALIFIER"); element = nextElement(element)) {
        feature.addQualifier(qualifierOf(element));
    }
    return element;
}

bool isProperty(pugi::xml_node element) {
    return is(element, "PROPERTY") || is(element, "PROPERTY.ARRAY") ||
           is(element, "PROPERTY.REFERENCE");
}

CIMProperty propertyOf(pugi::xml_node element) {
    const bool isArray = is(element, "PROPERTY.ARRAY");
    const bool isReference = is(element, "PROPERTY.REFERENCE");
    const CIMType type = isReference ? CIMTYPE_REFERENCE : typeOf(element, "TYPE");
    if (type == CIMTYPE_REFERENCE && !isReference) {
        meaningless(element,
                    std::string("Illegal value for ") + element.name() + ".TYPE attribute");
    }
    const Uint32 arraySize = isArray ? arraySizeOf(element) : 0;
    CIMValue value = valueIn(element, type, isArray);
    if (value.isNull() && arraySize != 0) {
        value = CIMValue(type, true, arraySize);
    }
    CIMProperty property(
        nameOf(element), value, arraySize, optionalNameOf(element, "REFERENCECLASS"),
        optionalNameOf(element, "CLASSORIGIN"), truth(element, "PROPAGATED", false));
    readQualifiers(element, property);
    return property;
}

// The elements of parameters: what their tags say about the type.
const struct ParameterForm {
    const char* tag;
    bool isReference;
    bool isArray;
} parameterForms[] = {{"PARAMETER", false, false},
                      {"PARAMETER.ARRAY", false, true},
                      {"PARAMETER.REFERENCE", true, false},
                      {"PARAMETER.REFARRAY", true, true}};

CIMParameter declaredParameterOf(pugi::xml_node element) {
    for (const ParameterForm& form : parameterForms) {
        if (is(element, form.tag)) {
            CIMParameter parameter(
                nameOf(element), form.isReference ? CIMTYPE_REFERENCE : typeOf(element, "TYPE"),
                form.isArray, form.isArray ? arraySizeOf(element) : 0,
                form.isReference ? optionalNameOf(element, "REFERENCECLASS") : CIMName());
            if (const auto more = readQualifiers(element, parameter)) {
                invalid(more, std::string("Expected only QUALIFIER in ") + element.name());
            }
            return parameter;
        }
    }
    invalid(element, std::string("Expected a parameter, got ") + element.name());
}

CIMMethod declaredMethod(pugi::xml_node element) {
    CIMMethod method(nameOf(element), typeOf(element, "TYPE"),
                     optionalNameOf(element, "CLASSORIGIN"), truth(element, "PROPAGATED", false));
    for (auto child = readQualifiers(element, method); child; child = nextElement(child)) {
        method.addParameter(declaredParameterOf(child));
    }
    return method;
}

// Objects in objects: each level is a document of its own, which its depth does not limit.
class Nesting {
 public:
    explicit Nesting(pugi::xml_node at) {
        if (++_depth > 16) {
            _depth--;
            invalid(at, "Embedded objects are nested too deeply");
        }
    }
    ~Nesting() { _depth--; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

 private:
    static thread_local int _depth;
};
thread_local int Nesting::_depth = 0;

}  // namespace

CIMObject embeddedObjectOf(pugi::xml_node value, const std::string& text) {
    const Nesting nesting(value);
    try {
        const Document document(text);
        const pugi::xml_node root = document.root();
        return is(root, "CLASS") ? CIMObject(classOf(root)) : CIMObject(instanceOf(root));
    } catch (const MessageFault& fault) {
        throw MessageFault(fault.defect, fault.what(), value.offset_debug());
    }
}

CIMInstance instanceOf(pugi::xml_node element) {
    if (!is(element, "INSTANCE")) {
        invalid(element, std::string("Expected INSTANCE, got ") + element.name());
    }
    CIMInstance instance(nameOf(element, "CLASSNAME"));
    auto child = readQualifiers(element, instance);
    for (; isProperty(child); child = nextElement(child)) {
        instance.addProperty(propertyOf(child));
    }
    if (child) {
        invalid(child, std::string("Expected a property in INSTANCE, got ") + child.name());
    }
    return instance;
}

CIMClass classOf(pugi::xml_node element) {
    if (!is(element, "CLASS")) {
        invalid(element, std::string("Expected CLASS, got ") + element.name());
    }
    CIMClass cimClass(nameOf(element), optionalNameOf(element, "SUPERCLASS"));
    auto child = readQualifiers(element, cimClass);
    for (; isProperty(child); child = nextElement(child)) {
        cimClass.addProperty(propertyOf(child));
    }
    for (; is(child, "METHOD"); child = nextElement(child)) {
        cimClass.addMethod(declaredMethod(child));
    }
    if (child) {
        invalid(child, std::string("Expected a property or method in CLASS, got ") + child.name());
    }
    return cimClass;
}

std::string scopeAttribute(unsigned scope) {
    std::string name = velmar_embedded::qualifierScopeNames[scope];
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return char(std::toupper(c)); });
    return name;
}

velmar_embedded::QualifierDeclaration qualifierDeclarationOf(pugi::xml_node element) {
    using namespace velmar_embedded;
    if (!is(element, "QUALIFIER.DECLARATION")) {
        invalid(element, std::string("Expected QUALIFIER.DECLARATION, got ") + element.name());
    }
    QualifierDeclaration declared;
    declared.name = nameOf(element);
    declared.flavor = flavorOf(element, CIMFlavor(CIMFlavor::DEFAULTS));
    declared.defaultValue = valueIn(element, typeOf(element, "TYPE"),
                                    truth(element, "ISARRAY", false) || holdsArray(element));
    const pugi::xml_node scope = element.child("SCOPE");
    for (unsigned i = 0; scope && i < qualifierScopeCount; i++) {
        declared.scopes.set(i, truth(scope, scopeAttribute(i).c_str(), false));
    }
    return declared;
}

CIMParamValue parameterOf(pugi::xml_node element) {
    const String name = attributeOf(element, "NAME");
    if (name.size() == 0) {
        meaningless(element, "Illegal value for PARAMVALUE.NAME attribute");
    }
    const pugi::xml_node value = firstElement(element);
    const bool isReference = is(value, "VALUE.REFERENCE") || is(value, "VALUE.REFARRAY");
    const bool isTyped = isReference || element.attribute("PARAMTYPE");
    const CIMType type = isReference ? CIMTYPE_REFERENCE
                         : isTyped   ? typeOf(element, "PARAMTYPE")
                                     : CIMTYPE_STRING;
    return CIMParamValue(name, valueIn(element, type, holdsArray(element)), isTyped);
}

CIMValue returnValueOf(pugi::xml_node element) {
    const CIMType type = is(firstElement(element), "VALUE.REFERENCE") ? CIMTYPE_REFERENCE
                         : element.attribute("PARAMTYPE")             ? typeOf(element, "PARAMTYPE")
                                                                      : CIMTYPE_STRING;
    return valueIn(element, type, holdsArray(element));
}

CIMObject objectOf(pugi::xml_node element) {
    pugi::xml_node object = firstElement(element);
    CIMObjectPath path;
    const bool isPlaced = isPath(object);
    if (isPlaced) {
        path = pathOf(object);
        object = nextElement(object);
    }
    if (!object || nextElement(object)) {
        invalid(element, std::string("Expected one object in ") + element.name());
    }
    CIMObject result =
        is(object, "CLASS") ? CIMObject(classOf(object)) : CIMObject(instanceOf(object));
    if (isPlaced) {
        result.setPath(path);
    }
    return result;
}

}  // namespace velmar_wire
