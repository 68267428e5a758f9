// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <type_traits>

#include "model/CIMNumber.h"

namespace Pegasus {

namespace {

template <class T>
struct TypeOf;

#define PEGASUS_VALUE_TYPES(Apply)                                                                 \
    Apply(CIMTYPE_BOOLEAN, Boolean) Apply(CIMTYPE_UINT8, Uint8) Apply(CIMTYPE_SINT8, Sint8) Apply( \
        CIMTYPE_UINT16, Uint16) Apply(CIMTYPE_SINT16, Sint16) Apply(CIMTYPE_UINT32, Uint32)        \
        Apply(CIMTYPE_SINT32, Sint32) Apply(CIMTYPE_UINT64, Uint64) Apply(CIMTYPE_SINT64, Sint64)  \
            Apply(CIMTYPE_REAL32, Real32) Apply(CIMTYPE_REAL64, Real64)                            \
                Apply(CIMTYPE_CHAR16, Char16) Apply(CIMTYPE_STRING, String)                        \
                    Apply(CIMTYPE_DATETIME, CIMDateTime) Apply(CIMTYPE_REFERENCE, CIMObjectPath)   \
                        Apply(CIMTYPE_OBJECT, CIMObject) Apply(CIMTYPE_INSTANCE, CIMInstance)

#define PEGASUS_TYPE_OF(Code, Type)            \
    template <>                                \
    struct TypeOf<Type> {                      \
        static constexpr CIMType value = Code; \
    };
PEGASUS_VALUE_TYPES(PEGASUS_TYPE_OF)
#undef PEGASUS_TYPE_OF

// Calls `visit` with a null pointer to the C++ type of `type`.
template <class Visit>
auto withType(CIMType type, Visit visit) {
    switch (type) {
#define PEGASUS_VISIT(Code, Type) \
    case Code:                    \
        return visit(static_cast<const Type*>(nullptr));
        PEGASUS_VALUE_TYPES(PEGASUS_VISIT)
#undef PEGASUS_VISIT
    }
    throw TypeMismatchException();
}

template <class T>
const T& as(const std::shared_ptr<const void>& data) {
    return *static_cast<const T*>(data.get());
}

template <class T>
constexpr bool isObject = std::is_same_v<T, CIMObject> || std::is_same_v<T, CIMInstance>;

// What a value takes in and gives out: the same for value classes, a clone for handles.
template <class T>
T separate(const T& x) {
    if constexpr (isObject<T>) {
        return x.clone();
    } else {
        return x;
    }
}

template <class T>
Array<T> separate(const Array<T>& x) {
    if constexpr (!isObject<T>) {
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
    if constexpr (isObject<T>) {
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
String text(const T& x) {
    if constexpr (std::is_same_v<T, Boolean>) {
        return x ? "TRUE" : "FALSE";
    } else if constexpr (std::is_floating_point_v<T>) {
        return numberText(Real64(x));
    } else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>) {
        return numberText(Sint64(x));
    } else if constexpr (std::is_integral_v<T>) {
        return numberText(Uint64(x));
    } else if constexpr (std::is_same_v<T, Char16>) {
        return String(&x, 1);
    } else if constexpr (std::is_same_v<T, String>) {
        return x;
    } else if constexpr (std::is_same_v<T, CIMInstance>) {
        return CIMObject(x).toString();
    } else {
        return x.toString();
    }
}

template <class T>
String text(const Array<T>& x) {
    String out;
    for (Uint32 i = 0; i < x.size(); i++) {
        out.append(text(x[i])).append(Char16(' '));
    }
    return out;
}

}  // namespace

template <class T>
void CIMValue::store(const T& x) {
    _data = std::make_shared<const T>(separate(x));
    _arraySize = 0;
    _type = TypeOf<T>::value;
    _isArray = false;
}

template <class T>
void CIMValue::store(const Array<T>& x) {
    _data = std::make_shared<const Array<T>>(separate(x));
    _arraySize = x.size();
    _type = TypeOf<T>::value;
    _isArray = true;
}

template <class T>
void CIMValue::fetch(T& x) const {
    if (_type != TypeOf<T>::value || _isArray) {
        throw TypeMismatchException();
    }
    if (_data) {
        x = separate(as<T>(_data));
    }
}

template <class T>
void CIMValue::fetch(Array<T>& x) const {
    if (_type != TypeOf<T>::value || !_isArray) {
        throw TypeMismatchException();
    }
    if (_data) {
        x = separate(as<Array<T>>(_data));
    }
}

CIMValue::CIMValue() : _arraySize(0), _type(CIMTYPE_BOOLEAN), _isArray(false) {}

CIMValue::CIMValue(CIMType type, Boolean isArray, Uint32 arraySize) {
    setNullValue(type, isArray, arraySize);
}

#define PEGASUS_VALUE_MEMBERS(Argument, Type)              \
    CIMValue::CIMValue(Argument x) { store<Type>(x); }     \
    CIMValue::CIMValue(const Array<Type>& x) { store(x); } \
    void CIMValue::set(Argument x) { store<Type>(x); }     \
    void CIMValue::set(const Array<Type>& x) { store(x); } \
    void CIMValue::get(Type& x) const { fetch<Type>(x); }  \
    void CIMValue::get(Array<Type>& x) const { fetch(x); }
PEGASUS_VALUE_MEMBERS(Boolean, Boolean)
PEGASUS_VALUE_MEMBERS(Uint8, Uint8)
PEGASUS_VALUE_MEMBERS(Sint8, Sint8)
PEGASUS_VALUE_MEMBERS(Uint16, Uint16)
PEGASUS_VALUE_MEMBERS(Sint16, Sint16)
PEGASUS_VALUE_MEMBERS(Uint32, Uint32)
PEGASUS_VALUE_MEMBERS(Sint32, Sint32)
PEGASUS_VALUE_MEMBERS(Uint64, Uint64)
PEGASUS_VALUE_MEMBERS(Sint64, Sint64)
PEGASUS_VALUE_MEMBERS(Real32, Real32)
PEGASUS_VALUE_MEMBERS(Real64, Real64)
PEGASUS_VALUE_MEMBERS(const Char16&, Char16)
PEGASUS_VALUE_MEMBERS(const String&, String)
PEGASUS_VALUE_MEMBERS(const CIMDateTime&, CIMDateTime)
PEGASUS_VALUE_MEMBERS(const CIMObjectPath&, CIMObjectPath)
PEGASUS_VALUE_MEMBERS(const CIMObject&, CIMObject)
PEGASUS_VALUE_MEMBERS(const CIMInstance&, CIMInstance)
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
    return withType(_type, [&](auto* type) -> bool {
        typedef std::decay_t<decltype(*type)> T;
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
    return withType(_type, [&](auto* type) -> String {
        typedef std::decay_t<decltype(*type)> T;
        return _isArray ? text(as<Array<T>>(_data)) : text(as<T>(_data));
    });
}

Boolean operator==(const CIMValue& a, const CIMValue& b) { return a.equal(b); }

Boolean operator!=(const CIMValue& a, const CIMValue& b) { return !a.equal(b); }

}  // namespace Pegasus
