// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A typed CIM value: null, a scalar or an array of one of the CIM types.
//
// Value class with cheap copies; objects and instances are cloned on their way in and out. Not
// synchronized: one object may be read by several threads, or written by one.
#ifndef Pegasus_CIMValue_h
#define Pegasus_CIMValue_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/Char16.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <cstddef>
#include <memory>

namespace Pegasus {

class CIMInstance;
class CIMObject;

class PEGASUS_EXPORT CIMValue {
 public:
    /// A null boolean.
    CIMValue();
    /// A null of this type. An array keeps the size for getArraySize.
    CIMValue(CIMType type, Boolean isArray, Uint32 arraySize = 0);

// For each type: implicit construction, set (which takes the new type, whatever it was) and get.
// get throws TypeMismatchException for another type, for nulls too, and leaves its argument alone
// for a null of the right one. An uninitialized object throws UninitializedObjectException. There
// does not convert text: a pointer to characters becomes a boolean.
#define PEGASUS_VALUE_MEMBERS(Argument, Type) \
    CIMValue(Argument x);                     \
    CIMValue(const Array<Type>& x);           \
    void set(Argument x);                     \
    void set(const Array<Type>& x);           \
    void get(Type& x) const;                  \
    void get(Array<Type>& x) const;
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

    /// A boolean, as a pointer is: TRUE, unless it is null. Takes the place of CIMValue(Boolean)
    /// for texts only to say so, also where a CIMKeyBinding or CIMProperty is made from a text.
    [[deprecated(
        "a text becomes the boolean TRUE here; write CIMValue(String(\"text\"))")]] CIMValue(const char*
                                                                                                 text);
    CIMValue(std::nullptr_t) = delete;

    void assign(const CIMValue& x);
    /// Back to the null boolean.
    void clear();
    /// Same type, both or neither an array.
    Boolean typeCompatible(const CIMValue& x) const;
    Boolean isArray() const { return _isArray; }
    Boolean isNull() const { return !_data; }
    /// Elements of an array, 0 for a scalar.
    Uint32 getArraySize() const { return _arraySize; }
    CIMType getType() const { return _type; }
    void setNullValue(CIMType type, Boolean isArray, Uint32 arraySize = 0);

    /// Same type and array-ness, and both null or both of equal contents: texts exactly, paths as
    /// paths, datetimes as times (a time stamp and an interval throw TypeMismatchException).
    Boolean equal(const CIMValue& x) const;
    /// Empty for a null; each element of an array is followed by one blank.
    String toString() const;

 private:
    friend struct HandleAccess;

    template <class T>
    void store(const T& x);
    template <class T>
    void store(const Array<T>& x);
    template <class T>
    void fetch(T& x) const;
    template <class T>
    void fetch(Array<T>& x) const;

    std::shared_ptr<const void> _data;  // the T or Array<T> of _type; null: the value is null
    Uint32 _arraySize;
    CIMType _type;
    Boolean _isArray;
};

PEGASUS_EXPORT Boolean operator==(const CIMValue& a, const CIMValue& b);
PEGASUS_EXPORT Boolean operator!=(const CIMValue& a, const CIMValue& b);

extern template class Array<CIMValue>;

}  // namespace Pegasus

#endif
