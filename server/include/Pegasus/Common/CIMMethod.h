// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A method of a class.
//
// Handle class: copies share one object, also with the class it was added to. A
// default-constructed handle is uninitialized: everything but isUninitialized, copying and
// assignment throws UninitializedObjectException. Not synchronized: one object may be read by
// several threads, or written by one.
#ifndef Pegasus_CIMMethod_h
#define Pegasus_CIMMethod_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/Config.h>

#include <memory>

namespace Pegasus {

class CIMMethod;

/// A read-only view of a method, made from it implicitly.
class PEGASUS_EXPORT CIMConstMethod {
 public:
    CIMConstMethod() = default;

    const CIMName& getName() const;
    CIMType getType() const;
    const CIMName& getClassOrigin() const;
    Boolean getPropagated() const;
    /// Index without regard to case, or PEG_NOT_FOUND.
    Uint32 findQualifier(const CIMName& name) const;
    /// Throws IndexOutOfBoundsException.
    CIMConstQualifier getQualifier(Uint32 index) const;
    Uint32 getQualifierCount() const;
    /// Index without regard to case, or PEG_NOT_FOUND.
    Uint32 findParameter(const CIMName& name) const;
    /// Throws IndexOutOfBoundsException.
    CIMConstParameter getParameter(Uint32 index) const;
    Uint32 getParameterCount() const;
    Boolean identical(const CIMConstMethod& method) const;
    /// A copy that shares nothing.
    CIMMethod clone() const;
    Boolean isUninitialized() const { return !_rep; }

 protected:
    struct Rep;
    friend struct HandleAccess;

    std::shared_ptr<Rep> _rep;
};

class PEGASUS_EXPORT CIMMethod : public CIMConstMethod {
 public:
    CIMMethod() = default;
    /// Throws UninitializedObjectException for a null name.
    CIMMethod(const CIMName& name, CIMType type, const CIMName& classOrigin = CIMName(),
              Boolean propagated = false);

    void setName(const CIMName& name);
    void setType(CIMType type);
    void setClassOrigin(const CIMName& classOrigin);
    void setPropagated(Boolean propagated);

    /// Throws AlreadyExistsException.
    CIMMethod& addQualifier(const CIMQualifier& qualifier);
    using CIMConstMethod::getQualifier;
    CIMQualifier getQualifier(Uint32 index);
    /// Throws IndexOutOfBoundsException.
    void removeQualifier(Uint32 index);

    /// Throws AlreadyExistsException.
    CIMMethod& addParameter(const CIMParameter& parameter);
    using CIMConstMethod::getParameter;
    CIMParameter getParameter(Uint32 index);
};

extern template class Array<CIMMethod>;

}  // namespace Pegasus

#endif
