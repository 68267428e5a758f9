// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The module's way in: makes the provider objects that SiteRegistration.mof names.
#include <Pegasus/Common/Config.h>

#include "AlertProvider.h"
#include "ComponentProvider.h"
#include "DomainProvider.h"
#include "SystemProviders.h"
#include "TypedProviders.h"

using namespace Pegasus;

namespace {

using site::cim::make;  // for all providers, those by hand too

const struct {
    const char* name;
    CIMProvider* (*make)();
} PROVIDERS[] = {
    {"SiteHostingSystems", make<site::HostingSystemProvider>},
    {"SitePartitions", make<site::PartitionProvider>},
    {"SiteDomains", make<site::DomainProvider>},
    {"SiteControlPoints", make<site::ControlPointProvider>},
    {"SitePackages", make<site::PackageProvider>},
    {"SiteComponents", make<site::ComponentProvider>},
    {"SiteHosting", make<site::HostingProvider>},
    {"SitePackaging", make<site::PackagingProvider>},
    {"SiteAlerts", make<site::AlertProvider>},
};

}  // namespace

// Called once for each registered provider name. The object belongs to the server, whose last call,
// terminate, deletes it.
extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& providerName) {
    for (const auto& provider : PROVIDERS) {
        if (providerName == provider.name) {
            return provider.make();
        }
    }
    return nullptr;
}
