// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMParameter.h>

#include "model/CIMReps.h"

namespace Pegasus {

const CIMName& CIMConstParameter::getName() const { return initialized(_rep).name; }

CIMType CIMConstParameter::getType() const { return initialized(_rep).type; }

Boolean CIMConstParameter::isArray() const { return initialized(_rep).isArray; }

Uint32 CIMConstParameter::getArraySize() const { return initialized(_rep).arraySize; }

const CIMName& CIMConstParameter::getReferenceClassName() const {
    return initialized(_rep).referenceClassName;
}

Uint32 CIMConstParameter::findQualifier(const CIMName& name) const {
    return initialized(_rep).qualifiers.find(name);
}

CIMConstQualifier CIMConstParameter::getQualifier(Uint32 index) const {
    return initialized(_rep).qualifiers.at(index);
}

Uint32 CIMConstParameter::getQualifierCount() const { return initialized(_rep).qualifiers.size(); }

Boolean CIMConstParameter::identical(const CIMConstParameter& parameter) const {
    const Rep& a = initialized(_rep);
    const Rep& b = initialized(parameter._rep);
    return &a == &b ||
           (a.name == b.name && a.type == b.type && a.isArray == b.isArray &&
            a.arraySize == b.arraySize && a.referenceClassName == b.referenceClassName &&
            a.qualifiers.identical(b.qualifiers));
}

CIMParameter CIMConstParameter::clone() const {
    auto copy = std::make_shared<Rep>(initialized(_rep));
    copy->qualifiers = _rep->qualifiers.clone();
    return HandleAccess::handle<CIMParameter>(copy);
}

CIMParameter::CIMParameter(const CIMName& name, CIMType type, Boolean isArray, Uint32 arraySize,
                           const CIMName& referenceClassName) {
    notNull(name);
    if ((arraySize != 0 && !isArray) ||
        (type != CIMTYPE_REFERENCE && !referenceClassName.isNull())) {
        throw TypeMismatchException();
    }
    _rep = std::make_shared<Rep>(Rep{name, type, isArray, arraySize, referenceClassName});
}

CIMParameter& CIMParameter::addQualifier(const CIMQualifier& qualifier) {
    initialized(_rep).qualifiers.add(qualifier, "qualifier");
    return *this;
}

CIMQualifier CIMParameter::getQualifier(Uint32 index) {
    return initialized(_rep).qualifiers.at(index);
}

void CIMParameter::removeQualifier(Uint32 index) { initialized(_rep).qualifiers.remove(index); }

}  // namespace Pegasus
