// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// invokeMethod: to the provider registered for exactly the class and the method.
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include "requests/Collectors.h"
#include "requests/Dispatch.h"
#include "requests/ParameterConversion.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

// A client may leave the type of a parameter open: it gets the declared one.
Array<CIMParamValue> typedParameters(const Services& services, const Request& request) {
    Array<CIMParamValue> parameters = request.parameters;
    CIMClass cimClass;
    for (Uint32 i = 0; i < parameters.size(); i++) {
        if (parameters[i].isTyped() || !CIMName::legal(parameters[i].getParameterName())) {
            continue;
        }
        if (cimClass.isUninitialized()) {
            cimClass = services.repository.getClass(request.nameSpace, request.path.getClassName());
        }
        const Uint32 method = cimClass.findMethod(request.methodName);
        if (method == PEG_NOT_FOUND) {
            continue;
        }
        const CIMName name(parameters[i].getParameterName());
        const Uint32 declared = cimClass.getMethod(method).findParameter(name);
        if (declared == PEG_NOT_FOUND) {
            continue;
        }
        const CIMConstParameter parameter = cimClass.getMethod(method).getParameter(declared);
        parameters[i] =
            CIMParamValue(parameters[i].getParameterName(),
                          typedValue(parameters[i].getParameterName(), parameters[i].getValue(),
                                     parameter.getType(), parameter.isArray()));
    }
    return parameters;
}

}  // namespace

Answer serveMethod(Services& services, const Request& request) {
    const CIMName& className = request.path.getClassName();
    requireClass(services, request.nameSpace, className, CIM_ERR_NOT_FOUND);
    LoadedProvider* provider =
        services.registry.findMethod(request.nameSpace, className, request.methodName);
    if (!provider) {
        throw CIMException(CIM_ERR_METHOD_NOT_AVAILABLE, request.methodName.getString());
    }
    const CIMObjectPath path = providerPath(request, className, request.path.getKeyBindings());
    const Array<CIMParamValue> parameters =
        request.fromHandle ? request.parameters : typedParameters(services, request);
    MethodResultCollector handler;
    Answer answer;
    callProvider<CIMMethodProvider>(
        services, *provider, request, path, className, handler, answer, [&](auto& object) {
            object.invokeMethod(request.context, path, request.methodName, parameters, handler);
        });
    answer.returnValue = handler.returnValue();
    answer.parameters = handler.parameters();
    return answer;
}

}  // namespace velmar_embedded
