// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <type_traits>

#include "model/CIMText.h"
#include "model/CIMTypes.h"

namespace Pegasus {

namespace {

template <class T>
const T& as(const std::shared_ptr<const void>& data) {
    return *static_cast<const T*>(data.get());
}

// What a value takes in and gives out: the same for value classes, a clone for handles.
template <class T>
T separate(const T& x) {
    if constexpr (isObjectType<T>) {
        return x.clone();
    } else {
        return x;
    }
}

template <class T>
Array<T> separate(const Array<T>& x) {
    if constexpr (!isObjectType<T>) {
        return x;
    }
    Array<T> copy;
    copy.reserveCapacity(x.size());
    for (Uint32 i = 0; i < x.size(); i++) {
        copy.append(separate(x[i]));
    }
    return copy;
}

template <class T>
bool same(const T& a, const T& b) {
    if constexpr (isObjectType<T>) {
        return a.identical(b);
    } else {
        return a == b;
    }
}

template <class T>
bool same(const Array<T>& a, const Array<T>& b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (Uint32 i = 0; i < a.size(); i++) {
        if (!same(a[i], b[i])) {
            return false;
        }
    }
    return true;
}

template <class T>
String listText(const Array<T>& x) {
    String out;
    for (Uint32 i = 0; i < x.size(); i++) {
        out.append(textOf(x[i])).append(Char16(' '));
    }
    return out;
}

}  // namespace

template <class T>
void CIMValue::store(const T& x) {
    _data = std::make_shared<const T>(separate(x));
    _arraySize = 0;
    _type = cimTypeOf<T>;
    _isArray = false;
}

template <class T>
void CIMValue::store(const Array<T>& x) {
    _data = std::make_shared<const Array<T>>(separate(x));
    _arraySize = x.size();
    _type = cimTypeOf<T>;
    _isArray = true;
}

template <class T>
void CIMValue::fetch(T& x) const {
    if (_type != cimTypeOf<T> || _isArray) {
        throw TypeMismatchException();
    }
    if (_data) {
        x = separate(as<T>(_data));
    }
}

template <class T>
void CIMValue::fetch(Array<T>& x) const {
    if (_type != cimTypeOf<T> || !_isArray) {
        throw TypeMismatchException();
    }
    if (_data) {
        x = separate(as<Array<T>>(_data));
    }
}

CIMValue::CIMValue(const char* text) : CIMValue(Boolean(text != nullptr)) {}

CIMValue::CIMValue() : _arraySize(0), _type(CIMTYPE_BOOLEAN), _isArray(false) {}

CIMValue::CIMValue(CIMType type, Boolean isArray, Uint32 arraySize) {
    setNullValue(type, isArray, arraySize);
}

// Numbers come by value.
template <class T>
using Argument = std::conditional_t<std::is_arithmetic_v<T>, T, const T&>;

#define PEGASUS_VALUE_MEMBERS(Code, Class)                     \
    CIMValue::CIMValue(Argument<Class> x) { store<Class>(x); } \
    CIMValue::CIMValue(const Array<Class>& x) { store(x); }    \
    void CIMValue::set(Argument<Class> x) { store<Class>(x); } \
    void CIMValue::set(const Array<Class>& x) { store(x); }    \
    void CIMValue::get(Class& x) const { fetch<Class>(x); }    \
    void CIMValue::get(Array<Class>& x) const { fetch(x); }
PEGASUS_CIM_TYPES(PEGASUS_VALUE_MEMBERS)
#undef PEGASUS_VALUE_MEMBERS

void CIMValue::assign(const CIMValue& x) { *this = x; }

void CIMValue::clear() { *this = CIMValue(); }

Boolean CIMValue::typeCompatible(const CIMValue& x) const {
    return _type == x._type && _isArray == x._isArray;
}

void CIMValue::setNullValue(CIMType type, Boolean isArray, Uint32 arraySize) {
    _data.reset();
    _arraySize = isArray ? arraySize : 0;
    _type = type;
    _isArray = isArray;
}

Boolean CIMValue::equal(const CIMValue& x) const {
    if (!typeCompatible(x) || isNull() != x.isNull()) {
        return false;
    }
    if (isNull()) {
        return true;
    }
    return withType(_type, [&](auto type) -> bool {
        using T = typename decltype(type)::Type;
        if (_isArray) {
            return same(as<Array<T>>(_data), as<Array<T>>(x._data));
        }
        return same(as<T>(_data), as<T>(x._data));
    });
}

String CIMValue::toString() const {
    if (isNull()) {
        return String();
    }
    return withType(_type, [&](auto type) {
        using T = typename decltype(type)::Type;
        return _isArray ? listText(as<Array<T>>(_data)) : textOf(as<T>(_data));
    });
}

Boolean operator==(const CIMValue& a, const CIMValue& b) { return a.equal(b); }

Boolean operator!=(const CIMValue& a, const CIMValue& b) { return !a.equal(b); }

}  // namespace Pegasus
