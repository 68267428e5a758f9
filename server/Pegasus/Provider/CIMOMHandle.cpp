// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Provider/CIMOMHandle.h>

#include <utility>

#include "client/ClientConnection.h"
#include "client/Operations.h"

namespace Pegasus {

using namespace velmar_embedded::parameters;
using velmar_embedded::Operations;

CIMOMHandle::CIMOMHandle() : _channel(std::make_shared<velmar_embedded::HandleConnection>()) {}

CIMOMHandle::CIMOMHandle(std::shared_ptr<velmar_embedded::Channel> channel)
    : _channel(std::move(channel)) {}

CIMOMHandle::CIMOMHandle(const CIMOMHandle& other) = default;

CIMOMHandle::~CIMOMHandle() {}

CIMOMHandle& CIMOMHandle::operator=(const CIMOMHandle& other) = default;

CIMClass CIMOMHandle::getClass(Context context, NameSpace in, Name className, Flag local,
                               Flag qualifiers, Flag origin, List list) {
    return Operations(_channel, &context).getClass(in, className, local, qualifiers, origin, list);
}

Array<CIMClass> CIMOMHandle::enumerateClasses(Context context, NameSpace in, Name className,
                                              Flag deep, Flag local, Flag qualifiers, Flag origin) {
    return Operations(_channel, &context)
        .enumerateClasses(in, className, deep, local, qualifiers, origin);
}

Array<CIMName> CIMOMHandle::enumerateClassNames(Context context, NameSpace in, Name className,
                                                Flag deep) {
    return Operations(_channel, &context).enumerateClassNames(in, className, deep);
}

CIMInstance CIMOMHandle::getInstance(Context context, NameSpace in, Path path, Flag local,
                                     Flag qualifiers, Flag origin, List list) {
    return Operations(_channel, &context).getInstance(in, path, local, qualifiers, origin, list);
}

Array<CIMInstance> CIMOMHandle::enumerateInstances(Context context, NameSpace in, Name className,
                                                   Flag deep, Flag local, Flag qualifiers,
                                                   Flag origin, List list) {
    return Operations(_channel, &context)
        .enumerateInstances(in, className, deep, local, qualifiers, origin, list);
}

Array<CIMObjectPath> CIMOMHandle::enumerateInstanceNames(Context context, NameSpace in,
                                                         Name className) {
    return Operations(_channel, &context).enumerateInstanceNames(in, className);
}

CIMObjectPath CIMOMHandle::createInstance(Context context, NameSpace in, Instance instance) {
    return Operations(_channel, &context).createInstance(in, instance);
}

void CIMOMHandle::modifyInstance(Context context, NameSpace in, Instance instance, Flag qualifiers,
                                 List list) {
    return Operations(_channel, &context).modifyInstance(in, instance, qualifiers, list);
}

void CIMOMHandle::deleteInstance(Context context, NameSpace in, Path path) {
    return Operations(_channel, &context).deleteInstance(in, path);
}

Array<CIMObject> CIMOMHandle::associators(Context context, NameSpace in, Path path, Name by,
                                          Name result, Role role, Role resultRole, Flag qualifiers,
                                          Flag origin, List list) {
    return Operations(_channel, &context)
        .associators(in, path, by, result, role, resultRole, qualifiers, origin, list);
}

Array<CIMObjectPath> CIMOMHandle::associatorNames(Context context, NameSpace in, Path path, Name by,
                                                  Name result, Role role, Role resultRole) {
    return Operations(_channel, &context).associatorNames(in, path, by, result, role, resultRole);
}

Array<CIMObject> CIMOMHandle::references(Context context, NameSpace in, Path path, Name result,
                                         Role role, Flag qualifiers, Flag origin, List list) {
    return Operations(_channel, &context)
        .references(in, path, result, role, qualifiers, origin, list);
}

Array<CIMObjectPath> CIMOMHandle::referenceNames(Context context, NameSpace in, Path path,
                                                 Name result, Role role) {
    return Operations(_channel, &context).referenceNames(in, path, result, role);
}

CIMValue CIMOMHandle::invokeMethod(Context context, NameSpace in, Path path, Name method, In given,
                                   Out returned) {
    return Operations(_channel, &context).invokeMethod(in, path, method, given, returned);
}

void CIMOMHandle::disallowProviderUnload() { _channel->keepLoaded(true); }

void CIMOMHandle::allowProviderUnload() { _channel->keepLoaded(false); }

}  // namespace Pegasus
