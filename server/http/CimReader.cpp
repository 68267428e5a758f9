// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Names, paths and values.
#include "CimReader.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>

#include "CimReaderParts.h"
#include "model/CIMText.h"
#include "model/CIMTypes.h"

using namespace Pegasus;

namespace velmar_wire {

namespace {

// The forms of paths: what says where, and what says which.
const struct PathForm {
    const char* tag;
    const char* place;
    const char* name;
} pathForms[] = {{"CLASSNAME", nullptr, nullptr},
                 {"INSTANCENAME", nullptr, nullptr},
                 {"LOCALCLASSPATH", "LOCALNAMESPACEPATH", "CLASSNAME"},
                 {"LOCALINSTANCEPATH", "LOCALNAMESPACEPATH", "INSTANCENAME"},
                 {"CLASSPATH", "NAMESPACEPATH", "CLASSNAME"},
                 {"INSTANCEPATH", "NAMESPACEPATH", "INSTANCENAME"}};

const PathForm* formOf(pugi::xml_node element) {
    const auto* const found =
        std::find_if(std::begin(pathForms), std::end(pathForms),
                     [&](const PathForm& form) { return is(element, form.tag); });
    return found == std::end(pathForms) ? nullptr : found;
}

void expect(pugi::xml_node element, pugi::xml_node parent, const char* tag) {
    if (!is(element, tag)) {
        invalid(element ? element : parent, std::string("Expected ") + tag + " in " +
                                                parent.name() + ", got " +
                                                (element ? element.name() : "none"));
    }
}

CIMKeyBinding keyOf(pugi::xml_node value, const CIMName& name) {
    if (is(value, "VALUE.REFERENCE")) {
        return CIMKeyBinding(name, pathOf(value).toString(), CIMKeyBinding::REFERENCE);
    }
    if (!is(value, "KEYVALUE")) {
        invalid(value, std::string("Expected KEYVALUE or VALUE.REFERENCE, got ") + value.name());
    }
    const String text = stringOf(textIn(value));
    const std::string type = value.attribute("VALUETYPE").as_string("string");
    if (type == "string") {
        return CIMKeyBinding(name, text, CIMKeyBinding::STRING);
    }
    if (type == "numeric") {
        return CIMKeyBinding(name, text, CIMKeyBinding::NUMERIC);
    }
    if (type != "boolean") {
        meaningless(value, "Illegal value for KEYVALUE.VALUETYPE attribute");
    }
    const auto truth = parsed<Boolean>(text);
    if (!truth) {
        meaningless(value, "Invalid boolean key value");
    }
    return CIMKeyBinding(name, Pegasus::textOf(*truth), CIMKeyBinding::BOOLEAN);
}

CIMObjectPath instanceNameOf(pugi::xml_node element) {
    Array<CIMKeyBinding> keys;
    for (auto child = firstElement(element); child; child = nextElement(child)) {
        // A class with one key may leave out its name.
        keys.append(is(child, "KEYBINDING") ? keyOf(onlyElement(child), nameOf(child))
                                            : keyOf(child, CIMName()));
    }
    return CIMObjectPath(String(), CIMNamespaceName(), nameOf(element, "CLASSNAME"), keys);
}

template <class T>
T itemOf(pugi::xml_node element) {
    if constexpr (std::is_same_v<T, CIMObjectPath>) {
        expect(element, element.parent(), "VALUE.REFERENCE");
        return pathOf(element);
    } else {
        expect(element, element.parent(), "VALUE");
        const std::string text = textIn(element);
        if constexpr (isObjectType<T>) {
            return T(embeddedObjectOf(element, text));
        } else {
            // A real's sign and digits, as DSP0201 writes them; words for other values are refused.
            const bool real = std::is_floating_point_v<T>;
            const auto value = parsed<T>(stringOf(real && text[0] == '+' ? text.substr(1) : text));
            if (!value || (real && text.find_first_not_of("+-.0123456789eE") != text.npos)) {
                meaningless(element, std::string("Invalid ") + cimTypeToString(cimTypeOf<T>) +
                                         " value: " + text.substr(0, 100));
            }
            return *value;
        }
    }
}

}  // namespace

String stringOf(const std::string& text) { return String(text.data(), Uint32(text.size())); }

String attributeOf(pugi::xml_node element, const char* attribute) {
    const pugi::xml_attribute found = element.attribute(attribute);
    if (!found) {
        invalid(element, std::string("Missing ") + element.name() + "." + attribute + " attribute");
    }
    return stringOf(found.value());
}

CIMName nameOf(pugi::xml_node element, const char* attribute) {
    const String name = attributeOf(element, attribute);
    if (!CIMName::legal(name)) {
        meaningless(element, std::string("Illegal value for ") + element.name() + "." + attribute +
                                 " attribute");
    }
    return CIMName(name);
}

CIMNamespaceName nameSpaceOf(pugi::xml_node element) {
    String whole;
    for (auto part = firstElement(element); part; part = nextElement(part)) {
        expect(part, element, "NAMESPACE");
        if (whole.size() > 0) {
            whole.append(Char16('/'));
        }
        whole.append(nameOf(part).getString());
    }
    if (whole.size() == 0) {
        invalid(element, "Expected NAMESPACE in LOCALNAMESPACEPATH, got none");
    }
    return CIMNamespaceName(whole);
}

bool isPath(pugi::xml_node element) { return formOf(element) || is(element, "OBJECTPATH"); }

CIMObjectPath pathOf(pugi::xml_node element) {
    if (is(element, "OBJECTPATH") || is(element, "VALUE.REFERENCE")) {
        return pathOf(onlyElement(element));
    }
    const PathForm* const form = formOf(element);
    if (!form) {
        invalid(element,
                std::string("Expected a path, got ") + (element ? element.name() : "no element"));
    }
    if (!form->place) {
        return is(element, "INSTANCENAME")
                   ? instanceNameOf(element)
                   : CIMObjectPath(String(), CIMNamespaceName(), nameOf(element));
    }
    const pugi::xml_node place = firstElement(element);
    const pugi::xml_node name = nextElement(place);
    expect(place, element, form->place);
    expect(name, element, form->name);
    CIMObjectPath path = pathOf(name);
    if (is(place, "LOCALNAMESPACEPATH")) {
        path.setNameSpace(nameSpaceOf(place));
        return path;
    }
    const pugi::xml_node host = firstElement(place);
    const pugi::xml_node nameSpace = nextElement(host);
    expect(host, place, "HOST");
    expect(nameSpace, place, "LOCALNAMESPACEPATH");
    path.setNameSpace(nameSpaceOf(nameSpace));
    path.setHost(stringOf(textIn(host)));
    return path;
}

CIMValue valueIn(pugi::xml_node parent, CIMType type, bool isArray) {
    pugi::xml_node element = firstElement(parent);
    while (element && (is(element, "QUALIFIER") || is(element, "SCOPE"))) {
        element = nextElement(element);
    }
    if (!element) {
        return CIMValue(type, isArray);
    }
    if (const pugi::xml_node more = nextElement(element)) {
        invalid(more, std::string("Expected one value in ") + parent.name());
    }
    return withType(type, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        if (!isArray) {
            return CIMValue(itemOf<T>(element));
        }
        expect(element, parent,
               std::is_same_v<T, CIMObjectPath> ? "VALUE.REFARRAY" : "VALUE.ARRAY");
        Array<T> items;
        // The object model has no null among the elements of an array.
        constexpr bool hasDefault =
            std::is_arithmetic_v<T> || std::is_same_v<T, String> || std::is_same_v<T, CIMDateTime>;
        for (auto item = firstElement(element); item; item = nextElement(item)) {
            items.append(hasDefault && is(item, "VALUE.NULL") ? T() : itemOf<T>(item));
        }
        return CIMValue(items);
    });
}

bool booleanOf(pugi::xml_node element) { return itemOf<Boolean>(element); }

CIMPropertyList propertyListOf(pugi::xml_node element) {
    expect(element, element.parent(), "VALUE.ARRAY");
    Array<CIMName> names;
    for (auto item = firstElement(element); item; item = nextElement(item)) {
        const String name = itemOf<String>(item);
        if (!CIMName::legal(name)) {
            meaningless(item, "Illegal property name in a list");
        }
        names.append(CIMName(name));
    }
    return CIMPropertyList(names);
}

}  // namespace velmar_wire
