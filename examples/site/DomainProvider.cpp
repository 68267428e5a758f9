// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "DomainProvider.h"

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/System.h>

#include "OpenSite.h"

using namespace Pegasus;

namespace site {

namespace {

// Host and namespace belong to the path: association providers find an end only by its full path,
// and the server gives requests exactly these.
CIMObjectPath pathOf(const String& name) {
    // The explicit String matters: CIMValue("text") is the boolean TRUE.
    const Array<CIMKeyBinding> keys(1, CIMKeyBinding(CIMName("Name"), CIMValue(name)));
    CIMObjectPath path(String(), CIMNamespaceName("root/velmar_remote"),
                       CIMName("QOR_MAPAdminDomain"), keys);
    path.setHost(System::getHostName());  // which takes the local host's name in any form
    return path;
}

// Key property and key binding hold the same, since a server rebuilds keys from properties.
CIMInstance instanceOf(const Domain& domain) {
    const String name(domain.name.c_str());
    CIMInstance instance(CIMName("QOR_MAPAdminDomain"));
    instance.setPath(pathOf(name));
    instance.addProperty(CIMProperty(CIMName("Name"), CIMValue(name)));
    instance.addProperty(CIMProperty(CIMName("ElementName"), CIMValue(name)));
    return instance;
}

}  // namespace

DomainProvider::DomainProvider() : CachedInstanceProvider("QOR_MAPAdminDomain") {}

void DomainProvider::initialize(CIMOMHandle& cimom) {
    CachedInstanceProvider::initialize(cimom);
    _site = openSite();
    for (const Domain& domain : _site->domains) {
        _cache.insert(instanceOf(domain));
    }
}

}  // namespace site
