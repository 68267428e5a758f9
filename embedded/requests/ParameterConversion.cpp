// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "requests/ParameterConversion.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Exception.h>
#include "model/CIMNumber.h"

#include <charconv>
#include <limits>
#include <string>

using namespace Pegasus;

namespace velmar_embedded {

namespace {

struct Misfit {};

template <class T, class Wide>
T inRange(bool parsed, Wide number) {
    if (!parsed || number < std::numeric_limits<T>::min() ||
        number > std::numeric_limits<T>::max()) {
        throw Misfit();
    }
    return static_cast<T>(number);
}

template <class T>
T unsignedOf(const String& text) {
    Uint64 number = 0;
    const bool parsed = parseUnsigned(text, number);
    return inRange<T>(parsed, number);
}

template <class T>
T signedOf(const String& text) {
    Sint64 number = 0;
    const bool parsed = parseSigned(text, number);
    return inRange<T>(parsed, number);
}

template <class T>
T realOf(const String& text) {
    const std::string chars(text.getCString());
    T number = 0;
    auto [end, error] = std::from_chars(chars.data(), chars.data() + chars.size(), number);
    if (error != std::errc() || end != chars.data() + chars.size()) {
        throw Misfit();
    }
    return number;
}

Boolean booleanOf(const String& text) {
    const bool isTrue = String::equalNoCase(text, String("true"));
    if (!isTrue && !String::equalNoCase(text, String("false"))) {
        throw Misfit();
    }
    return isTrue;
}

Char16 char16Of(const String& text) {
    if (text.size() != 1) {
        throw Misfit();
    }
    return text[0];
}

String stringOf(const String& text) { return text; }

template <class T>
T parsedOf(const String& text) {
    try {
        return T(text);
    } catch (const Exception&) {
        throw Misfit();
    }
}

template <class T>
CIMValue build(const Array<String>& texts, bool isArray, T (*convert)(const String&)) {
    if (!isArray) {
        return CIMValue(convert(texts[0]));
    }
    Array<T> items;
    for (Uint32 i = 0; i < texts.size(); i++) {
        items.append(convert(texts[i]));
    }
    return CIMValue(items);
}

CIMValue build(const Array<String>& texts, CIMType type, bool isArray) {
    switch (type) {
        case CIMTYPE_BOOLEAN:
            return build<Boolean>(texts, isArray, booleanOf);
        case CIMTYPE_UINT8:
            return build<Uint8>(texts, isArray, unsignedOf);
        case CIMTYPE_SINT8:
            return build<Sint8>(texts, isArray, signedOf);
        case CIMTYPE_UINT16:
            return build<Uint16>(texts, isArray, unsignedOf);
        case CIMTYPE_SINT16:
            return build<Sint16>(texts, isArray, signedOf);
        case CIMTYPE_UINT32:
            return build<Uint32>(texts, isArray, unsignedOf);
        case CIMTYPE_SINT32:
            return build<Sint32>(texts, isArray, signedOf);
        case CIMTYPE_UINT64:
            return build<Uint64>(texts, isArray, unsignedOf);
        case CIMTYPE_SINT64:
            return build<Sint64>(texts, isArray, signedOf);
        case CIMTYPE_REAL32:
            return build<Real32>(texts, isArray, realOf);
        case CIMTYPE_REAL64:
            return build<Real64>(texts, isArray, realOf);
        case CIMTYPE_CHAR16:
            return build<Char16>(texts, isArray, char16Of);
        case CIMTYPE_DATETIME:
            return build<CIMDateTime>(texts, isArray, parsedOf);
        case CIMTYPE_REFERENCE:
            return build<CIMObjectPath>(texts, isArray, parsedOf);
        default:
            return build<String>(texts, isArray, stringOf);
    }
}

// Whether the text of an array shows where its elements end.
bool isSeparable(CIMType type) {
    return type != CIMTYPE_CHAR16 && type != CIMTYPE_REFERENCE && type != CIMTYPE_OBJECT &&
           type != CIMTYPE_INSTANCE;
}

Array<String> textsOf(const CIMValue& value) {
    Array<String> texts;
    if (!value.isArray()) {
        texts.append(value.toString());
    } else if (value.getType() == CIMTYPE_STRING) {
        value.get(texts);
    } else {
        const String all = value.toString();  // a blank follows each element
        for (Uint32 from = 0, to; (to = all.find(from, ' ')) != PEG_NOT_FOUND; from = to + 1) {
            texts.append(all.subString(from, to - from));
        }
    }
    return texts;
}

}  // namespace

CIMValue typedValue(const String& parameterName, const CIMValue& value, CIMType type,
                    bool isArray) {
    const bool isObject = type == CIMTYPE_OBJECT || type == CIMTYPE_INSTANCE;
    if (value.isNull() && value.isArray() == isArray) {
        return CIMValue(type, isArray);
    }
    if (value.getType() == type || isObject || value.isArray() != isArray ||
        (isArray && !isSeparable(value.getType()))) {
        return value;
    }
    try {
        return build(textsOf(value), type, isArray);
    } catch (const Misfit&) {
        String message("parameter ");
        message.append(parameterName)
            .append(String(": \""))
            .append(value.toString())
            .append(String("\" is no "))
            .append(String(cimTypeToString(type)));
        throw CIMException(CIM_ERR_INVALID_PARAMETER, message);
    }
}

}  // namespace velmar_embedded
