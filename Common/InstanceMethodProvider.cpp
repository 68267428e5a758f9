// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "InstanceMethodProvider.h"

#include <Pegasus/Common/Exception.h>

#include "Internal.h"

using namespace Pegasus;

namespace velmar_remote {

InstanceMethodProvider::InstanceMethodProvider() {}

InstanceMethodProvider::InstanceMethodProvider(const String& CIMClassName)
    : CachedInstanceProvider(CIMClassName) {}

InstanceMethodProvider::~InstanceMethodProvider() {}

void InstanceMethodProvider::invokeMethod(const OperationContext& context,
                                          const CIMObjectPath& instanceReference,
                                          const CIMName& methodName,
                                          const Array<CIMParamValue>& inParameters,
                                          MethodResultResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "InstanceMethodProvider::invokeMethod");
    handler.processing();
    CIMInstance inst{CIMName(_CIMClassName)};
    if (_cache.lookup(instanceReference, inst)) {
        fillProperties(context, inst, CIMPropertyList());
    } else {
        inst.setPath(instanceReference);
    }
    Array<CIMParamValue> outParameters;
    const CIMValue retval = callMethod(context, inst, methodName, inParameters, outParameters);
    if (!retval.isNull()) {
        handler.deliver(retval);
    }
    if (outParameters.size() > 0) {
        handler.deliverParamValue(outParameters);
    }
    handler.complete();
}

CIMValue InstanceMethodProvider::callMethod(const OperationContext&, const CIMInstance&,
                                            const CIMName&, const Array<CIMParamValue>&,
                                            Array<CIMParamValue>&) {
    TraceScope trace(__FILE__, __LINE__, "InstanceMethodProvider::callMethod");
    throw CIMException(CIM_ERR_NOT_SUPPORTED, String::EMPTY);
}

}  // namespace velmar_remote
