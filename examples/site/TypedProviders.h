// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Providers on the bases that are generated from SiteSchema.mof: each says what there is, with
// types, and its base does the rest.
//
// populate throws CIMException when the site cannot be loaded; the server then terminates the
// object and tries again with a new one at the next request.
#ifndef SITE_TYPEDPROVIDERS_H
#define SITE_TYPEDPROVIDERS_H

#include <memory>

#include "OpenSite.h"
#include "QORP_CEC_CS.h"
#include "QORP_LPAR_CS.h"
#include "QOR_ComputerSystemPackageProviderBase.h"
#include "QOR_HWCtrlPointProviderBase.h"
#include "QOR_HostedDependencyProviderBase.h"
#include "QOR_PhysicalPackageProviderBase.h"
#include "SiteFile.h"

namespace site {

class ControlPointProvider : public QOR_HWCtrlPointProviderBase {
 protected:
    void populate() override {
        _site = openSite();
        for (const Domain& domain : _site->domains) {
            for (const ControlPoint& point : domain.controlPoints) {
                QOR_HWCtrlPoint one(point.uuid);
                one.ElementName = point.name;
                one.NetworkAddress = point.networkAddress;
                add(one);
            }
        }
    }

 private:
    std::shared_ptr<const Site> _site;
};

class PackageProvider : public QOR_PhysicalPackageProviderBase {
 protected:
    void populate() override {
        _site = openSite();
        forEachSystem(*_site, [&](const Domain&, const HostingSystem& system) {
            QOR_PhysicalPackage one(system.packageTag);
            one.ElementName = system.packageTag;
            one.VendorEquipmentType = system.type;
            one.Model = system.model;
            one.SerialNumber = system.serial;
            add(one);
        });
    }

 private:
    std::shared_ptr<const Site> _site;
};

class HostingProvider : public QOR_HostedDependencyProviderBase {
 protected:
    void populate() override {
        _site = openSite();
        forEachSystem(*_site, [&](const Domain&, const HostingSystem& system) {
            const QORP_CEC_CS host(systemName(system));
            for (const Partition& partition : system.partitions) {
                const QORP_LPAR_CS guest(partitionName(system, partition));
                add(QOR_HostedDependency(host.path(), guest.path()));
            }
        });
    }

 private:
    std::shared_ptr<const Site> _site;
};

class PackagingProvider : public QOR_ComputerSystemPackageProviderBase {
 protected:
    void populate() override {
        _site = openSite();
        forEachSystem(*_site, [&](const Domain&, const HostingSystem& system) {
            add(QOR_ComputerSystemPackage(QOR_PhysicalPackage(system.packageTag).path(),
                                          QORP_CEC_CS(systemName(system)).path()));
        });
    }

 private:
    std::shared_ptr<const Site> _site;
};

}  // namespace site

#endif
