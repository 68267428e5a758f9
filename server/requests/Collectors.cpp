// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "requests/Collectors.h"

#include <Pegasus/Common/Exception.h>

using namespace Pegasus;

namespace velmar_embedded {

namespace {

void checkContents(bool contents) {
    if (!contents) {
        throw CIMException(CIM_ERR_FAILED, String("The object is not initialized."));
    }
}

}  // namespace

void checkDelivered(const CIMInstance& instance) { checkContents(!instance.isUninitialized()); }

void checkDelivered(const CIMObject& object) { checkContents(!object.isUninitialized()); }

void checkDelivered(const CIMObjectPath& path) { checkContents(!path.getClassName().isNull()); }

void MethodResultCollector::deliverParamValue(const CIMParamValue& parameter) {
    tellDelivered(parameter);
    checkContents(!parameter.isUninitialized());
    _parameters.append(parameter);
}

void MethodResultCollector::deliverParamValue(const Array<CIMParamValue>& parameters) {
    for (Uint32 i = 0; i < parameters.size(); i++) {
        deliverParamValue(parameters[i]);
    }
}

void MethodResultCollector::deliver(const CIMValue& returnValue) {
    tellDelivered(returnValue);
    checkContents(!returnValue.isNull());
    _returnValue = returnValue;
}

CIMValue MethodResultCollector::returnValue() const {
    return _complete ? _returnValue : CIMValue();
}

Array<CIMParamValue> MethodResultCollector::parameters() const {
    return _complete ? _parameters : Array<CIMParamValue>();
}

}  // namespace velmar_embedded
