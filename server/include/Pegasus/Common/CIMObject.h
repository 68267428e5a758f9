// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A class or an instance, whichever it is; and the members that classes and instances share.
//
// Handle class: copies, and the CIMInstance or CIMClass it was made from, share one object. A
// default-constructed handle is uninitialized: everything but isUninitialized, copying and
// assignment throws UninitializedObjectException. Not synchronized: one object may be read by
// several threads, or written by one.
#ifndef Pegasus_CIMObject_h
#define Pegasus_CIMObject_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <memory>

namespace Pegasus {

class CIMClass;
class CIMConstClass;
class CIMConstInstance;
class CIMConstProperty;
class CIMConstQualifier;
class CIMInstance;
class CIMObject;
class CIMProperty;
class CIMQualifier;
struct ObjectRep;

/// What can be read from classes and instances alike; base of their handles.
class PEGASUS_EXPORT ObjectHandle {
 public:
    const CIMName& getClassName() const;
    const CIMObjectPath& getPath() const;
    /// Index without regard to case, or PEG_NOT_FOUND.
    Uint32 findQualifier(const CIMName& name) const;
    /// Throws IndexOutOfBoundsException.
    CIMConstQualifier getQualifier(Uint32 index) const;
    Uint32 getQualifierCount() const;
    /// Index without regard to case, or PEG_NOT_FOUND.
    Uint32 findProperty(const CIMName& name) const;
    /// Shares the property. Throws IndexOutOfBoundsException.
    CIMConstProperty getProperty(Uint32 index) const;
    Uint32 getPropertyCount() const;
    Boolean isUninitialized() const { return !_rep; }

 protected:
    friend struct HandleAccess;

    ObjectHandle() = default;
    explicit ObjectHandle(std::shared_ptr<ObjectRep> rep);

    std::shared_ptr<ObjectRep> _rep;
};

/// A read-only view of an object, made from it implicitly.
class PEGASUS_EXPORT CIMConstObject : public ObjectHandle {
 public:
    CIMConstObject() = default;
    /// An uninitialized handle gives an uninitialized object.
    CIMConstObject(const CIMConstClass& cimClass);
    CIMConstObject(const CIMConstInstance& instance);

    Boolean isClass() const;
    Boolean isInstance() const;
    /// The same kind, path, qualifiers, properties (in the same order) and methods.
    Boolean identical(const CIMConstObject& object) const;
    /// A copy that shares nothing.
    CIMObject clone() const;
    /// The object's CIM-XML element (DSP0201).
    String toString() const;
};

class PEGASUS_EXPORT CIMObject : public CIMConstObject {
 public:
    CIMObject() = default;
    /// An uninitialized handle gives an uninitialized object.
    CIMObject(const CIMClass& cimClass);
    CIMObject(const CIMInstance& instance);

    /// Throws UninitializedObjectException for a path without class name, TypeMismatchException
    /// for another class. The object's class name takes the path's spelling.
    void setPath(const CIMObjectPath& path);
    /// Throws AlreadyExistsException.
    CIMObject& addQualifier(const CIMQualifier& qualifier);
    using ObjectHandle::getQualifier;
    CIMQualifier getQualifier(Uint32 index);
    /// Throws IndexOutOfBoundsException.
    void removeQualifier(Uint32 index);
    /// Shares the property. Throws AlreadyExistsException.
    CIMObject& addProperty(const CIMProperty& property);
    using ObjectHandle::getProperty;
    CIMProperty getProperty(Uint32 index);
    /// Throws IndexOutOfBoundsException.
    void removeProperty(Uint32 index);
};

extern template class Array<CIMObject>;

}  // namespace Pegasus

#endif
