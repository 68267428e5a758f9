// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/MessageLoader.h>

#include <Pegasus/Common/InternalException.h>

#include "model/CIMReps.h"

namespace Pegasus {

namespace {

const std::shared_ptr<ObjectRep>& instanceRep(const CIMConstObject& object) {
    const std::shared_ptr<ObjectRep>& rep = HandleAccess::rep(object);
    if (!rep || rep->isClass) {
        throw DynamicCastFailedException();
    }
    return rep;
}

}  // namespace

CIMConstInstance::CIMConstInstance(const CIMConstObject& object)
    : ObjectHandle(instanceRep(object)) {}

CIMConstInstance::CIMConstInstance(std::shared_ptr<ObjectRep> rep) : ObjectHandle(rep) {}

CIMObjectPath CIMConstInstance::buildPath(const CIMConstClass& cimClass) const {
    const ObjectRep& rep = initialized(_rep);
    Array<CIMKeyBinding> keys;
    for (const CIMProperty& declared : initialized(HandleAccess::rep(cimClass)).properties) {
        if (!isKey(declared)) {
            continue;
        }
        const CIMName& name = declared.getName();
        const Uint32 index = rep.properties.find(name);
        if (index == PEG_NOT_FOUND) {
            throw NoSuchProperty(name.getString());
        }
        keys.append(CIMKeyBinding(name, rep.properties.at(index).getValue()));
    }
    return CIMObjectPath(String(), CIMNamespaceName(), rep.path.getClassName(), keys);
}

Boolean CIMConstInstance::identical(const CIMConstInstance& instance) const {
    return initialized(_rep).identical(initialized(instance._rep));
}

CIMInstance CIMConstInstance::clone() const {
    return HandleAccess::handle<CIMInstance>(initialized(_rep).clone());
}

CIMInstance::CIMInstance(const CIMObject& object) : CIMConstInstance(instanceRep(object)) {}

CIMInstance::CIMInstance(const CIMName& className)
    : CIMConstInstance(std::make_shared<ObjectRep>(className, false)) {}

void CIMInstance::setPath(const CIMObjectPath& path) { initialized(_rep).setPath(path); }

CIMInstance& CIMInstance::addQualifier(const CIMQualifier& qualifier) {
    initialized(_rep).qualifiers.add(qualifier, "qualifier");
    return *this;
}

CIMQualifier CIMInstance::getQualifier(Uint32 index) {
    return initialized(_rep).qualifiers.at(index);
}

void CIMInstance::removeQualifier(Uint32 index) { initialized(_rep).qualifiers.remove(index); }

CIMInstance& CIMInstance::addProperty(const CIMProperty& property) {
    initialized(_rep).addProperty(property);
    return *this;
}

CIMProperty CIMInstance::getProperty(Uint32 index) {
    return initialized(_rep).properties.at(index);
}

void CIMInstance::removeProperty(Uint32 index) { initialized(_rep).removeProperty(index); }

void CIMInstance::instanceFilter(Boolean includeQualifiers, Boolean includeClassOrigin,
                                 const CIMPropertyList& propertyList) {
    ObjectRep& rep = initialized(_rep);
    if (!includeQualifiers) {
        rep.qualifiers.clear();
    }
    for (Uint32 i = rep.properties.size(); i-- > 0;) {
        const CIMProperty& property = rep.properties.at(i);
        if (!propertyList.isNull() && !propertyList.contains(property.getName())) {
            rep.removeProperty(i);
            continue;
        }
        if (!includeQualifiers) {
            HandleAccess::rep(property)->qualifiers.clear();
        }
        if (!includeClassOrigin) {
            HandleAccess::rep(property)->classOrigin.clear();
        }
    }
}

}  // namespace Pegasus
