// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What a package registers, as the driver goes through it: class by class.
#ifndef VELMAR_CHECKS_DRIVER_REGISTEREDCLASSES_H
#define VELMAR_CHECKS_DRIVER_REGISTEREDCLASSES_H

#include <Pegasus/Common/CIMClass.h>
#include <velmar_embedded/Server.h>

#include <set>
#include <string>
#include <vector>

#include "model/Text.h"

namespace velmar_driver {

struct RegisteredClass {
    Pegasus::CIMNamespaceName nameSpace;
    Pegasus::CIMName name;
    Pegasus::CIMClass definition;  ///< with qualifiers; uninitialized for an unknown class
    std::set<velmar_embedded::ProviderType> types;

    bool serves(velmar_embedded::ProviderType type) const { return types.count(type) != 0; }
    std::string text() const { return velmar_embedded::utf8(name); }
};

/// The classes of all registrations, each once, in the order of their registration.
std::vector<RegisteredClass> registeredClasses(velmar_embedded::Server& server);

}  // namespace velmar_driver

#endif
