// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The module's way in: makes the provider objects that SiteRegistration.mof names.
#include <Common/CachedInstanceProvider.h>
#include <Common/InstanceAssociationProvider.h>
#include <Pegasus/Common/Config.h>

#include <memory>

#include "AlertProvider.h"
#include "OpenSite.h"
#include "SiteModel.h"
#include "SystemProviders.h"

using namespace Pegasus;

namespace site {

namespace {

typedef Array<CIMInstance> (*InstancesOf)(const Site& site);

// Instances that are only read: nothing but the cache's contents is needed.
class ElementProvider : public velmar_remote::CachedInstanceProvider {
 public:
    ElementProvider(const char* className, InstancesOf instancesOf)
        : CachedInstanceProvider(className), _instancesOf(instancesOf) {}

    void initialize(CIMOMHandle& cimom) override {
        CachedInstanceProvider::initialize(cimom);
        _site = openSite();
        _cache.insert(_instancesOf(*_site));
    }

 private:
    InstancesOf _instancesOf;
    std::shared_ptr<const Site> _site;
};

// Associations whose two ends are keyed. An end may also be a class path, which stands for all
// instances of its class; but deleting any one of them then deletes that association for all.
class LinkProvider : public velmar_remote::InstanceAssociationProvider {
 public:
    LinkProvider(const char* className, const char* leftName, const char* leftClass,
                 const char* rightName, const char* rightClass, InstancesOf instancesOf)
        : InstanceAssociationProvider(className, leftName, leftClass, rightName, rightClass),
          _instancesOf(instancesOf) {}

    void initialize(CIMOMHandle& cimom) override {
        InstanceAssociationProvider::initialize(cimom);
        _site = openSite();
        _cache.insert(_instancesOf(*_site));
    }

 private:
    InstancesOf _instancesOf;
    std::shared_ptr<const Site> _site;
};

}  // namespace

}  // namespace site

// Called once for each registered provider name. The object belongs to the server, whose last call,
// terminate, deletes it.
extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& providerName) {
    using namespace site;
    if (providerName == "SiteHostingSystems") {
        return new HostingSystemProvider;
    }
    if (providerName == "SitePartitions") {
        return new PartitionProvider;
    }
    if (providerName == "SiteDomains") {
        return new ElementProvider(DOMAIN_CLASS, domains);
    }
    if (providerName == "SiteControlPoints") {
        return new ElementProvider(CONTROL_POINT, controlPoints);
    }
    if (providerName == "SitePackages") {
        return new ElementProvider(PACKAGE, packages);
    }
    if (providerName == "SiteComponents") {
        return new LinkProvider(COMPONENT, "GroupComponent", DOMAIN_CLASS, "PartComponent",
                                "CIM_ManagedElement", components);
    }
    if (providerName == "SiteHosting") {
        return new LinkProvider(HOSTING, "Antecedent", HOSTING_SYSTEM, "Dependent", PARTITION,
                                hosting);
    }
    if (providerName == "SitePackaging") {
        return new LinkProvider(PACKAGING, "Antecedent", PACKAGE, "Dependent",
                                "QORP_ComputerSystem", packaging);
    }
    if (providerName == "SiteAlerts") {
        return new AlertProvider;
    }
    return nullptr;
}
