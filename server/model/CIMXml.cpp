// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "model/CIMXml.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include "model/CIMReps.h"
#include "model/CIMText.h"
#include "model/CIMTypes.h"

namespace Pegasus {

namespace {

// What a text must write another way to be read back as it was; null for the rest. Blanks in an
// attribute would be read as spaces, a carriage return anywhere as a line feed; what XML has no
// form for at all becomes the replacement character.
const char* entityFor(Uint32 c, bool inAttribute) {
    switch (c) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\t':
            return inAttribute ? "&#9;" : nullptr;
        case '\n':
            return inAttribute ? "&#10;" : nullptr;
        case '\r':
            return "&#13;";
        case 0xFFFE:
        case 0xFFFF:
            return "\xEF\xBF\xBD";
        default:
            return c < 0x20 ? "\xEF\xBF\xBD" : nullptr;
    }
}

}  // namespace

void XmlWriter::escaped(const String& text, bool inAttribute) {
    const Char16* const units = text.getChar16Data();
    const Uint32 size = text.size();
    for (Uint32 i = 0; i < size;) {
        const Uint32 c = Uint16(units[i]);
        if (const char* const entity = entityFor(c, inAttribute)) {
            _out += entity;
            i++;
        } else if (c < 0x80) {
            // Most of most texts: added at once.
            const Uint32 start = i;
            while (i < size && Uint16(units[i]) < 0x80 &&
                   !entityFor(Uint16(units[i]), inAttribute)) {
                i++;
            }
            const size_t before = _out.size();
            _out.resize(before + (i - start));
            std::transform(units + start, units + i, &_out[before],
                           [](const Char16& each) { return char(Uint16(each)); });
        } else {
            const Uint32 start = i;
            while (i < size && Uint16(units[i]) >= 0x80 && Uint16(units[i]) < 0xFFFE) {
                i++;
            }
            _out += String(units + start, i - start).getCString();
        }
    }
}

void XmlWriter::attribute(const char* name, const String& value) {
    if (value.size() == 0) {
        return;
    }
    (_out += ' ').append(name).append("=\"");
    escaped(value, true);
    _out += '"';
}

void XmlWriter::element(const char* name, const String& contents) {
    ((_out += '<') += name) += '>';
    escaped(contents);
    end(name);
}

template <class T>
void XmlWriter::item(const T& x) {
    element("VALUE", textOf(x));
}

void XmlWriter::item(const CIMObjectPath& x) {
    raw("<VALUE.REFERENCE>");
    path(x);
    raw("</VALUE.REFERENCE>");
}

void XmlWriter::value(const CIMValue& value) {
    if (value.isNull()) {
        return;
    }
    withType(value.getType(), [&](auto type) {
        using T = typename decltype(type)::Type;
        if (!value.isArray()) {
            T x{};
            value.get(x);
            return item(x);
        }
        Array<T> items;
        value.get(items);
        const char* const tag =
            std::is_same_v<T, CIMObjectPath> ? "VALUE.REFARRAY>" : "VALUE.ARRAY>";
        (_out += '<') += tag;
        for (Uint32 i = 0; i < items.size(); i++) {
            item(items[i]);
        }
        _out.append("</").append(tag);
    });
}

// The begin of a property's or parameter's element: its name and the type of its values.
template <class Feature>
void XmlWriter::declaration(const char* tag, const Feature& feature, const CIMValue& typed) {
    (_out += '<') += tag;
    attribute("NAME", feature.getName().getString());
    if (typed.getType() == CIMTYPE_REFERENCE) {
        attribute("REFERENCECLASS", feature.getReferenceClassName().getString());
    } else {
        valueAttributes(typed, feature.getArraySize());
    }
}

void XmlWriter::flavors(const CIMFlavor& flavor) {
    attribute("OVERRIDABLE", flavor.hasFlavor(CIMFlavor::DISABLEOVERRIDE) ? "false" : "");
    attribute("TOSUBCLASS", flavor.hasFlavor(CIMFlavor::RESTRICTED) ? "false" : "");
    attribute("TOINSTANCE", flavor.hasFlavor(CIMFlavor::TOINSTANCE) ? "true" : "");
    attribute("TRANSLATABLE", flavor.hasFlavor(HandleAccess::translatable) ? "true" : "");
}

// Objects travel as text, with the kind beside the type.
void XmlWriter::valueAttributes(const CIMValue& value, Uint32 arraySize, const char* typeName) {
    const CIMType type = value.getType();
    const bool embedded = type == CIMTYPE_OBJECT || type == CIMTYPE_INSTANCE;
    attribute(typeName, embedded ? "string" : cimTypeToString(type));
    if (embedded) {
        attribute("EmbeddedObject", cimTypeToString(type));
    }
    if (arraySize != 0) {
        attribute("ARRAYSIZE", CIMValue(arraySize).toString());
    }
}

void XmlWriter::qualifiers(const NamedList<CIMQualifier>& list) {
    for (const CIMQualifier& qualifier : list) {
        raw("<QUALIFIER");
        attribute("NAME", qualifier.getName().getString());
        valueAttributes(qualifier.getValue(), 0);
        flavors(qualifier.getFlavor());
        raw(">");
        value(qualifier.getValue());
        raw("</QUALIFIER>");
    }
}

void XmlWriter::property(const CIMProperty& property) {
    const bool reference = property.getType() == CIMTYPE_REFERENCE;
    const char* const tag = property.isArray() ? "PROPERTY.ARRAY"
                            : reference        ? "PROPERTY.REFERENCE"
                                               : "PROPERTY";
    declaration(tag, property, property.getValue());
    attribute("CLASSORIGIN", property.getClassOrigin().getString());
    attribute("PROPAGATED", property.getPropagated() ? "true" : "");
    raw(">");
    qualifiers(HandleAccess::rep(property)->qualifiers);
    value(property.getValue());
    end(tag);
}

void XmlWriter::parameter(const CIMParameter& parameter) {
    const bool reference = parameter.getType() == CIMTYPE_REFERENCE;
    const char* const tag = reference && parameter.isArray() ? "PARAMETER.REFARRAY"
                            : reference                      ? "PARAMETER.REFERENCE"
                            : parameter.isArray()            ? "PARAMETER.ARRAY"
                                                             : "PARAMETER";
    declaration(tag, parameter, CIMValue(parameter.getType(), parameter.isArray()));
    raw(">");
    qualifiers(HandleAccess::rep(parameter)->qualifiers);
    end(tag);
}

void XmlWriter::method(const CIMMethod& method) {
    raw("<METHOD");
    attribute("NAME", method.getName().getString());
    attribute("TYPE", cimTypeToString(method.getType()));
    attribute("CLASSORIGIN", method.getClassOrigin().getString());
    attribute("PROPAGATED", method.getPropagated() ? "true" : "");
    raw(">");
    qualifiers(HandleAccess::rep(method)->qualifiers);
    for (const CIMParameter& declared : HandleAccess::rep(method)->parameters) {
        parameter(declared);
    }
    raw("</METHOD>");
}

void XmlWriter::keyValue(const CIMKeyBinding& key) {
    if (key.getType() == CIMKeyBinding::REFERENCE) {
        item(CIMObjectPath(key.getValue()));
        return;
    }
    raw("<KEYVALUE");
    attribute("VALUETYPE", key.getType() == CIMKeyBinding::BOOLEAN   ? "boolean"
                           : key.getType() == CIMKeyBinding::NUMERIC ? "numeric"
                                                                     : "string");
    raw(">");
    escaped(key.getValue());
    raw("</KEYVALUE>");
}

// INSTANCENAME, or CLASSNAME for a path without keys.
void XmlWriter::name(const CIMObjectPath& path, bool isInstance) {
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    if (!isInstance) {
        raw("<CLASSNAME");
        attribute("NAME", path.getClassName().getString());
        raw("/>");
        return;
    }
    raw("<INSTANCENAME");
    attribute("CLASSNAME", path.getClassName().getString());
    raw(">");
    for (Uint32 i = 0; i < keys.size(); i++) {
        if (keys[i].getName().isNull()) {  // the only key of a class may come without its name
            keyValue(keys[i]);
            continue;
        }
        raw("<KEYBINDING");
        attribute("NAME", keys[i].getName().getString());
        raw(">");
        keyValue(keys[i]);
        raw("</KEYBINDING>");
    }
    raw("</INSTANCENAME>");
}

void XmlWriter::nameSpace(const CIMNamespaceName& nameSpace) {
    raw("<LOCALNAMESPACEPATH>");
    const String& text = nameSpace.getString();
    for (Uint32 start = 0; start <= text.size();) {
        Uint32 slash = text.find(start, Char16('/'));
        if (slash == PEG_NOT_FOUND) {
            slash = text.size();
        }
        raw("<NAMESPACE");
        attribute("NAME", text.subString(start, slash - start));
        raw("/>");
        start = slash + 1;
    }
    raw("</LOCALNAMESPACEPATH>");
}

void XmlWriter::path(const CIMObjectPath& path) {
    if (path.getNameSpace().isNull()) {
        name(path);
        return;
    }
    const bool full = path.getHost().size() != 0;
    const char* kind = path.getKeyBindings().size() != 0 ? "INSTANCEPATH>" : "CLASSPATH>";
    _out.append(full ? "<" : "<LOCAL").append(kind);
    if (full) {
        raw("<NAMESPACEPATH>");
        element("HOST", path.getHost());
    }
    nameSpace(path.getNameSpace());
    if (full) {
        raw("</NAMESPACEPATH>");
    }
    name(path);
    _out.append(full ? "</" : "</LOCAL").append(kind);
}

void XmlWriter::object(const ObjectRep& object) {
    raw(object.isClass ? "<CLASS" : "<INSTANCE");
    attribute(object.isClass ? "NAME" : "CLASSNAME", object.path.getClassName().getString());
    attribute("SUPERCLASS", object.superClassName.getString());
    raw(">");
    qualifiers(object.qualifiers);
    for (const CIMProperty& each : object.properties) {
        property(each);
    }
    for (const CIMMethod& each : object.methods) {
        method(each);
    }
    raw(object.isClass ? "</CLASS>" : "</INSTANCE>");
}

String objectXml(const ObjectRep& object) {
    XmlWriter writer;
    writer.object(object);
    const std::string text = writer.take();
    return String(text.data(), Uint32(text.size()));
}

}  // namespace Pegasus
