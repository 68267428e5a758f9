// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "model/CIMXml.h"

#include <type_traits>
#include <utility>

#include "model/CIMReps.h"
#include "model/CIMText.h"
#include "model/CIMTypes.h"

namespace Pegasus {

namespace {

class Writer {
 public:
    void raw(const String& text) { _out.append(text); }
    void escaped(const String& text);
    /// ` name="value"`, left out for an empty value.
    void attribute(const char* name, const String& value);
    void element(const char* name, const String& contents);

    void value(const CIMValue& value);
    void valueAttributes(const CIMValue& value, Uint32 arraySize);
    void qualifiers(const NamedList<CIMQualifier>& list);
    void property(const CIMProperty& property);
    void parameter(const CIMParameter& parameter);
    void method(const CIMMethod& method);
    void path(const CIMObjectPath& path);
    void object(const ObjectRep& object);

    String take() { return std::move(_out); }

 private:
    void name(const CIMObjectPath& path);
    void keyValue(const CIMKeyBinding& key);
    template <class Feature>
    void declaration(const char* tag, const Feature& feature, const CIMValue& typed);
    void end(const char* tag) { _out.append("</").append(tag).append(Char16('>')); }
    void item(const CIMObjectPath& x);
    template <class T>
    void item(const T& x) {
        element("VALUE", textOf(x));
    }

    String _out;
};

void Writer::escaped(const String& text) {
    const Char16* data = text.getChar16Data();
    Uint32 done = 0;
    const Uint32 size = text.size();
    for (Uint32 i = 0; i < size; i++) {
        const char* entity = data[i] == '&'   ? "&amp;"
                             : data[i] == '<' ? "&lt;"
                             : data[i] == '>' ? "&gt;"
                             : data[i] == '"' ? "&quot;"
                                              : nullptr;
        if (!entity) {
            continue;
        }
        _out.append(data + done, i - done).append(entity);
        done = i + 1;
    }
    _out.append(data + done, size - done);
}

void Writer::attribute(const char* name, const String& value) {
    if (value.size() == 0) {
        return;
    }
    _out.append(Char16(' ')).append(name).append("=\"");
    escaped(value);
    _out.append(Char16('"'));
}

void Writer::element(const char* name, const String& contents) {
    _out.append(Char16('<')).append(name).append(Char16('>'));
    escaped(contents);
    end(name);
}

void Writer::item(const CIMObjectPath& x) {
    raw("<VALUE.REFERENCE>");
    path(x);
    raw("</VALUE.REFERENCE>");
}

void Writer::value(const CIMValue& value) {
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
        _out.append(Char16('<')).append(tag);
        for (Uint32 i = 0; i < items.size(); i++) {
            item(items[i]);
        }
        _out.append("</").append(tag);
    });
}

// The begin of a property's or parameter's element: its name and the type of its values.
template <class Feature>
void Writer::declaration(const char* tag, const Feature& feature, const CIMValue& typed) {
    _out.append(Char16('<')).append(tag);
    attribute("NAME", feature.getName().getString());
    if (typed.getType() == CIMTYPE_REFERENCE) {
        attribute("REFERENCECLASS", feature.getReferenceClassName().getString());
    } else {
        valueAttributes(typed, feature.getArraySize());
    }
}

// Objects travel as text, with the kind beside the type.
void Writer::valueAttributes(const CIMValue& value, Uint32 arraySize) {
    const CIMType type = value.getType();
    const bool embedded = type == CIMTYPE_OBJECT || type == CIMTYPE_INSTANCE;
    attribute("TYPE", embedded ? "string" : cimTypeToString(type));
    if (embedded) {
        attribute("EmbeddedObject", cimTypeToString(type));
    }
    if (arraySize != 0) {
        attribute("ARRAYSIZE", CIMValue(arraySize).toString());
    }
}

void Writer::qualifiers(const NamedList<CIMQualifier>& list) {
    for (const CIMQualifier& qualifier : list) {
        raw("<QUALIFIER");
        attribute("NAME", qualifier.getName().getString());
        valueAttributes(qualifier.getValue(), 0);
        raw(">");
        value(qualifier.getValue());
        raw("</QUALIFIER>");
    }
}

void Writer::property(const CIMProperty& property) {
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

void Writer::parameter(const CIMParameter& parameter) {
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

void Writer::method(const CIMMethod& method) {
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

void Writer::keyValue(const CIMKeyBinding& key) {
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
void Writer::name(const CIMObjectPath& path) {
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    if (keys.size() == 0) {
        raw("<CLASSNAME");
        attribute("NAME", path.getClassName().getString());
        raw("/>");
        return;
    }
    raw("<INSTANCENAME");
    attribute("CLASSNAME", path.getClassName().getString());
    raw(">");
    for (Uint32 i = 0; i < keys.size(); i++) {
        raw("<KEYBINDING");
        attribute("NAME", keys[i].getName().getString());
        raw(">");
        keyValue(keys[i]);
        raw("</KEYBINDING>");
    }
    raw("</INSTANCENAME>");
}

void Writer::path(const CIMObjectPath& path) {
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
    raw("<LOCALNAMESPACEPATH>");
    const String& text = path.getNameSpace().getString();
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
    if (full) {
        raw("</NAMESPACEPATH>");
    }
    name(path);
    _out.append(full ? "</" : "</LOCAL").append(kind);
}

void Writer::object(const ObjectRep& object) {
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

}  // namespace

String objectXml(const ObjectRep& object) {
    Writer writer;
    writer.object(object);
    return writer.take();
}

}  // namespace Pegasus
