// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the generated classes of a package share: properties with a type, and their way into the CIM
// server's object model and out of it. Errors are CIMExceptions whose text names class, property,
// what was found and what was expected.
//
// Plain values: different objects may be used by different threads at once.
#ifndef VELMAR_TYPED_VALUES_H
#define VELMAR_TYPED_VALUES_H

#include <Common/Util.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>

#include <cstddef>
#include <cstring>
#include <exception>
#include <initializer_list>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace velmar_typed {
inline namespace v1 {

/// A value of a property with ValueMap: one of the named values E, or any other number.
template <class E>
class Enumeration {
 public:
    using Number = std::underlying_type_t<E>;
    Enumeration() : _number() {}
    Enumeration(E named) : _number(static_cast<Number>(named)) {}
    explicit Enumeration(Number number) : _number(number) {}
    /// Of a number that has no name as well.
    operator E() const { return static_cast<E>(_number); }
    Number number() const { return _number; }

 private:
    Number _number;
};

// ---- What a type is in CIM -------------------------------------------------------------------

/// Plain is the CIM library's type of a value, code its CIMType.
template <class T, class = void>
struct TypeOf;

template <class T, Pegasus::CIMType CODE>
struct PlainType {
    using Plain = T;
    static constexpr Pegasus::CIMType code = CODE;
    static constexpr bool isArray = false;
    static const T& plain(const T& value) { return value; }
    static const T& typed(const T& value) { return value; }
};

template <>
struct TypeOf<Pegasus::Boolean> : PlainType<Pegasus::Boolean, Pegasus::CIMTYPE_BOOLEAN> {};
template <>
struct TypeOf<Pegasus::Uint8> : PlainType<Pegasus::Uint8, Pegasus::CIMTYPE_UINT8> {};
template <>
struct TypeOf<Pegasus::Sint8> : PlainType<Pegasus::Sint8, Pegasus::CIMTYPE_SINT8> {};
template <>
struct TypeOf<Pegasus::Uint16> : PlainType<Pegasus::Uint16, Pegasus::CIMTYPE_UINT16> {};
template <>
struct TypeOf<Pegasus::Sint16> : PlainType<Pegasus::Sint16, Pegasus::CIMTYPE_SINT16> {};
template <>
struct TypeOf<Pegasus::Uint32> : PlainType<Pegasus::Uint32, Pegasus::CIMTYPE_UINT32> {};
template <>
struct TypeOf<Pegasus::Sint32> : PlainType<Pegasus::Sint32, Pegasus::CIMTYPE_SINT32> {};
template <>
struct TypeOf<Pegasus::Uint64> : PlainType<Pegasus::Uint64, Pegasus::CIMTYPE_UINT64> {};
template <>
struct TypeOf<Pegasus::Sint64> : PlainType<Pegasus::Sint64, Pegasus::CIMTYPE_SINT64> {};
template <>
struct TypeOf<Pegasus::Real32> : PlainType<Pegasus::Real32, Pegasus::CIMTYPE_REAL32> {};
template <>
struct TypeOf<Pegasus::Real64> : PlainType<Pegasus::Real64, Pegasus::CIMTYPE_REAL64> {};
template <>
struct TypeOf<Pegasus::Char16> : PlainType<Pegasus::Char16, Pegasus::CIMTYPE_CHAR16> {};
template <>
struct TypeOf<Pegasus::String> : PlainType<Pegasus::String, Pegasus::CIMTYPE_STRING> {};
template <>
struct TypeOf<Pegasus::CIMDateTime> : PlainType<Pegasus::CIMDateTime, Pegasus::CIMTYPE_DATETIME> {};
template <>
struct TypeOf<Pegasus::CIMObject> : PlainType<Pegasus::CIMObject, Pegasus::CIMTYPE_OBJECT> {};
template <>
struct TypeOf<Pegasus::CIMInstance> : PlainType<Pegasus::CIMInstance, Pegasus::CIMTYPE_INSTANCE> {};

template <class E>
struct TypeOf<Enumeration<E>> {
    using Plain = typename Enumeration<E>::Number;
    static constexpr Pegasus::CIMType code = TypeOf<Plain>::code;
    static constexpr bool isArray = false;
    static Plain plain(const Enumeration<E>& value) { return value.number(); }
    static Enumeration<E> typed(Plain value) { return Enumeration<E>(value); }
};

/// The path of an instance whose class is known when the program is compiled. The path itself may
/// be a class path, which in an association stands for all instances of the class.
class AnyPath {
 public:
    /// Of nothing.
    AnyPath() {}
    const Pegasus::CIMObjectPath& object() const { return _path; }
    operator const Pegasus::CIMObjectPath&() const { return _path; }
    friend bool operator==(const AnyPath& a, const AnyPath& b) { return a._path == b._path; }
    friend bool operator!=(const AnyPath& a, const AnyPath& b) { return !(a == b); }

 protected:
    struct Checked {};  // by the class that the path is made as
    AnyPath(const Pegasus::CIMObjectPath& path, Checked) : _path(path) {}

 private:
    Pegasus::CIMObjectPath _path;
};

template <class P>
struct TypeOf<P, std::enable_if_t<std::is_base_of_v<AnyPath, P>>> {
    using Plain = Pegasus::CIMObjectPath;
    static constexpr Pegasus::CIMType code = Pegasus::CIMTYPE_REFERENCE;
    static constexpr bool isArray = false;
    static const Pegasus::CIMObjectPath& plain(const P& value) { return value.object(); }
    static P typed(const Pegasus::CIMObjectPath& value) { return P(value); }
};

template <class X>
struct TypeOf<std::vector<X>> {
    using Plain = Pegasus::Array<typename TypeOf<X>::Plain>;
    static constexpr Pegasus::CIMType code = TypeOf<X>::code;
    static constexpr bool isArray = true;
    static Plain plain(const std::vector<X>& values) {
        Plain result;
        result.reserveCapacity(static_cast<Pegasus::Uint32>(values.size()));
        for (const X& value : values) {
            result.append(TypeOf<X>::plain(value));
        }
        return result;
    }
    static std::vector<X> typed(const Plain& values) {
        std::vector<X> result;
        result.reserve(values.size());
        for (Pegasus::Uint32 i = 0; i < values.size(); i++) {
            result.push_back(TypeOf<X>::typed(values[i]));
        }
        return result;
    }
};

// ---- Properties ------------------------------------------------------------------------------

inline std::string utf8(const Pegasus::String& text) { return std::string(text.getCString()); }

[[noreturn]] inline void fail(Pegasus::CIMStatusCode code, const std::string& text) {
    throw Pegasus::CIMException(code, Pegasus::String(text.c_str()));
}

/// Text for people: what the exception that is being handled says.
inline std::string describeCurrentException() {
    try {
        throw;
    } catch (const Pegasus::CIMException& error) {
        return std::string(Pegasus::cimStatusCodeToString(error.getCode())) + ": " +
               utf8(error.getMessage());
    } catch (const Pegasus::Exception& error) {
        return utf8(error.getMessage());
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "an exception of unknown type";
    }
}

/// Whether a property of type T takes a U as it stands: text no numbers, a boolean nothing but a
/// boolean (any pointer would become TRUE), an enumeration also the very type of its numbers.
template <class T, class U>
constexpr bool takes = !std::is_arithmetic_v<T> && std::is_convertible_v<U, T>;
template <class U>
constexpr bool takes<Pegasus::Boolean, U> = std::is_same_v<std::decay_t<U>, bool>;
template <class U>
constexpr bool takes<Pegasus::String, U> =
    std::is_convertible_v<U, Pegasus::String> || std::is_same_v<std::decay_t<U>, std::string>;
template <class E, class U>
constexpr bool takes<Enumeration<E>, U> =
    std::is_convertible_v<U, Enumeration<E>> ||
    std::is_same_v<std::decay_t<U>, typename Enumeration<E>::Number>;

template <class T>
constexpr bool isNumber = std::is_arithmetic_v<T> && !std::is_same_v<T, bool>;

/// Takes no value.
template <class T>
class NoNumber {
    NoNumber();
};
/// What only numbers are made from, so that the compiler warns of those that do not fit.
template <class T>
using NumberOnly = std::conditional_t<isNumber<T>, T, NoNumber<T>>;

/// A value that may be null, as every value in CIM. Null until it is set.
template <class T>
class Property {
 public:
    Property() {}
    Property(const T& value, std::in_place_t) : _value(value) {}
    Property(const NumberOnly<T>& number) : _value(toValue(number)) {}
    /// No number is made from a boolean.
    template <class U, std::enable_if_t<isNumber<T> && std::is_same_v<U, bool>, int> = 0>
    Property(U) = delete;
    template <class U, class = std::enable_if_t<takes<T, U>>>
    Property(U&& value) {
        if constexpr (std::is_same_v<std::decay_t<U>, std::string>) {
            _value.emplace(value.data(), static_cast<Pegasus::Uint32>(value.size()));
        } else {
            _value.emplace(std::forward<U>(value));
        }
    }
    template <class X = T>
    Property(std::initializer_list<typename X::value_type> values) : _value(T(values)) {}

    bool isNull() const { return !_value.has_value(); }
    void clear() { _value.reset(); }
    /// Throws CIMException (CIM_ERR_FAILED) for a null value.
    const T& value() const {
        if (!_value) {
            fail(Pegasus::CIM_ERR_FAILED, "the value of a property that is null was asked for");
        }
        return *_value;
    }
    T valueOr(const T& other) const { return _value ? *_value : other; }
    /// Null equals null only.
    friend bool operator==(const Property& a, const Property& b) { return a._value == b._value; }
    friend bool operator!=(const Property& a, const Property& b) { return !(a == b); }

 private:
    static const T& toValue(const T& number) { return number; }
    template <class X>
    static std::optional<T> toValue(const NoNumber<X>&) {
        return std::nullopt;
    }

    std::optional<T> _value;
};

/// As a CIM value; a null one has the type.
template <class T>
Pegasus::CIMValue valueOf(const Property<T>& property) {
    return property.isNull() ? Pegasus::CIMValue(TypeOf<T>::code, TypeOf<T>::isArray)
                             : Pegasus::CIMValue(TypeOf<T>::plain(property.value()));
}

inline std::string typeText(Pegasus::CIMType type, bool isArray) {
    return std::string(Pegasus::cimTypeToString(type)) + (isArray ? "[]" : "");
}

inline bool isObject(Pegasus::CIMType type) {
    return type == Pegasus::CIMTYPE_OBJECT || type == Pegasus::CIMTYPE_INSTANCE;
}

/// Whether a value of the type, null included, may stand for a T. Embedded instances go as objects,
/// too, and the other way round.
template <class T>
bool fits(const Pegasus::CIMValue& value) {
    return value.isArray() == TypeOf<T>::isArray &&
           (value.getType() == TypeOf<T>::code ||
            (isObject(value.getType()) && isObject(TypeOf<T>::code)));
}

/// Embedded objects of one kind as those of the other.
template <class To, class From>
Pegasus::Array<To> converted(const Pegasus::Array<From>& values) {
    Pegasus::Array<To> result;
    for (Pegasus::Uint32 i = 0; i < values.size(); i++) {
        result.append(To(values[i]));
    }
    return result;
}

template <class T>
typename TypeOf<T>::Plain plainOf(const Pegasus::CIMValue& value) {
    typename TypeOf<T>::Plain plain{};
    if (value.getType() == TypeOf<T>::code) {
        value.get(plain);
        return plain;
    }
    if constexpr (TypeOf<T>::code == Pegasus::CIMTYPE_OBJECT && TypeOf<T>::isArray) {
        Pegasus::Array<Pegasus::CIMInstance> instances;
        value.get(instances);
        return converted<Pegasus::CIMObject>(instances);
    } else if constexpr (TypeOf<T>::code == Pegasus::CIMTYPE_INSTANCE && TypeOf<T>::isArray) {
        Pegasus::Array<Pegasus::CIMObject> objects;
        value.get(objects);
        return converted<Pegasus::CIMInstance>(objects);
    } else if constexpr (TypeOf<T>::code == Pegasus::CIMTYPE_OBJECT) {
        Pegasus::CIMInstance instance;
        value.get(instance);
        return Pegasus::CIMObject(instance);
    } else if constexpr (TypeOf<T>::code == Pegasus::CIMTYPE_INSTANCE) {
        Pegasus::CIMObject object;
        value.get(object);
        return Pegasus::CIMInstance(object);
    }
    return plain;
}

/// Sets the property to the value. Throws CIMException (CIM_ERR_INVALID_PARAMETER), with a text
/// that begins with `place`, for a value of another type or a path of another class.
template <class T>
void read(const Pegasus::CIMValue& value, Property<T>& property, const char* place) {
    if (!fits<T>(value)) {
        fail(Pegasus::CIM_ERR_INVALID_PARAMETER,
             std::string(place) + ": is " + typeText(value.getType(), value.isArray()) + ", " +
                 typeText(TypeOf<T>::code, TypeOf<T>::isArray) + " is expected");
    }
    property.clear();
    if (value.isNull()) {
        return;
    }
    try {
        property = Property<T>(TypeOf<T>::typed(plainOf<T>(value)), std::in_place);
    } catch (const Pegasus::Exception& error) {  // a path of another class, a class for an instance
        fail(Pegasus::CIM_ERR_INVALID_PARAMETER,
             std::string(place) + ": " + utf8(error.getMessage()));
    }
}

// ---- Objects ---------------------------------------------------------------------------------

/// How one property of C is set from a CIM value.
template <class C>
struct Member {
    const Pegasus::CIMName* name;
    void (*read)(C& object, const Pegasus::CIMValue& value);
    bool (*fits)(const Pegasus::CIMValue& value);
};

/// The place of the member of that name, searched from `start` on, since properties mostly come in
/// the order of their class; `count` where there is none.
template <class C>
std::size_t findMember(const Member<C>* members, std::size_t count, const Pegasus::CIMName& name,
                       std::size_t start) {
    for (std::size_t i = 0; i < count; i++) {
        const std::size_t place = (start + i) % count;
        if (*members[place].name == name) {
            return place;
        }
    }
    return count;
}

/// Sets what the instance has. Throws CIMException (CIM_ERR_INVALID_PARAMETER) for an instance of
/// another class, and for properties that the class does not declare or of another type.
template <class C>
void readAll(const Pegasus::CIMInstance& instance, C& object, const Member<C>* members,
             std::size_t count) {
    const auto className = [] { return utf8(C::className().getString()); };
    if (instance.getClassName() != C::className()) {
        fail(Pegasus::CIM_ERR_INVALID_PARAMETER, className() + ": the instance is of class " +
                                                     utf8(instance.getClassName().getString()));
    }
    std::size_t next = 0;
    for (Pegasus::Uint32 i = 0; i < instance.getPropertyCount(); i++) {
        const Pegasus::CIMConstProperty property = instance.getProperty(i);
        const std::size_t place = findMember(members, count, property.getName(), next);
        if (place == count) {
            fail(Pegasus::CIM_ERR_INVALID_PARAMETER, className() + "." +
                                                         utf8(property.getName().getString()) +
                                                         ": the class declares no such property");
        }
        members[place].read(object, property.getValue());
        next = place + 1;
    }
}

/// Adds the property unless it is null.
template <class T>
void add(Pegasus::CIMInstance& instance, const Pegasus::CIMName& name,
         const Property<T>& property) {
    if (!property.isNull()) {
        instance.addProperty(Pegasus::CIMProperty(name, valueOf(property)));
    }
}

/// Sets the property, which the instance may have already, unless it is null.
template <class T>
void replace(Pegasus::CIMInstance& instance, const Pegasus::CIMName& name,
             const Property<T>& property) {
    if (!property.isNull()) {
        velmar_remote::replaceProp(instance, name, valueOf(property));
    }
}

/// Adds the parameter unless it is null.
template <class T>
void add(Pegasus::Array<Pegasus::CIMParamValue>& parameters, const char* name,
         const Property<T>& property) {
    if (!property.isNull()) {
        parameters.append(Pegasus::CIMParamValue(name, valueOf(property)));
    }
}

/// Adds the key. Throws CIMException (CIM_ERR_INVALID_PARAMETER) when it is null.
template <class T>
void addKey(Pegasus::Array<Pegasus::CIMKeyBinding>& keys, const Pegasus::CIMName& name,
            const Property<T>& key, const char* place) {
    if (key.isNull()) {
        fail(Pegasus::CIM_ERR_INVALID_PARAMETER,
             std::string(place) + ": is a key and must not be null");
    }
    keys.append(Pegasus::CIMKeyBinding(name, valueOf(key)));
}

/// Throws CIMException (CIM_ERR_INVALID_PARAMETER) where the instance's path has keys and they do
/// not say what the key properties say.
inline void checkKeys(const Pegasus::CIMInstance& instance,
                      const Pegasus::Array<Pegasus::CIMKeyBinding>& keys) {
    const Pegasus::CIMObjectPath& path = instance.getPath();
    if (path.getKeyBindings().size() == 0) {
        return;
    }
    const Pegasus::CIMObjectPath expected(Pegasus::String(), Pegasus::CIMNamespaceName(),
                                          instance.getClassName(), keys);
    if (velmar_remote::localize(path) != expected) {
        fail(Pegasus::CIM_ERR_INVALID_PARAMETER,
             utf8(path.toString()) + ": the path's keys and the key properties differ, these are " +
                 utf8(expected.toString()));
    }
}

/// A class and its superclass, if it has one that is known.
struct Parent {
    const char* name;
    const char* superclass;
};

/// Letter case ignored. Without making a name of the text: paths are checked all the time.
inline bool isSame(const Pegasus::String& name, const char* text) {
    const auto lower = [](unsigned unit) { return unit - 'A' < 26U ? unit + ('a' - 'A') : unit; };
    const Pegasus::Char16* const units = name.getChar16Data();
    Pegasus::Uint32 i = 0;
    for (; text[i] != '\0'; i++) {
        const unsigned unit = static_cast<unsigned char>(text[i]);
        if (unit >= 0x80) {
            return Pegasus::String::equalNoCase(name, Pegasus::String(text));
        }
        if (i == name.size() || lower(static_cast<Pegasus::Uint16>(units[i])) != lower(unit)) {
            return false;
        }
    }
    return i == name.size();
}

/// The path, if it is of the class, of a subclass, or of a class that is not known. Throws
/// CIMException (CIM_ERR_INVALID_PARAMETER) otherwise.
inline const Pegasus::CIMObjectPath& ofClass(const Pegasus::CIMObjectPath& path, const char* wanted,
                                             const Parent* parents, std::size_t count) {
    const Pegasus::String& given = path.getClassName().getString();
    if (isSame(given, wanted)) {
        return path;
    }
    const Parent* const end = parents + count;
    const Parent* known = parents;
    while (known != end && !isSame(given, known->name)) {
        known++;
    }
    // Superclasses stand before their subclasses, and are written alike.
    while (known != end && std::strcmp(known->name, wanted) != 0) {
        if (known->superclass == nullptr) {
            fail(Pegasus::CIM_ERR_INVALID_PARAMETER,
                 utf8(path.toString()) + " is not of class " + wanted + " or a subclass");
        }
        const char* const superclass = known->superclass;
        while (std::strcmp(known->name, superclass) != 0) {
            known--;
        }
    }
    return path;
}

/// Whole, with the local host's name, which setHost takes in any form: requests arrive with it, and
/// ends of associations are found by whole paths only.
inline Pegasus::CIMObjectPath localPath(const Pegasus::CIMNamespaceName& nameSpace,
                                        const Pegasus::CIMName& className,
                                        const Pegasus::Array<Pegasus::CIMKeyBinding>& keys) {
    Pegasus::CIMObjectPath path(Pegasus::String(), nameSpace, className, keys);
    path.setHost(Pegasus::System::getHostName());
    return path;
}

/// Gives a path from elsewhere the host and the namespace that it lacks.
template <class P>
void complete(Property<P>& end) {
    if (end.isNull()) {
        return;
    }
    Pegasus::CIMObjectPath path = end.value().object();
    if (path.getNameSpace().isNull()) {
        path.setNameSpace(P::nameSpace());
    }
    if (path.getHost().size() == 0) {
        path.setHost(Pegasus::System::getHostName());
    }
    end = P(path);
}

}  // namespace v1
}  // namespace velmar_typed

#endif
