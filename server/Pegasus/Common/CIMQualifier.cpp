// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMQualifier.h>

#include "model/CIMReps.h"

namespace Pegasus {

const CIMName& CIMConstQualifier::getName() const { return initialized(_rep).name; }

CIMType CIMConstQualifier::getType() const { return initialized(_rep).value.getType(); }

Boolean CIMConstQualifier::isArray() const { return initialized(_rep).value.isArray(); }

const CIMValue& CIMConstQualifier::getValue() const { return initialized(_rep).value; }

const CIMFlavor& CIMConstQualifier::getFlavor() const { return initialized(_rep).flavor; }

Boolean CIMConstQualifier::identical(const CIMConstQualifier& qualifier) const {
    const Rep& a = initialized(_rep);
    const Rep& b = initialized(qualifier._rep);
    return &a == &b || (a.name == b.name && a.value == b.value && a.flavor.equal(b.flavor) &&
                        a.propagated == b.propagated);
}

CIMQualifier CIMConstQualifier::clone() const {
    return HandleAccess::handle<CIMQualifier>(std::make_shared<Rep>(initialized(_rep)));
}

CIMQualifier::CIMQualifier(const CIMName& name, const CIMValue& value, const CIMFlavor& flavor,
                           Boolean propagated) {
    _rep = std::make_shared<Rep>(Rep{notNull(name), value, flavor, propagated});
}

void CIMQualifier::setValue(const CIMValue& value) {
    Rep& rep = initialized(_rep);
    if (!value.typeCompatible(rep.value)) {
        throw TypeMismatchException();
    }
    rep.value = value;
}

}  // namespace Pegasus
