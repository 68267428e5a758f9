// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A property of a class or instance.
//
// Handle class: copies share one object, also with the class or instance it was added to. A
// default-constructed handle is uninitialized: everything but isUninitialized, copying and
// assignment throws UninitializedObjectException. Not synchronized: one object may be read by
// several threads, or written by one.
#ifndef Pegasus_CIMProperty_h
#define Pegasus_CIMProperty_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Config.h>

#include <memory>

namespace Pegasus {

class CIMConstQualifier;
class CIMProperty;
class CIMQualifier;
class CIMValue;

/// A read-only view of a property, made from it implicitly.
class PEGASUS_EXPORT CIMConstProperty {
 public:
    CIMConstProperty() = default;

    const CIMName& getName() const;
    const CIMValue& getValue() const;
    CIMType getType() const;
    Boolean isArray() const;
    /// The declared size, 0 for a variable one.
    Uint32 getArraySize() const;
    const CIMName& getReferenceClassName() const;
    const CIMName& getClassOrigin() const;
    Boolean getPropagated() const;
    /// Index without regard to case, or PEG_NOT_FOUND.
    Uint32 findQualifier(const CIMName& name) const;
    /// Throws IndexOutOfBoundsException.
    CIMConstQualifier getQualifier(Uint32 index) const;
    Uint32 getQualifierCount() const;
    /// Equal in everything; names without regard to case, qualifiers in the same order.
    Boolean identical(const CIMConstProperty& property) const;
    /// A copy that shares nothing and is in no object.
    CIMProperty clone() const;
    Boolean isUninitialized() const { return !_rep; }

 protected:
    struct Rep;
    friend struct HandleAccess;

    std::shared_ptr<Rep> _rep;
};

class PEGASUS_EXPORT CIMProperty : public CIMConstProperty {
 public:
    CIMProperty() = default;
    /// Throws UninitializedObjectException for a null name; TypeMismatchException for an array of
    /// references, a reference class name without a reference, and an array size (not 0) that is
    /// not the value's.
    CIMProperty(const CIMName& name, const CIMValue& value, Uint32 arraySize = 0,
                const CIMName& referenceClassName = CIMName(),
                const CIMName& classOrigin = CIMName(), Boolean propagated = false);

    /// Throws Exception while the property is in an object, unless only case changes.
    void setName(const CIMName& name);
    /// Throws TypeMismatchException for another type or array-ness.
    void setValue(const CIMValue& value);
    void setClassOrigin(const CIMName& classOrigin);
    void setPropagated(Boolean propagated);

    /// Throws AlreadyExistsException.
    CIMProperty& addQualifier(const CIMQualifier& qualifier);
    using CIMConstProperty::getQualifier;
    CIMQualifier getQualifier(Uint32 index);
    /// Throws IndexOutOfBoundsException.
    void removeQualifier(Uint32 index);
};

extern template class Array<CIMProperty>;

}  // namespace Pegasus

#endif
