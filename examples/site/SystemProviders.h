// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Providers of the systems of a site, one class each for hosting systems and for partitions:
// InstanceMethodProvider by hand. Both share one method, which answers 5 for any other number;
// a generated base would refuse a parameter of another type before the method is called.
//
// Thread-safe as the server demands: it calls every operation on any number of threads at once.
#ifndef SITE_SYSTEMPROVIDERS_H
#define SITE_SYSTEMPROVIDERS_H

#include <Common/InstanceMethodProvider.h>
#include <Pegasus/Common/Mutex.h>

#include <memory>

#include "SiteFile.h"

namespace site {

/// What both have in common: the method RequestStateChange.
class SystemProvider : public velmar_remote::InstanceMethodProvider {
 public:
    explicit SystemProvider(const char* className);

    /// Loads the site into the cache. Throws CIMException when that is not possible; the server
    /// then terminates this object and tries again with a new one at the next request.
    void initialize(Pegasus::CIMOMHandle& cimom) override;

 protected:
    Pegasus::CIMValue callMethod(const Pegasus::OperationContext& context,
                                 const Pegasus::CIMInstance& inst,
                                 const Pegasus::CIMName& methodName,
                                 const Pegasus::Array<Pegasus::CIMParamValue>& inParameters,
                                 Pegasus::Array<Pegasus::CIMParamValue>& outParameters) override;

    virtual Pegasus::Array<Pegasus::CIMInstance> instancesOf(const Site& site) const = 0;

    /// Called after a change of state, without any lock: it may ask the server.
    virtual void stateChanged(const Pegasus::OperationContext& context,
                              const Pegasus::CIMInstance& system, const State& state,
                              Pegasus::Array<Pegasus::CIMParamValue>& outParameters);

    std::shared_ptr<const Site> _site;
    Pegasus::Mutex _editing;  ///< held while a cached instance is edited, never during an upcall
};

class HostingSystemProvider : public SystemProvider {
 public:
    HostingSystemProvider();

 protected:
    // The base class has another form of it, which calls this one.
    using SystemProvider::fillProperties;
    void fillProperties(const Pegasus::OperationContext& context,
                        Pegasus::Array<Pegasus::CIMInstance>& instances,
                        const Pegasus::CIMPropertyList& propertyList) override;
    Pegasus::Array<Pegasus::CIMInstance> instancesOf(const Site& site) const override;

 private:
    /// Null for a system that is not in the inventory.
    Pegasus::CIMValue readFirmwareLevel(const Pegasus::CIMInstance& system) const;
};

class PartitionProvider : public SystemProvider {
 public:
    PartitionProvider();

 protected:
    Pegasus::Array<Pegasus::CIMInstance> instancesOf(const Site& site) const override;
    /// Raises an alert when the partition has failed.
    void stateChanged(const Pegasus::OperationContext& context, const Pegasus::CIMInstance& system,
                      const State& state,
                      Pegasus::Array<Pegasus::CIMParamValue>& outParameters) override;
};

}  // namespace site

#endif
