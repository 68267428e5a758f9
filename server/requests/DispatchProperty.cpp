// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// GetProperty and SetProperty of DSP0200, as operations on the instance.
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/Exception.h>

#include <optional>

#include "requests/Dispatch.h"
#include "requests/ParameterConversion.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

// A property of an instance or a class.
template <class Object>
auto propertyIn(const Object& object, const CIMName& name) {
    const Uint32 index = object.findProperty(name);
    if (index == PEG_NOT_FOUND) {
        throw CIMException(CIM_ERR_NO_SUCH_PROPERTY, name.getString());
    }
    return object.getProperty(index);
}

// DSP0200 has an error of its own for a value that does not fit.
CIMValue valueFor(const CIMConstProperty& declared, const CIMValue& given) {
    std::optional<CIMValue> value;
    const String name = declared.getName().getString();
    failureOf([&] { value = typedValue(name, given, declared.getType(), declared.isArray()); });
    if (!value || value->getType() != declared.getType() ||
        value->isArray() != declared.isArray()) {
        throw CIMException(CIM_ERR_TYPE_MISMATCH,
                           name + String(": expected ") + cimTypeToString(declared.getType()) +
                               String(declared.isArray() ? "[]" : "") + String(", got \"") +
                               given.toString() + String("\""));
    }
    return *value;
}

Request instanceRequest(const Request& request, Operation operation) {
    Request whole = request;
    whole.operation = operation;
    whole.sent = &request;
    Array<CIMName> names;
    names.append(request.propertyName);
    whole.propertyList = CIMPropertyList(names);
    return whole;
}

Answer setProperty(Services& services, const Request& request) {
    const CIMName& className = request.path.getClassName();
    requireClass(services, request.nameSpace, className, CIM_ERR_INVALID_CLASS);
    const CIMClass cimClass = services.repository.getClass(request.nameSpace, className);
    const CIMConstProperty declared = propertyIn(cimClass, request.propertyName);
    const CIMValue value = valueFor(declared, request.propertyValue);
    Request whole = instanceRequest(request, Operation::ModifyInstance);
    whole.instance = CIMInstance(className);
    whole.instance.setPath(request.path);
    whole.instance.addProperty(CIMProperty(declared.getName(), value));
    return serveInstance(services, whole);
}

}  // namespace

Answer serveProperty(Services& services, const Request& request) {
    if (request.operation == Operation::SetProperty) {
        return setProperty(services, request);
    }
    const Answer whole = serveInstance(services, instanceRequest(request, Operation::GetInstance));
    Answer answer;
    answer.guards = whole.guards;
    if (whole.instances.size() > 0) {
        const auto property = propertyIn(whole.instances[0], request.propertyName);
        answer.returnValue = property.getValue();
    }
    return answer;
}

}  // namespace velmar_embedded
