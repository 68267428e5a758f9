// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "schema/MofWriter.h"

#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMQualifier.h>

#include "model/Text.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

std::string quoted(const std::string& text, char quote = '"') {
    static const char hexadecimal[] = "0123456789ABCDEF";
    std::string result(1, quote);
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (c == quote || c == '\\') {
            result += '\\';
            result += c;
        } else if (c == '\n') {
            result += "\\n";
        } else if (code < 0x20) {
            result += std::string("\\x") + "00" + hexadecimal[code >> 4] + hexadecimal[code & 15];
        } else {
            result += c;
        }
    }
    return result + quote;
}

template <class T>
std::string one(const T& element) {
    if constexpr (std::is_same_v<T, CIMObject>) {
        return quoted(element.isClass() ? mofOf(CIMClass(element)) : mofOf(CIMInstance(element)));
    } else if constexpr (std::is_same_v<T, CIMInstance>) {
        return quoted(mofOf(element));
    } else {
        const CIMValue value(element);
        const std::string text = utf8(value.toString());
        switch (value.getType()) {
            case CIMTYPE_CHAR16:
                return quoted(text, '\'');
            case CIMTYPE_STRING:
            case CIMTYPE_DATETIME:
            case CIMTYPE_REFERENCE:
                return quoted(text);
            default:
                return text;
        }
    }
}

template <class T>
std::string written(const CIMValue& value) {
    if (!value.isArray()) {
        T element{};
        value.get(element);
        return one(element);
    }
    Array<T> elements;
    value.get(elements);
    std::string text;
    for (Uint32 i = 0; i < elements.size(); i++) {
        text += (i == 0 ? "" : ", ") + one(T(elements[i]));
    }
    return "{" + text + "}";
}

template <class Feature>
std::string qualifiers(const Feature& feature, const std::string& indentation) {
    std::string text;
    for (Uint32 i = 0; i < feature.getQualifierCount(); i++) {
        const CIMConstQualifier qualifier = feature.getQualifier(i);
        const CIMValue& value = qualifier.getValue();
        text += (i == 0 ? "" : ", ") + utf8(qualifier.getName());
        if (value.isArray() && !value.isNull()) {
            text += mofOf(value);
        } else if (value.getType() != CIMTYPE_BOOLEAN || mofOf(value) != "TRUE") {
            text += "(" + mofOf(value) + ")";
        }
    }
    return text.empty() ? "" : indentation + "[" + text + "]\n";
}

std::string methodMof(const CIMConstMethod& method) {
    std::string text = qualifiers(method, "    ") + "    " + cimTypeToString(method.getType()) +
                       " " + utf8(method.getName()) + "(";
    for (Uint32 i = 0; i < method.getParameterCount(); i++) {
        const CIMConstParameter parameter = method.getParameter(i);
        text += (i == 0 ? "\n" : ",\n") + qualifiers(parameter, "        ") + "        " +
                declaratorOf(parameter);
    }
    return text + ");\n";
}

}  // namespace

template <class Feature>
std::string declaratorOf(const Feature& feature) {
    const std::string type = feature.getType() == CIMTYPE_REFERENCE
                                 ? utf8(feature.getReferenceClassName()) + " REF"
                                 : std::string(cimTypeToString(feature.getType()));
    const Uint32 size = feature.getArraySize();
    return type + " " + utf8(feature.getName()) +
           (!feature.isArray() ? ""
            : size == 0        ? "[]"
                               : "[" + std::to_string(size) + "]");
}
template std::string declaratorOf(const CIMConstProperty& feature);
template std::string declaratorOf(const CIMConstParameter& feature);

std::string mofOf(const CIMValue& value) {
    if (value.isNull()) {
        return "NULL";
    }
    switch (value.getType()) {
        case CIMTYPE_BOOLEAN:
            return written<Boolean>(value);
        case CIMTYPE_UINT8:
            return written<Uint8>(value);
        case CIMTYPE_SINT8:
            return written<Sint8>(value);
        case CIMTYPE_UINT16:
            return written<Uint16>(value);
        case CIMTYPE_SINT16:
            return written<Sint16>(value);
        case CIMTYPE_UINT32:
            return written<Uint32>(value);
        case CIMTYPE_SINT32:
            return written<Sint32>(value);
        case CIMTYPE_UINT64:
            return written<Uint64>(value);
        case CIMTYPE_SINT64:
            return written<Sint64>(value);
        case CIMTYPE_REAL32:
            return written<Real32>(value);
        case CIMTYPE_REAL64:
            return written<Real64>(value);
        case CIMTYPE_CHAR16:
            return written<Char16>(value);
        case CIMTYPE_STRING:
            return written<String>(value);
        case CIMTYPE_DATETIME:
            return written<CIMDateTime>(value);
        case CIMTYPE_REFERENCE:
            return written<CIMObjectPath>(value);
        case CIMTYPE_OBJECT:
            return written<CIMObject>(value);
        case CIMTYPE_INSTANCE:
            return written<CIMInstance>(value);
    }
    return "NULL";
}

std::string mofOf(const CIMInstance& instance) {
    std::string text = "instance of " + utf8(instance.getClassName()) + " {\n";
    for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
        const CIMConstProperty property = instance.getProperty(i);
        text += "    " + utf8(property.getName()) + " = " + mofOf(property.getValue()) + ";\n";
    }
    return text + "};\n";
}

std::string mofOf(const CIMClass& cimClass) {
    std::string text = qualifiers(cimClass, "") + "class " + utf8(cimClass.getClassName());
    if (!cimClass.getSuperClassName().isNull()) {
        text += " : " + utf8(cimClass.getSuperClassName());
    }
    text += " {\n";
    for (Uint32 i = 0; i < cimClass.getPropertyCount(); i++) {
        const CIMConstProperty property = cimClass.getProperty(i);
        text += qualifiers(property, "    ") + "    " + declaratorOf(property);
        if (!property.getValue().isNull()) {
            text += " = " + mofOf(property.getValue());
        }
        text += ";\n";
    }
    for (Uint32 i = 0; i < cimClass.getMethodCount(); i++) {
        text += methodMof(cimClass.getMethod(i));
    }
    return text + "};\n";
}

std::string mofOf(const QualifierDeclaration& declaration) {
    std::string scopes;
    for (unsigned i = 0; i < qualifierScopeCount; i++) {
        if (declaration.scopes.test(i)) {
            scopes += (scopes.empty() ? "" : ", ") + std::string(qualifierScopeNames[i]);
        }
    }
    std::string flavor;
    for (const char c : utf8(declaration.flavor.toString())) {
        flavor += c == ' ' ? ", " : std::string(1, c);
    }
    const CIMValue& value = declaration.defaultValue;
    return "Qualifier " + utf8(declaration.name) + " : " + cimTypeToString(value.getType()) +
           (value.isArray() ? "[]" : "") + " = " + mofOf(value) + ", Scope(" +
           (declaration.scopes.all() ? "any" : scopes) + ")" +
           (flavor.empty() ? "" : ", Flavor(" + flavor + ")") + ";\n";
}

}  // namespace velmar_embedded
