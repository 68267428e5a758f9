// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMObject.h>

#include "model/CIMReps.h"
#include "model/CIMXml.h"

namespace Pegasus {

ObjectRep::ObjectRep(const CIMName& className, bool ofClass)
    : isClass(ofClass), path(String(), CIMNamespaceName(), notNull(className)) {}

ObjectRep::~ObjectRep() {
    for (const CIMProperty& property : properties) {
        HandleAccess::rep(property)->owners--;
    }
}

void ObjectRep::setPath(const CIMObjectPath& newPath) {
    if (notNull(newPath.getClassName()) != path.getClassName()) {
        throw TypeMismatchException();
    }
    path = newPath;
}

void ObjectRep::addProperty(const CIMProperty& property) {
    if (isClass && property.getType() == CIMTYPE_REFERENCE &&
        property.getReferenceClassName().isNull()) {
        throw TypeMismatchException();
    }
    properties.add(property, "property");
    HandleAccess::rep(property)->owners++;
}

void ObjectRep::removeProperty(Uint32 index) {
    HandleAccess::rep(properties.at(index))->owners--;
    properties.remove(index);
}

std::shared_ptr<ObjectRep> ObjectRep::clone() const {
    auto copy = std::make_shared<ObjectRep>(path.getClassName(), isClass);
    copy->path = path;
    copy->superClassName = superClassName;
    copy->qualifiers = qualifiers.clone();
    copy->properties = properties.clone();
    for (const CIMProperty& property : copy->properties) {
        HandleAccess::rep(property)->owners++;
    }
    copy->methods = methods.clone();
    return copy;
}

bool ObjectRep::identical(const ObjectRep& object) const {
    return this == &object ||
           (isClass == object.isClass && path == object.path &&
            superClassName == object.superClassName && qualifiers.identical(object.qualifiers) &&
            properties.identical(object.properties) && methods.identical(object.methods));
}

bool hasTrueQualifier(const NamedList<CIMQualifier>& qualifiers, const CIMName& name) {
    const Uint32 index = qualifiers.find(name);
    if (index == PEG_NOT_FOUND) {
        return false;
    }
    const CIMValue& value = qualifiers.at(index).getValue();
    Boolean isTrue = false;
    if (value.getType() == CIMTYPE_BOOLEAN && !value.isArray()) {
        value.get(isTrue);
    }
    return isTrue;
}

bool isKey(const CIMProperty& property) {
    static const CIMName& key = *new CIMName("Key");  // lives on for what runs at exit
    return hasTrueQualifier(HandleAccess::rep(property)->qualifiers, key);
}

ObjectHandle::ObjectHandle(std::shared_ptr<ObjectRep> rep) : _rep(std::move(rep)) {}

const CIMName& ObjectHandle::getClassName() const { return initialized(_rep).path.getClassName(); }

const CIMObjectPath& ObjectHandle::getPath() const { return initialized(_rep).path; }

Uint32 ObjectHandle::findQualifier(const CIMName& name) const {
    return initialized(_rep).qualifiers.find(name);
}

CIMConstQualifier ObjectHandle::getQualifier(Uint32 index) const {
    return initialized(_rep).qualifiers.at(index);
}

Uint32 ObjectHandle::getQualifierCount() const { return initialized(_rep).qualifiers.size(); }

Uint32 ObjectHandle::findProperty(const CIMName& name) const {
    return initialized(_rep).properties.find(name);
}

CIMConstProperty ObjectHandle::getProperty(Uint32 index) const {
    return initialized(_rep).properties.at(index);
}

Uint32 ObjectHandle::getPropertyCount() const { return initialized(_rep).properties.size(); }

CIMConstObject::CIMConstObject(const CIMConstClass& cimClass)
    : ObjectHandle(HandleAccess::rep(cimClass)) {}

CIMConstObject::CIMConstObject(const CIMConstInstance& instance)
    : ObjectHandle(HandleAccess::rep(instance)) {}

Boolean CIMConstObject::isClass() const { return initialized(_rep).isClass; }

Boolean CIMConstObject::isInstance() const { return !initialized(_rep).isClass; }

Boolean CIMConstObject::identical(const CIMConstObject& object) const {
    return initialized(_rep).identical(initialized(object._rep));
}

CIMObject CIMConstObject::clone() const {
    return HandleAccess::handle<CIMObject>(initialized(_rep).clone());
}

String CIMConstObject::toString() const { return objectXml(initialized(_rep)); }

CIMObject::CIMObject(const CIMClass& cimClass) : CIMConstObject(cimClass) {}

CIMObject::CIMObject(const CIMInstance& instance) : CIMConstObject(instance) {}

void CIMObject::setPath(const CIMObjectPath& path) { initialized(_rep).setPath(path); }

CIMObject& CIMObject::addQualifier(const CIMQualifier& qualifier) {
    initialized(_rep).qualifiers.add(qualifier, "qualifier");
    return *this;
}

CIMQualifier CIMObject::getQualifier(Uint32 index) {
    return initialized(_rep).qualifiers.at(index);
}

void CIMObject::removeQualifier(Uint32 index) { initialized(_rep).qualifiers.remove(index); }

CIMObject& CIMObject::addProperty(const CIMProperty& property) {
    initialized(_rep).addProperty(property);
    return *this;
}

CIMProperty CIMObject::getProperty(Uint32 index) { return initialized(_rep).properties.at(index); }

void CIMObject::removeProperty(Uint32 index) { initialized(_rep).removeProperty(index); }

}  // namespace Pegasus
