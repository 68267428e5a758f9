// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "check/RegisteredClasses.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>

using namespace Pegasus;
using velmar_embedded::ProviderType;

namespace velmar_driver {

namespace {

RegisteredClass& entry(std::vector<RegisteredClass>& classes,
                       const velmar_embedded::Repository& schema, const CIMNamespaceName& nameSpace,
                       const CIMName& name) {
    const auto known = std::find_if(classes.begin(), classes.end(), [&](const auto& one) {
        return one.nameSpace == nameSpace && one.name == name;
    });
    if (known != classes.end()) {
        return *known;
    }
    classes.push_back({nameSpace, name, CIMClass(), {}});
    if (schema.hasClass(nameSpace, name)) {
        classes.back().definition = schema.getClass(nameSpace, name);
    }
    return classes.back();
}

}  // namespace

std::vector<RegisteredClass> registeredClasses(const velmar_embedded::Repository& schema,
                                               const Array<CIMInstance>& registrations) {
    std::vector<RegisteredClass> classes;
    for (Uint32 i = 0; i < registrations.size(); i++) {
        const CIMName name(valueOf<String>(registrations[i], "ClassName"));
        const auto nameSpaces = valueOf<Array<String>>(registrations[i], "Namespaces");
        const auto types = valueOf<Array<Uint16>>(registrations[i], "ProviderType");
        for (Uint32 n = 0; n < nameSpaces.size(); n++) {
            RegisteredClass& served = entry(classes, schema, CIMNamespaceName(nameSpaces[n]), name);
            for (Uint32 t = 0; t < types.size(); t++) {
                served.types.insert(static_cast<ProviderType>(types[t]));
            }
        }
    }
    return classes;
}

std::vector<RegisteredClass> registeredClasses(const velmar_embedded::Repository& repository) {
    return registeredClasses(
        repository, repository.instances(CIMNamespaceName(velmar_embedded::interopNamespace),
                                         CIMName("PG_ProviderCapabilities")));
}

}  // namespace velmar_driver
