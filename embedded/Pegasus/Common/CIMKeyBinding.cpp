// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <charconv>
#include <type_traits>

#include "model/CIMNumber.h"
#include "model/CIMPathParser.h"

namespace Pegasus {

namespace {

CIMKeyBinding::Type bindingType(const CIMValue& value) {
    if (value.isArray()) {
        throw TypeMismatchException();
    }
    switch (value.getType()) {
        case CIMTYPE_BOOLEAN:
            return CIMKeyBinding::BOOLEAN;
        case CIMTYPE_CHAR16:
        case CIMTYPE_STRING:
        case CIMTYPE_DATETIME:
            return CIMKeyBinding::STRING;
        case CIMTYPE_REFERENCE:
            return CIMKeyBinding::REFERENCE;
        case CIMTYPE_OBJECT:
        case CIMTYPE_INSTANCE:
            throw TypeMismatchException();
        default:
            return CIMKeyBinding::NUMERIC;
    }
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

template <class T>
T contents(const CIMValue& value) {
    T x;
    value.get(x);
    return x;
}

template <class T>
bool standsFor(const String& text, const CIMValue& value) {
    const T expected = contents<T>(value);
    if constexpr (std::is_floating_point_v<T>) {
        const CString copy = text.getCString();
        const char* first = copy;
        const char* last = first + text.size();  // digits are one byte each
        T number;
        const auto result = std::from_chars(first, last, number);
        return result.ec == std::errc() && result.ptr == last && number == expected;
    } else if constexpr (std::is_signed_v<T>) {
        Sint64 number;
        return parseSigned(text, number) && number == expected;
    } else {
        Uint64 number;
        return parseUnsigned(text, number) && number == expected;
    }
}

bool isDateTime(const String& text, const CIMDateTime& expected) {
    try {
        return CIMDateTime(text) == expected;
    } catch (const Exception&) {  // no datetime, or an interval where a time stamp is expected
        return false;
    }
}

}  // namespace

CIMKeyBinding::CIMKeyBinding(const CIMName& name, const CIMValue& value)
    : _name(name), _type(bindingType(value)) {
    _value = value.toString();
}

Boolean CIMKeyBinding::equal(CIMValue value) {
    if (value.isArray() || value.isNull() || value.getType() == CIMTYPE_OBJECT ||
        value.getType() == CIMTYPE_INSTANCE || bindingType(value) != _type) {
        return false;
    }
    switch (value.getType()) {
        case CIMTYPE_UINT8:
            return standsFor<Uint8>(_value, value);
        case CIMTYPE_SINT8:
            return standsFor<Sint8>(_value, value);
        case CIMTYPE_UINT16:
            return standsFor<Uint16>(_value, value);
        case CIMTYPE_SINT16:
            return standsFor<Sint16>(_value, value);
        case CIMTYPE_UINT32:
            return standsFor<Uint32>(_value, value);
        case CIMTYPE_SINT32:
            return standsFor<Sint32>(_value, value);
        case CIMTYPE_UINT64:
            return standsFor<Uint64>(_value, value);
        case CIMTYPE_SINT64:
            return standsFor<Sint64>(_value, value);
        case CIMTYPE_REAL32:
            return standsFor<Real32>(_value, value);
        case CIMTYPE_REAL64:
            return standsFor<Real64>(_value, value);
        case CIMTYPE_BOOLEAN:
            return String::equalNoCase(_value, value.toString());
        case CIMTYPE_DATETIME:
            return isDateTime(_value, contents<CIMDateTime>(value));
        case CIMTYPE_REFERENCE:
            return equalReferences(_value, value.toString());
        default:
            return String::equal(_value, value.toString());
    }
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
