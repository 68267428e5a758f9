// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMMethod.h>

#include "model/CIMReps.h"

namespace Pegasus {

std::atomic<bool> HandleAccess::methodsRenamed{false};

const CIMName& CIMConstMethod::getName() const { return initialized(_rep).name; }

CIMType CIMConstMethod::getType() const { return initialized(_rep).type; }

const CIMName& CIMConstMethod::getClassOrigin() const { return initialized(_rep).classOrigin; }

Boolean CIMConstMethod::getPropagated() const { return initialized(_rep).propagated; }

Uint32 CIMConstMethod::findQualifier(const CIMName& name) const {
    return initialized(_rep).qualifiers.find(name);
}

CIMConstQualifier CIMConstMethod::getQualifier(Uint32 index) const {
    return initialized(_rep).qualifiers.at(index);
}

Uint32 CIMConstMethod::getQualifierCount() const { return initialized(_rep).qualifiers.size(); }

Uint32 CIMConstMethod::findParameter(const CIMName& name) const {
    return initialized(_rep).parameters.find(name);
}

CIMConstParameter CIMConstMethod::getParameter(Uint32 index) const {
    return initialized(_rep).parameters.at(index);
}

Uint32 CIMConstMethod::getParameterCount() const { return initialized(_rep).parameters.size(); }

Boolean CIMConstMethod::identical(const CIMConstMethod& method) const {
    const Rep& a = initialized(_rep);
    const Rep& b = initialized(method._rep);
    return &a == &b || (a.name == b.name && a.type == b.type && a.classOrigin == b.classOrigin &&
                        a.propagated == b.propagated && a.qualifiers.identical(b.qualifiers) &&
                        a.parameters.identical(b.parameters));
}

CIMMethod CIMConstMethod::clone() const {
    auto copy = std::make_shared<Rep>(initialized(_rep));
    copy->qualifiers = _rep->qualifiers.clone();
    copy->parameters = _rep->parameters.clone();
    return HandleAccess::handle<CIMMethod>(copy);
}

CIMMethod::CIMMethod(const CIMName& name, CIMType type, const CIMName& classOrigin,
                     Boolean propagated) {
    _rep = std::make_shared<Rep>(Rep{notNull(name), type, classOrigin, propagated});
}

void CIMMethod::setName(const CIMName& name) {
    initialized(_rep).name = notNull(name);
    HandleAccess::methodsRenamed = true;
}

void CIMMethod::setType(CIMType type) { initialized(_rep).type = type; }

void CIMMethod::setClassOrigin(const CIMName& classOrigin) {
    initialized(_rep).classOrigin = classOrigin;
}

void CIMMethod::setPropagated(Boolean propagated) { initialized(_rep).propagated = propagated; }

CIMMethod& CIMMethod::addQualifier(const CIMQualifier& qualifier) {
    initialized(_rep).qualifiers.add(qualifier, "qualifier");
    return *this;
}

CIMQualifier CIMMethod::getQualifier(Uint32 index) {
    return initialized(_rep).qualifiers.at(index);
}

void CIMMethod::removeQualifier(Uint32 index) { initialized(_rep).qualifiers.remove(index); }

CIMMethod& CIMMethod::addParameter(const CIMParameter& parameter) {
    initialized(_rep).parameters.add(parameter, "parameter");
    return *this;
}

CIMParameter CIMMethod::getParameter(Uint32 index) {
    return initialized(_rep).parameters.at(index);
}

}  // namespace Pegasus
