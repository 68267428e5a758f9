// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What a CIM server answers itself in its interop namespace: what it is, which namespaces it has,
// and subscriptions as instances that clients create and delete.
#ifndef VELMAR_EMBEDDED_INTEROP_INTEROP_H
#define VELMAR_EMBEDDED_INTEROP_INTEROP_H

#include <functional>
#include <memory>
#include <string>

#include <velmar_embedded/schema/Repository.h>
#include "indications/Destination.h"
#include "indications/Subscriptions.h"
#include "providers/Registry.h"

namespace velmar_embedded {

/// What the providers of the interop namespace need of the server; outlives them.
struct InteropServices {
    Repository& repository;
    Subscriptions& subscriptions;
    Notices& notices;
    /// Null where nothing delivers to other processes.
    std::function<std::shared_ptr<Destinations>()> destinations;
    /// For the handle of the provider that is named.
    std::function<std::shared_ptr<Channel>(const std::string&)> makeChannel;
};

/// Declares the classes and registers their providers. The namespace must be there.
void addInterop(const InteropServices& services, Registry& registry);

// What addInterop registers.
Pegasus::CIMProvider* newServerProvider(const InteropServices& services);
Pegasus::CIMProvider* newSubscriptionProvider(const InteropServices& services);

}  // namespace velmar_embedded

#endif
