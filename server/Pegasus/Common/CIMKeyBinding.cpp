// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include "model/CIMPathParser.h"
#include "model/CIMText.h"
#include "model/CIMTypes.h"

namespace Pegasus {

namespace {

CIMKeyBinding::Type bindingType(const CIMValue& value) {
    if (value.isArray()) {
        throw TypeMismatchException();
    }
    return withType(value.getType(), [](auto type) -> CIMKeyBinding::Type {
        using T = typename decltype(type)::Type;
        if constexpr (isObjectType<T>) {
            throw TypeMismatchException();
        }
        return std::is_same_v<T, Boolean>         ? CIMKeyBinding::BOOLEAN
               : isNumberType<T>                  ? CIMKeyBinding::NUMERIC
               : std::is_same_v<T, CIMObjectPath> ? CIMKeyBinding::REFERENCE
                                                  : CIMKeyBinding::STRING;
    });
}

bool equalNumbers(const String& a, const String& b) {
    Uint64 u, v;
    if (parseUnsigned(a, u) && parseUnsigned(b, v)) {
        return u == v;
    }
    Sint64 s, t;
    return parseSigned(a, s) && parseSigned(b, t) && s == t;
}

// Both texts are paths, and the same one.
bool equalReferences(const String& a, const String& b) {
    PathParts first, second;
    String reason;
    return PathParser(a, first).parse(reason) && PathParser(b, second).parse(reason) &&
           first == second;
}

bool same(const CIMDateTime& a, const CIMDateTime& b) {
    return a.isInterval() == b.isInterval() && a == b;
}
template <class Number>
bool same(Number a, Number b) {
    return a == b;
}

}  // namespace

CIMKeyBinding::CIMKeyBinding(const CIMName& name, const CIMValue& value)
    : _name(name), _type(bindingType(value)) {
    _value = value.toString();
}

Boolean CIMKeyBinding::equal(CIMValue value) {
    const CIMType type = value.getType();
    if (value.isArray() || value.isNull() || type == CIMTYPE_OBJECT || type == CIMTYPE_INSTANCE ||
        bindingType(value) != _type) {
        return false;
    }
    return withType(type, [&](auto tag) -> bool {
        using T = typename decltype(tag)::Type;
        if constexpr (isNumberType<T> || std::is_same_v<T, CIMDateTime>) {
            T expected{};
            value.get(expected);
            const std::optional<T> own = parsed<T>(_value);
            return own && same(*own, expected);
        } else {
            return *this == CIMKeyBinding(_name, value.toString(), _type);
        }
    });
}

Boolean operator==(const CIMKeyBinding& a, const CIMKeyBinding& b) {
    if (a.getType() != b.getType() || a.getName() != b.getName()) {
        return false;
    }
    if (String::equal(a.getValue(), b.getValue())) {
        return true;
    }
    switch (a.getType()) {
        case CIMKeyBinding::BOOLEAN:
            return String::equalNoCase(a.getValue(), b.getValue());
        case CIMKeyBinding::NUMERIC:
            return equalNumbers(a.getValue(), b.getValue());
        case CIMKeyBinding::REFERENCE:
            return equalReferences(a.getValue(), b.getValue());
        default:
            return false;
    }
}

}  // namespace Pegasus
