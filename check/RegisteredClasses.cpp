// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "check/RegisteredClasses.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>

using namespace Pegasus;
using velmar_embedded::ProviderType;

namespace velmar_driver {

namespace {

template <class T>
T valueOf(const CIMInstance& instance, const char* property) {
    T result;
    const Uint32 index = instance.findProperty(CIMName(property));
    if (index != PEG_NOT_FOUND) {
        instance.getProperty(index).getValue().get(result);
    }
    return result;
}

RegisteredClass& entry(std::vector<RegisteredClass>& classes, velmar_embedded::Server& server,
                       const CIMNamespaceName& nameSpace, const CIMName& name) {
    const auto known = std::find_if(classes.begin(), classes.end(), [&](const auto& one) {
        return one.nameSpace == nameSpace && one.name == name;
    });
    if (known != classes.end()) {
        return *known;
    }
    classes.push_back({nameSpace, name, CIMClass(), {}});
    if (server.repository().hasClass(nameSpace, name)) {
        classes.back().definition = server.repository().getClass(nameSpace, name);
    }
    return classes.back();
}

}  // namespace

std::vector<RegisteredClass> registeredClasses(velmar_embedded::Server& server) {
    const Array<CIMInstance> registrations = server.repository().instances(
        CIMNamespaceName(velmar_embedded::interopNamespace), CIMName("PG_ProviderCapabilities"));
    std::vector<RegisteredClass> classes;
    for (Uint32 i = 0; i < registrations.size(); i++) {
        const CIMName name(valueOf<String>(registrations[i], "ClassName"));
        const auto nameSpaces = valueOf<Array<String>>(registrations[i], "Namespaces");
        const auto types = valueOf<Array<Uint16>>(registrations[i], "ProviderType");
        for (Uint32 n = 0; n < nameSpaces.size(); n++) {
            RegisteredClass& served = entry(classes, server, CIMNamespaceName(nameSpaces[n]), name);
            for (Uint32 t = 0; t < types.size(); t++) {
                served.types.insert(static_cast<ProviderType>(types[t]));
            }
        }
    }
    return classes;
}

}  // namespace velmar_driver
