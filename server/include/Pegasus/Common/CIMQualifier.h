// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A qualifier of a class, instance, property, method or parameter.
//
// Handle class: copies share one object. A default-constructed handle is uninitialized: everything
// but isUninitialized, copying and assignment throws UninitializedObjectException. Not
// synchronized: one object may be read by several threads, or written by one.
#ifndef Pegasus_CIMQualifier_h
#define Pegasus_CIMQualifier_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Config.h>

#include <memory>

namespace Pegasus {

class CIMQualifier;
class CIMValue;

/// A read-only view of a qualifier, made from it implicitly.
class PEGASUS_EXPORT CIMConstQualifier {
 public:
    CIMConstQualifier() = default;

    const CIMName& getName() const;
    CIMType getType() const;
    Boolean isArray() const;
    const CIMValue& getValue() const;
    const CIMFlavor& getFlavor() const;
    Boolean isUninitialized() const { return !_rep; }
    /// Equal in everything; names without regard to case.
    Boolean identical(const CIMConstQualifier& qualifier) const;
    /// A copy that shares nothing.
    CIMQualifier clone() const;

 protected:
    struct Rep;
    friend struct HandleAccess;

    std::shared_ptr<Rep> _rep;
};

class PEGASUS_EXPORT CIMQualifier : public CIMConstQualifier {
 public:
    CIMQualifier() = default;
    /// Throws UninitializedObjectException for a null name.
    CIMQualifier(const CIMName& name, const CIMValue& value,
                 const CIMFlavor& flavor = CIMFlavor(CIMFlavor::NONE), Boolean propagated = false);

    /// Throws TypeMismatchException for another type or array-ness.
    void setValue(const CIMValue& value);
};

extern template class Array<CIMQualifier>;

}  // namespace Pegasus

#endif
