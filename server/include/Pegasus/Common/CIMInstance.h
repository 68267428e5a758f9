// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// An instance of a class.
//
// Handle class: copies, and objects made from it, share one object. A default-constructed handle
// is uninitialized: everything but isUninitialized, copying and assignment throws
// UninitializedObjectException. Not synchronized: one object may be read by several threads, or
// written by one.
#ifndef Pegasus_CIMInstance_h
#define Pegasus_CIMInstance_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/Config.h>

namespace Pegasus {

class CIMConstClass;

/// A read-only view of an instance, made from it implicitly.
class PEGASUS_EXPORT CIMConstInstance : public ObjectHandle {
 public:
    CIMConstInstance() = default;
    /// Throws DynamicCastFailedException unless the object is an instance.
    explicit CIMConstInstance(const CIMConstObject& object);

    /// The path that the keys of `cimClass` give: the instance's class name, no host, no
    /// namespace, and the values of its key properties. Throws NoSuchProperty for a key that the
    /// instance lacks, TypeMismatchException for one that is an array.
    CIMObjectPath buildPath(const CIMConstClass& cimClass) const;
    /// The same path, qualifiers and properties, in the same order.
    Boolean identical(const CIMConstInstance& instance) const;
    /// A copy that shares nothing.
    CIMInstance clone() const;

 private:
    friend class CIMInstance;
    explicit CIMConstInstance(std::shared_ptr<ObjectRep> rep);
};

class PEGASUS_EXPORT CIMInstance : public CIMConstInstance {
 public:
    CIMInstance() = default;
    /// Throws DynamicCastFailedException unless the object is an instance.
    explicit CIMInstance(const CIMObject& object);
    /// Throws UninitializedObjectException for a null name.
    CIMInstance(const CIMName& className);

    /// Throws UninitializedObjectException for a path without class name, TypeMismatchException
    /// for another class. The class name takes the path's spelling; properties stay as they are.
    void setPath(const CIMObjectPath& path);
    /// Throws AlreadyExistsException.
    CIMInstance& addQualifier(const CIMQualifier& qualifier);
    using ObjectHandle::getQualifier;
    CIMQualifier getQualifier(Uint32 index);
    /// Throws IndexOutOfBoundsException.
    void removeQualifier(Uint32 index);
    /// Shares the property. Throws AlreadyExistsException.
    CIMInstance& addProperty(const CIMProperty& property);
    using ObjectHandle::getProperty;
    CIMProperty getProperty(Uint32 index);
    /// Throws IndexOutOfBoundsException.
    void removeProperty(Uint32 index);

    /// Removes, in place, the properties that are not in a non-null list, and on request all
    /// qualifiers and class origins.
    void instanceFilter(Boolean includeQualifiers, Boolean includeClassOrigin,
                        const CIMPropertyList& propertyList);
};

extern template class Array<CIMInstance>;

}  // namespace Pegasus

#endif
