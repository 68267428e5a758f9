// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A class of a schema.
//
// Handle class: copies, and objects made from it, share one object. A default-constructed handle
// is uninitialized: everything but isUninitialized, copying and assignment throws
// UninitializedObjectException. Not synchronized: one object may be read by several threads, or
// written by one.
#ifndef Pegasus_CIMClass_h
#define Pegasus_CIMClass_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/Config.h>

namespace Pegasus {

/// A read-only view of a class, made from it implicitly.
class PEGASUS_EXPORT CIMConstClass : public ObjectHandle {
 public:
    CIMConstClass() = default;
    /// Throws DynamicCastFailedException unless the object is a class.
    explicit CIMConstClass(const CIMConstObject& object);

    /// Whether the boolean qualifier Association is there and true; isAbstract likewise.
    Boolean isAssociation() const;
    Boolean isAbstract() const;
    /// Null for a class without superclass.
    const CIMName& getSuperClassName() const;
    /// Index without regard to case, or PEG_NOT_FOUND.
    Uint32 findMethod(const CIMName& name) const;
    /// Throws IndexOutOfBoundsException.
    CIMConstMethod getMethod(Uint32 index) const;
    Uint32 getMethodCount() const;
    /// Replaces `keyNames` by the properties whose boolean qualifier Key is true.
    void getKeyNames(Array<CIMName>& keyNames) const;
    Boolean hasKeys() const;
    /// An instance with all (or the listed) properties and the class's default values.
    CIMInstance buildInstance(Boolean includeQualifiers, Boolean includeClassOrigin,
                              const CIMPropertyList& propertyList) const;
    /// The same path, superclass, qualifiers, properties and methods, in the same order.
    Boolean identical(const CIMConstClass& cimClass) const;
    /// A copy that shares nothing.
    CIMClass clone() const;

 private:
    friend class CIMClass;
    explicit CIMConstClass(std::shared_ptr<ObjectRep> rep);
};

class PEGASUS_EXPORT CIMClass : public CIMConstClass {
 public:
    CIMClass() = default;
    /// Throws DynamicCastFailedException unless the object is a class.
    explicit CIMClass(const CIMObject& object);
    /// Throws UninitializedObjectException for a null class name.
    CIMClass(const CIMName& className, const CIMName& superClassName = CIMName());

    /// Throws UninitializedObjectException for a path without class name, TypeMismatchException
    /// for another class. The class name takes the path's spelling.
    void setPath(const CIMObjectPath& path);
    void setSuperClassName(const CIMName& superClassName);
    /// Throws AlreadyExistsException.
    CIMClass& addQualifier(const CIMQualifier& qualifier);
    using ObjectHandle::getQualifier;
    CIMQualifier getQualifier(Uint32 index);
    /// Throws IndexOutOfBoundsException.
    void removeQualifier(Uint32 index);
    /// Shares the property. Throws AlreadyExistsException; TypeMismatchException for a reference
    /// without reference class name.
    CIMClass& addProperty(const CIMProperty& property);
    using ObjectHandle::getProperty;
    CIMProperty getProperty(Uint32 index);
    /// Throws IndexOutOfBoundsException.
    void removeProperty(Uint32 index);
    /// Shares the method. Throws AlreadyExistsException.
    CIMClass& addMethod(const CIMMethod& method);
    using CIMConstClass::getMethod;
    CIMMethod getMethod(Uint32 index);
    /// Throws IndexOutOfBoundsException.
    void removeMethod(Uint32 index);
};

extern template class Array<CIMClass>;

}  // namespace Pegasus

#endif
