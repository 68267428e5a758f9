// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A parameter of a method, as a class declares it.
//
// Handle class: copies share one object, also with the method it was added to. A
// default-constructed handle is uninitialized: everything but isUninitialized, copying and
// assignment throws UninitializedObjectException. Not synchronized: one object may be read by
// several threads, or written by one.
#ifndef Pegasus_CIMParameter_h
#define Pegasus_CIMParameter_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/Config.h>

#include <memory>

namespace Pegasus {

class CIMParameter;

/// A read-only view of a parameter, made from it implicitly.
class PEGASUS_EXPORT CIMConstParameter {
 public:
    CIMConstParameter() = default;

    const CIMName& getName() const;
    CIMType getType() const;
    Boolean isArray() const;
    /// The declared size, 0 for a variable one.
    Uint32 getArraySize() const;
    const CIMName& getReferenceClassName() const;
    /// Index without regard to case, or PEG_NOT_FOUND.
    Uint32 findQualifier(const CIMName& name) const;
    /// Throws IndexOutOfBoundsException.
    CIMConstQualifier getQualifier(Uint32 index) const;
    Uint32 getQualifierCount() const;
    Boolean identical(const CIMConstParameter& parameter) const;
    /// A copy that shares nothing.
    CIMParameter clone() const;
    Boolean isUninitialized() const { return !_rep; }

 protected:
    struct Rep;
    friend struct HandleAccess;

    std::shared_ptr<Rep> _rep;
};

class PEGASUS_EXPORT CIMParameter : public CIMConstParameter {
 public:
    CIMParameter() = default;
    /// Throws UninitializedObjectException for a null name; TypeMismatchException for an array
    /// size without an array and a reference class name without a reference.
    CIMParameter(const CIMName& name, CIMType type, Boolean isArray = false, Uint32 arraySize = 0,
                 const CIMName& referenceClassName = CIMName());

    /// Throws AlreadyExistsException.
    CIMParameter& addQualifier(const CIMQualifier& qualifier);
    using CIMConstParameter::getQualifier;
    CIMQualifier getQualifier(Uint32 index);
    /// Throws IndexOutOfBoundsException.
    void removeQualifier(Uint32 index);
};

extern template class Array<CIMParameter>;

}  // namespace Pegasus

#endif
