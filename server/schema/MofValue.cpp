// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "schema/MofValue.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>
#include <type_traits>

#include "model/CIMTypes.h"

namespace velmar_embedded {

using namespace Pegasus;

namespace {

[[noreturn]] void failType(const MofToken& literal, CIMType type) {
    throw MofFault(literal.line,
                   "the value " + literal.shown() + " is not a " + cimTypeToString(type));
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
T toInteger(const MofToken& literal) {
    constexpr CIMType type = cimTypeOf<T>;
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
T toReal(const MofToken& literal) {
    constexpr CIMType type = cimTypeOf<T>;
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

// Strings, and what MOF writes as a string.
template <class T>
T fromString(const MofToken& literal) {
    require(literal, MofToken::String, cimTypeOf<T>);
    try {
        return T(literal.value);
    } catch (const Exception& e) {
        throw MofFault(literal.line, "the value " + literal.shown() + " is not a " +
                                         cimTypeToString(cimTypeOf<T>) + ": " +
                                         static_cast<const char*>(e.getMessage().getCString()));
    }
}

const CIMObjectPath& ofAlias(const MofToken& literal, const MofAliases& aliases) {
    const auto found = aliases.find(lowerCase(literal.text));
    if (found == aliases.end()) {
        throw MofFault(literal.line, "unknown alias " + literal.text);
    }
    return found->second;
}

template <class T>
T element(const MofToken& literal, const MofAliases& aliases) {
    constexpr CIMType type = cimTypeOf<T>;
    if constexpr (std::is_same_v<T, Boolean>) {
        if (!literal.is("true") && !literal.is("false")) {
            failType(literal, type);
        }
        return literal.is("true");
    } else if constexpr (std::is_floating_point_v<T>) {
        return toReal<T>(literal);
    } else if constexpr (std::is_integral_v<T>) {
        return toInteger<T>(literal);
    } else if constexpr (std::is_same_v<T, Char16>) {
        require(literal, MofToken::Char, type);
        if (literal.value.size() != 1) {
            failType(literal, type);
        }
        return literal.value[0];
    } else if constexpr (isObjectType<T>) {
        failType(literal, type);  // no declaration has these types
    } else {
        if constexpr (std::is_same_v<T, CIMObjectPath>) {
            if (literal.kind == MofToken::Alias) {
                return ofAlias(literal, aliases);
            }
        }
        return fromString<T>(literal);
    }
}

}  // namespace

bool findType(const MofToken& token, CIMType& type) {
    for (int i = CIMTYPE_BOOLEAN; i <= CIMTYPE_DATETIME; ++i) {
        type = static_cast<CIMType>(i);
        if (token.is(cimTypeToString(type))) {
            return true;
        }
    }
    return false;
}

MofFault unknownType(const MofToken& token) {
    return MofFault(token.line, "unknown type " + token.text +
                                    "; expected boolean, char16, datetime, real32, real64, string, "
                                    "sint8 to sint64, uint8 to uint64, or CLASS REF");
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
    return withType(type, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        Array<T> elements;
        for (const MofToken& literal : value.literals) {
            elements.append(element<T>(literal, aliases));
        }
        return isArray ? CIMValue(elements) : CIMValue(elements[0]);
    });
}

}  // namespace velmar_embedded
