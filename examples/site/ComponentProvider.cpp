// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "ComponentProvider.h"

#include "OpenSite.h"
#include "QORP_CEC_CS.h"
#include "QORP_LPAR_CS.h"
#include "QOR_HWCtrlPoint.h"
#include "QOR_MAPAdminDomain.h"
#include "QOR_SystemComponent.h"

using namespace Pegasus;

namespace site {

ComponentProvider::ComponentProvider()
    : InstanceAssociationProvider("QOR_SystemComponent", "GroupComponent", "QOR_MAPAdminDomain",
                                  "PartComponent", "CIM_ManagedElement") {}

void ComponentProvider::initialize(CIMOMHandle& cimom) {
    InstanceAssociationProvider::initialize(cimom);
    _site = openSite();
    for (const Domain& domain : _site->domains) {
        const QOR_MAPAdminDomain group(domain.name);
        const auto contains = [&](const paths::CIM_ManagedElement& part) {
            _cache.insert(QOR_SystemComponent(group.path(), part).instance());
        };
        for (const ControlPoint& point : domain.controlPoints) {
            contains(QOR_HWCtrlPoint(point.uuid).path());
        }
        for (const HostingSystem& system : domain.systems) {
            contains(QORP_CEC_CS(systemName(system)).path());
            for (const Partition& partition : system.partitions) {
                contains(QORP_LPAR_CS(partitionName(system, partition)).path());
            }
        }
    }
}

}  // namespace site
