// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMClass.h>

#include "model/CIMReps.h"

namespace Pegasus {

namespace {

const std::shared_ptr<ObjectRep>& classRep(const CIMConstObject& object) {
    const std::shared_ptr<ObjectRep>& rep = HandleAccess::rep(object);
    if (!rep || !rep->isClass) {
        throw DynamicCastFailedException();
    }
    return rep;
}

}  // namespace

CIMConstClass::CIMConstClass(const CIMConstObject& object) : ObjectHandle(classRep(object)) {}

CIMConstClass::CIMConstClass(std::shared_ptr<ObjectRep> rep) : ObjectHandle(rep) {}

Boolean CIMConstClass::isAssociation() const {
    return hasTrueQualifier(initialized(_rep).qualifiers, "Association");
}

Boolean CIMConstClass::isAbstract() const {
    return hasTrueQualifier(initialized(_rep).qualifiers, "Abstract");
}

const CIMName& CIMConstClass::getSuperClassName() const { return initialized(_rep).superClassName; }

Uint32 CIMConstClass::findMethod(const CIMName& name) const {
    return initialized(_rep).methods.find(name);
}

CIMConstMethod CIMConstClass::getMethod(Uint32 index) const {
    return initialized(_rep).methods.at(index);
}

Uint32 CIMConstClass::getMethodCount() const { return initialized(_rep).methods.size(); }

void CIMConstClass::getKeyNames(Array<CIMName>& keyNames) const {
    Array<CIMName> names;
    for (const CIMProperty& property : initialized(_rep).properties) {
        if (isKey(property)) {
            names.append(property.getName());
        }
    }
    keyNames = names;
}

Boolean CIMConstClass::hasKeys() const {
    for (const CIMProperty& property : initialized(_rep).properties) {
        if (isKey(property)) {
            return true;
        }
    }
    return false;
}

CIMInstance CIMConstClass::buildInstance(Boolean includeQualifiers, Boolean includeClassOrigin,
                                         const CIMPropertyList& propertyList) const {
    const ObjectRep& rep = initialized(_rep);
    CIMInstance instance(rep.path.getClassName());
    if (includeQualifiers) {
        for (const CIMQualifier& qualifier : rep.qualifiers) {
            instance.addQualifier(qualifier.clone());
        }
    }
    for (const CIMProperty& declared : rep.properties) {
        if (!propertyList.isNull() && !propertyList.contains(declared.getName())) {
            continue;
        }
        CIMProperty property = declared.clone();
        property.setPropagated(false);
        if (!includeClassOrigin) {
            property.setClassOrigin(CIMName());
        }
        if (!includeQualifiers) {
            HandleAccess::rep(property)->qualifiers.clear();
        }
        instance.addProperty(property);
    }
    return instance;
}

Boolean CIMConstClass::identical(const CIMConstClass& cimClass) const {
    return initialized(_rep).identical(initialized(cimClass._rep));
}

CIMClass CIMConstClass::clone() const {
    return HandleAccess::handle<CIMClass>(initialized(_rep).clone());
}

CIMClass::CIMClass(const CIMObject& object) : CIMConstClass(classRep(object)) {}

CIMClass::CIMClass(const CIMName& className, const CIMName& superClassName)
    : CIMConstClass(std::make_shared<ObjectRep>(className, true)) {
    _rep->superClassName = superClassName;
}

void CIMClass::setPath(const CIMObjectPath& path) { initialized(_rep).setPath(path); }

void CIMClass::setSuperClassName(const CIMName& superClassName) {
    initialized(_rep).superClassName = superClassName;
}

CIMClass& CIMClass::addQualifier(const CIMQualifier& qualifier) {
    initialized(_rep).qualifiers.add(qualifier, "qualifier");
    return *this;
}

CIMQualifier CIMClass::getQualifier(Uint32 index) { return initialized(_rep).qualifiers.at(index); }

void CIMClass::removeQualifier(Uint32 index) { initialized(_rep).qualifiers.remove(index); }

CIMClass& CIMClass::addProperty(const CIMProperty& property) {
    initialized(_rep).addProperty(property);
    return *this;
}

CIMProperty CIMClass::getProperty(Uint32 index) { return initialized(_rep).properties.at(index); }

void CIMClass::removeProperty(Uint32 index) { initialized(_rep).removeProperty(index); }

CIMClass& CIMClass::addMethod(const CIMMethod& method) {
    initialized(_rep).methods.add(method, "method");
    return *this;
}

CIMMethod CIMClass::getMethod(Uint32 index) { return initialized(_rep).methods.at(index); }

void CIMClass::removeMethod(Uint32 index) { initialized(_rep).methods.remove(index); }

}  // namespace Pegasus
