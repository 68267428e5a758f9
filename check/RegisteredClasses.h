// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What a package registers, as the driver goes through it: class by class.
#ifndef VELMAR_CHECKS_DRIVER_REGISTEREDCLASSES_H
#define VELMAR_CHECKS_DRIVER_REGISTEREDCLASSES_H

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/Exception.h>
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

/// The classes of these PG_ProviderCapabilities, each once, in the order of their registration.
std::vector<RegisteredClass> registeredClasses(
    const velmar_embedded::Repository& schema,
    const Pegasus::Array<Pegasus::CIMInstance>& capabilities);
/// The same of all that a server registers.
std::vector<RegisteredClass> registeredClasses(const velmar_embedded::Repository& repository);

/// A property's value; T() where it is missing, null or of another type.
template <class T>
T valueOf(const Pegasus::CIMConstInstance& instance, const char* property) {
    using Pegasus::Uint32;  // in PEG_NOT_FOUND
    T result{};
    const Uint32 index = instance.findProperty(Pegasus::CIMName(property));
    if (index != PEG_NOT_FOUND) {
        try {
            instance.getProperty(index).getValue().get(result);
        } catch (const Pegasus::TypeMismatchException&) {
        }
    }
    return result;
}

}  // namespace velmar_driver

#endif
