// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMParamValue.h>

#include "model/CIMReps.h"

namespace Pegasus {

struct CIMParamValue::Rep {
    String name;
    CIMValue value;
    Boolean isTyped;
};

CIMParamValue::CIMParamValue(String parameterName, CIMValue value, Boolean isTyped)
    : _rep(std::make_shared<Rep>(Rep{String(), value, isTyped})) {
    setParameterName(parameterName);
}

String CIMParamValue::getParameterName() const { return initialized(_rep).name; }

CIMValue CIMParamValue::getValue() const { return initialized(_rep).value; }

Boolean CIMParamValue::isTyped() const { return initialized(_rep).isTyped; }

void CIMParamValue::setParameterName(String& parameterName) {
    if (parameterName.size() == 0) {
        throw UninitializedObjectException();
    }
    initialized(_rep).name = parameterName;
}

void CIMParamValue::setValue(CIMValue& value) { initialized(_rep).value = value; }

void CIMParamValue::setIsTyped(Boolean isTyped) { initialized(_rep).isTyped = isTyped; }

CIMParamValue CIMParamValue::clone() const {
    CIMParamValue copy;
    copy._rep = std::make_shared<Rep>(initialized(_rep));
    return copy;
}

}  // namespace Pegasus
