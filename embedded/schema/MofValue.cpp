// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "schema/MofValue.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>

namespace velmar_embedded {

using namespace Pegasus;

namespace {

[[noreturn]] void failType(const MofToken& literal, CIMType type) {
    throw MofFault(literal.line,
                   "the value " + literal.shown() + " is no " + cimTypeToString(type));
}

void require(const MofToken& literal, MofToken::Kind kind, CIMType type) {
    if (literal.kind != kind) {
        failType(literal, type);
    }
}

// Whether all of `text` is one number.
template <class T, class Format>
bool parseAll(std::string_view text, T& number, Format format) {
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, format);
    return error == std::errc() && end == text.data() + text.size();
}

template <class T>
T toInteger(const MofToken& literal, CIMType type) {
    require(literal, MofToken::Number, type);
    std::string_view text = literal.text;
    const bool negative = text[0] == '-';
    if (negative || text[0] == '+') {
        text.remove_prefix(1);
    }
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && std::tolower(text[1]) == 'x') {
        base = 16;
        text.remove_prefix(2);
    } else if (std::tolower(text.back()) == 'b') {
        base = 2;
        text.remove_suffix(1);
    } else if (text.size() > 1 && text[0] == '0') {
        base = 8;
    }
    Uint64 magnitude = 0;
    if (!parseAll(text, magnitude, base)) {
        failType(literal, type);
    }
    const Uint64 limit = static_cast<Uint64>(std::numeric_limits<T>::max()) +
                         (negative && std::numeric_limits<T>::is_signed);
    if (magnitude > (negative && !std::numeric_limits<T>::is_signed ? 0 : limit)) {
        throw MofFault(literal.line, "the value " + literal.shown() + " is out of range for " +
                                         cimTypeToString(type));
    }
    return static_cast<T>(negative ? 0 - magnitude : magnitude);
}

template <class T>
T toReal(const MofToken& literal, CIMType type) {
    require(literal, MofToken::Number, type);
    std::string_view text = literal.text;
    if (text[0] == '+') {
        text.remove_prefix(1);
    }
    T number = 0;
    if (!parseAll(text, number, std::chars_format::general)) {
        failType(literal, type);
    }
    return number;
}

Boolean toBoolean(const MofToken& literal, CIMType type) {
    if (!literal.is("true") && !literal.is("false")) {
        failType(literal, type);
    }
    return literal.is("true");
}

Char16 toChar16(const MofToken& literal, CIMType type) {
    require(literal, MofToken::Char, type);
    if (literal.value.size() != 1) {
        failType(literal, type);
    }
    return literal.value[0];
}

String toString(const MofToken& literal, CIMType type) {
    require(literal, MofToken::String, type);
    return literal.value;
}

CIMDateTime toDateTime(const MofToken& literal, CIMType type) {
    try {
        return CIMDateTime(toString(literal, type));
    } catch (const Exception& e) {
        throw MofFault(literal.line, "the value " + literal.shown() + " is no datetime: " +
                                         static_cast<const char*>(e.getMessage().getCString()));
    }
}

CIMObjectPath toPath(const MofToken& literal, CIMType type, const MofAliases& aliases) {
    if (literal.kind == MofToken::Alias) {
        const auto found = aliases.find(lowerCase(literal.text));
        if (found == aliases.end()) {
            throw MofFault(literal.line, "unknown alias " + literal.text);
        }
        return found->second;
    }
    try {
        return CIMObjectPath(toString(literal, type));
    } catch (const Exception& e) {
        throw MofFault(literal.line, "the value " + literal.shown() + " is no reference: " +
                                         static_cast<const char*>(e.getMessage().getCString()));
    }
}

template <class T, class F>
CIMValue build(const MofValue& value, CIMType type, F toElement) {
    if (!value.isArray) {
        return CIMValue(static_cast<T>(toElement(value.literals.front(), type)));
    }
    Array<T> elements;
    for (const MofToken& literal : value.literals) {
        elements.append(toElement(literal, type));
    }
    return CIMValue(elements);
}

}  // namespace

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool findType(const MofToken& token, CIMType& type) {
    for (int i = CIMTYPE_BOOLEAN; i <= CIMTYPE_DATETIME; ++i) {
        type = static_cast<CIMType>(i);
        if (token.is(cimTypeToString(type))) {
            return true;
        }
    }
    return false;
}

CIMValue convert(const MofValue& value, CIMType type, bool isArray, const MofAliases& aliases) {
    if (!value.isArray && value.literals.front().is("null")) {
        return CIMValue(type, isArray);
    }
    if (value.isArray != isArray) {
        throw MofFault(value.line, std::string(isArray ? "a list in { } is needed for an array of "
                                                       : "a list does not fit a single ") +
                                       cimTypeToString(type));
    }
    switch (type) {
        case CIMTYPE_BOOLEAN:
            return build<Boolean>(value, type, toBoolean);
        case CIMTYPE_UINT8:
            return build<Uint8>(value, type, toInteger<Uint8>);
        case CIMTYPE_SINT8:
            return build<Sint8>(value, type, toInteger<Sint8>);
        case CIMTYPE_UINT16:
            return build<Uint16>(value, type, toInteger<Uint16>);
        case CIMTYPE_SINT16:
            return build<Sint16>(value, type, toInteger<Sint16>);
        case CIMTYPE_UINT32:
            return build<Uint32>(value, type, toInteger<Uint32>);
        case CIMTYPE_SINT32:
            return build<Sint32>(value, type, toInteger<Sint32>);
        case CIMTYPE_UINT64:
            return build<Uint64>(value, type, toInteger<Uint64>);
        case CIMTYPE_SINT64:
            return build<Sint64>(value, type, toInteger<Sint64>);
        case CIMTYPE_REAL32:
            return build<Real32>(value, type, toReal<Real32>);
        case CIMTYPE_REAL64:
            return build<Real64>(value, type, toReal<Real64>);
        case CIMTYPE_CHAR16:
            return build<Char16>(value, type, toChar16);
        case CIMTYPE_STRING:
            return build<String>(value, type, toString);
        case CIMTYPE_DATETIME:
            return build<CIMDateTime>(value, type, toDateTime);
        default:
            return build<CIMObjectPath>(value, type, [&](const MofToken& literal, CIMType) {
                return toPath(literal, CIMTYPE_REFERENCE, aliases);
            });
    }
}

}  // namespace velmar_embedded
