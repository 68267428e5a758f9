// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMProperty.h>

#include "model/CIMReps.h"

namespace Pegasus {

const CIMName& CIMConstProperty::getName() const { return initialized(_rep).name; }

const CIMValue& CIMConstProperty::getValue() const { return initialized(_rep).value; }

CIMType CIMConstProperty::getType() const { return initialized(_rep).value.getType(); }

Boolean CIMConstProperty::isArray() const { return initialized(_rep).value.isArray(); }

Uint32 CIMConstProperty::getArraySize() const { return initialized(_rep).arraySize; }

const CIMName& CIMConstProperty::getReferenceClassName() const {
    return initialized(_rep).referenceClassName;
}

const CIMName& CIMConstProperty::getClassOrigin() const { return initialized(_rep).classOrigin; }

Boolean CIMConstProperty::getPropagated() const { return initialized(_rep).propagated; }

Uint32 CIMConstProperty::findQualifier(const CIMName& name) const {
    return initialized(_rep).qualifiers.find(name);
}

CIMConstQualifier CIMConstProperty::getQualifier(Uint32 index) const {
    return initialized(_rep).qualifiers.at(index);
}

Uint32 CIMConstProperty::getQualifierCount() const { return initialized(_rep).qualifiers.size(); }

Boolean CIMConstProperty::identical(const CIMConstProperty& property) const {
    const Rep& a = initialized(_rep);
    const Rep& b = initialized(property._rep);
    return &a == &b ||
           (a.name == b.name && a.value == b.value && a.arraySize == b.arraySize &&
            a.referenceClassName == b.referenceClassName && a.classOrigin == b.classOrigin &&
            a.propagated == b.propagated && a.qualifiers.identical(b.qualifiers));
}

CIMProperty CIMConstProperty::clone() const {
    const Rep& rep = initialized(_rep);
    CIMProperty copy(rep.name, rep.value, 0, rep.referenceClassName, rep.classOrigin,
                     rep.propagated);
    copy._rep->arraySize = rep.arraySize;  // setValue may have brought a value of another size
    copy._rep->qualifiers = rep.qualifiers.clone();
    return copy;
}

CIMProperty::CIMProperty(const CIMName& name, const CIMValue& value, Uint32 arraySize,
                         const CIMName& referenceClassName, const CIMName& classOrigin,
                         Boolean propagated) {
    const bool isReference = value.getType() == CIMTYPE_REFERENCE;
    notNull(name);
    if ((isReference && value.isArray()) || (!isReference && !referenceClassName.isNull()) ||
        (arraySize != 0 && arraySize != value.getArraySize())) {
        throw TypeMismatchException();
    }
    _rep = std::make_shared<Rep>();
    _rep->name = name;
    _rep->value = value;
    _rep->arraySize = arraySize;
    _rep->referenceClassName = referenceClassName;
    _rep->classOrigin = classOrigin;
    _rep->propagated = propagated;
}

void CIMProperty::setName(const CIMName& name) {
    Rep& rep = initialized(_rep);
    if (rep.owners > 0 && rep.name != name) {
        throw Exception("a property cannot be renamed while it is in a class or an instance");
    }
    rep.name = notNull(name);
}

void CIMProperty::setValue(const CIMValue& value) {
    Rep& rep = initialized(_rep);
    if (!value.typeCompatible(rep.value)) {
        throw TypeMismatchException();
    }
    rep.value = value;
}

void CIMProperty::setClassOrigin(const CIMName& classOrigin) {
    initialized(_rep).classOrigin = classOrigin;
}

void CIMProperty::setPropagated(Boolean propagated) { initialized(_rep).propagated = propagated; }

CIMProperty& CIMProperty::addQualifier(const CIMQualifier& qualifier) {
    initialized(_rep).qualifiers.add(qualifier, "qualifier");
    return *this;
}

CIMQualifier CIMProperty::getQualifier(Uint32 index) {
    return initialized(_rep).qualifiers.at(index);
}

void CIMProperty::removeQualifier(Uint32 index) { initialized(_rep).qualifiers.remove(index); }

}  // namespace Pegasus
